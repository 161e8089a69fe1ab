#include "FrameRender.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>

#include "EntryGuard.h"
#include "FakeHost.h"
#include "HostContext.h"
#include "OffscreenSurface.h"
#include "TraceText.h"

namespace {

/// The advance of the C library's clock at every reading; 0 for the real clock, which counts processor time.
std::clock_t stepOfClock = 0;
int looks = 0;

}  // namespace

// Replaces the C library's function: 151 waits by the real clock take half a minute of processor time.
std::clock_t clock() noexcept {
  static const auto real = reinterpret_cast<decltype(&clock)>(dlsym(RTLD_NEXT, "clock"));
  return stepOfClock == 0 ? real() : ++looks * stepOfClock;
}

namespace pyrelux::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class FrameRenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(functionActive);
    ASSERT_EQ(pbuffer_created, 0);
  }
  void TearDown() override {
    functionActive = false;
    cleanUpSurface();
  }

  bool render(double time = 3.0) {
    trace.takeCalls();
    const bool drawn = renderFrame(parameters, output, input, time, phases.accumulators());
    texts = TraceText()(trace.takeCalls());
    return drawn;
  }

  /// The calls from one of the frame's initOpenGl to the next; pass 0 is the clearing of the output, 1 the flame, 2 the
  /// output, then the source if it is drawn.
  std::vector<std::string> pass(std::size_t number) const {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < texts.size(); ++i)
      if (texts[i] == "glOrtho(-1, 1, -1, 1, -1, 1)") starts.push_back(i);
    const auto from = texts.begin() + static_cast<std::ptrdiff_t>(starts.at(number)) + 14;
    const auto to =
        number + 1 < starts.size() ? texts.begin() + static_cast<std::ptrdiff_t>(starts[number + 1]) : texts.end();
    return {from, to};
  }

  std::ptrdiff_t primitives() const { return std::count(texts.begin(), texts.end(), "glBegin(7)"); }

  HostContext host;
  platform::Trace trace;
  FakeParameters parameters;
  FakeImage output{320, 180};
  FakeImage input{160, 90};
  Phases phases;
  std::vector<std::string> texts;
};

TEST_F(FrameRenderTest, DrawsEveryTongueThenTheOutput) {
  EXPECT_TRUE(render());
  EXPECT_EQ(primitives(), 6 + 1);
  EXPECT_FALSE(functionActive);
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 0);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
  EXPECT_EQ(phases.oldFrame, 3.0);
}

/// Record at every call whether the guard is set.
struct GuardedParameters : FakeParameters {
  int asked = 0, guarded = 0;
  void look() { ++asked, guarded += functionActive; }
  bool open() override { return look(), FakeParameters::open(); }
  int intValue(std::uint32_t id, double time) override { return look(), FakeParameters::intValue(id, time); }
  double floatValue(std::uint32_t id, double time) override { return look(), FakeParameters::floatValue(id, time); }
};
struct GuardedImage : FakeImage {
  using FakeImage::FakeImage;
  int asked = 0, guarded = 0;
  void look() { ++asked, guarded += functionActive; }
  std::uint64_t imageType() override { return look(), FakeImage::imageType(); }
  void bind() override { look(), FakeImage::bind(); }
  void disable() override { look(), FakeImage::disable(); }
};

TEST_F(FrameRenderTest, TheBodyIsGuardedFromBeginningToEnd) {
  GuardedParameters watchedParameters;
  watchedParameters.floats[kSourceOpacity] = 0.5;
  GuardedImage watchedOutput(320, 180);
  GuardedImage watchedInput(320, 180);
  EXPECT_TRUE(renderFrame(watchedParameters, watchedOutput, watchedInput, 3.0, phases.accumulators()));
  EXPECT_EQ(watchedParameters.asked, 1 + 20);
  EXPECT_EQ(watchedParameters.guarded, 1 + 20);
  EXPECT_EQ(watchedOutput.guarded, 1) << "when its type is asked";
  EXPECT_EQ(watchedInput.asked, 4);
  EXPECT_EQ(watchedInput.guarded, 4) << "when it is bound and disabled, for the flame and for the source";
}

TEST_F(FrameRenderTest, OpensTheParametersBeforeItReadsThem) {
  render();
  ASSERT_EQ(parameters.asked.size(), 25u);
  EXPECT_EQ(parameters.asked.front(), "open");
  EXPECT_THAT(parameters.times, ::testing::Each(3.0));
}

TEST_F(FrameRenderTest, AsksTheImagesForTheirGeometryAndUsesTheInputsTexture) {
  render();
  EXPECT_THAT(output.asked, ElementsAre("imageType", "width", "height", "textureEdges", "origin"));
  EXPECT_THAT(input.asked, ElementsAre("width", "height", "textureEdges", "pixelAspect", "bind", "enable", "disable"));
}

TEST_F(FrameRenderTest, ClearsTheOutputFirst) {
  render();
  const auto clearing = pass(0);
  EXPECT_EQ(clearing.at(0), "glClearColor(0, 0, 0, 0)");
  EXPECT_EQ(clearing.at(1), "glClear(16640)");
}

TEST_F(FrameRenderTest, TheFlamePassIsClearedAndAdditive) {
  parameters.ints[kTongues] = 0;
  render();
  const auto flame = pass(1);
  EXPECT_EQ(flame.at(0), "glClearColor(0, 0, 0, 0)");
  EXPECT_EQ(flame.at(1), "glClear(16640)");
  EXPECT_EQ(flame.at(2), "glBlendFunc(1, 1)");
  EXPECT_EQ(flame.at(3), "glFlush()");
}

TEST_F(FrameRenderTest, TheOutputPassAddsTheWholeSurface) {
  output.edges = {0.0, 640.0, 0.0, 360.0};
  render();
  EXPECT_THAT(pass(2), ElementsAre("glColor4f(1, 1, 1, 1)", "glBlendFunc(1, 1)", "glBegin(7)", "glTexCoord2f(320, 180)",
                                   "glVertex2f(320, 180)", "glTexCoord2f(320, 0)", "glVertex2f(320, -180)",
                                   "glTexCoord2f(0, 0)", "glVertex2f(-320, -180)", "glTexCoord2f(0, 180)",
                                   "glVertex2f(-320, 180)", "glEnd()", "glFlush()"));
}

TEST_F(FrameRenderTest, ExtentsAreTakenWithoutTheirSign) {
  output.edges = {160.0, -160.0, 90.0, -90.0};
  render();
  const auto upperRightFirst = pass(2);
  EXPECT_EQ(upperRightFirst.at(3), "glTexCoord2f(320, 180)");
  EXPECT_EQ(upperRightFirst.at(4), "glVertex2f(160, 90)");
  EXPECT_EQ(upperRightFirst.at(7), "glTexCoord2f(0, 0)");
  EXPECT_EQ(upperRightFirst.at(8), "glVertex2f(-160, -90)");
}

TEST_F(FrameRenderTest, CopiesAreTurnedInThePixelsAspect) {
  // A rotation by 0 leaves a copy in place. With an aspect of 0, infinity or NaN all its corners become NaN instead.
  const auto lostCorners = [this] {
    parameters.ints[kTongues] = 1;
    render();
    const auto flame = pass(1);
    return std::count_if(flame.begin(), flame.end(), [](const std::string &text) {
      return text.rfind("glVertex2f(", 0) == 0 && text.find("nan") != std::string::npos;
    });
  };
  EXPECT_EQ(lostCorners(), 0);
  for (const double aspect : {0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    input.aspect = aspect;
    EXPECT_EQ(lostCorners(), 41 * 4) << aspect;
  }
}

TEST_F(FrameRenderTest, ATopLeftOutputStartsAtAnotherCorner) {
  output.originCode = 2;
  render();
  EXPECT_THAT(pass(2), ElementsAre("glColor4f(1, 1, 1, 1)", "glBlendFunc(1, 1)", "glBegin(7)", "glTexCoord2f(320, 0)",
                                   "glVertex2f(160, -90)", "glTexCoord2f(320, 180)", "glVertex2f(160, 90)",
                                   "glTexCoord2f(0, 180)", "glVertex2f(-160, 90)", "glTexCoord2f(0, 0)",
                                   "glVertex2f(-160, -90)", "glEnd()", "glFlush()"));
}

TEST_F(FrameRenderTest, ATopLeftOutputTurnsCropsAndDirection) {
  parameters.ints[kTongues] = 1;
  parameters.floats[kWiggleAmount] = 0.0;
  parameters.floats[kTurbulenceAmount] = 0.0;
  parameters.floats[kCropTop] = 0.25;
  output.originCode = 2;
  render(0.0);
  // The crop now cuts from the bottom: a quarter of the input's 90 rows.
  EXPECT_THAT(texts, Contains("glTexCoord2f(160, 22.5)"));
  EXPECT_THAT(texts, Not(Contains("glTexCoord2f(160, 67.5)")));
  // Down instead of up: the far end's upper edge is 0.3 below the surface's.
  EXPECT_THAT(texts, Contains("glVertex2f(320, 126)"));
}

TEST_F(FrameRenderTest, TheSourceIsNotDrawnAtNoOpacity) {
  for (const double opacity : {0.0, -0.5}) {
    parameters.floats[kSourceOpacity] = opacity;
    EXPECT_TRUE(render());
    EXPECT_EQ(primitives(), 6 + 1);
    cleanUpSurface();
  }
}

TEST_F(FrameRenderTest, TheSourceCoversTheFlame) {
  parameters.floats[kSourceOpacity] = 0.25;
  output.originCode = 2;
  render();
  EXPECT_THAT(pass(3), ElementsAre("glColor4f(0.25, 0.25, 0.25, 0.25)", "glBlendFunc(1, 771)", "glBegin(7)",
                                   "glTexCoord2f(160, 90)", "glVertex2f(160, 90)", "glTexCoord2f(160, 0)",
                                   "glVertex2f(160, -90)", "glTexCoord2f(0, 0)", "glVertex2f(-160, -90)",
                                   "glTexCoord2f(0, 90)", "glVertex2f(-160, 90)", "glEnd()", "glFlush()"))
      << "the source keeps its corners whatever the origin";
  EXPECT_THAT(input.asked, ElementsAre("width", "height", "textureEdges", "pixelAspect", "bind", "enable", "disable",
                                       "bind", "enable", "disable"));
}

TEST_F(FrameRenderTest, TheOpacityIsTheNearestSingle) {
  // Just below and just above the middle between two single-precision numbers, where any change of the double shows.
  const float single = 0.1f;
  const float next = std::nextafter(single, 1.0f);
  const double middle = (static_cast<double>(single) + static_cast<double>(next)) / 2.0;
  for (const auto &[opacity, expected] :
       {std::pair{std::nextafter(middle, 0.0), single}, {std::nextafter(middle, 1.0), next}}) {
    parameters.floats[kSourceOpacity] = opacity;
    render();
    const std::string text = numberText(expected);
    EXPECT_EQ(pass(3).at(0), "glColor4f(" + text + ", " + text + ", " + text + ", " + text + ")");
  }
}

TEST_F(FrameRenderTest, AnyModeButCoverAddsTheSource) {
  parameters.floats[kSourceOpacity] = 1.0;
  for (const int mode : {1, 2, -1}) {
    parameters.ints[kSourceMode] = mode;
    render();
    EXPECT_EQ(pass(3).at(1), "glBlendFunc(1, 1)");
  }
}

TEST_F(FrameRenderTest, EndsWithTheStateReset) {
  for (const double opacity : {0.0, 1.0}) {
    parameters.floats[kSourceOpacity] = opacity;
    render();
    ASSERT_GT(texts.size(), 14u);
    const auto last = texts.end() - 14;
    EXPECT_EQ(*last, "glOrtho(-1, 1, -1, 1, -1, 1)");
    EXPECT_EQ(*(last - 1), "glFlush()");
    EXPECT_EQ(texts.back(), "glColorMask(1, 1, 1, 1)");
  }
}

TEST_F(FrameRenderTest, TheSurfaceHasTheOutputsSizeAndTheChosenDepth) {
  parameters.ints[kColorDepth] = 1;
  render();
  EXPECT_THAT(texts, Contains("CGLChoosePixelFormat([73, 80, 8, 64, 58, 72, 96, 0])"));
  EXPECT_THAT(texts, Contains("CGLCreatePBuffer(320, 180, 34037, 6408, 0)"));
}

TEST_F(FrameRenderTest, ASurfaceThatSurvivedIsRemadeForAnotherSizeOrDepth) {
  const auto created = [this] { return std::count(texts.begin(), texts.end(), "glFinish()"); };
  render();
  EXPECT_EQ(created(), 0);
  render();
  EXPECT_EQ(created(), 0);
  parameters.ints[kColorDepth] = 1;
  render();
  EXPECT_EQ(created(), 1);
  output.size[0] = 64;
  render();
  EXPECT_EQ(created(), 1);
}

TEST_F(FrameRenderTest, AFrameWithoutTonguesIsTheEmptySurfaceAndTheSource) {
  parameters.ints[kTongues] = 0;
  parameters.floats[kSourceOpacity] = 1.0;
  EXPECT_TRUE(render());
  EXPECT_EQ(primitives(), 2);
  EXPECT_EQ(phases.oldFrame, 0.0);
  EXPECT_GT(phases.wiggle, 0.0);
}

TEST_F(FrameRenderTest, EveryCallIsCountedEvenIfRefused) {
  const std::int32_t before = renderCounter;
  render();
  parameters.offered = false;
  render();
  EXPECT_EQ(renderCounter, before + 2);
}

TEST_F(FrameRenderTest, WithoutParameterValuesNothingIsDone) {
  parameters.offered = false;
  EXPECT_FALSE(render());
  EXPECT_THAT(texts, IsEmpty());
  EXPECT_THAT(parameters.asked, ElementsAre("open"));
  EXPECT_THAT(output.asked, IsEmpty());
  EXPECT_FALSE(functionActive);
  EXPECT_EQ(pbuffer_created, 0);
  parameters.offered = true;
  EXPECT_TRUE(render()) << "the next render finds the body free";
}

TEST_F(FrameRenderTest, AnOutputInMemoryIsRefusedAfterTheParametersAreRead) {
  for (const std::uint64_t type : {0u, 1u, 3u}) {
    output.type = type;
    output.asked.clear();
    parameters.asked.clear();
    EXPECT_FALSE(render());
    EXPECT_THAT(texts, IsEmpty());
    EXPECT_EQ(parameters.asked.size(), 25u);
    EXPECT_THAT(output.asked, ElementsAre("imageType"));
    EXPECT_THAT(input.asked, IsEmpty());
    EXPECT_FALSE(functionActive);
    EXPECT_EQ(pbuffer_created, 0);
    EXPECT_EQ(phases.oldFrame, 0.0);
    EXPECT_EQ(phases.wiggle, 0.0);
  }
}

TEST_F(FrameRenderTest, ARefusalLeavesASurvivingSurfaceUntouched) {
  render();
  const VaroPBuffer_tag *const record = pbuffer;
  output.type = 1;
  EXPECT_FALSE(render());
  EXPECT_EQ(pbuffer, record);
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 0);
}

TEST_F(FrameRenderTest, ABusyBodyIsWaitedForAndRefused) {
  functionActive = true;
  const std::int32_t before = renderCounter;
  looks = 0;
  stepOfClock = 200000;
  EXPECT_FALSE(render());
  stepOfClock = 0;
  EXPECT_EQ(looks, 151 * 2) << "of 151 waits, each sees the clock as it begins and as it ends";
  EXPECT_TRUE(functionActive);
  EXPECT_EQ(renderCounter, before + 1);
  EXPECT_THAT(texts, IsEmpty());
  EXPECT_THAT(parameters.asked, IsEmpty());
  EXPECT_EQ(pbuffer_created, 0);
}

}  // namespace
}  // namespace pyrelux::test
