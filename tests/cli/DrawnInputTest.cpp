// Inputs that no file holds: --text and --input-test-pattern.

#include <sstream>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

class DrawnInput : public CliTest {
 protected:
  DrawnInput() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// `pyrelux render` of what the arguments draw, small and with the source over the flames.
  Result draw(const Words &input, const std::string &output = "fire.png", const Environment &environment = {}) const {
    const Words size{"--size", "64x36"};
    return pyrelux(Words{"render", "-o", output, "--overwrite", "--set", "source-opacity=1"} + quick() + size + input,
                   environment);
  }

  /// The bytes of the picture.
  std::string drawn(const Words &input) const {
    expectSuccess(draw(input));
    return load(path("fire.png"));
  }

  void expectUsageError(const Words &arguments, const Words &words) const {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Result result = pyrelux(Words{"render", "-o", "fire.png"} + arguments);
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_FALSE(fs::exists(path("fire.png")));
  }
};

TEST_F(DrawnInput, TextBurns) {
  EXPECT_NE(drawn({"--text", "FIRE"}), drawn({"--text", "WATER"}));
  EXPECT_EQ(drawn({"--text", "FIRE"}), drawn({"--text", "FIRE"}));
  EXPECT_EQ(probe("fire.png").at("width"), 64);
  EXPECT_EQ(probe("fire.png").at("height"), 36);
}

TEST_F(DrawnInput, TextIsDrawnInItsColour) {
  const auto countOf = [&](const Words &more, const std::string &pixel) {
    drawn(Words{"--text", "I", "--font", "Sans Bold 40"} + more);
    const std::string pixels = decoded("fire.png", "rgba");
    int count = 0;
    for (std::size_t at = 0; at < pixels.size(); at += 4) count += pixels.compare(at, 4, pixel) == 0;
    return count;
  };
  const std::string white = "\xFF\xFF\xFF\xFF";
  const std::string blue = std::string("\x00\x40\xFF\xFF", 4);
  // The stem of the letter.
  EXPECT_GT(countOf({}, white), 50);
  EXPECT_GT(countOf({"--text-color", "#0040ff"}, blue), 50);
  EXPECT_GT(countOf({"--text-color", "0,0.25,1"}, blue), 50);
}

TEST_F(DrawnInput, TextHasLines) {
  EXPECT_EQ(drawn({"--text", "A\\nB"}), drawn({"--text", "A\nB"}));
  EXPECT_NE(drawn({"--text", "A\\nB"}), drawn({"--text", "A B"}));
}

TEST_F(DrawnInput, TextMayLookLikeAnOption) { EXPECT_NE(drawn({"--text", "-o"}), drawn({"--text", "o"})); }

TEST_F(DrawnInput, IsFullHdUnlessSaidOtherwise) {
  for (const Words &input : {Words{"--text", "."}, Words{"--input-test-pattern", "circle"}}) {
    expectSuccess(
        pyrelux(Words{"render", "-o", "fire.png", "--overwrite", "--set", "length-of-pyrelux=0"} + quick() + input));
    EXPECT_EQ(probe("fire.png").at("width"), 1920);
    EXPECT_EQ(probe("fire.png").at("height"), 1080);
  }
}

TEST_F(DrawnInput, IsAPictureToTheOutput) {
  expectSuccess(draw({"--text", "FIRE"}, "fire.mkv"));
  EXPECT_EQ(probe("fire.mkv").at("nb_read_frames"), "48");
  expectSuccess(draw({"--input-test-pattern", "title", "--frames", "3-4"}, "fire_%d.png"));
  EXPECT_TRUE(fs::exists(path("fire_3.png")));
  EXPECT_TRUE(fs::exists(path("fire_4.png")));
}

TEST_F(DrawnInput, TestPatternsBurn) {
  std::map<std::string, std::string> pictures;
  for (const char *name : {"bars", "checker", "circle", "ramp", "title"})
    pictures[drawn({"--input-test-pattern", name})] = name;
  EXPECT_EQ(pictures.size(), 5u);
}

TEST_F(DrawnInput, IsAsDeepAsTheDrawing) {
  // Alpha from 0 to 1 in steps of 1/511: drawn with 8 bits every other column would be like its neighbour.
  const Words ramp{"--input-test-pattern",
                   "ramp",
                   "--size",
                   "512x1",
                   "--set",
                   "length-of-pyrelux=0",
                   "--alpha",
                   "exact",
                   "--bits",
                   "16",
                   "--quiet"};
  const Words words =
      Words{"render", "-o", "fire.png", "--overwrite", "--set", "source-opacity=1", "--set", "steps=10"} + ramp;
  const auto levels = [&](const char *bits) {
    expectSuccess(pyrelux(words + Words{"--draw-bits", bits}));
    const std::string pixels = decoded("fire.png", "rgba64be");
    std::map<std::string, int> alphas;
    for (std::size_t at = 6; at < pixels.size(); at += 8) ++alphas[pixels.substr(at, 2)];
    return alphas.size();
  };
  EXPECT_LE(levels("8"), 256u);
  EXPECT_GT(levels("16"), 256u);
}

TEST_F(DrawnInput, ExactlyOneInputIsNeeded) {
  expectUsageError({}, {"INPUT", "--text", "--input-test-pattern"});
  const Words both{"exclude each other"};
  expectUsageError({"title.png", "--text", "FIRE"}, both);
  expectUsageError({"title.png", "--input-test-pattern", "bars"}, both);
  expectUsageError({"--text", "FIRE", "--input-test-pattern", "bars"}, both);
}

TEST_F(DrawnInput, OptionsOfOtherInputsAreRefused) {
  expectUsageError({"title.png", "--size", "64x36"}, {"INPUT", "--size"});
  expectUsageError({"--text", "FIRE", "--input-alpha", "none"}, {"--input-alpha", "INPUT"});
  expectUsageError({"title.png", "--font", "Sans"}, {"--font", "--text"});
  expectUsageError({"--input-test-pattern", "bars", "--text-color", "#ffffff"}, {"--text-color", "--text"});
}

TEST_F(DrawnInput, WrongValuesAreRefused) {
  expectUsageError({"--text", ""}, {"nothing to see"});
  expectUsageError({"--text", "  \n"}, {"nothing to see"});
  expectUsageError({"--text", "FIRE", "--font", "Sans 1200"}, {"'Sans 1200'", "1920x1080"});
  for (const char *colour : {"reddish", "#ff", "1,1", "1,1,2", "-1,0,0", "nan,0,0", ""})
    expectUsageError({"--text", "FIRE", "--text-color", colour}, {"'text-color'", colour, "0..1"});
  for (const char *size :
       {"64", "64x", "x36", "64x36x1", "0x36", "64x-36", "64 x 36", "16385x1", "16384x16384", "99999999999x1", ""})
    expectUsageError({"--text", "FIRE", "--size", size}, {"'" + std::string(size) + "' is not a size", "WIDTHxHEIGHT"});
  expectUsageError({"--input-test-pattern", "plaid"}, {"--input-test-pattern", "plaid"});
}

TEST_F(DrawnInput, TellsOfWhatComesOutOtherwise) {
  const Result result = draw({"--text", "FIRE", "--font", "Nowhere\nGrotesk"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, testing::MatchesRegex("pyrelux: there is no font 'Nowhere.Grotesk'; '[^\n]*' is used "
                                                "instead\n"));
  EXPECT_TRUE(fs::exists(path("fire.png")));
}

TEST_F(DrawnInput, WhatFontconfigSaysIsToldLikeEverythingElse) {
  save(path("fonts.conf"), "<fontconfig><dir");
  for (const std::string &configuration : {std::string("/no/such/fonts.conf"), path("fonts.conf").string()}) {
    Command command =
        commandOf(Words{"render", "--text", "FIRE", "--size", "64x36", "-o", "fire.png", "--overwrite"} + quick());
    command.environment["FONTCONFIG_FILE"] = configuration;
    const Result result = run(command);
    std::istringstream lines(result.err);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) EXPECT_THAT(line, testing::StartsWith("pyrelux: "));
    EXPECT_GT(count, 0);
    EXPECT_THAT(result.err, testing::HasSubstr("pyrelux: Fontconfig error"));
  }
}

TEST_F(DrawnInput, WithoutAnyFontTextFails) {
  save(path("fonts.conf"), "<fontconfig></fontconfig>");
  const Environment noFonts{{"FONTCONFIG_FILE", path("fonts.conf").string()}};
  const Result result = draw({"--text", "FIRE"}, "fire.png", noFonts);
  expectRefusal(result, {"'FIRE'", "no font is installed", "fonts-dejavu-core"});
  EXPECT_EQ(result.exitCode, 1);
  expectSuccess(draw({"--input-test-pattern", "title"}, "fire.png", noFonts));
}

}  // namespace
}  // namespace pyrelux::cli::test
