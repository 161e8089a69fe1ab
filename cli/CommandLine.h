#pragma once

#include <string>
#include <vector>

#include "Parameters.h"

namespace CLI {
class App;
}

// What the program takes, as data: read from the declarations that parse it, for those who complete or describe it.

namespace pyrelux::cli {

/// A word that an option takes.
struct Choice {
  std::string word;  ///< ends with "=" when a value follows
  std::string about;
  bool isWhole() const { return word.back() != '='; }
};

enum class ValueKind { None, Choice, File, Text };

struct OptionDescription {
  std::vector<std::string> names;  ///< "-o", "--output"; of a positional its one name: "INPUT"
  std::string about;
  ValueKind kind = ValueKind::None;
  std::string valueName;  ///< "FILE"; empty for a flag
  std::vector<Choice> choices;
  std::string group;  ///< the help's heading
  bool isRepeatable = false;
  bool isRequired = false;

  /// What it is about up to the first comma, colon, semicolon or parenthesis.
  std::string summary() const;
};

struct CommandDescription {
  std::string name;
  std::string about;
  std::vector<OptionDescription> options;
  std::vector<OptionDescription> positionals;
  std::vector<CommandDescription> commands;  ///< without hidden ones
};

/// Describes the program with its commands. `parameters` are those of NAME=VALUE.
CommandDescription describe(CLI::App &program, const std::vector<host::ParameterDeclaration> &parameters);

}  // namespace pyrelux::cli
