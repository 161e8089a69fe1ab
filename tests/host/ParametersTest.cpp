// What a set of parameters makes of names and values that are not quite its own.

#include "Parameters.h"

#include <gtest/gtest.h>

#include <limits>

#include "HostError.h"
#include "ParameterText.h"

namespace pyrelux::host {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

ParameterDeclaration parameter(const std::string &label, ParameterKind kind = ParameterKind::Float) {
  ParameterDeclaration declaration;
  declaration.kind = kind;
  declaration.label = declaration.key = label;
  declaration.minimum = -5.0;
  declaration.maximum = 10.0;
  return declaration;
}

/// The sentence about a name that none of the labels is.
std::string complaint(const std::string &name, const std::vector<std::string> &labels) {
  std::vector<ParameterDeclaration> declarations;
  for (const std::string &label : labels) {
    declarations.push_back(parameter(label));
    declarations.back().id = static_cast<std::uint32_t>(100 + declarations.size());
  }
  try {
    ParameterSet(declarations).named(name);
    return "nothing thrown";
  } catch (const HostError &error) {
    return error.what();
  }
}

TEST(Parameters, TheNearestNameIsOfTheFewestEdits) {
  EXPECT_EQ(complaint("q", {"abcdefgh", "ab"}), "there is no parameter 'q'; the nearest is 'ab'");
  EXPECT_EQ(complaint("abcd", {"cdzz", "abxx"}), "there is no parameter 'abcd'; the nearest is 'abxx'");
  EXPECT_EQ(complaint("abcd", {"zabc", "abxd"}), "there is no parameter 'abcd'; the nearest is 'abxd'");
  EXPECT_EQ(complaint("abcx", {"abzz", "abc"}), "there is no parameter 'abcx'; the nearest is 'abc'");
  EXPECT_EQ(complaint("glow", {"glxx", "weight of the glow"}),
            "there is no parameter 'glow'; the nearest is 'weight-of-the-glow'");
  EXPECT_EQ(complaint("glow", {"gxxx", "weight of the glow"}),
            "there is no parameter 'glow'; the nearest is 'weight-of-the-glow'")
      << "what holds the name is near, however long it is";
}

TEST(Parameters, WhatIsOutOfRangeBecomesTheNearestValue) {
  for (const ParameterKind kind : {ParameterKind::Float, ParameterKind::Integer}) {
    const ParameterDeclaration ranged = parameter("Amount", kind);
    EXPECT_EQ(clampToLegal(ranged, {20.0})[0], 10.0);
    EXPECT_EQ(clampToLegal(ranged, {-20.0})[0], -5.0);
    EXPECT_EQ(clampToLegal(ranged, {3.0})[0], 3.0);
  }
  EXPECT_EQ(clampToLegal(parameter("Count", ParameterKind::Integer), {2.6})[0], 3.0);
  EXPECT_EQ(clampToLegal(parameter("Tint", ParameterKind::Colour), {-1.0, 0.5, 2.0}), (ParameterValue{0.0, 0.5, 1.0}));
}

TEST(Parameters, AMenusValueIsWrittenAsItsEntry) {
  ParameterDeclaration menu = parameter("Mode", ParameterKind::Popup);
  menu.entries = {"First", "Second"};
  EXPECT_EQ(formatValue(menu, {0.0}), "First");
  EXPECT_EQ(formatValue(menu, {1.0}), "Second");
  EXPECT_EQ(formatValue(menu, {2.0}), "2");
}

TEST(Parameters, WhatIsNoNumberBecomesTheDefault) {
  ParameterDeclaration tint = parameter("Tint", ParameterKind::Colour);
  tint.defaultValue = {0.25, 0.5, 0.75};
  EXPECT_EQ(clampToLegal(tint, {nan, nan, nan}), tint.defaultValue);
  EXPECT_EQ(clampToLegal(tint, {0.1, nan, 0.2}), (ParameterValue{0.1, 0.5, 0.2}));
}

TEST(Parameters, ACurveTakesThePlaceOfWhatWasSet) {
  ParameterSet set({parameter("Amount"), parameter("Header", ParameterKind::Custom)});
  const ParameterDeclaration &amount = set.named("amount");
  set.set(amount, {0.5});
  set.setCurve(amount, [](double time) { return ParameterValue{time / 10.0}; });
  EXPECT_EQ(set.value(amount.id, 5.0)[0], 0.5);
  ASSERT_EQ(set.keyframes(amount).size(), 1u);
  EXPECT_EQ(set.keyframes(amount)[0].value[0], 0.0) << "at frame 0";
  EXPECT_THROW(set.setCurve(set.declarations()[1], [](double) { return ParameterValue{}; }), HostError);
}

TEST(Parameters, TheCurveOfAKeyframeMaySwingByAHundred) {
  Keyframe keyframe;
  keyframe.ease = Ease::Bezier;
  keyframe.curve = {0.5, 100.0, 0.5, -100.0};
  EXPECT_EQ(validationError(keyframe), "");
  keyframe.curve[3] = -100.5;
  EXPECT_EQ(validationError(keyframe), "y1 and y2 of its curve have to be in -100..100");
}

}  // namespace
}  // namespace pyrelux::host
