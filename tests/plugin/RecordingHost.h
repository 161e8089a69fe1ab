#pragma once

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "FakeHost.h"

// The host's side of the plug-in interface. Every object here records its messages in the thread's trace, in the layer
// "host", so that they are in order with the CGL and GL calls.

namespace pyrelux::test {

/// One parameter as the filter declared it.
struct DeclaredParameter {
  std::uint32_t id = 0;
  std::string kind;  ///< "int", "float", "angle", "colour", "point", "popup" or "custom"
  std::string name;
  std::vector<double> defaults;
  std::optional<double> minimum, maximum, sliderMinimum, sliderMaximum, delta;
  std::uint32_t flags = 0;
  std::vector<std::string> entries;
  bool hasDefaultObject = false;
};

/// The text of an NSString, nil as "(nil)".
std::string textOf(NSString *string);

}  // namespace pyrelux::test

/// Records the declarations.
@interface RecordingCreation : NSObject <FxParameterCreationAPI> {
  std::vector<pyrelux::test::DeclaredParameter> *_declared;
}
- (std::vector<pyrelux::test::DeclaredParameter> &)declared;
@end

/// Gives values that the test owns.
@interface RecordingParameters : NSObject <FxParameterRetrievalAPI> {
  pyrelux::test::FakeParameters *_values;
}
- (instancetype)initWithValues:(pyrelux::test::FakeParameters *)values;
@end

/// Offers the interfaces it is given; nil is "not offered".
@interface RecordingAPIManager : NSObject <PROAPIAccessing> {
  id _creation;
  id _retrieval;
}
- (void)offerCreation:(id)creation;
- (void)offerRetrieval:(id)retrieval;
@end

/// A texture that can also claim to be of another type, or to have other coordinates at its edges. Its bind, enable and
/// disable reach no GL.
@interface RecordingTexture : FxTexture {
  const char *_role;
  NSUInteger _type;
  double _edges[4];  // left, right, bottom, top
}
- (instancetype)initWithRole:(const char *)role info:(FxImageInfo)info type:(NSUInteger)type;
- (void)setEdges:(pyrelux::TextureEdges)edges;
@end

/// The messages that tests send to a filter of any class.
@protocol TestedFilter <FxFilter, FxCustomParameterViewHost>
- (instancetype)initWithAPIManager:(id<PROAPIAccessing>)apiManager;
- (void)procSpecParamHeader:(id)sender;
@end

namespace pyrelux::test {

/// Load the built bundle, and get its class.
NSBundle *filterBundle();
Class filterClass();

/// A filter's field, whatever its visibility.
template <typename Field>
Field fieldOf(id object, const char *name) {
  const Ivar field = class_getInstanceVariable([object class], name);
  if (!field) throw std::runtime_error(std::string("no field ") + name);
  return *reinterpret_cast<const Field *>(reinterpret_cast<const char *>(object) + ivar_getOffset(field));
}

/// An autorelease pool that drains in its destructor.
class Pool {
 public:
  Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
  ~Pool() { [pool_ release]; }
  Pool(const Pool &) = delete;
  Pool &operator=(const Pool &) = delete;

 private:
  NSAutoreleasePool *pool_;
};

/// Replaces a method of a class by a function while the object lives.
class ReplacedMethod {
 public:
  /// `replacement` takes the receiver, the selector and the message's arguments.
  template <typename Result, typename... Arguments>
  ReplacedMethod(Class owner, SEL selector, Result (*replacement)(id, SEL, Arguments...))
      : method_(class_getInstanceMethod(owner, selector)),
        original_(method_setImplementation(method_, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))) {}
  ~ReplacedMethod() { method_setImplementation(method_, original_); }
  ReplacedMethod(const ReplacedMethod &) = delete;
  ReplacedMethod &operator=(const ReplacedMethod &) = delete;

  IMP original() const { return original_; }

 private:
  Method method_;
  IMP original_;
};

}  // namespace pyrelux::test
