#include "Parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "ExitCodes.h"
#include "HelpFormatter.h"
#include "Joined.h"
#include "TextFile.h"
#include "ValueError.h"

namespace pyrelux::cli {

namespace {

/// What was typed, by option, until the whole line is known to be right.
using Typed = std::map<const Option *, std::vector<std::string>>;

/// Foundation for Linux reads the arguments too, and finds no bundle any more after one that is not UTF-8.
void requireUtf8(const std::string &argument) {
  if (!media::isUtf8(argument)) throw ValueError("'" + argument + "' is not UTF-8");
}

/// The library's message without what it adds on further lines.
std::string firstLine(const std::string &text) { return text.substr(0, text.find('\n')); }

std::vector<std::string> wordsOf(const std::vector<Choice> &choices) {
  std::vector<std::string> words;
  for (const Choice &choice : choices) words.push_back(choice.word);
  return words;
}

CLI::Option *declareValue(CLI::App &app, const Option &row, Typed &typed) {
  const auto take = [&typed, &row](const std::vector<std::string> &texts) { typed[&row] = texts; };
  CLI::Option *declared = app.add_option_function<std::vector<std::string>>(joined(row.names, ","), take, row.about());
  declared->allow_extra_args(false);
  if (!row.isRepeatable) declared->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::Throw);
  if (!row.takesOthers && !row.choices.empty()) declared->check(CLI::IsMember(wordsOf(row.choices)));
  if (row.check) declared->check(CLI::Validator([&row](const std::string &text) { return row.check(text); }, ""));
  const std::string value = row.isPositional() ? "" : row.value;
  if (!row.choices.empty())
    declared->option_text(row.isPositional() && row.isRequired ? "REQUIRED" : value);
  else
    declared->type_name(value);
  return declared;
}

CLI::Option *declare(CLI::App &app, const Option &row, Typed &typed) {
  CLI::Option *declared = row.isFlag()
                              ? app.add_flag_callback(
                                    joined(row.names, ","), [&typed, &row] { typed[&row] = {""}; }, row.about())
                              : declareValue(app, row, typed);
  if (!row.group.empty()) declared->group(row.group);
  if (row.isRequired) declared->required();
  return declared;
}

void declareCommand(CLI::App &app, const Command &command, Typed &typed, int &exitCode) {
  CLI::App *const declared = app.add_subcommand(command.name, command.about);
  if (command.isHidden) declared->group("");
  if (command.footer) declared->footer(command.footer);
  for (const Option &row : command.options) declare(*declared, row, typed);
  for (const Option &row : command.options) {
    CLI::Option *option = declared->get_option(row.names.back());
    if (!row.needs.empty()) option->needs(declared->get_option(row.needs));
    if (!row.excludes.empty()) option->excludes(declared->get_option(row.excludes));
  }
  declared->callback([&] {
    for (const Option &row : command.options)
      for (const std::string &text : typed[&row])
        if (row.fill) row.fill(text);
    exitCode = command.run();
  });
}

/// The library only says that a command is missing; this names what is there instead.
void requireKnownFirst(const CLI::App &app, const std::string &first) {
  const bool isOption = first.rfind('-', 0) == 0;
  const auto commands = app.get_subcommands([&](const CLI::App *command) { return command->get_name() == first; });
  if (isOption ? !app.get_option_no_throw(first) : commands.empty())
    throw ValueError(std::string("there is no ") + (isOption ? "option '" : "command '") + first +
                     "'; see 'pyrelux --help'");
}

/// Commands that belong together begin with the same word: "farm-plan" may be typed as "farm plan".
std::vector<std::string> withWholeCommand(const Program &program, const std::vector<std::string> &words) {
  if (words.empty()) return words;
  std::vector<std::string> rest;
  for (const Command &command : program.commands) {
    if (command.name.rfind(words[0] + "-", 0) != 0) continue;
    rest.push_back(command.name.substr(words[0].size() + 1));
    if (words.size() < 2 || words[1] != rest.back()) continue;
    std::vector<std::string> whole{command.name};
    whole.insert(whole.end(), words.begin() + 2, words.end());
    return whole;
  }
  if (!rest.empty())
    throw ValueError("after '" + words[0] + "' comes one of " + joined(rest, ", ") + "; see 'pyrelux --help'");
  return words;
}

/// The words after "--" are those of the last positional that takes many, so that no other takes them for its own.
void takeAfterDashes(const Program &program, std::vector<std::string> &words, Typed &typed) {
  const auto command = std::find_if(program.commands.begin(), program.commands.end(),
                                    [&](const Command &one) { return !words.empty() && one.name == words[0]; });
  if (command == program.commands.end()) return;
  const auto dashes = std::find(words.begin(), words.end(), "--");
  for (const Option &row : command->options) {
    if (!row.isPositional() || !row.isRepeatable || dashes == words.end()) continue;
    typed[&row] = {dashes + 1, words.end()};
    words.erase(dashes, words.end());
    return;
  }
}

}  // namespace

Option helpOption() { return option("-h,--help", "", "Print this help and exit").ofKind(ValueKind::None); }

std::vector<Option> programOptions() {
  return {helpOption(), option("--version", "", "Print the version and exit").ofKind(ValueKind::None)};
}

int runCommand(const Program &program, int argc, char **argv) {
  CLI::App app(program.about, program.name);
  app.set_version_flag("--version", "pyrelux " PYRELUX_VERSION, "Print the version and exit");
  app.set_help_flag(joined(helpOption().names, ","), helpOption().about());
  app.require_subcommand(1);
  app.footer(wrapText(exitCodesText(), helpWidth));
  app.formatter(std::make_shared<HelpFormatter>());
  Typed typed;
  int exitCode = 0;
  for (const Command &command : program.commands) declareCommand(app, command, typed, exitCode);

  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  for (const std::string &word : words) requireUtf8(word);
  words = withWholeCommand(program, words);
  takeAfterDashes(program, words, typed);
  if (!words.empty()) requireKnownFirst(app, words[0]);
  // The library takes them from the end.
  std::reverse(words.begin(), words.end());
  try {
    app.parse(words);
  } catch (const CLI::ParseError &error) {
    if (error.get_exit_code() != 0) throw ValueError(firstLine(error.what()) + "; see 'pyrelux --help'");
    return app.exit(error);
  }
  return exitCode;
}

}  // namespace pyrelux::cli
