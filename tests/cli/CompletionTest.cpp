#include <set>
#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using Set = std::set<std::string>;

/// Where completion for each shell was put when the program was built.
const std::map<std::string, std::string> scripts{
    {"bash", PYRELUX_SHARE "/bash-completion/completions/pyrelux"},
    {"zsh", PYRELUX_SHARE "/zsh/site-functions/_pyrelux"},
    {"fish", PYRELUX_SHARE "/fish/vendor_completions.d/pyrelux.fish"},
};

Set without(Set words, const Set &others) {
  for (const std::string &other : others) words.erase(other);
  return words;
}

/// What all shells are asked: the words of a line, of which the last is to be completed.
class Completion : public CliTest, public testing::WithParamInterface<std::string> {
 protected:
  std::string shell() const { return GetParam(); }

  /// The lines that a program prints.
  Set linesOf(const Words &words) const {
    Command command;
    command.words = words;
    command.folder = path("").string();
    // fish keeps its history there.
    command.environment = {{"HOME", path("").string()}};
    const Result result = run(command);
    expectSuccess(result);
    std::istringstream text(result.out);
    Set lines;
    for (std::string line; std::getline(text, line);) lines.insert(line);
    return lines;
  }

  /// The words without what the shells add: options are as they would stand in the line then.
  Set completions(const Words &line) const {
    const std::string driver = PYRELUX_SHELLS "/complete." + shell();
    const std::string &script = scripts.at(shell());
    std::string text;
    for (const std::string &word : line) text += (text.empty() ? "" : " ") + word;
    // zsh completes on a terminal only.
    if (shell() == "zsh") requireTerminals();
    if (shell() == "zsh") return linesOf({"zsh", "-f", driver, script, text});
    if (shell() == "fish") return linesOf({"fish", "--no-config", driver, script, text});
    Words words{"bash", "--norc", driver, script};
    for (const std::string &word : line) {
      // Readline's words, which end before and after each =.
      std::size_t begin = 0;
      for (std::size_t at; (at = word.find('=', begin)) != std::string::npos; begin = at + 1) {
        if (at > begin) words.push_back(word.substr(begin, at - begin));
        words.push_back("=");
      }
      if (begin < word.size() || word.empty()) words.push_back(word.substr(begin));
    }
    return linesOf(words);
  }

  /// What "WORD=" is completed to, where bash goes on after the = and the others take all of the word.
  Set valuesOf(const Words &line) const {
    Set values;
    for (const std::string &word : completions(line)) values.insert(word.substr(word.rfind('=') + 1));
    return values;
  }

  std::string helpOf(const Words &command) const {
    const Result result = pyrelux(command + Words{"--help"});
    expectSuccess(result);
    return result.out;
  }

  /// "-o", "--output" and all others of a help text.
  Set optionsIn(const std::string &help) const {
    Set options;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);)
      if (line.rfind("  -", 0) == 0) {
        std::istringstream names(line.substr(2, line.find(' ', 2) - 2));
        for (std::string name; std::getline(names, name, ',');) options.insert(name);
      }
    return options;
  }

  Set commands() const {
    const std::string help = helpOf({});
    Set commands;
    std::istringstream lines(help.substr(help.find("Subcommands:")));
    for (std::string line; std::getline(lines, line);)
      if (line.rfind("  ", 0) == 0 && line[2] != ' ') commands.insert(line.substr(2, line.find(' ', 2) - 2));
    return commands;
  }

  nlohmann::json parameters() const { return nlohmann::json::parse(pyrelux({"parameters", "--json"}).out); }

  /// What --set takes: names, and of popups the values.
  Set assignments(const std::string &space) const {
    Set words;
    for (const auto &parameter : parameters()) {
      const std::string name = parameter.at("name").get<std::string>() + "=";
      for (const std::string entry : parameter.at("entries")) words.insert(name + replaced(entry, " ", space));
      if (parameter.at("entries").empty() && parameter.at("kind") != "custom") words.insert(name);
    }
    return words;
  }

  /// As the shell writes a space in a word that it inserts.
  std::string space() const { return shell() == "fish" ? " " : "\\ "; }
};

/// What bash's script tells Readline besides.
const Set remarks{"<compopt nospace>"};

TEST_P(Completion, IsWhatTheProgramPrints) {
  const Result result = pyrelux({"completion", shell()});
  expectSuccess(result);
  EXPECT_EQ(result.out, load(scripts.at(shell())));
}

TEST_P(Completion, OfTheFirstWordIsTheCommands) {
  const Set offered = completions({"pyrelux", ""});
  EXPECT_EQ(without(offered, optionsIn(helpOf({}))), commands());
  EXPECT_EQ(completions({"pyrelux", "re"}), Set{"render"});
}

TEST_P(Completion, OfOptionsIsTheOptionsOfTheCommand) {
  for (const std::string &command : commands()) {
    SCOPED_TRACE(command);
    EXPECT_EQ(completions({"pyrelux", command, "-"}), optionsIn(helpOf({command})));
  }
  EXPECT_EQ(completions({"pyrelux", "-"}), optionsIn(helpOf({})));
  EXPECT_EQ(completions({"pyrelux", "render", "--bac"}), Set{"--backend"});
}

TEST_P(Completion, OfAFixedChoiceIsWhatIsNotRefused) {
  // The options whose wrong value is refused with a list of the right ones, from that list.
  const std::string before = "not in {";
  int choices = 0;
  for (const std::string &option : without(optionsIn(helpOf({"render"})), {"-h", "--help"})) {
    const std::string err = pyrelux({"render", "in.png", "-o", "out.png", option + "=?"}).err;
    const std::size_t list = err.find(before);
    if (list == std::string::npos) continue;
    ++choices;
    Set expected;
    std::istringstream names(err.substr(list + before.size(), err.find('}', list) - list - before.size()));
    for (std::string name; std::getline(names, name, ',');) expected.insert(name);
    EXPECT_EQ(completions({"pyrelux", "render", option, ""}), expected) << option;
  }
  // --input-alpha, --input-test-pattern, --alpha, --over-fit, --bits, --backend, --draw-bits, --progress
  EXPECT_GE(choices, 8);
  EXPECT_EQ(valuesOf({"pyrelux", "info", "--backend=s"}), Set{"soft"});
  EXPECT_EQ(completions({"pyrelux", "completion", ""}), (Set{"bash", "fish", "zsh"}));
}

TEST_P(Completion, OfAPresetIsTheirNames) {
  Set names;
  for (const auto &preset : nlohmann::json::parse(pyrelux({"presets", "--json"}).out))
    names.insert(preset.at("name").get<std::string>());
  EXPECT_EQ(completions({"pyrelux", "render", "--preset", ""}), names);
}

TEST_P(Completion, OfACodecIsTheNamesThatOutputsTake) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  Set codecs;
  for (const char *output : {".png", ".tif", ".exr", ".mov", ".mkv", ".mp4", ".webm", ".apng", ".webp", ".gif"}) {
    const std::string err = pyrelux({"render", "title.png", "-o", "out" + std::string(output), "--codec", "?"}).err;
    // "… is not one that .mov holds: prores h264 h265"
    std::istringstream names(err.substr(err.rfind(':') + 1));
    for (std::string name; names >> name;) codecs.insert(name);
  }
  EXPECT_THAT(codecs, testing::IsSupersetOf({"prores", "ffv1", "h264", "h265", "vp9", "half", "lossless"}));
  EXPECT_EQ(completions({"pyrelux", "render", "--codec", ""}), codecs);
}

TEST_P(Completion, OfASettingIsTheParametersAndTheirEntries) {
  EXPECT_EQ(without(completions({"pyrelux", "render", "--set", ""}), remarks), assignments(space()));
  EXPECT_EQ(valuesOf({"pyrelux", "render", "--set", "source-mode="}), (Set{"Cover", "Mix"}));
  EXPECT_EQ(valuesOf({"pyrelux", "render", "--set=source-mode=C"}), Set{"Cover"});
  Set varied = assignments(space());
  varied.insert({"preset=", "frame="});
  EXPECT_EQ(without(completions({"pyrelux", "sheet", "--vary", ""}), remarks), varied);
}

TEST_P(Completion, OfFilesIsWhereTheyAreTaken) {
  save(path("afile.png"), "");
  // bash's Readline completes files itself.
  const Set file{shell() == "bash" ? "<compopt default>" : "afile.png"};
  for (const Words &line :
       {Words{"render", "af"}, {"render", "-o", "af"}, {"render", "x.png", "--project", "af"}, {"verify", "af"}})
    EXPECT_EQ(completions(Words{"pyrelux"} + line), file) << testing::PrintToString(line);
  for (const Words &line : {Words{"info", "af"}, {"render", "--fps", "af"}, {"completion", "af"}, {"presets", "af"}})
    EXPECT_EQ(completions(Words{"pyrelux"} + line), Set{}) << testing::PrintToString(line);
}

INSTANTIATE_TEST_SUITE_P(, Completion, testing::Values("bash", "zsh", "fish"),
                         [](const auto &shell) { return shell.param; });

class BashCompletion : public CliTest {};

TEST_F(BashCompletion, GoesWithoutTheCutAtEqualsSigns) {
  // As some people set it; then the whole word is replaced.
  Command command;
  command.environment = {{"COMP_WORDBREAKS_GIVEN", " "}};
  command.words = {"bash", "--norc", PYRELUX_SHELLS "/complete.bash", scripts.at("bash"), "pyrelux", "render", ""};
  for (const auto &[word, completed] :
       {std::pair("--backend=s", "--backend=soft\n"), {"--set=source-mode=M", "--set=source-mode=Mix\n"}}) {
    command.words.back() = word;
    EXPECT_EQ(run(command).out, completed);
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
