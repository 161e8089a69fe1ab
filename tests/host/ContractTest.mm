// What the host owes a filter: the order of its messages, edits, values, and the cleaning up.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <string>
#include <vector>

#include "APIManager.h"
#include "BackendChoice.h"
#include "Backends.h"
#include "Bundles.h"
#include "Filter.h"
#include "Foundation.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "KeyframedEffect.h"
#include "SequentialRenderer.h"
#include "StaticEffect.h"

@interface NSObject (ProbeMessages)
+ (NSArray *)messages;
+ (void)forgetMessages;
+ (NSDictionary *)report;
@end

namespace pyrelux::host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

FilterInfo probe(const std::string &displayName) {
  for (const FilterInfo &info : findFilters({PYRELUX_PROBE_BUNDLES}))
    if (info.displayName == displayName) return info;
  throw HostError("there is no probe '" + displayName + "'");
}

class Contract : public ::testing::Test {
 protected:
  void SetUp() override { messages(); }

  /// The messages that probes got since the last time.
  static std::vector<std::string> messages() {
    std::vector<std::string> texts;
    Class probeClass = NSClassFromString(@"ProbeFilter");
    NSArray *got = [probeClass messages];
    for (NSUInteger i = 0; i < [got count]; ++i) texts.push_back(toStdString([got objectAtIndex:i]));
    [probeClass forgetMessages];
    return texts;
  }

  /// The sentence of the HostError that a frame throws.
  std::string complaint(Filter &filter) {
    try {
      frame(filter);
    } catch (const HostError &error) {
      return error.what();
    }
    return "nothing thrown";
  }

  void frame(Filter &filter) { renderer.render(filter, input, 4.5, {}); }

  AutoreleasePool pool;
  FrameRenderer renderer{chooseBackend("soft")};
  Image input = Image::bytes(3, 2, Alpha::Premultiplied);
};

/// How many objects of a class have gone since.
class Gone {
 public:
  explicit Gone(Class owner) {
    count = 0;
    counted = owner;
    original = method_setImplementation(method_, reinterpret_cast<IMP>(reinterpret_cast<void *>(&dealloc)));
  }
  ~Gone() { method_setImplementation(method_, original); }
  Gone(const Gone &) = delete;
  Gone &operator=(const Gone &) = delete;

  static int count;

 private:
  static void dealloc(id self, SEL selector) {
    count += [self isKindOfClass:counted];
    reinterpret_cast<void (*)(id, SEL)>(reinterpret_cast<void *>(original))(self, selector);
  }

  static Class counted;
  static IMP original;
  /// Where every object's own ends.
  Method method_ = class_getInstanceMethod([NSObject class], @selector(dealloc));
};
int Gone::count = 0;
Class Gone::counted = nil;
IMP Gone::original = nullptr;

const std::vector<std::string> beforeTheFirstFrame = {"init", "properties", "addParameters"};
const std::vector<std::string> aFrame = {"frameSetup", "getOutputWidth", "renderOutput", "frameCleanup"};

// --- The order of messages

TEST_F(Contract, AFilterIsAskedForItsPropertiesAndParametersBeforeItsFirstFrame) {
  Filter filter(probe("Probe"));
  EXPECT_EQ(messages(), beforeTheFirstFrame);
  for (int i = 0; i < 2; ++i) {
    frame(filter);
    EXPECT_EQ(messages(), aFrame);
  }
}

TEST_F(Contract, SoIsEveryFreshOne) {
  Filter filter(probe("Probe"));
  messages();
  for (int i = 0; i < 2; ++i) {
    filter.restart();
    EXPECT_EQ(messages(), beforeTheFirstFrame);
    frame(filter);
    EXPECT_EQ(messages(), aFrame);
  }
  EXPECT_EQ(filter.parameters().declarations().size(), 7u) << "declared once, however many objects there are";
}

TEST_F(Contract, ParametersAreDeclaredBeforeFramesOnly) {
  Filter filter(probe("Probe"));
  filter.restart();
  frame(filter);
  EXPECT_EQ([[[NSClassFromString(@"ProbeFilter") report] objectForKey:@"offersCreation"] doubleValue], 0.0);
}

TEST_F(Contract, AFreshOneThatDeclaresNothingIsRefusedAndTheOldOneStays) {
  Filter filter(probe("Fickle"));
  {
    const Gone gone(NSClassFromString(@"FickleFilter"));
    EXPECT_THROW(filter.restart(), HostError);
    EXPECT_EQ(Gone::count, 1) << "the fresh one";
  }
  messages();
  frame(filter);
  EXPECT_EQ(messages(), aFrame);
}

TEST_F(Contract, NothingOfAFilterStays) {
  // Loads the bundle, so that its class is there.
  Filter(probe("Probe")).restart();
  for (Class owner : {[PyreluxAPIManager class],
                      [PyreluxParameterRetrieval class],
                      [PyreluxParameterCreation class],
                      NSClassFromString(@"ProbeFilter")}) {
    const Gone gone(owner);
    {
      const AutoreleasePool inner;
      Filter filter(probe("Probe"));
      filter.restart();
    }
    const bool isOfTheObject = owner == NSClassFromString(@"ProbeFilter") || owner == [PyreluxParameterCreation class];
    EXPECT_EQ(Gone::count, isOfTheObject ? 2 : 1) << toStdString(NSStringFromClass(owner));
  }
}

// --- Set-up and clean-up

TEST_F(Contract, ASetUpThatIsRefusedIsNamed) {
  Filter filter(probe("Unready"));
  messages();
  EXPECT_EQ(complaint(filter), "the filter 'Unready' refused to set up the frame at time 4.5");
  EXPECT_THAT(messages(), ElementsAre("frameSetup", "frameCleanup"));
}

TEST_F(Contract, EverySetUpIsFollowedByACleanUp) {
  for (const char *name : {"Software", "Sizeless", "Refusing", "Raising", "Raising After", "Erroneous"}) {
    Filter filter(probe(name));
    messages();
    EXPECT_NE(complaint(filter), "nothing thrown") << name;
    const std::vector<std::string> got = messages();
    EXPECT_EQ(std::count(got.begin(), got.end(), "frameCleanup"), 1) << name;
    EXPECT_EQ(got.back(), "frameCleanup") << name;
  }
}

TEST_F(Contract, WhatWentWrongFirstIsTold) {
  Filter filter(probe("Raising After"));
  EXPECT_EQ(complaint(filter), "the filter 'Raising After' does not render with OpenGL");
}

// --- Edits

TEST_F(Contract, AnEditIsToldToTheFilter) {
  Filter filter(probe("Probe"));
  const ParameterSet &parameters = filter.parameters();
  messages();
  filter.edit(parameters.named("amount"), {0.25});
  EXPECT_THAT(messages(), ElementsAre("parameterChanged:2"));
  EXPECT_EQ(parameters.value(2, 0.0)[0], 0.25);
  filter.editKeyframes(parameters.named("turn"), {{0.0, {10.0}}, {5.0, {20.0}}});
  EXPECT_THAT(messages(), ElementsAre("parameterChanged:7"));
  EXPECT_EQ(parameters.value(7, 2.5)[0], 15.0);
}

TEST_F(Contract, AnEditThatChangesNothingIsNotTold) {
  Filter filter(probe("Probe"));
  const ParameterDeclaration &amount = filter.parameters().named("amount");
  filter.edit(amount, amount.defaultValue);
  filter.edit(amount, {0.25});
  messages();
  filter.edit(amount, {0.25});
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Contract, AnEditThatIsRefusedChangesNothing) {
  Filter filter(probe("Probe"));
  messages();
  EXPECT_THROW(filter.edit(filter.parameters().named("amount"), {2.0}), HostError);
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_EQ(filter.parameters().value(2, 0.0)[0], 0.5);
}

TEST_F(Contract, OfAWholeSetTheParametersThatDifferAreTold) {
  Filter filter(probe("Probe"));
  ParameterSet wanted = filter.parameters();
  wanted.set(wanted.named("count"), {9});
  wanted.set(wanted.named("centre"), {0.5, 0.5});
  messages();
  filter.edit(wanted);
  EXPECT_THAT(messages(), ElementsAre("parameterChanged:3", "parameterChanged:5"));
  EXPECT_EQ(filter.parameters().value(5, 0.0), (ParameterValue{0.5, 0.5}));
}

TEST_F(Contract, CurvesOfAWholeSetAreTaken) {
  Filter filter(probe("Probe"));
  ParameterSet wanted = filter.parameters();
  wanted.setCurve(wanted.named("amount"), [](double time) { return ParameterValue{time / 10.0}; });
  messages();
  filter.edit(wanted);
  EXPECT_EQ(messages(), std::vector<std::string>{"parameterChanged:2"});
  EXPECT_EQ(filter.parameters().value(2, 5.0)[0], 0.5);
}

TEST_F(Contract, AnInputMayBeAsLargeAsTextures) {
  Filter filter(probe("Probe"));
  for (const auto &[width, height] : {std::pair{16384, 1}, {1, 16384}}) {
    const Image drawn = renderer.render(filter, Image::bytes(width, height, Alpha::Premultiplied), 0.0, {});
    EXPECT_EQ(drawn.width(), width);
    EXPECT_EQ(drawn.height(), height);
  }
}

TEST_F(Contract, AfterAFrameThatFailedTheWayIsGoneThroughAgain) {
  Filter filter(probe("Probe"));
  SequentialRenderer frames(filter, renderer, 1);
  Image result;
  frames.render(1, input, {}, result);
  EXPECT_THROW(frames.render(2, Image::bytes(100000, 1, Alpha::Premultiplied), {}, result), HostError);
  messages();
  frames.render(2, input, {}, result);
  EXPECT_EQ(messages().front(), "init");
}

TEST_F(Contract, InitialValuesAreNoEdits) {
  Filter filter(probe("Probe"));
  messages();
  filter.parameters().set(filter.parameters().named("amount"), {0.25});
  filter.restart();
  EXPECT_EQ(messages(), beforeTheFirstFrame);
}

TEST_F(Contract, AdaptersTellTheFilterOfEdits) {
  std::vector<std::uint8_t> pixels(3 * 2 * 4, 255);
  {
    ParameterSet wanted = adapters::parametersOf(probe("Probe"));
    wanted.set(wanted.named("amount"), {0.25});
    adapters::StaticEffect effect(probe("Probe"));
    messages();
    effect.setParameters(wanted, {});
    EXPECT_THAT(messages(), ElementsAre("parameterChanged:2"));
  }
  adapters::KeyframedEffect effect(probe("Probe"));
  const auto render = [&](std::int64_t frame) {
    effect.render(pixels.data(), pixels.data(), 3, 2, frame, 1.0, adapters::Composition::FireAlone);
  };
  ParameterSet wanted = effect.defaults();
  wanted.set(wanted.named("count"), {7});
  effect.setParameters(wanted);
  render(0);
  EXPECT_THAT(messages(), ::testing::Not(Contains("parameterChanged:3"))) << "an initial value";
  wanted.set(wanted.named("count"), {9});
  effect.setParameters(wanted);
  EXPECT_THAT(messages(), ElementsAre("parameterChanged:3"));
  // The run begins anew: a fresh object goes through the frame before.
  render(1);
  std::vector<std::string> expected = beforeTheFirstFrame;
  expected.insert(expected.end(), aFrame.begin(), aFrame.end());
  expected.insert(expected.end(), aFrame.begin(), aFrame.end());
  EXPECT_EQ(messages(), expected);
}

// --- Values, with the real filter

class FilterContract : public Contract {
 protected:
  Filter filter{findFilter({PYRELUX_TEST_BUNDLES})};
};

TEST_F(FilterContract, DefaultsAreSixTonguesOfFortyOneCopies) {
  FrameRenderer nothing(platform::kBackendNull);
  const std::uint64_t before = platform::nullBackendQuads();
  nothing.render(filter, input, 3.0, {});
  // The output's quad, and none for the source.
  EXPECT_EQ(platform::nullBackendQuads() - before, 6u * 41 + 1);
}

TEST_F(FilterContract, WiggleTurbulenceBelowOneIsRefused) {
  ParameterSet &parameters = filter.parameters();
  const ParameterDeclaration &turbulence = parameters.named("wiggle-turbulence");
  for (const double value : {0.999, 0.0, -5.0}) {
    EXPECT_THROW(parameters.set(turbulence, {value}), HostError) << value;
    EXPECT_THROW(filter.edit(turbulence, {value}), HostError) << value;
    EXPECT_THROW(parameters.setKeyframes(turbulence, {{0.0, {50.0}}, {9.0, {value}}}), HostError) << value;
  }
  EXPECT_EQ(parameters.value(turbulence.id, 0.0)[0], 15.0);
  parameters.set(turbulence, {1.0});
  EXPECT_EQ(parameters.value(turbulence.id, 0.0)[0], 1.0);
  // Nor does a curve take it there.
  parameters.setKeyframes(turbulence, {{0.0, {2.0}, Ease::Bezier, {0.3, -50.0, 0.7, -50.0}}, {10.0, {3.0}}});
  EXPECT_EQ(parameters.value(turbulence.id, 5.0)[0], 1.0);
}

TEST_F(FilterContract, AGetterWithoutAPlaceForItsAnswerSaysNo) {
  PyreluxParameterRetrieval *values = [[[PyreluxParameterRetrieval alloc] init] autorelease];
  [values setParameters:&filter.parameters()];
  const auto idOf = [&](const char *name) { return filter.parameters().named(name).id; };
  double a = 7.0, b = 7.0;
  EXPECT_FALSE([values getIntValue:nullptr fromParm:idOf("steps") atTime:0.0]);
  EXPECT_FALSE([values getFloatValue:nullptr fromParm:idOf("glow") atTime:0.0]);
  EXPECT_FALSE([values getXValue:nullptr YValue:&b fromParm:idOf("point-attract-repel") atTime:0.0]);
  EXPECT_FALSE([values getXValue:&a YValue:nullptr fromParm:idOf("point-attract-repel") atTime:0.0]);
  const UInt32 colour = idOf("color-inner");
  EXPECT_FALSE([values getRedValue:nullptr greenValue:&a blueValue:&b fromParm:colour atTime:0.0]);
  EXPECT_FALSE([values getRedValue:&a greenValue:nullptr blueValue:&b fromParm:colour atTime:0.0]);
  EXPECT_FALSE([values getRedValue:&a greenValue:&b blueValue:nullptr fromParm:colour atTime:0.0]);
  EXPECT_EQ(a, 7.0);
  EXPECT_EQ(b, 7.0);
}

TEST_F(FilterContract, AGetterOfAnotherKindSaysNo) {
  PyreluxParameterRetrieval *values = [[[PyreluxParameterRetrieval alloc] init] autorelease];
  [values setParameters:&filter.parameters()];
  int whole = 7;
  double a = 7.0, b = 7.0, c = 7.0;
  for (const ParameterDeclaration &parameter : filter.parameters().declarations()) {
    const ParameterKind kind = parameter.kind;
    const bool isWhole = kind == ParameterKind::Integer || kind == ParameterKind::Popup;
    const bool isNumber = isWhole || kind == ParameterKind::Float || kind == ParameterKind::Angle;
    EXPECT_EQ([values getIntValue:&whole fromParm:parameter.id atTime:0.0], isWhole) << parameter.label;
    EXPECT_EQ([values getFloatValue:&a fromParm:parameter.id atTime:0.0], isNumber) << parameter.label;
    EXPECT_EQ([values getRedValue:&a greenValue:&b blueValue:&c fromParm:parameter.id atTime:0.0],
              kind == ParameterKind::Colour)
        << parameter.label;
    EXPECT_EQ([values getXValue:&a YValue:&b fromParm:parameter.id atTime:0.0], kind == ParameterKind::Point)
        << parameter.label;
  }
}

TEST_F(FilterContract, EveryDeclaredParameterIsAnswered) {
  PyreluxParameterRetrieval *values = [[[PyreluxParameterRetrieval alloc] init] autorelease];
  [values setParameters:&filter.parameters()];
  int answered = 0;
  for (const ParameterDeclaration &parameter : filter.parameters().declarations()) {
    for (const double time : {-1e9, 0.0, 12.5, 1e9}) {
      int whole = 0;
      double a = 0.0, b = 0.0, c = 0.0;
      switch (parameter.kind) {
        case ParameterKind::Integer:
        case ParameterKind::Popup:
          answered += [values getIntValue:&whole fromParm:parameter.id atTime:time];
          break;
        case ParameterKind::Float:
        case ParameterKind::Angle:
          answered += [values getFloatValue:&a fromParm:parameter.id atTime:time];
          break;
        case ParameterKind::Colour:
          answered += [values getRedValue:&a greenValue:&b blueValue:&c fromParm:parameter.id atTime:time];
          break;
        case ParameterKind::Point:
          answered += [values getXValue:&a YValue:&b fromParm:parameter.id atTime:time];
          break;
        case ParameterKind::Custom:
          break;
      }
    }
  }
  EXPECT_EQ(answered, 24 * 4);
}

}  // namespace
}  // namespace pyrelux::host
