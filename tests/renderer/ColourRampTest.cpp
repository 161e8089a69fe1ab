#include "ColourRamp.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>

#include "NumericHelpers.h"

namespace pyrelux {
namespace {

constexpr double half = 0.5;
constexpr Colour noGain = {1.0, 1.0, 1.0};

// pow() and cos() may differ by an ulp between C libraries.
constexpr double ulps = 1e-15;

void expectColour(const Colour &colour, double red, double green, double blue, double tolerance = 0.0) {
  EXPECT_NEAR(colour.red, red, tolerance);
  EXPECT_NEAR(colour.green, green, tolerance);
  EXPECT_NEAR(colour.blue, blue, tolerance);
}

TEST(Bias, LeavesTheEndsWhereTheyAre) {
  for (const double bias : {0.0, 0.1, 0.5, 0.75, 1.0}) {
    EXPECT_EQ(biased(0.0, bias), 0.0);
    EXPECT_EQ(biased(1.0, bias), 1.0);
  }
}

TEST(Bias, OfAHalfHardlyBends) {
  EXPECT_NEAR(biased(0.25, half), 0.25005752739643095, ulps);
  EXPECT_NEAR(biased(0.5, half), 0.5000623110191827, ulps);
  EXPECT_NEAR(biased(0.75, half), 0.7500435786641184, ulps);
}

TEST(Bias, PushesUpBelowAHalfAndDownAboveIt) {
  EXPECT_NEAR(biased(0.5, 0.0), 0.9447020493205507, ulps);
  EXPECT_NEAR(biased(0.5, 1.0), 0.06930980505069823, ulps);
  for (double bias = 0.0; bias < 1.0; bias += 0.125) EXPECT_GT(biased(0.5, bias), biased(0.5, bias + 0.125));
}

struct Shape {
  const char *character;
  std::function<double(double)> formula;
};

/// The expected curves, by type, from their names and trigonometric identities and not from the formulas under test.
const Shape kShapes[17] = {
    {"constant", [](double) { return 1.0; }},
    {"linear rise", [](double u) { return u; }},
    {"slow start", [](double u) { return 2.0 * std::pow(std::sin(u * pi / 4.0), 2.0); }},
    {"slow finish", [](double u) { return std::cos((1.0 - u) * pi / 2.0); }},
    {"raised cosine", [](double u) { return std::pow(std::sin(u * pi / 2.0), 2.0); }},
    {"linear fall", [](double u) { return 1.0 - u; }},
    {"fall, slow start", [](double u) { return std::sin((1.0 - u) * pi / 2.0); }},
    {"fall, slow finish", [](double u) { return 2.0 * std::pow(std::sin((1.0 - u) * pi / 4.0), 2.0); }},
    {"fall, raised cosine", [](double u) { return std::pow(std::cos(u * pi / 2.0), 2.0); }},
    {"triangle", [](double u) { return 1.0 - std::abs(2.0 * u - 1.0); }},
    {"rounded peak", [](double u) { return std::cos((u - 0.5) * pi); }},
    {"pointed peak", [](double u) { return 1.0 - std::sin(std::abs(u - 0.5) * pi); }},
    {"raised-cosine peak", [](double u) { return std::pow(std::sin(u * pi), 2.0); }},
    {"V", [](double u) { return std::abs(2.0 * u - 1.0); }},
    {"rounded valley", [](double u) { return 1.0 - std::cos((u - 0.5) * pi); }},
    {"valley", [](double u) { return std::sin(std::abs(u - 0.5) * pi); }},
    {"raised-cosine valley", [](double u) { return std::pow(std::cos(u * pi), 2.0); }},
};

TEST(CurveShape, EveryCurveHasItsCharacter) {
  for (std::int32_t type = 0; type <= 16; ++type)
    for (const double u : {0.0, 1e-9, 0.1, 0.25, 0.4999999, 0.5, 0.6, 0.75, 0.999, 1.0})
      EXPECT_NEAR(curveShape(type, u), kShapes[type].formula(u), 4e-16)
          << kShapes[type].character << " (" << type << ") at " << u;
}

TEST(CurveShape, OutsideTheSeventeenContributesNothing) {
  for (const std::int32_t type : {-1, 17, 1000}) EXPECT_EQ(curveShape(type, 0.3), 0.0);
}

TEST(CurveShape, PeakedCurvesTakeTheSecondBranchAtTheMiddle) {
  EXPECT_EQ(curveShape(9, 0.5), 1.0);
  EXPECT_EQ(curveShape(11, 0.5), 1.0);
  EXPECT_EQ(curveShape(13, 0.5), 0.0);
  EXPECT_EQ(curveShape(15, 0.5), 0.0);
}

TEST(FlameRamp, IsTheInnerColourOnTheSource) {
  const ColourRamp ramp = makeFlameRamp({0.9, 0.7, 0.2}, {0.5, 0.4, 0.3}, {0.1, 0.6, 0.8});
  expectColour(ramp.evaluate(0.0), 0.9 * 1.0099999904632568, 0.7 * 1.0099999904632568, 0.2 * 1.0099999904632568);
}

TEST(FlameRamp, IsTheOuterColourAtTheFarEnd) {
  const ColourRamp ramp = makeFlameRamp({0.9, 0.7, 0.2}, {0.5, 0.4, 0.3}, {0.1, 0.6, 0.8});
  expectColour(ramp.evaluate(1.0), 0.1 * 1.0089999437332153, 0.6 * 1.0089999437332153, 0.8 * 1.0089999437332153);
}

TEST(FlameRamp, HalfwayIsAllOfTheCentreAndHalfOfTheOthers) {
  // One channel for each stop.
  const Colour colour = makeFlameRamp({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}).evaluate(0.5);
  const double u = biased(0.5, half);
  expectColour(colour, (0.5 + std::cos(u * pi) / 2.0) * 1.0099999904632568,
               (0.5 - std::cos(2.0 * u * pi) / 2.0) * 1.0329999923706055,
               (0.5 - std::cos(u * pi) / 2.0) * 1.0089999437332153, ulps);
  EXPECT_NEAR(colour.red / 1.01, 0.4999, 1e-4);
  EXPECT_NEAR(colour.blue / 1.009, 0.5001, 1e-4);
}

TEST(FlameRamp, ContributesNothingOutsideTheTongue) {
  const ColourRamp ramp = makeFlameRamp({1, 1, 1}, {1, 1, 1}, {1, 1, 1});
  expectColour(ramp.evaluate(-0.1), 0.0, 0.0, 0.0);
  expectColour(ramp.evaluate(1.0001), 0.0, 0.0, 0.0);
}

TEST(FlameRamp, MayExceedOne) { EXPECT_GT(makeFlameRamp({1, 1, 1}, {1, 1, 1}, {1, 1, 1}).evaluate(0.4).red, 1.5); }

TEST(ColourRamp, AStopActsAtBothItsEnds) {
  ColourRamp ramp;
  ramp.addStop(0, 0.2, 0.8, 0.3, {0.5, 0.25, 0.125}, noGain);
  expectColour(ramp.evaluate(0.2), 0.5, 0.25, 0.125);
  expectColour(ramp.evaluate(0.8), 0.5, 0.25, 0.125);
  expectColour(ramp.evaluate(0.2 - 1e-12), 0.0, 0.0, 0.0);
  expectColour(ramp.evaluate(0.8 + 1e-12), 0.0, 0.0, 0.0);
}

TEST(ColourRamp, EachChannelHasItsOwnGain) {
  ColourRamp ramp;
  ramp.addStop(1, 0.0, 1.0, 0.7, {0.5, 0.25, 0.125}, {2.0, 3.0, 5.0});
  const double shape = biased(0.6, 0.7);
  expectColour(ramp.evaluate(0.6), 0.5 * shape * 2.0, 0.25 * shape * 3.0, 0.125 * shape * 5.0);
}

TEST(ColourRamp, AStopWithoutExtentContributesNothing) {
  ColourRamp ramp;
  ramp.addStop(0, 0.5, 0.5, 0.5, {1, 1, 1}, noGain);
  for (const double p : {0.4, 0.5, 0.6}) expectColour(ramp.evaluate(p), 0.0, 0.0, 0.0);
}

TEST(ColourRamp, ARangeGivenBackwardsRunsTheOtherWay) {
  ColourRamp ramp;
  ramp.addStop(1, 0.8, 0.2, 0.5, {1, 1, 1}, noGain);
  EXPECT_EQ(ramp.evaluate(0.8).red, 0.0);
  EXPECT_EQ(ramp.evaluate(0.2).red, 1.0);
}

TEST(ColourRamp, AnUnknownCurveContributesNothing) {
  for (const std::int32_t type : {-1, 17}) {
    ColourRamp ramp;
    ramp.addStop(type, 0.0, 1.0, 0.5, {1, 1, 1}, noGain);
    expectColour(ramp.evaluate(0.5), 0.0, 0.0, 0.0);
  }
}

TEST(ColourRamp, HoldsTenStops) {
  ColourRamp ramp;
  for (int i = 0; i < ColourRamp::capacity; ++i) ramp.addStop(0, 0.1 * i, 1.0, 0.5, {0.5, 0.25, 0.125}, noGain);
  expectColour(ramp.evaluate(1.0), 5.0, 2.5, 1.25);
  expectColour(ramp.evaluate(0.25), 1.5, 0.75, 0.375);
}

}  // namespace
}  // namespace pyrelux
