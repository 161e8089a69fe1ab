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

  static constexpr const char *serifFont = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";

  /// Renders a sequence of one picture afresh.
  void drawSequence(const Words &input) const {
    expectSuccess(draw(input + Words{"--frames", "1", "--quiet"}, "fire_%d.png"));
  }

  /// Whether --resume keeps the picture of that sequence.
  bool resumes(const Words &input) const {
    const Words size{"--size", "64x36", "--frames", "1"};
    const Result result =
        pyrelux(Words{"render", "-o", "fire_%d.png", "--resume", "--set", "source-opacity=1", "--progress", "json"} +
                quick() + size + input);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out.find("\"kept\"") != std::string::npos;
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
  save(path("backslash.txt"), "A\\nB");
  EXPECT_EQ(drawn({"--text", "A\\\\nB"}), drawn({"--text-file", "backslash.txt"})) << "a backslash and an n";
}

TEST_F(DrawnInput, TextFilesAreAsTheyStand) {
  const std::string two = drawn({"--text", "A\nB"});
  for (const char *text : {"A\nB", "A\r\nB\r\n", "A\nB\n",
                           "\xEF\xBB\xBF"
                           "A\nB"}) {
    save(path("title.txt"), text);
    EXPECT_EQ(drawn({"--text-file", "title.txt"}), two) << text;
  }
  // A remark shows the text.
  save(path("title.txt"), "A\xF4\x8F\xBF\xBD\r\n");
  EXPECT_THAT(draw({"--text-file", "title.txt"}).err, testing::HasSubstr("in 'A\xF4\x8F\xBF\xBD'"))
      << "without a last line feed";
}

TEST_F(DrawnInput, TextFilesThatAreWrongAreNamed) {
  const auto refusal = [&](int exitCode, const Words &words) {
    const Result result = draw({"--text-file", "title.txt"});
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, exitCode);
  };
  refusal(3, {"title.txt", "no such file"});
  save(path("title.txt"), "f\xE9u");
  refusal(3, {"title.txt", "it is not UTF-8"});
  save(path("title.txt"), std::string("a\0b", 3));
  refusal(3, {"title.txt", "it is not UTF-8"});
  save(path("title.txt"), std::string(65537, '\n'));
  refusal(3, {"title.txt", "longer than 65536 bytes"});
  save(path("title.txt"), "\n");
  refusal(2, {"title.txt", "nothing to see"});
}

TEST_F(DrawnInput, TextIsSetAsTheOptionsSay) {
  const Words text{"--text", "One and\\nit", "--font", "Sans 6"};
  std::map<std::string, std::string> pictures{{drawn(text), "none"}};
  for (const Words &more : {Words{"--text-position", "40,70"},
                            {"--text-align", "left"},
                            {"--text-align", "right"},
                            {"--line-spacing", "1.5"},
                            {"--letter-spacing", "50%"},
                            {"--text-wrap", "25%"},
                            {"--font-file", serifFont}})
    pictures[drawn(text + more)] = testing::PrintToString(more);
  EXPECT_EQ(pictures.size(), 7u) << "a family that is named wins over the file";
  for (const Words &more : {Words{"--text-position", "center"},
                            {"--text-align", "center"},
                            {"--letter-spacing", "0%"},
                            {"--strict-fonts"},
                            {"--text-color", "white"}})
    EXPECT_EQ(drawn(text + more), drawn(text)) << testing::PrintToString(more);
}

TEST_F(DrawnInput, FontFilesAreFonts) {
  fs::copy_file(serifFont, path("brand.ttf"));
  EXPECT_EQ(drawn({"--text", "FIRE", "--font-file", "brand.ttf"}), drawn({"--text", "FIRE", "--font", "DejaVu Serif"}));
  save(path("bad.ttf"), "no font");
  for (const auto &[file, why] :
       {std::pair{"bad.ttf", "not a TrueType or OpenType font"}, {"none.ttf", "such file"}, {".", "regular"}}) {
    const Result result = draw({"--text", "FIRE", "--font-file", file});
    expectRefusal(result, {file, why});
    EXPECT_EQ(result.exitCode, 3);
  }
}

TEST_F(DrawnInput, StrictFontsRefuseWhatIsRemarked) {
  for (const Words &text : {Words{"--text", "FIRE", "--font", "Nowhere Grotesk"}, {"--text", "A\xF4\x8F\xBF\xBD"}}) {
    fs::remove(path("fire.png"));
    const Result lax = draw(text);
    EXPECT_EQ(lax.exitCode, 0);
    fs::remove(path("fire.png"));
    const Result strict = draw(text + Words{"--strict-fonts"});
    EXPECT_EQ(strict.exitCode, 2);
    expectRefusal(strict, {lax.err.substr(0, lax.err.size() - 1) + "; give another --font", "--strict-fonts"});
    EXPECT_FALSE(fs::exists(path("fire.png")));
  }
}

TEST_F(DrawnInput, ProjectsHaveTexts) {
  fs::create_directories(path("titles"));
  save(path("titles/title.txt"), "FIRE");
  fs::copy_file(serifFont, path("titles/brand.ttf"));
  save(path("titles/text.json"), R"({"version": 1, "text": "FIRE", "text-color": "#0040ff"})");
  save(path("titles/file.json"), R"({"version": 1, "text-file": "title.txt", "font-file": "brand.ttf"})");
  const std::string plain = drawn({"--text", "FIRE"});
  EXPECT_EQ(drawn({"--project", "titles/text.json"}), drawn({"--text", "FIRE", "--text-color", "#0040ff"}));
  const std::string brand = drawn({"--text", "FIRE", "--font-file", "titles/brand.ttf"});
  EXPECT_NE(brand, plain);
  EXPECT_EQ(drawn({"--project", "titles/file.json"}), brand);
  EXPECT_EQ(drawn({"--project", "titles/file.json", "--text", "WATER"}),
            drawn({"--text", "WATER", "--font-file", "titles/brand.ttf"}));
  save(path("water.txt"), "WATER");
  EXPECT_EQ(drawn({"--project", "titles/text.json", "--text-file", "water.txt"}),
            drawn({"--text", "WATER", "--text-color", "#0040ff"}));
  EXPECT_EQ(drawn({"--project", "titles/text.json", "--input-test-pattern", "bars"}),
            drawn({"--input-test-pattern", "bars"}));
  const Words input{"render", "title.png", "-o", "fire.png", "--overwrite"};
  expectSuccess(pyrelux(input + quick()));
  const std::string picture = load(path("fire.png"));
  expectSuccess(pyrelux(input + quick() + Words{"--project", "titles/text.json"}));
  EXPECT_EQ(load(path("fire.png")), picture) << "an INPUT wins over the project's text";
}

TEST_F(DrawnInput, SavedProjectsHaveTheText) {
  fs::create_directories(path("titles"));
  save(path("title.txt"), "One\\two");
  fs::copy_file(serifFont, path("brand.ttf"));
  const Words rows[] = {{"--text", "A\\nB", "--font", "Sans 8", "--text-position", "40,60", "--text-align", "right"},
                        {"--text-file", "title.txt", "--font-file", "brand.ttf", "--letter-spacing", "5%"}};
  for (const Words &text : rows) {
    fs::remove(path("titles/saved.json"));
    const std::string first = drawn(text + Words{"--save-project", "titles/saved.json"});
    EXPECT_EQ(drawn({"--project", "titles/saved.json"}), first);
  }
  EXPECT_THAT(load(path("titles/saved.json")), testing::HasSubstr(R"("text-file": "../title.txt")"));
}

TEST_F(DrawnInput, ResumingNoticesWhatTheTextDependsOn) {
  save(path("title.txt"), "A\nBB");
  fs::copy_file(serifFont, path("brand.ttf"));
  const Words plain{"--text", "A\\nBB CC", "--font", "Sans 8"};
  for (const Words &more : {Words{"--text-position", "40,60"},
                            {"--text-align", "left"},
                            {"--text-wrap", "30%"},
                            {"--line-spacing", "1.5"},
                            {"--letter-spacing", "50%"},
                            {"--text-color", "red"}}) {
    SCOPED_TRACE(testing::PrintToString(more));
    drawSequence(plain);
    EXPECT_TRUE(resumes(plain));
    EXPECT_FALSE(resumes(plain + more));
  }
  drawSequence({"--text-file", "title.txt", "--font-file", "brand.ttf"});
  EXPECT_TRUE(resumes({"--text-file", "title.txt", "--font-file", "brand.ttf"}));
  EXPECT_FALSE(resumes({"--text-file", "title.txt"}));
  save(path("title.txt"), "A\nBC");
  EXPECT_FALSE(resumes({"--text-file", "title.txt"}));
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
  const Words ofText[] = {{"--font", "Sans"},          {"--font-file", serifFont}, {"--strict-fonts"},
                          {"--text-color", "#ffffff"}, {"--text-position", "1,1"}, {"--text-align", "left"},
                          {"--text-wrap", "50%"},      {"--line-spacing", "1"},    {"--letter-spacing", "0%"}};
  for (const Words &words : ofText)
    for (const Words &input : {Words{"title.png"}, {"--input-test-pattern", "bars"}})
      expectUsageError(input + words, {"'" + words[0] + "' is for a text", "--text or --text-file"});
}

TEST_F(DrawnInput, WrongValuesAreRefused) {
  expectUsageError({"--text", ""}, {"nothing to see"});
  expectUsageError({"--text", "  \n"}, {"nothing to see"});
  expectUsageError({"--text", "FIRE", "--font", "Sans 1200"}, {"'Sans 1200'", "1920x1080"});
  for (const char *colour : {"reddish", "#ffff", "1,1", "1,1,2", "-1,0,0", "nan,0,0", ""})
    expectUsageError({"--text", "FIRE", "--text-color", colour}, {"--text-color", colour, "0..1"});
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
