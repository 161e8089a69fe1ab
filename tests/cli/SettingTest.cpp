#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

class Setting : public CliTest {
 protected:
  Setting() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// The bytes of the picture with these settings.
  std::string fire(const Words &settings, const Words &more = {}) const {
    Words words = more;
    for (const std::string &setting : settings) words = words + Words{"--set", setting};
    render("title.png", "fire.png", words);
    return load(path("fire.png"));
  }
};

TEST_F(Setting, TakesEachFormOfAName) {
  const std::string expected = fire({"6=80"});
  EXPECT_NE(expected, fire({}));
  for (const char *name : {"length-of-pyrelux", "LENGTH-OF-PYRELUX", "Pyrelux::Length of Pyrelux", "Length of Pyrelux",
                           "length of pyrelux", "Tongue Length", "TONGUE LENGTH", "tongue-length"})
    EXPECT_EQ(fire({std::string(name) + "=80"}), expected) << name;
}

TEST_F(Setting, TakesEachFormOfAColour) {
  const std::string expected = fire({"color-inner=#0080FF", "color-center=#0080FF", "color-outer=#0080FF"});
  EXPECT_NE(expected, fire({}));
  EXPECT_EQ(fire({"color-inner=#f00", "color-center=red", "color-outer=Red"}),
            fire({"color-inner=1,0,0", "color-center=#ff0000", "color-outer=#FF0000"}));
  EXPECT_EQ(
      fire({"color-inner=0,0.50196078431372549,1", "color-center=#0080ff", "color-outer=0,0.50196078431372549,1"}),
      expected);
}

TEST_F(Setting, TakesPercentOfAShare) {
  EXPECT_EQ(fire({"source-opacity=75%"}), fire({"source-opacity=0.75"}));
  EXPECT_EQ(fire({"fire-opacity=50%"}), fire({"fire-opacity=50"}));
}

TEST_F(Setting, TakesEachFormOfAnEntry) {
  const Words visible{"source-opacity=1"};
  const std::string mix = fire(visible + Words{"source-mode=1"});
  EXPECT_NE(mix, fire(visible));
  EXPECT_EQ(fire(visible + Words{"source-mode=Mix"}), mix);
  EXPECT_EQ(fire(visible + Words{"source-mode=MIX"}), mix);
  EXPECT_EQ(fire(visible + Words{"source-mode=cover"}), fire(visible));
}

TEST_F(Setting, TakesAnglesInDegrees) {
  const Words narrow{"spread-degrees=0"};
  const std::string upright = fire(narrow + Words{"direction=0"});
  EXPECT_NE(fire(narrow + Words{"direction=90"}), upright);
  EXPECT_NE(fire(narrow + Words{"direction=180"}), upright);
  EXPECT_EQ(fire(narrow + Words{"direction=360"}), upright);
  EXPECT_EQ(fire(narrow + Words{"direction=-720"}), upright);
}

TEST_F(Setting, TheLastOfSeveralCounts) { EXPECT_EQ(fire({"length-of-pyrelux=10", "6=80"}), fire({"6=80"})); }

TEST_F(Setting, TheDefaultIsTheSameAsNone) { EXPECT_EQ(fire({"length-of-pyrelux=30", "glow=20"}), fire({})); }

TEST_F(Setting, NegativeValuesAreNotTakenForOptions) { EXPECT_NE(fire({"glow=-100"}), fire({"glow=100"})); }

TEST_F(Setting, SixteenBitsDrawDeepUnlessToldOtherwise) {
  const Words sixteen{"--bits", "16"};
  const std::string deep = fire({}, sixteen);
  EXPECT_EQ(fire({"color-depth=16 Bit"}, sixteen), deep);
  EXPECT_NE(fire({"color-depth=8 Bit"}, sixteen), deep);
  EXPECT_EQ(fire({}, {"--bits", "8"}), fire({}));
}

}  // namespace
}  // namespace pyrelux::cli::test
