#include "FlamePath.h"

#include <gmock/gmock.h>

#include <cmath>

#include "FakeHost.h"
#include "NumericHelpers.h"

namespace pyrelux {
namespace {

using test::defaultSnapshot;
using test::FakeParameters;
using test::Phases;
using test::tonguesOf;
using test::WholeTongue;

/// Tongue 0's speed: the second draw after seeding with 0.
constexpr double speedOfTongueZero = (28925691 % 71539) / 71539.0 * 0.75 + 0.25;

std::vector<WholeTongue> tonguesAt(const Snapshot &snapshot, double time) {
  Phases phases;
  return tonguesOf(snapshot, time, phases);
}

void expectSamePath(const WholeTongue &a, const WholeTongue &b) {
  ASSERT_EQ(a.count, b.count);
  EXPECT_EQ(a.weightSum, b.weightSum);
  for (int j = 0; j < a.count; ++j) {
    EXPECT_EQ(a.stepOffsetX[j], b.stepOffsetX[j]) << "tongue " << a.index << ", entry " << j;
    EXPECT_EQ(a.stepOffsetY[j], b.stepOffsetY[j]) << "tongue " << a.index << ", entry " << j;
  }
}

TEST(FlamePath, HandsOverEveryTongueInOrder) {
  const std::vector<WholeTongue> tongues = tonguesAt(defaultSnapshot(), 3.0);
  ASSERT_EQ(tongues.size(), 6u);
  for (std::size_t i = 0; i < tongues.size(); ++i) {
    EXPECT_EQ(tongues[i].index, static_cast<double>(i));
    EXPECT_EQ(tongues[i].count, 41);
    EXPECT_EQ(tongues[i].weightSum, 41.0);
  }
}

TEST(FlamePath, ATongueIsTheSameInAnyOrder) {
  const Snapshot s = defaultSnapshot();
  const std::vector<WholeTongue> inOrder = tonguesAt(s, 3.0);
  Phases phases;
  const FlamePath path(s, 3.0, phases.accumulators());
  for (const int i : {4, 0, 5, 5, 1, 3, 2})
    expectSamePath({path.common(), path.tongue(i)}, inOrder[static_cast<std::size_t>(i)]);
}

TEST(FlamePath, ATonguesDrawsComeFromItsIndex) {
  const Snapshot s = defaultSnapshot();
  for (const WholeTongue &tongue : tonguesAt(s, 3.0)) {
    seedGenerator(static_cast<std::int32_t>(tongue.index));
    EXPECT_EQ(tongue.tongueTurbulence, rnd(0.2, 4.0));
    EXPECT_EQ(tongue.tongueSpeed, rnd(0.25, 1.0));
    EXPECT_EQ(tongue.tongueSpread, rnd(-s.spread, s.spread) * noise(3.0 / 50.0, 30.0, 0.5, 2.0));
  }
}

TEST(FlamePath, OffsetsAreThoseOfTheStepsOneByOne) {
  // To the bit: however many steps are computed at a time, frames do not depend on the processor.
  Snapshot s = defaultSnapshot();
  s.tongues = 4.0;
  s.wiggleTurbulence = 0.13;
  for (const double steps : {1.0, 40.0, 300.0}) {
    s.steps = steps;
    Phases phases;
    const std::vector<WholeTongue> tongues = tonguesOf(s, 7.0, phases);
    for (const WholeTongue &tongue : tongues) {
      seedGenerator(static_cast<std::int32_t>(tongue.index));
      for (int draw = 0; draw < 3; ++draw) nextGeneratorValue();
      for (int j = 0; j < tongue.count; ++j) {
        const double t = tongue.stepPos[j];
        const double turbulence = noise(t * (0.5 - s.turbWavelength) * 10.0 - phases.turbulence, 20.0, -3.0, 3.0);
        EXPECT_EQ(tongue.turbulence[j], turbulence);
        const double wiggle =
            noise(phases.wiggle + (tongue.index * 300.0 - t * 20.0) * s.wiggleTurbulence, 10.0, -t, t);
        const double spread = tongue.tongueSpread * rnd(t, t) * (tongue.index == 0.0 ? 0.0 : 1.0);
        const double angle = s.direction + spread + wiggle * s.wiggleAmount;
        const double distance = tongue.reach[j] * (1.0 + s.turbAmount * tongue.tongueTurbulence * turbulence);
        EXPECT_EQ(tongue.stepOffsetX[j], std::sin(angle) * distance);
        EXPECT_EQ(tongue.stepOffsetY[j], std::cos(angle) * distance);
      }
    }
  }
}

TEST(FlamePath, TenStepsAreElevenCopiesDownToTheSource) {
  Snapshot s = defaultSnapshot();
  s.steps = 10.0;
  s.attract = 66.0;
  for (const WholeTongue &tongue : tonguesAt(s, 3.0)) {
    ASSERT_EQ(tongue.count, 11);
    for (int j = 0; j <= 10; ++j) {
      EXPECT_EQ(tongue.stepPos[j], 1.0 - j / 10.0);
      EXPECT_EQ(tongue.stepRotation[j], 0.0);
    }
    EXPECT_EQ(tongue.stepScaleX[10], 1.0);
    EXPECT_EQ(tongue.stepScaleY[10], 1.0);
    EXPECT_EQ(std::abs(tongue.stepOffsetX[10]), 0.0);
    EXPECT_EQ(std::abs(tongue.stepOffsetY[10]), 0.0);
  }
}

TEST(FlamePath, ThreeHundredStepsFitTheArrays) {
  Snapshot s = defaultSnapshot();
  s.steps = maximumSteps;
  s.tongues = 2.0;
  for (const WholeTongue &tongue : tonguesAt(s, 3.0)) {
    EXPECT_EQ(tongue.count, 301);
    EXPECT_LE(tongue.count, CommonSteps::capacity);
    EXPECT_EQ(tongue.stepPos[300], 0.0);
  }
}

TEST(FlamePath, WeightZeroWeighsEveryCopyAlike) {
  // t + (1 - t) is 1 to an ulp.
  for (const WholeTongue &tongue : tonguesAt(defaultSnapshot(), 1.0))
    for (int j = 0; j < tongue.count; ++j) EXPECT_NEAR(tongue.stepWeight[j], 1.0, 3e-16);
}

TEST(FlamePath, FullWeightFallsOffTowardTheSource) {
  Snapshot s = defaultSnapshot();
  s.weight = 100.0;
  for (const WholeTongue &tongue : tonguesAt(s, 1.0))
    for (int j = 0; j < tongue.count; ++j) EXPECT_EQ(tongue.stepWeight[j], tongue.stepPos[j]);
}

TEST(FlamePath, NegativeWeightFallsOffTowardTheFarEnd) {
  Snapshot s = defaultSnapshot();
  s.weight = -100.0;
  for (const WholeTongue &tongue : tonguesAt(s, 1.0))
    for (int j = 0; j < tongue.count; ++j) EXPECT_EQ(tongue.stepWeight[j], 1.0 - tongue.stepPos[j]);
}

TEST(FlamePath, TheTwoSidesOfWeightFallOffByTheSameShare) {
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  s.weight = 40.0;
  const WholeTongue outward = tonguesAt(s, 1.0).front();
  s.weight = -40.0;
  const WholeTongue inward = tonguesAt(s, 1.0).front();
  for (int j = 0; j < outward.count; ++j) {
    EXPECT_NEAR(outward.stepWeight[j], 1.0 - 0.4 * (1.0 - outward.stepPos[j]), 3e-16);
    EXPECT_NEAR(inward.stepWeight[j], 1.0 - 0.4 * inward.stepPos[j], 3e-16);
  }
}

TEST(FlamePath, TheSidesOfWeightMeetAtZero) {
  // The smallest weight either way darkens its own end, and only that.
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  const double least = 1e-12;
  s.weight = least;
  const WholeTongue outward = tonguesAt(s, 1.0).front();
  EXPECT_EQ(outward.stepWeight[0], 1.0);
  EXPECT_EQ(outward.stepWeight[40], 1.0 - least / 100.0);
  s.weight = -least;
  const WholeTongue inward = tonguesAt(s, 1.0).front();
  EXPECT_EQ(inward.stepWeight[0], 1.0 - least / 100.0);
  EXPECT_EQ(inward.stepWeight[40], 1.0);
}

TEST(FlamePath, WeightSumIsTheSumOfTheWeights) {
  Snapshot s = defaultSnapshot();
  s.weight = 37.0;
  const WholeTongue tongue = tonguesAt(s, 1.0).back();
  double sum = 0.0;
  for (int j = 0; j < tongue.count; ++j) sum += tongue.stepWeight[j];
  EXPECT_EQ(tongue.weightSum, sum);
  EXPECT_LT(sum, 41.0);
}

TEST(FlamePath, AttractScalesTheFarEndOnly) {
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  for (const auto &[attract, farScale] : {std::pair{100.0, 2.0}, {-100.0, 0.0}, {0.0, 1.0}}) {
    s.attract = attract;
    const WholeTongue tongue = tonguesAt(s, 1.0).front();
    EXPECT_EQ(tongue.stepScaleX[0], farScale);
    EXPECT_EQ(tongue.stepScaleY[0], farScale);
    EXPECT_EQ(tongue.stepScaleX[tongue.count - 1], 1.0);
    EXPECT_EQ(tongue.stepScaleX[20], 0.5 * attract / 100.0 + 1.0);
  }
}

TEST(FlamePath, TongueZeroIgnoresSpread) {
  Snapshot narrow = defaultSnapshot();
  Snapshot wide = narrow;
  narrow.spread = 0.0;
  wide.spread = 2.5;
  const auto straight = tonguesAt(narrow, 4.0);
  const auto spread = tonguesAt(wide, 4.0);
  expectSamePath(straight[0], spread[0]);
  EXPECT_NE(straight[1].stepOffsetX[0], spread[1].stepOffsetX[0]);
}

TEST(FlamePath, WithoutWiggleTongueZeroIsStraightAlongTheDirection) {
  Snapshot s = defaultSnapshot();
  s.wiggleAmount = 0.0;
  for (const double direction : {0.0, 0.7, -2.0}) {
    s.direction = direction;
    const WholeTongue tongue = tonguesAt(s, 4.0)[0];
    for (int j = 0; j < tongue.count; ++j) {
      const double distance = tongue.stepOffsetX[j] * std::sin(direction) + tongue.stepOffsetY[j] * std::cos(direction);
      EXPECT_NEAR(tongue.stepOffsetX[j], std::sin(direction) * distance, 1e-16);
      EXPECT_NEAR(tongue.stepOffsetY[j], std::cos(direction) * distance, 1e-16);
    }
  }
}

TEST(FlamePath, DirectionZeroPointsUpAndPositiveLeansRight) {
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  s.wiggleAmount = 0.0;
  s.turbAmount = 0.0;
  WholeTongue tongue = tonguesAt(s, 0.0).front();
  EXPECT_EQ(tongue.stepOffsetX[0], 0.0);
  EXPECT_EQ(tongue.stepOffsetY[0], s.length);
  s.direction = pi / 2.0;
  tongue = tonguesAt(s, 0.0).front();
  EXPECT_EQ(tongue.stepOffsetX[0], s.length);
}

TEST(FlamePath, WithoutWiggleTurbulenceAllTonguesBendAlike) {
  Snapshot s = defaultSnapshot();
  s.spread = 0.0;
  s.turbAmount = 0.0;
  s.wiggleTurbulence = 0.0;
  Phases phases{0.0, 0.0, 1.75};
  const auto tongues = tonguesOf(s, 4.0, phases);
  EXPECT_EQ(phases.wiggle, 1.75);
  for (const WholeTongue &tongue : tongues) {
    expectSamePath(tongue, tongues[0]);
    // The bend is proportional to the position along the tongue.
    const double bend = std::atan2(tongue.stepOffsetX[0], tongue.stepOffsetY[0]);
    EXPECT_NE(bend, 0.0);
    EXPECT_NEAR(std::atan2(tongue.stepOffsetX[20], tongue.stepOffsetY[20]), 0.5 * bend, 1e-15);
  }
}

TEST(FlamePath, AWavelengthOfAHalfKeepsTurbulenceAlikeAlongTheTongue) {
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  s.wiggleAmount = 0.0;
  s.turbAmount = 2.0;
  s.turbWavelength = 0.5;
  const WholeTongue tongue = tonguesAt(s, 7.0).front();
  for (int j = 0; j < tongue.count; ++j)
    EXPECT_NEAR(tongue.stepOffsetY[j], tongue.stepPos[j] * tongue.stepOffsetY[0], 1e-16);
}

TEST(FlamePath, StrongTurbulenceThrowsCopiesToTheOtherSide) {
  Snapshot s = defaultSnapshot();
  s.wiggleAmount = 0.0;
  s.spread = 0.0;
  s.turbAmount = 2.0;
  int opposite = 0;
  for (double time = 0.0; time < 60.0; time += 6.0)
    for (const WholeTongue &tongue : tonguesAt(s, time))
      for (int j = 0; j < tongue.count; ++j) opposite += tongue.stepOffsetY[j] < 0.0;
  EXPECT_GT(opposite, 0);
}

TEST(FlamePath, MoreTonguesLeaveTheFirstOnesAsTheyWere) {
  Snapshot s = defaultSnapshot();
  s.tongues = 3.0;
  const auto few = tonguesAt(s, 5.0);
  s.tongues = 50.0;
  const auto many = tonguesAt(s, 5.0);
  ASSERT_EQ(many.size(), 50u);
  for (std::size_t i = 0; i < few.size(); ++i) expectSamePath(few[i], many[i]);
  EXPECT_NE(many[3].stepOffsetX[0], many[2].stepOffsetX[0]);
}

TEST(FlamePath, TakesOneDrawForEachStepAfterThree) {
  // The generator's state after a frame of one tongue is that after seeding and 3 + 41 draws.
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  tonguesAt(s, 5.0);
  const std::int32_t next = nextGeneratorValue();
  seedGenerator(0);
  for (int i = 0; i < 3 + 41; ++i) nextGeneratorValue();
  EXPECT_EQ(nextGeneratorValue(), next);
}

TEST(FlamePath, SpreadIsEachTonguesThirdDrawSwellingWithTheFrameTime) {
  Snapshot s = defaultSnapshot();
  s.wiggleAmount = 0.0;
  s.turbAmount = 0.0;
  s.spread = 0.3;
  for (const double time : {0.0, 25.0}) {
    const auto tongues = tonguesAt(s, time);
    for (std::size_t i = 1; i < tongues.size(); ++i) {
      seedGenerator(static_cast<std::int32_t>(i));
      rnd(0.0, 1.0);
      rnd(0.0, 1.0);
      const double expected = rnd(-0.3, 0.3) * noise(time / 50.0, 30.0, 0.5, 2.0);
      EXPECT_NEAR(std::atan2(tongues[i].stepOffsetX[0], tongues[i].stepOffsetY[0]), expected, 1e-15);
      EXPECT_NEAR(std::atan2(tongues[i].stepOffsetX[20], tongues[i].stepOffsetY[20]), expected * 0.5, 1e-15);
    }
  }
}

TEST(FlamePhases, AdvanceWithTheFrameTimeAtTongueZerosSpeed) {
  Phases phases;
  const Snapshot s = defaultSnapshot();
  tonguesOf(s, 10.0, phases);
  EXPECT_EQ(phases.oldFrame, 10.0);
  EXPECT_EQ(phases.wiggle, 10.0 * s.wiggleTurbulence);
  EXPECT_EQ(phases.turbulence, 10.0 * speedOfTongueZero * s.turbSpeed);
}

TEST(FlamePhases, AtConstantSpeedDependOnTheFrameTimeAlone) {
  const Snapshot s = defaultSnapshot();
  Phases wandering;
  for (const double time : {10.0, 4.0, 11.5, 0.0, 30.0}) tonguesOf(s, time, wandering);
  // Five sums of numbers up to 3, each rounded.
  EXPECT_NEAR(wandering.wiggle, 30.0 * s.wiggleTurbulence, 1e-15 * 5);
  EXPECT_NEAR(wandering.turbulence, 30.0 * speedOfTongueZero * s.turbSpeed, 1e-15 * 5);
}

TEST(FlamePhases, GoBackWithTheFrameTime) {
  const Snapshot s = defaultSnapshot();
  Phases phases;
  tonguesOf(s, 10.0, phases);
  tonguesOf(s, 4.0, phases);
  EXPECT_EQ(phases.oldFrame, 4.0);
  EXPECT_EQ(phases.wiggle, 10.0 * s.wiggleTurbulence + (4.0 - 10.0) * s.wiggleTurbulence);
}

TEST(FlamePhases, SameTimeTwiceMovesNoPhase) {
  const Snapshot s = defaultSnapshot();
  Phases phases;
  const auto first = tonguesOf(s, 8.25, phases);
  const Phases before = phases;
  const auto second = tonguesOf(s, 8.25, phases);
  EXPECT_EQ(phases.turbulence, before.turbulence);
  EXPECT_EQ(phases.wiggle, before.wiggle);
  for (std::size_t i = 0; i < first.size(); ++i) expectSamePath(first[i], second[i]);
}

TEST(FlamePhases, AnAnimatedSpeedIsIntegratedOverTheFramesMade) {
  Snapshot s = defaultSnapshot();
  Phases phases;
  tonguesOf(s, 10.0, phases);
  s.wiggleTurbulence = 0.5;
  s.turbSpeed = 0.25;
  tonguesOf(s, 12.0, phases);
  const Snapshot before = defaultSnapshot();
  EXPECT_EQ(phases.wiggle, 10.0 * before.wiggleTurbulence + 2.0 * 0.5);
  EXPECT_EQ(phases.turbulence, 10.0 * speedOfTongueZero * before.turbSpeed + 2.0 * speedOfTongueZero * 0.25);
}

TEST(FlamePhases, TheWiggleAdvancesBeforeOldFrameMoves) {
  // Tongue 0 already uses this frame's wiggle phase.
  Snapshot s = defaultSnapshot();
  s.tongues = 1.0;
  s.turbAmount = 0.0;
  const WholeTongue tongue = tonguesAt(s, 40.0).front();
  const double phase = 40.0 * s.wiggleTurbulence;
  const double expected = noise(phase - 20.0 * s.wiggleTurbulence, 10.0, -1.0, 1.0) * s.wiggleAmount;
  EXPECT_NEAR(std::atan2(tongue.stepOffsetX[0], tongue.stepOffsetY[0]), expected, 1e-15);
}

TEST(FlamePhases, WithoutTonguesOldFrameStaysAndTheWiggleSpansBackAgain) {
  Snapshot s = defaultSnapshot();
  Phases phases;
  tonguesOf(s, 2.0, phases);
  const double turbulence = phases.turbulence;
  s.tongues = 0.0;
  double wiggle = phases.wiggle;
  for (const double time : {5.0, 7.0}) {
    EXPECT_TRUE(tonguesOf(s, time, phases).empty());
    wiggle = wiggle + (time - 2.0) * s.wiggleTurbulence;
    EXPECT_EQ(phases.oldFrame, 2.0);
    EXPECT_EQ(phases.turbulence, turbulence);
    EXPECT_EQ(phases.wiggle, wiggle);
  }
  s.tongues = 6.0;
  EXPECT_EQ(tonguesOf(s, 8.0, phases).size(), 6u);
  EXPECT_EQ(phases.oldFrame, 8.0);
  EXPECT_EQ(phases.wiggle, wiggle + 6.0 * s.wiggleTurbulence);
  EXPECT_EQ(phases.turbulence, turbulence + 6.0 * speedOfTongueZero * s.turbSpeed);
}

TEST(FlamePhases, ANegativeNumberOfTonguesIsNone) {
  Snapshot s = defaultSnapshot();
  s.tongues = -3.0;
  Phases phases;
  EXPECT_TRUE(tonguesOf(s, 5.0, phases).empty());
  EXPECT_EQ(phases.oldFrame, 0.0);
}

}  // namespace
}  // namespace pyrelux
