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
WholeTongue stillTongue(int count) {
  WholeTongue tongue{};
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
  FlameQuads quads(const CommonSteps &common) const {
    return {snapshot, geometry, makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer), common};
  }

  Calls draw(const WholeTongue &tongue) const {
    const HostContext context;
    platform::Trace trace;
    quads(tongue).draw(tongue);
    return trace.takeCalls();
  }

  /// The calls of one copy as text, without glColor4f.
  std::vector<std::string> corners(const WholeTongue &tongue, std::size_t copy = 0) {
    const std::vector<std::string> texts = TraceText()(draw(tongue));
    const auto first = texts.begin() + static_cast<std::ptrdiff_t>(2 + 9 * copy);
    return {first, first + 8};
  }

  Snapshot snapshot = defaultSnapshot();
};

// Computed elsewhere with 50 decimal digits. EXPECT_DOUBLE_EQ allows 4 ulps, about one for each rounding; the singles
// are equal, since none of them lies so close to the middle between two.
TEST_F(FlameQuadsTest, ADefaultTongueHasItsBrightness) {
  const WholeTongue tongue = stillTongue(41);
  EXPECT_DOUBLE_EQ(quads(tongue).glowFactor(), 1.4009587535301129);
  EXPECT_DOUBLE_EQ(quads(tongue).tongueAlpha(), 0.0096012040704891565);

  const Calls calls = draw(tongue);
  ASSERT_EQ(calls.size(), 2u + 41u * 9u);
  EXPECT_EQ(calls[1].name, "glColor4f");
  // At the far end the tint is Color Outer, red, with its gain.
  EXPECT_EQ(numberArgument(calls[1], 0), 0.0101025263f);
  EXPECT_EQ(numberArgument(calls[1], 1), 0.0);
  EXPECT_EQ(numberArgument(calls[1], 3), 0.00960120372f);
}

TEST_F(FlameQuadsTest, GlowFactorRunsFromOneToTwelve) {
  const WholeTongue tongue = stillTongue(41);
  snapshot.glow = 100.0;
  EXPECT_DOUBLE_EQ(quads(tongue).glowFactor(), 1.0048694776940919);
  snapshot.glow = 1.0;
  EXPECT_DOUBLE_EQ(quads(tongue).glowFactor(), 12.305093316669891);
}

TEST_F(FlameQuadsTest, TheShareOfOneCopyIsASingle) {
  const WholeTongue tongue = stillTongue(41);
  const double share = 1.0f / 41.0f;
  EXPECT_EQ(quads(tongue).tongueAlpha(), share / 6.0 * quads(tongue).glowFactor() + 0.00390625);
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
  WholeTongue tongue = stillTongue(1);
  tongue.stepOffsetX[0] = 0.5;
  tongue.stepOffsetY[0] = -0.25;
  EXPECT_THAT(corners(tongue), ElementsAre("glTexCoord2f(320, 180)", "glVertex2f(480, 135)", "glTexCoord2f(320, 90)",
                                           "glVertex2f(480, 45)", "glTexCoord2f(80, 90)", "glVertex2f(240, 45)",
                                           "glTexCoord2f(80, 180)", "glVertex2f(240, 135)"));
}

TEST_F(FlameQuadsTest, CopiesAreScaledAboutThePointAfterTheyAreMoved) {
  snapshot.point = {0.25, 0.75};
  WholeTongue tongue = stillTongue(1);
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
  WholeTongue tongue = stillTongue(1);
  tongue.stepScaleX[0] = 0.0;
  tongue.stepScaleY[0] = 0.0;
  const auto texts = corners(tongue);
  for (const std::size_t vertex : {1u, 3u, 5u, 7u}) EXPECT_EQ(texts[vertex], "glVertex2f(80, 135)");
}

TEST_F(FlameQuadsTest, ARotatedCopyTurnsAboutThePointInSquareUnits) {
  snapshot.point = {0.5, 0.5};
  WholeTongue tongue = stillTongue(1);
  tongue.stepRotation[0] = 90.0;
  const Calls calls = draw(tongue);
  // Clockwise: the upper right corner, 160 right of and 90 above the centre, goes 90 right of and 160 below it.
  EXPECT_NEAR(numberArgument(calls[3], 0), 160.0 + 90.0, 1e-4);
  EXPECT_NEAR(numberArgument(calls[3], 1), 90.0 - 160.0, 1e-4);
}

TEST_F(FlameQuadsTest, CopiesWithoutWeightAreSkipped) {
  WholeTongue tongue = stillTongue(3);
  tongue.stepWeight[0] = 0.0;
  tongue.stepWeight[2] = -0.5;
  tongue.weightSum = 0.5;
  const Calls calls = draw(tongue);
  ASSERT_EQ(calls.size(), 2u + 9u);
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  EXPECT_EQ(numberArgument(calls[1], 3), numberArgument(draw(stillTongue(3))[1], 3)) << "alpha counts skipped copies";
  const double intensity = 1.0 / (((snapshot.glow * 0.5) / 100.0) * snapshot.tongues);
  EXPECT_EQ(numberArgument(calls[1], 0), static_cast<float>(intensity * ramp.evaluate(tongue.stepPos[1]).red));
}

TEST_F(FlameQuadsTest, CopiesWithTheLeastWeightAreDrawn) {
  WholeTongue tongue = stillTongue(2);
  tongue.stepWeight[0] = 1e-5;
  EXPECT_EQ(draw(tongue).size(), 2u + 2u * 9u);
}

TEST_F(FlameQuadsTest, ATongueOfSkippedCopiesIsStillAPrimitive) {
  WholeTongue tongue = stillTongue(3);
  for (double &weight : tongue.stepWeight) weight = 0.0;
  EXPECT_THAT(TraceText()(draw(tongue)), ElementsAre("glBegin(7)", "glEnd()"));
  tongue.count = 0;
  EXPECT_THAT(TraceText()(draw(tongue)), ElementsAre("glBegin(7)", "glEnd()"));
}

TEST_F(FlameQuadsTest, AllCopiesOfAllTonguesSumToTheGlow) {
  snapshot.weight = 30.0;
  // All white, so that a copy's tint tells its share.
  snapshot.inner = snapshot.centre = snapshot.outer = {1.0, 1.0, 1.0};
  Phases phases;
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  double shares = 0.0;
  double alpha = 0.0;
  double glowFactor = 0.0;
  int copies = 0;
  for (const WholeTongue &tongue : tonguesOf(snapshot, 3.0, phases)) {
    glowFactor = quads(tongue).glowFactor();
    const Calls calls = draw(tongue);
    for (int j = 0; j < tongue.count; ++j, ++copies) {
      const auto &colour = calls.at(1 + 9 * static_cast<std::size_t>(j));
      ASSERT_EQ(colour.name, "glColor4f");
      shares += numberArgument(colour, 2) / ramp.evaluate(tongue.stepPos[j]).blue;
      alpha += numberArgument(colour, 3);
    }
  }
  EXPECT_EQ(copies, 6 * 41);
  // Each argument is a single, off by 2^-24 of its value at most.
  constexpr double relative = 6e-8;
  EXPECT_NEAR(shares, 100.0 / snapshot.glow, relative * 100.0 / snapshot.glow);
  EXPECT_NEAR(alpha, glowFactor + copies / 256.0, relative * alpha);
}

TEST_F(FlameQuadsTest, TonguesAreDrawnAlikeInAnyOrder) {
  Phases phases;
  const auto tongues = tonguesOf(snapshot, 3.0, phases);
  const HostContext context;
  platform::Trace trace;
  const auto drawn = [&](const FlameQuads &drawer, std::size_t i) {
    trace.takeCalls();
    drawer.draw(tongues[i]);
    return TraceText()(trace.takeCalls());
  };
  const FlameQuads ordered = quads(tongues[0]);
  std::vector<std::vector<std::string>> inOrder;
  for (std::size_t i = 0; i < tongues.size(); ++i) inOrder.push_back(drawn(ordered, i));
  // None of the orders begins with tongue 0.
  const FlameQuads shuffled = quads(tongues[0]);
  for (const std::size_t i : {5u, 2u, 4u, 0u, 1u, 3u}) EXPECT_EQ(drawn(shuffled, i), inOrder[i]) << "tongue " << i;
}

}  // namespace
}  // namespace pyrelux::test
