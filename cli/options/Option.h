#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Words.h"

// The command line as data. One row says everything about an option: what it is called, what it takes and does, and
// what it fills. Parsing, help, manual page, completion and the tables in docs/ are made from the rows.

namespace pyrelux::cli {

/// What the value of an option is, for those who complete it.
enum class ValueKind {
  None,       ///< a flag: there is no value
  Choice,     ///< one of Option::choices, or like one of them
  File,       ///< a file's path
  Setting,    ///< NAME=VALUE, of a parameter
  Variation,  ///< NAME=VALUES, of a parameter or what else a sheet varies
  Text,       ///< anything else
};

/// A word that an option takes.
struct Choice {
  std::string word;  ///< ends with "=" when a value follows
  std::string about;
  bool isWhole() const { return word.back() != '='; }
};

struct Option {
  std::vector<std::string> names;  ///< "-o", "--output"; of a positional its one name: "INPUT"
  std::string value;               ///< what stands for the value in the help: "FILE"; empty for a flag
  std::string brief;               ///< what it does, in a few words
  std::string details;             ///< the rest of the sentence, with the punctuation it begins with
  std::string group;               ///< the help's heading; empty for "Options"
  ValueKind kind = ValueKind::Text;
  std::vector<Choice> choices;
  bool takesOthers = false;  ///< other values than the choices too; what they may be is looked at later
  bool isRequired = false;
  bool isRepeatable = false;
  std::string needs;     ///< an option without which this one is refused
  std::string excludes;  ///< an option that is refused together with this one
  /// Why a value is refused, for the parser's message; empty for one that is taken.
  std::function<std::string(const std::string &)> check;
  /// Takes the value (of a flag an empty text), in the order of the rows. Throws ValueError.
  std::function<void(const std::string &)> fill;

  bool isPositional() const { return names[0][0] != '-'; }
  bool isFlag() const { return kind == ValueKind::None; }
  std::string about() const { return brief + details; }

  // How a row goes on after what it is called and does.
  Option &&in(std::string heading) &&;
  Option &&required() &&;
  Option &&needing(std::string name) &&;
  Option &&excluding(std::string name) &&;
  Option &&ofKind(ValueKind wanted) &&;
  Option &&refusing(std::function<std::string(const std::string &)> why) &&;
  Option &&repeatable() &&;
  /// Words that the option takes, and no others.
  Option &&oneOf(const std::vector<std::string> &words) &&;
  /// Words that the option takes; others are refused later.
  Option &&suggesting(const std::vector<std::string> &words) &&;
  Option &&calling(std::function<void(const std::string &)> take) &&;

  /// Fills `target` with what `parse` makes of the text.
  template <typename Target, typename Parse>
  Option &&filling(Target &target, Parse parse) && {
    return std::move(*this).calling([&target, parse](const std::string &text) { target = parse(text); });
  }

  /// Fills `target` with the text.
  template <typename Target>
  Option &&filling(Target &target) && {
    return std::move(*this).calling([&target](const std::string &text) { target = text; });
  }

  /// Takes one of the words, and fills `target` with its value.
  template <typename Value>
  Option &&filling(std::optional<Value> &target, const Words<Value> &words) && {
    return std::move(*this).oneOf(wordsOf(words)).calling([&](const std::string &text) {
      target = valueOf(words, text);
    });
  }
};

/// An option with a value. `names`: "-o,--output".
Option option(const std::string &names, std::string value, std::string brief, std::string details = {});

/// An option without a value that sets `target` to `wanted`.
template <typename Target>
Option flag(const std::string &names, Target &target, Target wanted, std::string brief, std::string details = {}) {
  return option(names, "", std::move(brief), std::move(details))
      .ofKind(ValueKind::None)
      .calling([&target, wanted](const std::string &) { target = wanted; });
}

/// A command of the program.
struct Command {
  std::string name;
  std::string about;
  std::vector<Option> options;               ///< positionals among them
  std::function<int()> run;                  ///< returns the program's exit code; the options are filled
  std::function<std::string()> footer = {};  ///< what its help ends with; none for most
  bool isHidden = false;                     ///< not in help, manual and completion
};

struct Program {
  std::string name;
  std::string about;
  std::vector<Option> options;  ///< those that stand before a command
  std::vector<Command> commands;
};

}  // namespace pyrelux::cli
