#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

class ManPage : public CliTest {
 protected:
  static constexpr const char *pages = PYRELUX_SHARE "/man/man1/";

  static std::string fileOf(const std::string &page) { return pages + page + ".1"; }

  static Result typeset(const std::string &page, const std::string &device) {
    Command command;
    command.words = {"groff", "-t", "-man", "-ww", "-T" + device, "-P-c", "-P-b", "-P-u", fileOf(page)};
    return run(command);
  }

  /// As a terminal shows it, in one line with single spaces.
  static std::string shown(const std::string &page) {
    std::istringstream words(typeset(page, "ascii").out);
    std::string text;
    for (std::string word; words >> word;) text += (text.empty() ? "" : " ") + word;
    return text;
  }

  /// Those that the help lists.
  Words commands() const {
    std::istringstream help(pyrelux({"--help"}).out);
    std::string line;
    while (std::getline(help, line) && line != "Subcommands:") continue;
    Words names;
    while (std::getline(help, line) && !line.empty()) names.push_back(line.substr(2, line.find(' ', 2) - 2));
    return names;
  }
};

TEST_F(ManPage, IsWhatTheProgramPrints) {
  const Result result = pyrelux({"man"});
  expectSuccess(result);
  EXPECT_EQ(result.out, load(fileOf("pyrelux")));
  const Result nowhere = pyrelux({"man", "--folder", path("no/such").string()});
  EXPECT_EQ(nowhere.exitCode, 4);
  EXPECT_THAT(nowhere.err, HasSubstr("no/such/pyrelux.1"));
}

TEST_F(ManPage, EachCommandHasOne) {
  std::set<std::string> expected = {fileOf("pyrelux")};
  for (const std::string &command : commands()) expected.insert(fileOf("pyrelux-" + command));
  EXPECT_GE(expected.size(), 8u);
  std::set<std::string> files;
  for (const auto &entry : std::filesystem::directory_iterator(pages)) files.insert(entry.path().string());
  EXPECT_EQ(files, expected);
}

TEST_F(ManPage, IsTypesetWithoutAWarning) {
  Words names{"pyrelux"};
  for (const std::string &command : commands()) names.push_back("pyrelux-" + command);
  for (const std::string &page : names) {
    const Result result = typeset(page, "utf8");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "") << page;
    std::string title = page;
    std::transform(title.begin(), title.end(), title.begin(), [](unsigned char c) { return std::toupper(c); });
    EXPECT_THAT(result.out, HasSubstr(title + "(1)"));
  }
}

TEST_F(ManPage, HasEveryOptionOfTheHelpWithItsExplanation) {
  int options = 0;
  const std::string program = shown("pyrelux");
  for (const std::string &command : commands()) {
    SCOPED_TRACE(command);
    EXPECT_THAT(program, HasSubstr(" pyrelux-" + command + "(1) "));
    const std::string page = load(fileOf("pyrelux-" + command));
    const std::string help = pyrelux({command, "--help"}).out;
    for (std::size_t at = 0; (at = help.find("\n  -", at)) != std::string::npos; ++at) {
      std::istringstream names(help.substr(at + 3, help.find(' ', at + 3) - at - 3));
      for (std::string name; std::getline(names, name, ',');) {
        EXPECT_THAT(page, HasSubstr("\\fB" + replaced(name, "-", "\\-") + "\\fR")) << name;
        ++options;
      }
    }
  }
  EXPECT_GT(options, 50);
  EXPECT_THAT(shown("pyrelux-sheet"), HasSubstr("--cell WIDTH Width of a picture in the sheet, 64..4096 pixels;"));
  EXPECT_THAT(shown("pyrelux-render"), HasSubstr("pyrelux render title.png -o fire.mov --preset inferno Two seconds"));
}

TEST_F(ManPage, ListsTheParametersWithWhatTheyDoAndTake) {
  const std::string text = shown("pyrelux");
  for (const auto &parameter : nlohmann::json::parse(pyrelux({"parameters", "--json"}).out)) {
    const bool isListed = text.find(" " + std::string(parameter.at("name")) + " ") != std::string::npos;
    EXPECT_EQ(isListed, parameter.at("kind") != "custom") << parameter.at("name");
  }
  EXPECT_THAT(text, HasSubstr("spread-degrees 30 How far the tongues fan out"));
  EXPECT_THAT(text, HasSubstr("(0 Cover, 1 Mix)"));
}

TEST_F(ManPage, TellsExitCodesFilesAndEveryEnvironmentVariableThatIsRead) {
  const std::string text = shown("pyrelux");
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
  const std::string text = load(fileOf("pyrelux"));
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
