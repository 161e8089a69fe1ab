#include "ParameterText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Numbers.h"
#include "SampleParameters.h"

namespace pyrelux::host::test {
namespace {

/// The message when a text is given to a parameter, as its value and within its range.
std::string validationError(SampleId id, const std::string &text) {
  ParameterSet parameters(sampleDeclarations());
  return refusal([&] { parameters.set(*parameters.find(id), parseValue(*parameters.find(id), text)); });
}

TEST(ParameterText, ReadsAValueOfEachKind) {
  const struct {
    SampleId id;
    const char *text;
    ParameterValue value;
  } rows[] = {
      {kTongues, "12", {12.0}},
      {kTongues, "12.0", {12.0}},
      {kTongues, "+12", {12.0}},
      {kTongues, "1e1", {10.0}},
      {kGlow, "-5.25", {-5.25}},
      {kGlow, ".5", {0.5}},
      {kGlow, "5.", {5.0}},
      {kGlow, "-0", {0.0}},
      {kGlow, "0005", {5.0}},
      {kDirection, "90", {90.0}},
      {kDirection, "-720.5", {-720.5}},
      {kColour, "1,0.5,0", {1.0, 0.5, 0.0}},
      {kColour, "0,+1,1e-1", {0.0, 1.0, 0.1}},
      {kColour, "#ff8000", {1.0, 128.0 / 255.0, 0.0}},
      {kColour, "#FF8000", {1.0, 128.0 / 255.0, 0.0}},
      {kColour, "#000001", {0.0, 0.0, 1.0 / 255.0}},
      {kPoint, "0.25,0.75", {0.25, 0.75}},
      {kPoint, "-1,2", {-1.0, 2.0}},
      {kMode, "0", {0.0}},
      {kMode, "1", {1.0}},
      {kMode, "Cover", {0.0}},
      {kMode, "COVER", {0.0}},
      {kMode, "16 bit mix", {1.0}},
      {kMode, "16-bit-mix", {1.0}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(parseValue(sample(row.id), row.text), row.value);
    EXPECT_EQ(validationError(row.id, row.text), "");
  }
}

TEST(ParameterText, RefusesWhatIsNoValueWithItsNameAndWhatItTakes) {
  const struct {
    SampleId id;
    const char *takes;
    std::vector<const char *> texts;
  } rows[] = {
      {kTongues,
       "1..50",
       {"", " ", "a", "12a", "1 2", " 12", "12 ", "0x10", "1,5", "--5", "+-5", "-+5", "++5", "1e999", "-1e999"}},
      {kGlow, "-100..100", {"", "a", "1e", "1e999", "1.5.2", "5%", "5,0", "50 degrees"}},
      {kDirection, "degrees", {"", "north", "90deg", "1e999", "pi"}},
      {kColour,
       "#rrggbb",
       {"", "reddish", "1,0", "1,0,0,0", "1,,0", ",,", "1,0,", "#", "#ff", "#fffff", "#12345", "#1234567", "#gg0000",
        "#-10000", "#+10000", "# 10000", "ff8000", "1e999,0,0", "1;0;0"}},
      {kPoint, "x,y", {"", "0.5", "0.5,", ",0.5", "0.5,0.5,0.5", "a,b", "0.5;0.5", "0.5 0.5", "0,1e999"}},
      {kMode, "0 Cover, 1 16 Bit Mix", {"", "Blend", "Cove", "1.5", "1a", "<>", "1e300", "-1e300", "nan", "inf"}},
      {kHeader, "no value", {"", "1", "www"}},
  };
  for (const auto &row : rows)
    for (const char *text : row.texts)
      EXPECT_THAT(refusal([&] { parseValue(sample(row.id), text); }),
                  testing::AllOf(testing::StartsWith("'" + sample(row.id).slug() + "' can't be '" + text + "'"),
                                 testing::HasSubstr(row.takes)))
          << text;
}

TEST(ParameterText, OutOfRangeAndNotFiniteNumbersNeverBecomeValues) {
  const struct {
    SampleId id;
    std::vector<const char *> texts;
  } rows[] = {
      {kTongues, {"0", "51", "-1", "12.5", "nan", "inf", "-inf", "1e300", "4294967297", "NAN", "Infinity"}},
      {kGlow, {"100.1", "-100.1", "nan", "-nan", "inf", "-inf", "1e300", "1e999"}},
      {kDirection, {"180000", "-180000", "nan", "inf"}},
      {kColour, {"2,0,0", "0,-1,0", "0,0,1.01", "nan,0,0", "0,inf,0", "0,0,-inf"}},
      {kPoint, {"nan,0", "0,nan", "inf,0", "0,-inf"}},
      {kMode, {"2", "-1", "16", "1e9", "nan"}},
  };
  for (const auto &row : rows)
    for (const char *text : row.texts)
      EXPECT_THAT(validationError(row.id, text), testing::StartsWith("'" + sample(row.id).slug() + "' can't be "))
          << text;
}

TEST(ParameterText, ReadsBackWhatItWrote) {
  const struct {
    SampleId id;
    ParameterValue value;
  } rows[] = {
      {kTongues, {6.0}},
      {kTongues, {50.0}},
      {kGlow, {0.1}},
      {kGlow, {-99.99}},
      {kGlow, {1.0 / 3.0}},
      {kDirection, {sample(kDirection).maximum}},
      {kColour, {1.0, 128.0 / 255.0, 1.0 / 255.0}},
      {kPoint, {-0.7, 2.0 / 3.0}},
      {kMode, {0.0}},
      {kMode, {1.0}},
  };
  for (const auto &row : rows) {
    const std::string text = formatValue(sample(row.id), row.value);
    EXPECT_EQ(parseValue(sample(row.id), text), row.value) << text;
  }
}

TEST(ParameterText, WritesShortTexts) {
  EXPECT_EQ(formatValue(sample(kTongues), {6.0}), "6");
  EXPECT_EQ(formatValue(sample(kGlow), {0.1}), "0.1");
  EXPECT_EQ(formatValue(sample(kGlow), {-12.25}), "-12.25");
  EXPECT_EQ(formatValue(sample(kColour), {1.0, 0.5, 0.0}), "1,0.5,0");
  EXPECT_EQ(formatValue(sample(kPoint), {0.5, 0.25}), "0.5,0.25");
  EXPECT_EQ(formatValue(sample(kMode), {1.0}), "16 Bit Mix");
  EXPECT_EQ(formatValue(sample(kMode), {2.0}), "2");
  EXPECT_EQ(formatValue(sample(kHeader), {}), "");
}

TEST(ParameterText, WritesRangesWithTheirUnits) {
  EXPECT_EQ(formatRange(sample(kTongues)), "1..50");
  EXPECT_EQ(formatRange(sample(kGlow)), "-100..100");
  ParameterDeclaration spread = sample(kDirection);
  spread.minimum = 0.0;
  spread.maximum = 180.0;
  EXPECT_EQ(formatRange(spread), "0..180 degrees");
  EXPECT_EQ(formatEntries(sample(kMode)), "0 Cover, 1 16 Bit Mix");
}

TEST(ParameterText, TheEndsOfARangeAreAcceptedAsTheyAreShown) {
  for (const SampleId id : {kTongues, kGlow, kDirection})
    for (const double end : {sample(id).minimum, sample(id).maximum})
      EXPECT_EQ(validationError(id, formatNumber(end)), "");
}

TEST(ParameterText, NamesKindsAndUnits) {
  const struct {
    SampleId id;
    const char *kind;
    const char *unit;
  } rows[] = {
      {kHeader, "custom", ""},
      {kTongues, "integer", ""},
      {kGlow, "float", ""},
      {kDirection, "angle", "degrees"},
      {kColour, "colour", "red,green,blue in 0..1"},
      {kPoint, "point", "x,y of the image, 0,0 lower left, 1,1 upper right"},
      {kMode, "popup", "index or name of an entry"},
  };
  for (const auto &row : rows) {
    EXPECT_STREQ(kindName(sample(row.id).kind), row.kind);
    EXPECT_EQ(sample(row.id).unit(), row.unit);
  }
}

}  // namespace
}  // namespace pyrelux::host::test
