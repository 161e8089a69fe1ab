#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "SampleParameters.h"

namespace pyrelux::host::test {
namespace {

using testing::HasSubstr;

ParameterSet keyed(SampleId id, const std::vector<Keyframe> &keyframes) {
  ParameterSet parameters(sampleDeclarations());
  parameters.setKeyframes(*parameters.find(id), keyframes);
  return parameters;
}

double valueOf(const ParameterSet &parameters, SampleId id, double time) { return parameters.value(id, time)[0]; }

TEST(ParameterKeyframes, GiveTheValueAtEveryTime) {
  const ParameterSet parameters = keyed(kGlow, {{1, {-20.0}}, {11, {30.0}}});
  EXPECT_EQ(valueOf(parameters, kGlow, 1), -20.0);
  EXPECT_EQ(valueOf(parameters, kGlow, 3.5), -7.5);
  EXPECT_EQ(valueOf(parameters, kGlow, 99), 30.0);
  EXPECT_TRUE(parameters.isSet(kGlow));
}

TEST(ParameterKeyframes, OfIntegersAreRoundedToTheNearest) {
  const ParameterSet parameters = keyed(kTongues, {{0, {1.0}}, {10, {4.0}}});
  const double expected[] = {1, 1, 2, 2, 2, 3, 3, 3, 3, 4, 4};
  for (int frame = 0; frame <= 10; ++frame) EXPECT_EQ(valueOf(parameters, kTongues, frame), expected[frame]) << frame;
}

TEST(ParameterKeyframes, OfPopupsHold) {
  const ParameterSet parameters = keyed(kMode, {{0, {0.0}, Ease::Linear}, {10, {1.0}, Ease::Ease}});
  EXPECT_EQ(valueOf(parameters, kMode, 9.99), 0.0);
  EXPECT_EQ(valueOf(parameters, kMode, 10.0), 1.0);
}

TEST(ParameterKeyframes, StayInTheRangeWhereTheCurveLeavesIt) {
  const TimingCurve swing{0.5, -2, 0.5, 3};
  const ParameterSet glow = keyed(kGlow, {{0, {-90.0}, Ease::Bezier, swing}, {10, {90.0}}});
  EXPECT_EQ(valueOf(glow, kGlow, 2), -100.0);
  EXPECT_EQ(valueOf(glow, kGlow, 8), 100.0);
  const ParameterSet colour = keyed(kColour, {{0, {0.1, 0.5, 0.9}, Ease::Bezier, swing}, {10, {0.9, 0.5, 0.1}}});
  EXPECT_EQ(colour.value(kColour, 2), (ParameterValue{0.0, 0.5, 1.0}));
  // A point may leave the picture.
  EXPECT_LT(valueOf(keyed(kPoint, {{0, {0.0}, Ease::Bezier, swing}, {10, {1.0}}}), kPoint, 2), -0.1);
}

TEST(ParameterKeyframes, AreReplacedByAConstantAndBack) {
  ParameterSet parameters = keyed(kGlow, {{0, {0.0}}, {10, {50.0}}});
  parameters.set(*parameters.find(kGlow), {7.0});
  EXPECT_EQ(valueOf(parameters, kGlow, 0), 7.0);
  EXPECT_EQ(valueOf(parameters, kGlow, 10), 7.0);
  EXPECT_EQ(parameters.keyframes(*parameters.find(kGlow)).size(), 1u);
  parameters.setKeyframes(*parameters.find(kGlow), {{0, {0.0}}, {10, {50.0}}});
  EXPECT_EQ(valueOf(parameters, kGlow, 5), 25.0);
  EXPECT_EQ(parameters.keyframes(*parameters.find(kGlow)).size(), 2u);
  EXPECT_EQ(parameters.keyframes(*parameters.find(kTongues)).at(0).value[0], 6.0);
}

TEST(ParameterKeyframes, ThatAreWrongAreRefusedAndChangeNothing) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  const auto curve = [](double x1, double y1, double x2, double y2) {
    return std::vector<Keyframe>{{0, {0.0}, Ease::Bezier, {x1, y1, x2, y2}}, {1, {1.0}}};
  };
  const struct {
    SampleId id;
    std::vector<Keyframe> keyframes;
    const char *word;
  } rows[] = {
      {kGlow, {}, "'glow' needs a keyframe"},
      {kGlow, {{0, {0.0}}, {5, {101.0}}}, "'glow' can't be 101: its range is -100..100"},
      {kTongues, {{0, {1.0}}, {5, {1.5}}}, "whole number"},
      {kGlow, {{3, {0.0}}, {3, {1.0}}}, "ascending"},
      {kGlow, {{3, {0.0}}, {2, {1.0}}}, "ascending"},
      {kGlow, {{nan, {0.0}}}, "no frame"},
      {kGlow, {{3e9, {0.0}}}, "no frame"},
      {kGlow, curve(-0.1, 0, 1, 1), "0..1"},
      {kGlow, curve(0, 0, 1.1, 1), "0..1"},
      {kGlow, curve(nan, 0, 1, 1), "0..1"},
      {kGlow, curve(0, 101, 1, 1), "-100..100"},
      {kGlow, curve(0, 0, 1, nan), "-100..100"},
      {kHeader, {{0, {0.0}}}, "www.example.com"},
  };
  for (const auto &row : rows) {
    ParameterSet parameters(sampleDeclarations());
    EXPECT_THAT(refusal([&] { parameters.setKeyframes(*parameters.find(row.id), row.keyframes); }),
                HasSubstr(row.word));
    EXPECT_FALSE(parameters.isSet(row.id)) << row.word;
  }
}

}  // namespace
}  // namespace pyrelux::host::test
