#include "Frei0rParameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace pyrelux::adapters::test {
namespace {

host::ParameterDeclaration declared(host::ParameterKind kind, double minimum, double maximum) {
  host::ParameterDeclaration declaration;
  declaration.id = 7;
  declaration.kind = kind;
  declaration.label = "Thing";
  declaration.minimum = minimum;
  declaration.maximum = maximum;
  return declaration;
}

const host::ParameterDeclaration glow = declared(host::ParameterKind::Float, -100.0, 100.0);
const host::ParameterDeclaration steps = declared(host::ParameterKind::Integer, 10.0, 300.0);

TEST(Frei0rParameters, NumbersCoverTheDeclaredRange) {
  EXPECT_EQ(fromUnit(glow, 0.0), -100.0);
  EXPECT_EQ(fromUnit(glow, 0.6), 20.0);
  EXPECT_EQ(fromUnit(glow, 1.0), 100.0);
  EXPECT_EQ(toUnit(glow, 20.0), 0.6);
  EXPECT_EQ(fromUnit(steps, 0.1), 39.0);
}

TEST(Frei0rParameters, WhatLiesOutsideIsTheNearerEnd) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(fromUnit(glow, -3.0), -100.0);
  EXPECT_EQ(fromUnit(glow, 25.0), 100.0);
  EXPECT_EQ(fromUnit(glow, infinity), 100.0);
  EXPECT_EQ(fromUnit(glow, -infinity), -100.0);
  EXPECT_EQ(fromUnit(glow, std::nan("")), -100.0);
}

TEST(Frei0rParameters, PopupsAreSteps) {
  host::ParameterDeclaration popup = declared(host::ParameterKind::Popup, 0.0, 0.0);
  popup.entries = {"A", "B", "C"};
  EXPECT_EQ(fromUnit(popup, 0.2), 0.0);
  EXPECT_EQ(fromUnit(popup, 0.3), 1.0);
  EXPECT_EQ(fromUnit(popup, 0.7), 1.0);
  EXPECT_EQ(fromUnit(popup, 0.8), 2.0);
  for (const double entry : {0.0, 1.0, 2.0}) EXPECT_EQ(fromUnit(popup, toUnit(popup, entry)), entry);
}

TEST(Frei0rParameters, EveryWholeNumberComesBack) {
  for (double value = 10.0; value <= 300.0; ++value) EXPECT_EQ(fromUnit(steps, toUnit(steps, value)), value);
}

TEST(Frei0rParameters, APointIsTwoNumbersAndWhatCannotBeSetIsLeftOut) {
  const auto parameters = frei0rParameters({declared(host::ParameterKind::Custom, 0.0, 0.0), glow,
                                            declared(host::ParameterKind::Point, 0.0, 0.0),
                                            declared(host::ParameterKind::Colour, 0.0, 0.0)});
  std::vector<std::string> names;
  std::vector<int> types;
  for (const Frei0rParameter &parameter : parameters) {
    names.push_back(parameter.name);
    types.push_back(parameter.type());
    EXPECT_NE(parameter.explanation, "");
  }
  EXPECT_THAT(names, testing::ElementsAre("Frame rate", "Output", "Time unit", "Preset", "Seed", "Thing", "Thing X",
                                          "Thing Y", "Thing"));
  EXPECT_THAT(types, testing::ElementsAre(F0R_PARAM_STRING, F0R_PARAM_STRING, F0R_PARAM_STRING, F0R_PARAM_STRING,
                                          F0R_PARAM_STRING, F0R_PARAM_DOUBLE, F0R_PARAM_DOUBLE, F0R_PARAM_DOUBLE,
                                          F0R_PARAM_COLOR));
}

}  // namespace
}  // namespace pyrelux::adapters::test
