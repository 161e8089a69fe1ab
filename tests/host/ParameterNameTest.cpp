#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SampleParameters.h"

namespace pyrelux::host::test {
namespace {

TEST(ParameterName, IsAnIdAKeyALabelAKeyLabelInAnyCaseOrASlug) {
  const ParameterSet parameters(sampleDeclarations());
  const struct {
    SampleId id;
    std::vector<const char *> names;
  } rows[] = {
      {kTongues, {"14", "Pyrelux::Pyrelux", "Tongues", "tongues", "TONGUES", "Pyrelux", "pyrelux", "PYRELUX"}},
      {kGlow, {"3", "Pyrelux::Glow", "Glow", "glow", "gLOW"}},
      {kWeight,
       {"8", "Pyrelux::Weight Inner<>Outer", "Weight Inner<>Outer", "Weight Inner <> Outer", "WEIGHT inner <> outer",
        "weight-inner-outer"}},
      {kPoint, {"7", "Point (Attract <> Repel)", "point (attract <> repel)", "point-attract-repel"}},
      {kMode, {"12", "Pyrelux::Source: Mode", "Source: Mode", "source: mode", "source-mode", "Source-Mode"}},
      {kHeader, {"25", "www.example.com", "WWW.example.com", "www-example-com"}},
  };
  for (const auto &row : rows)
    for (const char *name : row.names) {
      SCOPED_TRACE(name);
      EXPECT_EQ(parameters.named(name).id, row.id);
    }
}

TEST(ParameterName, UnknownOnesGetTheNearestSuggested) {
  const ParameterSet parameters(sampleDeclarations());
  const struct {
    const char *name;
    const char *nearest;
  } rows[] = {
      {"glwo", "glow"},
      {"glow2", "glow"},
      {"Direktion", "direction"},
      {"tounges", "tongues"},
      {"pyreluxe", "tongues"},
      {"Color Iner", "color-inner"},
      {"SOURCE MODES", "source-mode"},
      {"weight-outer-inner", "weight-inner-outer"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(refusal([&] { parameters.named(row.name); }),
              "there is no parameter '" + std::string(row.name) + "'; the nearest is '" + row.nearest + "'");
}

TEST(ParameterName, ARowWithoutAValueIsNeverSuggested) {
  const ParameterSet parameters(sampleDeclarations());
  EXPECT_THAT(
      refusal([&] { parameters.named("www.example.org"); }),
      testing::AllOf(testing::HasSubstr("the nearest is"), testing::Not(testing::HasSubstr("www-example-com"))));
}

TEST(ParameterName, NothingIsSuggestedWhereThereIsNothing) {
  const ParameterSet none({});
  EXPECT_EQ(refusal([&] { none.named("glow"); }), "there is no parameter 'glow'");
}

TEST(ParameterName, WithoutALetterOrDigitMeansNoParameter) {
  std::vector<ParameterDeclaration> declarations = sampleDeclarations();
  declarations[1].label = "<>";
  const ParameterSet parameters(declarations);
  for (const char *name : {"", " ", "<>>", "::", "-"}) {
    SCOPED_TRACE(name);
    EXPECT_THAT(refusal([&] { parameters.named(name); }), testing::StartsWith("there is no parameter"));
  }
}

TEST(ParameterName, IdsAreNotTakenForOthersThatBeginLikeThem) {
  const ParameterSet parameters(sampleDeclarations());
  for (const char *name : {"1", "014", "14.0", "+14", "140", "-14", "4294967310"}) {
    SCOPED_TRACE(name);
    EXPECT_THAT(refusal([&] { parameters.named(name); }), testing::StartsWith("there is no parameter"));
  }
  EXPECT_EQ(parameters.find(1), nullptr);
}

TEST(ParameterName, SlugsAreLowerCaseLettersAndDigitsJoinedByDashes) {
  const struct {
    const char *text;
    const char *slug;
  } rows[] = {
      {"Glow", "glow"},
      {"Turbulence: Amount", "turbulence-amount"},
      {"Weight Inner<>Outer", "weight-inner-outer"},
      {"Weight Inner <> Outer", "weight-inner-outer"},
      {"  Spread (Degrees)  ", "spread-degrees"},
      {"16 Bit", "16-bit"},
      {"a--b", "a-b"},
      {"Gr\xC3\xB6\xC3\x9F"
       "e",
       "gr-e"},
      {"<>", ""},
      {"", ""},
  };
  for (const auto &row : rows) EXPECT_EQ(slugOf(row.text), row.slug);
}

TEST(ParameterName, KeysLoseTheirPrefixAsKeyLabels) {
  EXPECT_EQ(sample(kTongues).keyLabel(), "Pyrelux");
  EXPECT_EQ(sample(kMode).keyLabel(), "Source: Mode");
  EXPECT_EQ(sample(kHeader).keyLabel(), "www.example.com");
  EXPECT_EQ(sample(kTongues).slug(), "tongues");
  EXPECT_EQ(sample(kTongues).keySlug(), "pyrelux");
}

}  // namespace
}  // namespace pyrelux::host::test
