#include "NumericHelpers.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace pyrelux {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Reference values are given to 16 or 17 digits; the C library's sine and cosine may differ by an ulp each.
constexpr double ulps = 1e-14;

TEST(Noise, HasItsReferenceValues) {
  EXPECT_NEAR(noise(0.0, 30.0, 0.5, 2.0), 1.3641533813331987, ulps);
  EXPECT_NEAR(noise(1.0, 2.0, 0.0, 1.0), 0.5377453761168269, ulps);
}

TEST(Noise, BelowTwoOctavesIsTheMidpointEverywhere) {
  for (const double octaves : {1.9, 0.0, -5.0, nan})
    for (const double x : {-1000.0, 0.0, 0.3, 77.7}) EXPECT_EQ(noise(x, octaves, -1.0, 5.0), 2.0);
}

TEST(Noise, TwoOctavesAreOneTerm) {
  const double x = 1.7;
  const double sine = std::sin(6.0 * (x / 7.0) + 4.0 * std::cos((x + 2.0) / 3.0 + x / 10.0));
  EXPECT_NEAR(noise(x, 2.0, 0.0, 1.0), (sine / 6.0) / 2.0 + 0.5, ulps);
}

TEST(Noise, TakesTheWholePartOfItsOctaves) {
  for (const double x : {-3.3, 0.0, 12.0}) {
    EXPECT_EQ(noise(x, 20.7, -3.0, 3.0), noise(x, 20.0, -3.0, 3.0));
    EXPECT_NE(noise(x, 21.0, -3.0, 3.0), noise(x, 20.0, -3.0, 3.0));
  }
}

TEST(Noise, MapsOntoARangeGivenBackwards) {
  const double unit = noise(4.2, 10.0, 0.0, 1.0);
  EXPECT_NEAR(noise(4.2, 10.0, 3.0, -1.0), 3.0 - 4.0 * unit, ulps);
}

TEST(Noise, OfTenOctavesStaysInsideItsRange) {
  // Nine terms of 1/6 .. 1/14 sum to 0.968229 at most.
  for (double x = -200.0; x < 200.0; x += 0.37) {
    const double value = noise(x, 10.0, 0.0, 1.0);
    EXPECT_GT(value, 0.015885);
    EXPECT_LT(value, 0.984115);
  }
}

TEST(Noise, RepeatsAfterFourHundredAndTwentyPi) {
  for (const double x : {0.1, 3.0, 50.0})
    // Arguments of up to 34/7 * 1369 are rounded to 1e-12 before their sine is taken.
    EXPECT_NEAR(noise(x + 420.0 * pi, 30.0, 0.0, 1.0), noise(x, 30.0, 0.0, 1.0), 1e-11);
}

TEST(Generator, IsTheMinimalStandardOne) {
  // The published check: started at 1, the 10,000th value is 1043618065.
  seedGenerator(1);
  EXPECT_EQ(nextGeneratorValue(), 16807);
  for (int i = 2; i < 10000; ++i) nextGeneratorValue();
  EXPECT_EQ(nextGeneratorValue(), 1043618065);
}

TEST(Generator, ZeroStartsAtItsReplacement) {
  seedGenerator(0);
  const std::int32_t fromZero = nextGeneratorValue();
  EXPECT_EQ(fromZero, 520932930);
  seedGenerator(123459876);
  EXPECT_EQ(nextGeneratorValue(), fromZero);
}

TEST(Generator, BelongsToItsThread) {
  seedGenerator(7);
  const std::int32_t first = nextGeneratorValue();
  seedGenerator(7);
  std::thread([] {
    seedGenerator(40);
    nextGeneratorValue();
  }).join();
  EXPECT_EQ(nextGeneratorValue(), first);
}

TEST(Rnd, DividesTheRemainderByItsModulus) {
  seedGenerator(3);
  const std::int32_t value = nextGeneratorValue();
  seedGenerator(3);
  EXPECT_EQ(rnd(-30.0, 30.0), (value % 71539) / 71539.0 * 60.0 + -30.0);
}

TEST(Rnd, OfOneValueIsThatValueAndStillTakesADraw) {
  seedGenerator(5);
  nextGeneratorValue();
  const std::int32_t second = nextGeneratorValue();
  seedGenerator(5);
  EXPECT_EQ(rnd(0.7, 0.7), 0.7);
  EXPECT_EQ(nextGeneratorValue(), second);
}

TEST(Rnd, WithItsRangeBackwardsStaysBetweenTheEnds) {
  seedGenerator(11);
  for (int i = 0; i < 1000; ++i) {
    const double value = rnd(2.0, -1.0);
    EXPECT_LE(value, 2.0);
    EXPECT_GT(value, -1.0);
  }
}

TEST(Rnd, RepeatsItselfAfterTheSameStart) {
  const auto run = [] {
    seedGenerator(29);
    std::vector<double> values;
    for (int i = 0; i < 50; ++i) values.push_back(rnd(0.0, 1.0));
    return values;
  };
  const std::vector<double> first = run();
  EXPECT_EQ(run(), first);
  EXPECT_NE(first.front(), first.back());
}

TEST(Rotate2DPoint, TurnsClockwise) {
  double x = 1.0;
  double y = 0.0;
  rotate2DPoint(&x, &y, 90.0, 0.0, 0.0, 1.0);
  EXPECT_NEAR(x, 0.0, 1e-16);
  EXPECT_EQ(y, -1.0);
}

TEST(Rotate2DPoint, ByNothingLeavesThePointInPlace) {
  double x = 0.3;
  double y = 0.9;
  rotate2DPoint(&x, &y, 0.0, 0.5, 0.25, 16.0 / 9.0);
  // Away from the centre, over the aspect and back: an ulp of 1 for each of these.
  EXPECT_NEAR(x, 0.3, 3e-16);
  EXPECT_NEAR(y, 0.9, 3e-16);
}

TEST(Rotate2DPoint, DividesTheHeightByTheAspectBeforeTurning) {
  double x = 0.5;
  double y = 0.25 + 2.0;
  rotate2DPoint(&x, &y, 90.0, 0.5, 0.25, 2.0);
  EXPECT_NEAR(x, 1.5, 1e-15);
  EXPECT_NEAR(y, 0.25, 1e-15);
}

TEST(Rotate2DPoint, WithoutAnAspectIsNotFinite) {
  double x = 0.3;
  double y = 0.9;
  rotate2DPoint(&x, &y, 10.0, 0.5, 0.5, 0.0);
  EXPECT_FALSE(std::isfinite(x));
  EXPECT_FALSE(std::isfinite(y));
}

TEST(Interpolate, IsTheFirstValueAtOneAndTheSecondAtZero) {
  EXPECT_EQ(interpolate(3.0, 8.0, 1.0), 3.0);
  EXPECT_EQ(interpolate(3.0, 8.0, 0.0), 8.0);
  EXPECT_EQ(interpolate(3.0, 8.0, 0.25), 6.75);
}

}  // namespace
}  // namespace pyrelux
