#include "FlameQuads.h"

#include <gmock/gmock.h>

#include <cmath>

#include "FakeHost.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::test {
namespace {

using ::testing::ElementsAre;

constexpr FrameGeometry geometry = {320.0, 180.0, 320.0, 180.0, 320.0, 180.0, 320.0, 180.0, 0.0, 320.0 / 180.0};

/// A tongue of copies that all lie on the source.
Tongue stillTongue(int count) {
  Tongue tongue{};
  tongue.count = count;
  for (int i = 0; i < count; ++i) {
    tongue.stepPos[i] = 1.0 - static_cast<double>(i) / count;
    tongue.stepWeight[i] = 1.0;
    tongue.stepScaleX[i] = 1.0;
    tongue.stepScaleY[i] = 1.0;
  }
  tongue.weightSum = count;
  return tongue;
}

class FlameQuadsTest : public ::testing::Test {
 protected:
  Calls draw(const Tongue &tongue) {
    const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
    FlameQuads quads(snapshot, geometry, ramp);
    const HostContext context;
    platform::Trace trace;
    quads.draw(tongue);
    return trace.takeCalls();
  }

  /// The calls of one copy, as text; glColor4f left out.
  std::vector<std::string> corners(const Tongue &tongue, std::size_t copy = 0) {
    const std::vector<std::string> texts = TraceText()(draw(tongue));
    const auto first = texts.begin() + static_cast<std::ptrdiff_t>(2 + 9 * copy);
    return {first, first + 8};
  }

  Snapshot snapshot = defaultSnapshot();
};

TEST_F(FlameQuadsTest, ADefaultTongueHasItsBrightness) {
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  const FlameQuads quads(snapshot, geometry, ramp);
  EXPECT_NEAR(quads.glowFactor(), 1.4009584, 5e-7);
  EXPECT_NEAR(quads.tongueAlpha(41), 0.0096012, 5e-8);

  const Calls calls = draw(stillTongue(41));
  ASSERT_EQ(calls.size(), 2u + 41u * 9u);
  EXPECT_EQ(calls[1].name, "glColor4f");
  // At the far end the tint is Color Outer, red, with its gain.
  EXPECT_NEAR(numberArgument(calls[1], 0), 0.0100124 * 1.009, 5e-8);
  EXPECT_EQ(numberArgument(calls[1], 1), 0.0);
  EXPECT_NEAR(numberArgument(calls[1], 3), 0.0096012, 5e-8);
}

TEST_F(FlameQuadsTest, GlowFactorRunsFromOneToTwelve) {
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  snapshot.glow = 100.0;
  EXPECT_NEAR(FlameQuads(snapshot, geometry, ramp).glowFactor(), 1.005, 5e-4);
  snapshot.glow = 1.0;
  EXPECT_NEAR(FlameQuads(snapshot, geometry, ramp).glowFactor(), 12.30, 5e-2);
}

TEST_F(FlameQuadsTest, TheShareOfOneCopyIsASingle) {
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  const FlameQuads quads(snapshot, geometry, ramp);
  const double share = 1.0f / 41.0f;
  EXPECT_EQ(quads.tongueAlpha(41), share / 6.0 * quads.glowFactor() + 0.00390625);
  EXPECT_NE(share, 1.0 / 41.0);
}

TEST_F(FlameQuadsTest, AStillCopyCoversTheSurfaceExactly) {
  EXPECT_THAT(corners(stillTongue(1)), ElementsAre("glTexCoord2f(320, 180)", "glVertex2f(320, 180)",
                                                   "glTexCoord2f(320, 0)", "glVertex2f(320, 0)", "glTexCoord2f(0, 0)",
                                                   "glVertex2f(0, 0)", "glTexCoord2f(0, 180)", "glVertex2f(0, 180)"));
}

TEST_F(FlameQuadsTest, CropsCutTheSamePartFromQuadAndTexture) {
  snapshot.cropLeft = 0.25;
  snapshot.cropRight = 0.25;
  snapshot.cropTop = 0.5;
  EXPECT_THAT(corners(stillTongue(1)),
              ElementsAre("glTexCoord2f(240, 90)", "glVertex2f(240, 90)", "glTexCoord2f(240, 0)", "glVertex2f(240, 0)",
                          "glTexCoord2f(80, 0)", "glVertex2f(80, 0)", "glTexCoord2f(80, 90)", "glVertex2f(80, 90)"));
}

TEST_F(FlameQuadsTest, CropsMoveWithTheCopy) {
  snapshot.cropLeft = 0.25;
  snapshot.cropBottom = 0.5;
  Tongue tongue = stillTongue(1);
  tongue.stepOffsetX[0] = 0.5;
  tongue.stepOffsetY[0] = -0.25;
  EXPECT_THAT(corners(tongue), ElementsAre("glTexCoord2f(320, 180)", "glVertex2f(480, 135)", "glTexCoord2f(320, 90)",
                                           "glVertex2f(480, 45)", "glTexCoord2f(80, 90)", "glVertex2f(240, 45)",
                                           "glTexCoord2f(80, 180)", "glVertex2f(240, 135)"));
}

TEST_F(FlameQuadsTest, CopiesAreScaledAboutThePointAfterTheyAreMoved) {
  snapshot.point = {0.25, 0.75};
  Tongue tongue = stillTongue(1);
  tongue.stepOffsetX[0] = 0.5;
  tongue.stepScaleX[0] = 2.0;
  tongue.stepScaleY[0] = 2.0;
  // (1.5 - 0.25) * 2 + 0.25 = 2.75 and (0.5 - 0.25) * 2 + 0.25 = 0.75; (1 - 0.75) * 2 + 0.75 = 1.25 and -0.75
  EXPECT_THAT(corners(tongue), ElementsAre("glTexCoord2f(320, 180)", "glVertex2f(880, 225)", "glTexCoord2f(320, 0)",
                                           "glVertex2f(880, -135)", "glTexCoord2f(0, 0)", "glVertex2f(240, -135)",
                                           "glTexCoord2f(0, 180)", "glVertex2f(240, 225)"));
}

TEST_F(FlameQuadsTest, FullRepelShrinksACopyToThePoint) {
  snapshot.point = {0.25, 0.75};
  Tongue tongue = stillTongue(1);
  tongue.stepScaleX[0] = 0.0;
  tongue.stepScaleY[0] = 0.0;
  const auto texts = corners(tongue);
  for (const std::size_t vertex : {1u, 3u, 5u, 7u}) EXPECT_EQ(texts[vertex], "glVertex2f(80, 135)");
}

TEST_F(FlameQuadsTest, ARotatedCopyTurnsAboutThePointInSquareUnits) {
  snapshot.point = {0.5, 0.5};
  Tongue tongue = stillTongue(1);
  tongue.stepRotation[0] = 90.0;
  const Calls calls = draw(tongue);
  // Clockwise: the upper right corner, 160 right of and 90 above the centre, goes 90 right of and 160 below it.
  EXPECT_NEAR(numberArgument(calls[3], 0), 160.0 + 90.0, 1e-4);
  EXPECT_NEAR(numberArgument(calls[3], 1), 90.0 - 160.0, 1e-4);
}

TEST_F(FlameQuadsTest, CopiesWithoutWeightAreSkipped) {
  Tongue tongue = stillTongue(3);
  tongue.stepWeight[0] = 0.0;
  tongue.stepWeight[2] = -0.5;
  tongue.weightSum = 0.5;
  const Calls calls = draw(tongue);
  ASSERT_EQ(calls.size(), 2u + 9u);
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  const FlameQuads quads(snapshot, geometry, ramp);
  EXPECT_EQ(numberArgument(calls[1], 3), static_cast<float>(quads.tongueAlpha(3))) << "alpha counts skipped copies";
  const double intensity = 1.0 / (((snapshot.glow * 0.5) / 100.0) * snapshot.tongues);
  EXPECT_EQ(numberArgument(calls[1], 0), static_cast<float>(intensity * ramp.evaluate(tongue.stepPos[1]).red));
}

TEST_F(FlameQuadsTest, ATongueOfSkippedCopiesIsStillAPrimitive) {
  Tongue tongue = stillTongue(3);
  for (double &weight : tongue.stepWeight) weight = 0.0;
  EXPECT_THAT(TraceText()(draw(tongue)), ElementsAre("glBegin(7)", "glEnd()"));
  tongue.count = 0;
  EXPECT_THAT(TraceText()(draw(tongue)), ElementsAre("glBegin(7)", "glEnd()"));
}

TEST_F(FlameQuadsTest, AllCopiesOfAllTonguesSumToTheGlow) {
  snapshot.weight = 30.0;
  snapshot.inner = snapshot.centre = {0.0, 0.0, 0.0};
  snapshot.outer = {0.0, 0.0, 1.0};
  Phases phases;
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  FlameQuads quads(snapshot, geometry, ramp);
  const HostContext context;
  platform::Trace trace;
  double shares = 0.0;
  double alpha = 0.0;
  int copies = 0;
  generateFlamePath(snapshot, 3.0, phases.accumulators(), [&](const Tongue &tongue) {
    trace.takeCalls();
    quads.draw(tongue);
    std::size_t call = 1;
    for (int j = 0; j < tongue.count; ++j, call += 9, ++copies) {
      const double tint = ramp.evaluate(tongue.stepPos[j]).blue;
      if (tint > 1e-3)
        shares += numberArgument(trace.calls().at(call), 2) / tint;
      else
        shares += tongue.stepWeight[j] / tongue.weightSum / snapshot.tongues * 100.0 / snapshot.glow;
      alpha += numberArgument(trace.calls().at(call), 3);
    }
  });
  EXPECT_EQ(copies, 6 * 41);
  // Each argument is a single: 6e-8 of its value.
  EXPECT_NEAR(shares, 100.0 / snapshot.glow, 1e-6);
  EXPECT_NEAR(alpha, quads.glowFactor() + copies / 256.0, 1e-6);
}

TEST_F(FlameQuadsTest, TheNextFrameHasItsOwnTints) {
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  FlameQuads quads(snapshot, geometry, ramp);
  const HostContext context;
  platform::Trace trace;
  quads.draw(stillTongue(4));
  const double before = numberArgument(trace.takeCalls().at(1), 3);
  quads.draw(stillTongue(9));
  EXPECT_LT(numberArgument(trace.takeCalls().at(1), 3), before);
}

}  // namespace
}  // namespace pyrelux::test
