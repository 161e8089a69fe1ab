#include "Snapshot.h"

#include <gmock/gmock.h>

#include "FakeHost.h"
#include "NumericHelpers.h"

namespace pyrelux {
namespace {

using test::FakeParameters;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

/// A value for every parameter, all different.
FakeParameters distinctParameters() {
  FakeParameters p;
  p.ints = {{kTongues, 7}, {kSourceMode, 1}, {kSteps, 33}, {kColorDepth, 1}};
  p.floats = {{kTurbulenceAmount, 12.0}, {kTurbulenceWavelength, 50.0},
              {kTurbulenceSpeed, 30.0},  {kWiggleAmount, 10.0},
              {kWiggleTurbulence, 5.0},  {kGlow, -40.0},
              {kDirection, 0.3},         {kSpread, 0.7},
              {kLength, 45.0},           {kAttractRepel, -66.0},
              {kSourceOpacity, 0.4},     {kWeight, 25.0},
              {kCropLeft, 0.01},         {kCropRight, 0.02},
              {kCropTop, 0.03},          {kCropBottom, 0.04}};
  p.colours = {
      {kColorInner, {0.11, 0.12, 0.13}}, {kColorCenter, {0.21, 0.22, 0.23}}, {kColorOuter, {0.31, 0.32, 0.33}}};
  p.points = {{kPoint, {0.25, 0.75}}};
  return p;
}

TEST(Snapshot, RescalesWhatItReads) {
  FakeParameters parameters = distinctParameters();
  const Snapshot s = readSnapshot(parameters, 1.0);
  EXPECT_EQ(s.tongues, 7.0);
  EXPECT_EQ(s.turbAmount, 12.0 / 50.0);
  EXPECT_EQ(s.turbWavelength, 0.25);
  EXPECT_EQ(s.turbSpeed, 30.0 / 200.0);
  EXPECT_EQ(s.wiggleAmount, 0.25);
  EXPECT_EQ(s.wiggleTurbulence, 5.0 / 200.0);
  EXPECT_EQ(s.glow, 100.0 - ((-40.0 / 2.0 + 50.0) / 100.0) * 99.0);
  EXPECT_EQ(s.length, 45.0 / 100.0);
}

TEST(Snapshot, KeepsTheRestAsTheHostGivesIt) {
  FakeParameters parameters = distinctParameters();
  const Snapshot s = readSnapshot(parameters, 1.0);
  EXPECT_EQ(s.direction, 0.3);
  EXPECT_EQ(s.spread, 0.7);
  EXPECT_EQ(s.attract, -66.0);
  EXPECT_EQ(s.opacity, 0.4);
  EXPECT_EQ(s.mode, 1);
  EXPECT_EQ(s.weight, 25.0);
  EXPECT_EQ(s.steps, 33.0);
  EXPECT_EQ(s.cropLeft, 0.01);
  EXPECT_EQ(s.cropRight, 0.02);
  EXPECT_EQ(s.cropTop, 0.03);
  EXPECT_EQ(s.cropBottom, 0.04);
  EXPECT_EQ(s.point.x, 0.25);
  EXPECT_EQ(s.point.y, 0.75);
  EXPECT_EQ(s.inner.red, 0.11);
  EXPECT_EQ(s.inner.green, 0.12);
  EXPECT_EQ(s.inner.blue, 0.13);
  EXPECT_EQ(s.centre.red, 0.21);
  EXPECT_EQ(s.centre.green, 0.22);
  EXPECT_EQ(s.centre.blue, 0.23);
  EXPECT_EQ(s.outer.red, 0.31);
  EXPECT_EQ(s.outer.green, 0.32);
  EXPECT_EQ(s.outer.blue, 0.33);
}

TEST(Snapshot, GlowRunsBackwardsFromAHundredToOne) {
  FakeParameters parameters;
  parameters.floats[kGlow] = -100.0;
  EXPECT_EQ(readSnapshot(parameters, 0.0).glow, 100.0);
  parameters.floats[kGlow] = 100.0;
  EXPECT_EQ(readSnapshot(parameters, 0.0).glow, 1.0);
}

TEST(Snapshot, OnlyDepthOneIsSixteenBits) {
  FakeParameters parameters;
  for (const int depth : {-1, 0, 2, 16}) {
    parameters.ints[kColorDepth] = depth;
    EXPECT_EQ(readSnapshot(parameters, 0.0).bitDepth(), 8.0) << depth;
  }
  parameters.ints[kColorDepth] = 1;
  EXPECT_EQ(readSnapshot(parameters, 0.0).bitDepth(), 16.0);
}

TEST(Snapshot, AsksInOneFixedOrder) {
  FakeParameters parameters;
  readSnapshot(parameters, 12.5);
  EXPECT_THAT(parameters.asked,
              ElementsAre("int 14", "float 17", "float 18", "float 19", "float 15", "float 16", "float 3", "float 2",
                          "float 20", "float 6", "colour 9", "colour 10", "colour 11", "float 13", "point 7", "float 1",
                          "int 12", "float 8", "int 4", "float 21", "float 22", "float 23", "float 24", "int 5"));
}

TEST(Snapshot, ReadsEverythingAtTheFrameTime) {
  FakeParameters parameters;
  readSnapshot(parameters, 12.5);
  EXPECT_THAT(parameters.times, SizeIs(24));
  EXPECT_THAT(parameters.times, Each(12.5));
}

TEST(OrientationFix, MirrorsAnOutputWithItsTopRowFirst) {
  FakeParameters parameters = distinctParameters();
  Snapshot s = readSnapshot(parameters, 0.0);
  fixOrientation(s, 2.0);
  EXPECT_EQ(s.cropTop, 0.04);
  EXPECT_EQ(s.cropBottom, 0.03);
  EXPECT_EQ(s.direction, pi - 0.3);
  EXPECT_EQ(s.cropLeft, 0.01);
  EXPECT_EQ(s.cropRight, 0.02);
  EXPECT_EQ(s.point.y, 0.75) << "the point is not mirrored";
}

TEST(OrientationFix, LeavesEveryOtherOriginAlone) {
  FakeParameters parameters = distinctParameters();
  for (const double origin : {0.0, 1.0, 3.0}) {
    Snapshot s = readSnapshot(parameters, 0.0);
    fixOrientation(s, origin);
    EXPECT_EQ(s.cropTop, 0.03);
    EXPECT_EQ(s.cropBottom, 0.04);
    EXPECT_EQ(s.direction, 0.3);
  }
}

}  // namespace
}  // namespace pyrelux
