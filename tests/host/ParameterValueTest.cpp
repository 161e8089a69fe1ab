#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "SampleParameters.h"

namespace pyrelux::host::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::string validationError(SampleId id, const ParameterValue &value) {
  ParameterSet parameters(sampleDeclarations());
  const std::string message = refusal([&] { parameters.set(*parameters.find(id), value); });
  // What is refused changes nothing.
  EXPECT_EQ(parameters.isSet(id), message.empty());
  EXPECT_EQ(parameters.value(id, 0.0), message.empty() ? value : sample(id).defaultValue);
  return message;
}

TEST(ParameterValue, IsTheDefaultUntilItIsSet) {
  ParameterSet parameters(sampleDeclarations());
  EXPECT_FALSE(parameters.isSet(kGlow));
  EXPECT_EQ(parameters.value(kGlow, 0.0), (ParameterValue{20.0}));
  parameters.set(*parameters.find(kGlow), {-3.5});
  EXPECT_TRUE(parameters.isSet(kGlow));
  EXPECT_EQ(parameters.value(kGlow, 0.0), (ParameterValue{-3.5}));
  EXPECT_FALSE(parameters.isSet(kTongues));
  EXPECT_EQ(parameters.value(kTongues, 0.0), (ParameterValue{6.0}));
  parameters.set(*parameters.find(kGlow), {7.0});
  EXPECT_EQ(parameters.value(kGlow, 0.0), (ParameterValue{7.0}));
}

TEST(ParameterValue, OfAnUnknownParameterIsZero) {
  EXPECT_EQ(ParameterSet(sampleDeclarations()).value(99, 0.0), ParameterValue{});
}

TEST(ParameterValue, BothEndsOfTheRangeBelongToIt) {
  for (const SampleId id : {kTongues, kGlow, kDirection}) {
    EXPECT_EQ(validationError(id, {sample(id).minimum}), "");
    EXPECT_EQ(validationError(id, {sample(id).maximum}), "");
  }
}

TEST(ParameterValue, BeyondTheRangeIsRefusedWithTheRange) {
  EXPECT_EQ(validationError(kTongues, {0.0}), "'tongues' can't be 0: its range is 1..50");
  EXPECT_EQ(validationError(kTongues, {51.0}), "'tongues' can't be 51: its range is 1..50");
  EXPECT_EQ(validationError(kGlow, {100.5}), "'glow' can't be 100.5: its range is -100..100");
  EXPECT_EQ(validationError(kGlow, {-100.5}), "'glow' can't be -100.5: its range is -100..100");
  EXPECT_THAT(validationError(kDirection, {180000.0}), testing::HasSubstr("degrees"));
  EXPECT_THAT(validationError(kGlow, {std::nextafter(100.0, 101.0)}), testing::HasSubstr("-100..100"));
  EXPECT_THAT(validationError(kGlow, {std::numeric_limits<double>::max()}), testing::HasSubstr("-100..100"));
}

TEST(ParameterValue, IsAFiniteNumberInEveryComponent) {
  for (const double number : {nan, infinity, -infinity}) {
    for (const SampleId id : {kTongues, kGlow, kDirection, kMode})
      EXPECT_THAT(validationError(id, {number}), testing::HasSubstr(sample(id).slug()));
    for (std::size_t component = 0; component < 3; ++component) {
      ParameterValue value{0.5, 0.5, 0.5};
      value[component] = number;
      EXPECT_THAT(validationError(kColour, value), testing::HasSubstr("finite"));
    }
    EXPECT_THAT(validationError(kPoint, {number, 0.5}), testing::HasSubstr("finite"));
    EXPECT_THAT(validationError(kPoint, {0.5, number}), testing::HasSubstr("finite"));
  }
}

TEST(ParameterValue, OfAnIntegerIsWhole) {
  EXPECT_EQ(validationError(kTongues, {12.5}), "'tongues' can't be 12.5: it has to be a whole number");
}

TEST(ParameterValue, OfAPopupIsOneOfItsEntries) {
  EXPECT_EQ(validationError(kMode, {0.0}), "");
  EXPECT_EQ(validationError(kMode, {1.0}), "");
  EXPECT_EQ(validationError(kMode, {2.0}), "'source-mode' can't be 2: its entries are 0 Cover, 1 16 Bit Mix");
  EXPECT_EQ(validationError(kMode, {-1.0}), "'source-mode' can't be -1: its entries are 0 Cover, 1 16 Bit Mix");
}

TEST(ParameterValue, OfAColourHasChannelsFromZeroToOne) {
  EXPECT_EQ(validationError(kColour, {0.0, 1.0, 0.5}), "");
  EXPECT_EQ(validationError(kColour, {1.5, 0.0, 0.0}),
            "'color-inner' can't be 1.5,0,0: each channel has to be in 0..1");
  EXPECT_THAT(validationError(kColour, {0.0, -0.1, 0.0}), testing::HasSubstr("0..1"));
  EXPECT_THAT(validationError(kColour, {0.0, 0.0, 2.0}), testing::HasSubstr("0..1"));
}

TEST(ParameterValue, OfAPointMayLieOutsideThePicture) {
  EXPECT_EQ(validationError(kPoint, {-2.0, 3.5}), "");
  EXPECT_EQ(validationError(kPoint, {0.5, -1e9}), "");
  EXPECT_EQ(validationError(kPoint, {0.5, 2e9}),
            "'point-attract-repel' can't be 0.5,2e+09: it lies too far outside the picture");
}

TEST(ParameterValue, ARowWithoutAValueTakesNone) {
  EXPECT_THAT(validationError(kHeader, {1.0}), testing::HasSubstr("www.example.com"));
}

}  // namespace
}  // namespace pyrelux::host::test
