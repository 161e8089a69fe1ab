#include <algorithm>
#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Help : public CliTest {
 protected:
  std::string textOf(const Words &arguments) const {
    const Result result = pyrelux(arguments);
    expectSuccess(result);
    return result.out;
  }
};

/// The text in one line, as it was before it was broken.
std::string unbroken(const std::string &text) {
  std::istringstream words(text);
  std::string line;
  for (std::string word; words >> word;) line += (line.empty() ? "" : " ") + word;
  return line;
}

/// What a help text says of an option.
std::string lineOf(const std::string &text, const std::string &option) {
  const std::size_t begin = text.find("  " + option);
  if (begin == std::string::npos) return {};
  // Until the next option, or the end of the group.
  const std::size_t next = std::min(text.find("\n  -", begin), text.find("\n\n", begin));
  return unbroken(text.substr(begin, next == std::string::npos ? next : next - begin));
}

TEST_F(Help, NamesTheCommands) {
  for (const char *flag : {"--help", "-h"})
    EXPECT_THAT(textOf({flag}), AllOf(HasSubstr("Usage: pyrelux"), HasSubstr("render"), HasSubstr("parameters"),
                                      HasSubstr("info"), HasSubstr("--version"), HasSubstr("--help")));
}

TEST_F(Help, OfRenderExplainsEveryOptionWithItsUnit) {
  const std::string text = textOf({"render", "--help"});
  EXPECT_THAT(text,
              AllOf(HasSubstr("Usage: pyrelux render"), HasSubstr("INPUT"), HasSubstr("%04d"), HasSubstr("####")));
  const struct {
    const char *option;
    Words words;
  } rows[] = {
      {"--input-alpha", {"KIND", "straight", "premultiplied", "none", "auto", "EXR", "TIFF", "default"}},
      {"--text TEXT", {"\\n begins a line", "\\\\ is a backslash", "middle", "transparent"}},
      {"--text-file", {"FILE", "UTF-8", "64 KiB", "nothing is escaped"}},
      {"--font-file", {"FILE", ".ttf or .otf", "not installed", "--font names a family"}},
      {"--strict-fonts", {"missing", "error"}},
      {"--text-position", {"X,Y", "percent", "bottom", "center (the default)"}},
      {"--text-align", {"left, center or right", "default: center"}},
      {"--text-wrap", {"WIDTH", "1%..100%", "words", "default"}},
      {"--line-spacing", {"FACTOR", "0.1..10"}},
      {"--letter-spacing", {"PERCENT", "-50%..500%", "default: 0%"}},
      {"--font", {"FONT", "size in pixels", "default: Sans Bold", "fc-list"}},
      {"--text-color", {"COLOR", "#rrggbb", "0..1", "default: white"}},
      {"--input-test-pattern", {"NAME", "bars", "checker", "circle", "ramp", "title"}},
      {"--size", {"WIDTHxHEIGHT", "pixels", "default: a background's, else 1920x1080"}},
      {"-o,--output", {"FILE", ".png", ".tif", ".exr", ".mov", ".mkv", ".mp4", ".webm", ".apng", ".webp", ".gif"}},
      {"--codec", {"NAME", "prores", "ffv1", "h264", "h265", "half", "float", "lossless", "default"}},
      {"--alpha", {"KIND", "straight", "premultiplied", "default"}},
      {"--over", {"COLOR|FILE", "#rrggbb", "0..1", "sequence", "default: black"}},
      {"--no-audio", {"movie", "else the INPUT's"}},
      {"--frames", {"RANGE", "1-48", "frame N is rendered at time N", "default"}},
      {"--fps", {"RATE", "Frames per second", "30000/1001", "default", "24"}},
      {"--set", {"NAME=VALUE", "repeated", "units"}},
      {"--bits", {"BITS", "per channel", "8", "16", "default"}},
      {"--backend", {"NAME", "auto", "egl"}},
      {"--preset", {"NAME", "pyrelux presets"}},
      {"--project", {"FILE", "keyframes", "docs/project.md", "exit code 3"}},
      {"--save-project", {"FILE", "before the first frame", ".json"}},
      {"--progress", {"KIND", "json", "standard output", "terminal", "seconds_left"}},
      {"--quiet", {"progress", "remarks"}},
      {"-h,--help", {"help"}},
  };
  for (const auto &row : rows)
    for (const std::string &word : row.words) EXPECT_THAT(lineOf(text, row.option), HasSubstr(word)) << row.option;
}

TEST_F(Help, IsThePageOfOptionsToo) {
  EXPECT_TRUE(textOf({"options"}) == load(std::filesystem::path(PYRELUX_SOURCE) / "docs/options.md"))
      << "run script/docs";
}

TEST_F(Help, OfTheOtherCommandsExplainsTheirOptions) {
  EXPECT_THAT(textOf({"parameters", "--help"}),
              AllOf(HasSubstr("Usage: pyrelux parameters"), HasSubstr("--json"), HasSubstr("--schema")));
  const std::string sheet = textOf({"sheet", "--help"});
  EXPECT_THAT(sheet, AllOf(HasSubstr("Usage: pyrelux sheet"), HasSubstr("--presets"), HasSubstr("--project")));
  EXPECT_THAT(lineOf(sheet, "--vary"), AllOf(HasSubstr("'frame'"), HasSubstr("across"), HasSubstr("down")));
  EXPECT_THAT(lineOf(sheet, "--frame"), AllOf(HasSubstr("NUMBER"), HasSubstr("default: 24")));
  EXPECT_THAT(lineOf(sheet, "--cell"), AllOf(HasSubstr("pixels"), HasSubstr("default: 320")));
  EXPECT_THAT(textOf({"info", "--help"}),
              AllOf(HasSubstr("Usage: pyrelux info"), HasSubstr("--backend"), HasSubstr("auto"), HasSubstr("egl")));
}

TEST_F(Help, OfRenderListsTheParametersWithTheirRanges) {
  const std::string text = textOf({"render", "--help"});
  const auto parameters = nlohmann::json::parse(textOf({"parameters", "--json"}));
  for (const auto &parameter : parameters) {
    const std::string name = parameter.at("name");
    EXPECT_EQ(text.find("\n  " + name + " ") != std::string::npos, parameter.at("kind") != "custom") << name;
  }
  EXPECT_THAT(unbroken(text), AllOf(HasSubstr("spread-degrees 30 0..180 degrees"), HasSubstr("0 Cover, 1 Mix")));
}

TEST_F(Help, LinesAreNoLongerThanATerminalIsWide) {
  for (const Words &arguments :
       {Words{"--help"}, {"render", "--help"}, {"parameters", "--help"}, {"verify", "--help"}}) {
    std::istringstream lines(textOf(arguments));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 96u) << line;
  }
}

TEST_F(Help, IsGivenWithoutABundle) {
  const Environment noBundle{{"PYRELUX_PLUGIN_PATH", path("").string()}};
  for (const Words &arguments : {Words{"--help"}, Words{"render", "--help"}, Words{"--version"}})
    expectSuccess(pyrelux(arguments, noBundle));
}

TEST_F(Help, VersionIsTheNameAndThreeNumbers) {
  EXPECT_THAT(textOf({"--version"}), testing::MatchesRegex("pyrelux [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace pyrelux::cli::test
