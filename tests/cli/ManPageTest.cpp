#include <filesystem>
#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

class ManPage : public CliTest {
 protected:
  static constexpr const char *file = PYRELUX_SHARE "/man/man1/pyrelux.1";

  static Result typeset(const std::string &device) {
    Command command;
    command.words = {"groff", "-t", "-man", "-ww", "-T" + device, "-P-c", "-P-b", "-P-u", file};
    return run(command);
  }

  /// As a terminal shows it, in one line with single spaces.
  static std::string shown() {
    std::istringstream words(typeset("ascii").out);
    std::string text;
    for (std::string word; words >> word;) text += (text.empty() ? "" : " ") + word;
    return text;
  }
};

TEST_F(ManPage, IsWhatTheProgramPrints) {
  const Result result = pyrelux({"man"});
  expectSuccess(result);
  EXPECT_EQ(result.out, load(file));
}

TEST_F(ManPage, IsTypesetWithoutAWarning) {
  const Result result = typeset("utf8");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, HasSubstr("PYRELUX(1)"));
}

TEST_F(ManPage, HasEveryOptionOfTheHelpWithItsExplanation) {
  const std::string page = load(file);
  std::istringstream commands(pyrelux({"--help"}).out);
  std::string line;
  while (std::getline(commands, line) && line != "Subcommands:") continue;
  int options = 0;
  while (std::getline(commands, line) && !line.empty()) {
    const std::string command = line.substr(2, line.find(' ', 2) - 2);
    SCOPED_TRACE(command);
    const std::size_t begin = page.find(".SS \"\\fBpyrelux\\fR \\fB" + command + "\\fR");
    ASSERT_NE(begin, std::string::npos);
    const std::string section = page.substr(begin, page.find("\n.S", begin) - begin);
    const std::string help = pyrelux({command, "--help"}).out;
    for (std::size_t at = 0; (at = help.find("\n  -", at)) != std::string::npos; ++at) {
      std::istringstream names(help.substr(at + 3, help.find(' ', at + 3) - at - 3));
      for (std::string name; std::getline(names, name, ',');) {
        EXPECT_THAT(section, HasSubstr("\\fB" + replaced(name, "-", "\\-") + "\\fR")) << name;
        ++options;
      }
    }
  }
  EXPECT_GT(options, 50);
  EXPECT_THAT(shown(), HasSubstr("--cell WIDTH Width of a picture in the sheet, 64..4096 pixels;"));
}

TEST_F(ManPage, ListsTheParametersWithWhatTheyTake) {
  const std::string text = shown();
  for (const auto &parameter : nlohmann::json::parse(pyrelux({"parameters", "--json"}).out)) {
    const bool isListed = text.find(" " + std::string(parameter.at("name")) + " ") != std::string::npos;
    EXPECT_EQ(isListed, parameter.at("kind") != "custom") << parameter.at("name");
  }
  EXPECT_THAT(text, HasSubstr("spread-degrees 30 0..180 degrees"));
  EXPECT_THAT(text, HasSubstr("source-mode Cover 0 Cover, 1 Mix"));
}

TEST_F(ManPage, TellsExitCodesFilesAndEveryEnvironmentVariableThatIsRead) {
  const std::string text = shown();
  EXPECT_THAT(text, HasSubstr("2 wrong command line."));
  EXPECT_THAT(text, HasSubstr("fire.png.manifest.jsonl"));
  const std::string variable = "getenv(\"PYRELUX_";
  int variables = 0;
  for (const char *folder : {"cli", "host", "media", "platform", "renderer", "title"})
    for (const auto &entry : std::filesystem::recursive_directory_iterator(PYRELUX_SOURCE "/" + std::string(folder))) {
      if (!entry.is_regular_file()) continue;
      const std::string source = load(entry.path());
      for (std::size_t at = 0; (at = source.find(variable, at)) != std::string::npos; ++at, ++variables) {
        const std::size_t begin = source.find('"', at) + 1;
        EXPECT_THAT(text, HasSubstr(source.substr(begin, source.find('"', begin) - begin)));
      }
    }
  EXPECT_GE(variables, 3);
}

TEST_F(ManPage, ExamplesUseOptionsThatThereAre) {
  const std::string text = load(file);
  std::istringstream lines(text.substr(text.find(".SH EXAMPLES")));
  int examples = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("\\fBpyrelux ", 0) != 0) continue;
    ++examples;
    line = replaced(line.substr(3, line.size() - 6), "\\-", "-");
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) words.push_back(word);
    // No input is there, which is the first thing to be found once the command line is right; texts need none.
    const Result result = pyrelux(Words(words.begin() + 1, words.end()));
    EXPECT_THAT(result.exitCode, testing::AnyOf(0, 3)) << line << ": " << result.err;
  }
  EXPECT_GE(examples, 5);
}

}  // namespace
}  // namespace pyrelux::cli::test
