#include "CustomView.h"

#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include <algorithm>
#include <cmath>

#include "Backends.h"
#include "FilterObjects.h"
#include "ForeignCalls.h"
#include "Foundation.h"

extern "C" BOOL initialize_gnustep_backend(void);

/// What a filter makes the views of its custom parameters with.
@protocol PyreluxCustomViews
- (NSView *)createViewForParm:(UInt32)parmId;
@end

namespace pyrelux::host {

namespace {

/// While it lives, a method of a class is another.
class ReplacedMethod {
 public:
  template <typename Function>
  ReplacedMethod(Class owner, SEL selector, Function replacement)
      : method_(class_getInstanceMethod(owner, selector)),
        original_(method_setImplementation(method_, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))) {}
  ~ReplacedMethod() { method_setImplementation(method_, original_); }
  ReplacedMethod(const ReplacedMethod &) = delete;
  ReplacedMethod &operator=(const ReplacedMethod &) = delete;

 private:
  Method method_;
  IMP original_;
};

/// What is asked for during press(), which holds the filters' lock.
std::vector<std::string> *asked = nullptr;

BOOL keepAddress(id, SEL, NSURL *address) {
  asked->push_back(toStdString([address absoluteString]));
  return YES;
}

/// A workspace that starts no desktop service.
id bareWorkspace(id, SEL) {
  static const id workspace = class_createInstance([NSWorkspace class], 0);
  return workspace;
}

std::uint8_t level(CGFloat share) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(static_cast<double>(share), 0.0, 1.0) * 255.0));
}

Image imageOf(NSBitmapImageRep *bitmap) {
  Image image =
      Image::bytes(static_cast<int>([bitmap pixelsWide]), static_cast<int>([bitmap pixelsHigh]), Alpha::Straight);
  std::uint8_t *sample = image.asBytes().data();
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x, sample += 4) {
      NSColor *colour = [[bitmap colorAtX:x y:y] colorUsingColorSpaceName:NSDeviceRGBColorSpace];
      sample[0] = level([colour redComponent]);
      sample[1] = level([colour greenComponent]);
      sample[2] = level([colour blueComponent]);
      sample[3] = level([colour alphaComponent]);
    }
  return image;
}

NSBitmapImageRep *bitmapOf(NSImage *image) {
  NSArray *representations = [image representations];
  for (NSUInteger at = 0; at < [representations count]; ++at) {
    id representation = [representations objectAtIndex:at];
    if ([representation isKindOfClass:[NSBitmapImageRep class]]) return representation;
  }
  return nil;
}

}  // namespace

CustomView::CustomView(Filter &filter, std::uint32_t parameterId)
    : name_("the filter '" + filter.info().displayName + "'") {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  // Buttons take fonts from it.
  static const bool isReady = guarded("AppKit", [] { return initialize_gnustep_backend() == YES; });
  if (!isReady) throw HostError("AppKit finds no backend; install gnustep-back");
  id object = filter.objects_->filter;
  guarded(name_, [&] {
    if (![object respondsToSelector:@selector(createViewForParm:)]) return;
    id<PyreluxCustomViews> maker = object;
    NSView *view = [maker createViewForParm:parameterId];
    view_ = [view retain];
  });
  if (!view_) throw HostError(name_ + " makes no view for parameter " + std::to_string(parameterId));
}

CustomView::~CustomView() {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  [static_cast<NSView *>(view_) release];
}

Image CustomView::picture() const {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  return guarded(name_, [&] {
    id view = static_cast<id>(view_);
    // A view that is on no screen can't draw itself; what it would draw is its picture.
    NSBitmapImageRep *bitmap = [view respondsToSelector:@selector(image)] ? bitmapOf([view image]) : nil;
    if (!bitmap) throw HostError(name_ + " shows no picture in its view");
    return imageOf(bitmap);
  });
}

std::vector<std::string> CustomView::press() {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  std::vector<std::string> addresses;
  if (![static_cast<id>(view_) isKindOfClass:[NSControl class]]) return addresses;
  NSControl *control = static_cast<NSControl *>(view_);
  asked = &addresses;
  const ReplacedMethod open([NSWorkspace class], @selector(openURL:), keepAddress);
  const ReplacedMethod shared(object_getClass([NSWorkspace class]), @selector(sharedWorkspace), bareWorkspace);
  guarded(name_, [&] {
    if ([control target] && [control action]) [[control target] performSelector:[control action] withObject:control];
  });
  return addresses;
}

}  // namespace pyrelux::host
