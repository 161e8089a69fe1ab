#import "Main.h"
#import "RecordingHost.h"

#include <gmock/gmock.h>

#include "EntryGuard.h"
#include "FrameRender.h"
#include "HostContext.h"
#include "OffscreenSurface.h"
#include "TraceText.h"

namespace pyrelux::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class FilterTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(pbuffer_created, 0); }
  void TearDown() override { cleanUpSurface(); }

  FxImageInfo imageInfo() const {
    FxImageInfo info = {};
    info.width = 1920;
    info.height = 1080;
    info.pixelAspect = 1.0;
    return info;
  }

  Pool pool;
  RecordingAPIManager *manager = [[[RecordingAPIManager alloc] init] autorelease];
  Pyrelux_64 *filter = [[[Pyrelux_64 alloc] initWithAPIManager:manager] autorelease];
};

TEST_F(FilterTest, ConformsToTheHostsProtocols) {
  for (const char *name : {"FxFilter", "FxBaseEffect", "FxCustomParameterViewHost"})
    EXPECT_TRUE([Pyrelux_64 conformsToProtocol:NSProtocolFromString([NSString stringWithUTF8String:name])]) << name;
  EXPECT_EQ([Pyrelux_64 superclass], [NSObject class]);
}

TEST_F(FilterTest, HasItsFieldsInOrder) {
  unsigned count = 0;
  Ivar *fields = class_copyIvarList([Pyrelux_64 class], &count);
  std::vector<std::string> names;
  std::string types;
  for (unsigned i = 0; i < count; ++i) {
    names.push_back(ivar_getName(fields[i]));
    types += ivar_getTypeEncoding(fields[i])[0];
  }
  free(fields);
  EXPECT_THAT(names, ElementsAre("_apiManager", "_bundle", "popupmenu1", "popup1", "popup2", "popup3", "oldFrame",
                                 "currentFrame_for_turbulenceSpeed", "currentFrame_for_wiggleTurbulence"));
  EXPECT_EQ(types, "@@@@@@ddd");
}

TEST_F(FilterTest, HasTheHostsMethodsAndDeallocAlone) {
  const auto methodsOf = [](Class owner) {
    unsigned count = 0;
    Method *methods = class_copyMethodList(owner, &count);
    std::vector<std::string> names;
    for (unsigned i = 0; i < count; ++i) names.push_back(sel_getName(method_getName(methods[i])));
    free(methods);
    return names;
  };
  EXPECT_THAT(
      methodsOf([Pyrelux_64 class]),
      UnorderedElementsAre("initWithAPIManager:", "properties", "variesOverTime", "addParameters",
                           "getOutputWidth:height:withInput:withInfo:", "frameSetup:inputInfo:hardware:software:",
                           "renderOutput:withInput:withInfo:", "frameCleanup",
                           "parameterChanged:", "createViewForParm:", "procSpecParamHeader:", "dealloc"));
  EXPECT_THAT(methodsOf(object_getClass([Pyrelux_64 class])), IsEmpty());
}

TEST_F(FilterTest, StartsWithTheManagerItsBundleAndPhasesOfZero) {
  EXPECT_EQ(fieldOf<id>(filter, "_apiManager"), manager);
  EXPECT_EQ(fieldOf<NSBundle *>(filter, "_bundle"), [NSBundle mainBundle]);
  EXPECT_EQ(fieldOf<double>(filter, "oldFrame"), 0.0);
  EXPECT_EQ(fieldOf<double>(filter, "currentFrame_for_turbulenceSpeed"), 0.0);
  EXPECT_EQ(fieldOf<double>(filter, "currentFrame_for_wiggleTurbulence"), 0.0);
}

TEST_F(FilterTest, StartsWithoutAManagerAllTheSame) {
  Pyrelux_64 *lonely = [[[Pyrelux_64 alloc] initWithAPIManager:nil] autorelease];
  ASSERT_NE(lonely, nil);
  EXPECT_FALSE([lonely addParameters]);
}

id initialised = nil;
IMP originalInit = nullptr;
id watchedInit(id self, SEL selector) {
  initialised = self;
  return reinterpret_cast<id (*)(id, SEL)>(originalInit)(self, selector);
}

TEST_F(FilterTest, CallsNoInitialiserOfItsSuperclass) {
  Pyrelux_64 *made = [Pyrelux_64 alloc];
  const ReplacedMethod watch([NSObject class], @selector(init), watchedInit);
  originalInit = watch.original();
  initialised = nil;
  [[[NSObject alloc] init] release];
  ASSERT_NE(initialised, nil) << "the watch sees initialisers";
  initialised = nil;
  EXPECT_EQ([made initWithAPIManager:manager], made);
  EXPECT_NE(initialised, made);
  [made release];
}

TEST_F(FilterTest, DeclaresFiveProperties) {
  NSDictionary *properties = [filter properties];
  EXPECT_EQ([properties count], 5u);
  const std::pair<NSString *, BOOL> expected[] = {{@"SupportsRowBytes", YES},
                                                  {@"SupportsR408", NO},
                                                  {@"SupportsR4fl", NO},
                                                  {@"MayRemapTime", NO},
                                                  {@"IsThreadSafe", NO}};
  for (const auto &[key, value] : expected) {
    ASSERT_NE([properties objectForKey:key], nil) << textOf(key);
    EXPECT_EQ([[properties objectForKey:key] boolValue], value) << textOf(key);
  }
}

TEST_F(FilterTest, VariesOverTime) { EXPECT_EQ([filter variesOverTime], YES); }

TEST_F(FilterTest, AParameterChangeIsAlwaysFine) {
  for (const UInt32 id : {0u, 1u, 25u, 26u, 0xffffffffu}) EXPECT_EQ([filter parameterChanged:id], YES);
}

TEST_F(FilterTest, TheOutputHasTheInputsSize) {
  UInt64 width = 0;
  UInt64 height = 0;
  EXPECT_EQ([filter getOutputWidth:&width height:&height withInput:imageInfo() withInfo:FxRenderInfo()], YES);
  EXPECT_EQ(width, 1920u);
  EXPECT_EQ(height, 1080u);
}

TEST_F(FilterTest, ASizeWithoutAPlaceToGoIsRefusedAndNothingWritten) {
  UInt64 width = 7;
  UInt64 height = 7;
  EXPECT_EQ([filter getOutputWidth:nullptr height:&height withInput:imageInfo() withInfo:FxRenderInfo()], NO);
  EXPECT_EQ([filter getOutputWidth:&width height:nullptr withInput:imageInfo() withInfo:FxRenderInfo()], NO);
  EXPECT_EQ([filter getOutputWidth:nullptr height:nullptr withInput:imageInfo() withInfo:FxRenderInfo()], NO);
  EXPECT_EQ(width, 7u);
  EXPECT_EQ(height, 7u);
}

TEST_F(FilterTest, RendersInHardwareOnly) {
  BOOL hardware = NO;
  BOOL software = YES;
  EXPECT_EQ([filter frameSetup:FxRenderInfo() inputInfo:imageInfo() hardware:&hardware software:&software], YES);
  EXPECT_EQ(hardware, YES);
  EXPECT_EQ(software, NO);
}

TEST_F(FilterTest, CleaningUpWithoutASurfaceDoesNothing) {
  platform::Trace trace;
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_THAT(trace.calls(), IsEmpty());
}

TEST_F(FilterTest, CleaningUpDestroysTheSurfaceOnce) {
  const HostContext host;
  beginSurface(32.0, 18.0, 8.0);
  endAndUseSurface();
  platform::Trace trace;
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_THAT(callNames(trace.takeCalls()), ElementsAre("CGLDestroyPBuffer", "CGLDestroyContext"));
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_THAT(trace.calls(), IsEmpty());
}

TEST_F(FilterTest, CleaningUpEndsABegunSurfaceFirst) {
  const HostContext host;
  beginSurface(32.0, 18.0, 8.0);
  platform::Trace trace;
  EXPECT_EQ([filter frameCleanup], YES);
  EXPECT_THAT(callNames(trace.takeCalls()),
              ElementsAre("glFlush", "CGLSetCurrentContext", "CGLDestroyPBuffer", "CGLDestroyContext"));
  EXPECT_EQ(pbuffer_on, 0);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST_F(FilterTest, AnyFiltersCleanUpDestroysTheSharedSurface) {
  const HostContext host;
  beginSurface(32.0, 18.0, 8.0);
  endAndUseSurface();
  Pyrelux_64 *other = [[[Pyrelux_64 alloc] initWithAPIManager:manager] autorelease];
  EXPECT_EQ([other frameCleanup], YES);
  EXPECT_EQ(pbuffer_created, 0);
}

/// Renders from and to textures of 32 x 18.
class FilterRenderTest : public FilterTest {
 protected:
  FxImageInfo smallInfo() const {
    FxImageInfo info = imageInfo();
    info.width = 32;
    info.height = 18;
    return info;
  }

  BOOL render(FxImage *output, double time = 3.0) {
    FxRenderInfo info = {};
    info.frame = time;
    FxImage *input = [[[RecordingTexture alloc] initWithRole:"input" info:smallInfo() type:2] autorelease];
    trace.takeCalls();
    const BOOL drawn = [filter renderOutput:output withInput:input withInfo:info];
    names = callNames(trace.takeCalls());
    return drawn;
  }

  FxImage *output() const {
    return [[[RecordingTexture alloc] initWithRole:"output" info:smallInfo() type:2] autorelease];
  }

  void offerValues() { [manager offerRetrieval:[[[RecordingParameters alloc] initWithValues:&values] autorelease]]; }

  HostContext host;
  platform::Trace trace;
  FakeParameters values;
  std::vector<std::string> names;
};

TEST_F(FilterRenderTest, AdvancesItsOwnPhases) {
  offerValues();
  EXPECT_EQ(render(output()), YES);
  EXPECT_EQ(fieldOf<double>(filter, "oldFrame"), 3.0);
  EXPECT_EQ(fieldOf<double>(filter, "currentFrame_for_wiggleTurbulence"), 3.0 * (15.0 / 200.0));
  EXPECT_GT(fieldOf<double>(filter, "currentFrame_for_turbulenceSpeed"), 0.0);
  Pyrelux_64 *other = [[[Pyrelux_64 alloc] initWithAPIManager:manager] autorelease];
  EXPECT_EQ(fieldOf<double>(other, "oldFrame"), 0.0);
}

TEST_F(FilterRenderTest, WithoutParameterValuesIsRefused) {
  EXPECT_EQ(render(output()), NO);
  EXPECT_THAT(names, ElementsAre("apiForProtocol:"));
  EXPECT_FALSE(functionActive);
  EXPECT_EQ(pbuffer_created, 0);
}

TEST_F(FilterRenderTest, IntoMemoryIsRefused) {
  offerValues();
  int memory[32 * 18] = {};
  FxImage *bitmap = [[[FxBitmap alloc] initWithInfo:smallInfo() data:memory rowBytes:32 * 4] autorelease];
  EXPECT_EQ(render(bitmap), NO);
  EXPECT_THAT(names, SizeIs(25)) << "the interface is asked for, and every parameter read";
  EXPECT_FALSE(functionActive);
  EXPECT_EQ(pbuffer_created, 0);
  EXPECT_EQ(fieldOf<double>(filter, "oldFrame"), 0.0);
}

TEST_F(FilterRenderTest, IsCounted) {
  const std::int32_t before = renderCounter;
  render(output());
  EXPECT_EQ(renderCounter, before + 1);
}

TEST_F(FilterRenderTest, WorksAgainAfterARefusal) {
  EXPECT_EQ(render(output()), NO);
  offerValues();
  EXPECT_EQ(render(output()), YES);
}

}  // namespace
}  // namespace pyrelux::test
