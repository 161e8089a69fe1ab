#include "Completion.h"

#include <algorithm>
#include <sstream>

#include "Description.h"
#include "Joined.h"

namespace pyrelux::cli {

namespace {

using Options = std::vector<Option>;

std::string replaced(const std::string &text, char letter, const std::string &replacement) {
  std::string result;
  for (const char c : text) result += c == letter ? replacement : std::string(1, c);
  return result;
}

/// A word for bash and zsh that means just the text.
std::string quoted(const std::string &text) { return "'" + replaced(text, '\'', "'\\''") + "'"; }

Options withValue(const Options &options, ValueKind kind) {
  Options found;
  std::copy_if(options.begin(), options.end(), std::back_inserter(found),
               [&](const Option &option) { return option.kind == kind; });
  return found;
}

// --- bash

/// As a person has to type it, which is what Readline hands over and takes: "8\ Bit".
std::string typed(const std::string &word) { return replaced(word, ' ', "\\ "); }

std::string bashOffers(const std::vector<std::string> &words) {
  std::string text = "offers=(";
  for (const std::string &word : words) text += (text.back() == '(' ? "" : " ") + quoted(typed(word));
  return text + ")";
}

std::string bashOffers(const Option &option) {
  std::vector<std::string> words;
  for (const Choice &choice : option.choices) words.push_back(choice.word);
  return bashOffers(words);
}

std::vector<std::string> namesOf(const Options &options) {
  std::vector<std::string> names;
  for (const Option &option : options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

/// The branch for a command: what follows one of its options, else an option or a positional.
void addBashCommand(std::ostream &script, const Command &command) {
  script << "    " << command.name << ")\n      case $option in\n";
  for (const Option &option : withValue(optionsOf(command), ValueKind::Choice))
    script << "        " << joined(option.names, " | ") << ") " << bashOffers(option) << " ;;\n";
  if (const Options files = withValue(optionsOf(command), ValueKind::File); !files.empty())
    script << "        " << joined(namesOf(files), " | ") << ") files=1 ;;\n";
  if (const Options texts = withValue(optionsOf(command), ValueKind::Text); !texts.empty())
    script << "        " << joined(namesOf(texts), " | ") << ") ;;\n";
  script << "        *)\n          if [[ $current == -* ]]; then " << bashOffers(namesOf(optionsOf(command))) << "\n";
  // Only the first is a thing that could be completed: a folder, a file.
  if (const Options positionals = positionalsOf(command); !positionals.empty()) {
    const Option &first = positionals.front();
    script << "          else " << (first.kind == ValueKind::File ? "files=1" : bashOffers(first)) << "\n";
  }
  script << "          fi ;;\n      esac ;;\n";
}

std::string bashScript(const Program &program) {
  std::vector<std::string> first;
  for (const Command &command : program.commands) first.push_back(command.name);
  const std::vector<std::string> options = namesOf(program.options);
  first.insert(first.end(), options.begin(), options.end());
  std::ostringstream script;
  script << R"(# bash completion for pyrelux, printed by "pyrelux completion bash".
_pyrelux() {
  local words=() offers=() files= kept= option= i
  # Readline takes a = for a word of its own: put the pieces together again.
  for ((i = 1; i <= COMP_CWORD; ++i)); do
    if ((i > 1)) && [[ ${COMP_WORDS[i]} == = || ${COMP_WORDS[i - 1]} == = ]]; then
      words[${#words[@]} - 1]+=${COMP_WORDS[i]}
    else
      words+=("${COMP_WORDS[i]}")
    fi
  done
  local current=${words[${#words[@]} - 1]} command=
  ((${#words[@]} < 2)) || command=${words[0]} option=${words[${#words[@]} - 2]}
  local value=$current
  if [[ $command && $current == --*=* ]]; then
    option=${current%%=*} value=${current#*=}
  fi

  case $command in
    '') )"
         << bashOffers(first) << " ;;\n";
  for (const Command &command : program.commands) addBashCommand(script, command);
  script << R"(  esac

  COMPREPLY=()
  if [[ $files ]]; then
    compopt -o default
    return
  fi
  # Readline keeps what is before the last =, unless it was told not to cut there.
  local before=${current%"$value"}
  [[ $COMP_WORDBREAKS != *=* ]] || before= kept=${value%"${value##*=}"}
  local offer
  for offer in "${offers[@]}"; do
    [[ $offer == "$value"* ]] || continue
    COMPREPLY+=("$before${offer#"$kept"}")
    [[ $offer != *= ]] || compopt -o nospace
  done
}
complete -F _pyrelux pyrelux
)";
  return script.str();
}

// --- zsh

std::string zshEscaped(std::string text, const std::string &letters) {
  text = replaced(text, '\\', "\\\\");
  for (const char letter : letters) text = replaced(text, letter, std::string("\\") + letter);
  return text;
}

/// A row of _describe: "word:about".
std::string zshRow(const std::string &word, const std::string &about) {
  return quoted(zshEscaped(word, ":") + ":" + about);
}

std::string zshFunction(const std::string &command, const Option &option) {
  const std::string &name = option.names.back();
  return "_pyrelux_" + command + "_" + name.substr(name.find_first_not_of('-'));
}

bool isAssignment(const Option &option) {
  return std::any_of(option.choices.begin(), option.choices.end(), [](const Choice &c) { return !c.isWhole(); });
}

/// What offers the value: after "message:" in what _arguments is told.
std::string zshAction(const std::string &command, const Option &option) {
  if (option.kind == ValueKind::File) return "_files";
  if (option.kind == ValueKind::Text) return " ";
  if (isAssignment(option)) return zshFunction(command, option);
  std::vector<std::string> words;
  for (const Choice &choice : option.choices) words.push_back(zshEscaped(choice.word, " ():"));
  return "(" + joined(words, " ") + ")";
}

/// A line for _arguments per name.
void addZshOption(std::ostream &script, const std::string &command, const Option &option) {
  for (const std::string &name : option.names) {
    const bool isLong = name.rfind("--", 0) == 0;
    std::string line = option.isRepeatable ? "*" : "(" + joined(option.names, " ") + ")";
    line += name;
    if (option.kind != ValueKind::None) line += isLong ? "=" : "+";
    line += "[" + zshEscaped(option.brief, "[]") + "]";
    if (option.kind != ValueKind::None) line += ":" + zshEscaped(option.value, ":") + ":" + zshAction(command, option);
    script << " \\\n        " << quoted(line);
  }
}

void addZshFunction(std::ostream &script, const std::string &command, const Option &option) {
  script << zshFunction(command, option) << "() {\n  local -a open=(";
  for (const Choice &choice : option.choices)
    if (!choice.isWhole()) script << "\n    " << zshRow(choice.word, choice.about);
  script << "\n  ) whole=(";
  for (const Choice &choice : option.choices)
    if (choice.isWhole()) script << "\n    " << zshRow(choice.word, choice.about);
  script << "\n  )\n  _describe -t values " << quoted(option.value) << " open -S '' -- whole\n}\n\n";
}

std::string zshScript(const Program &program) {
  std::ostringstream script;
  script << "#compdef pyrelux\n# zsh completion for pyrelux, printed by \"pyrelux completion zsh\".\n\n";
  for (const Command &command : program.commands)
    for (const Option &option : optionsOf(command))
      if (isAssignment(option)) addZshFunction(script, command.name, option);
  script << "_pyrelux() {\n  local curcontext=$curcontext state line ret=1\n  local -a commands=(";
  for (const Command &command : program.commands) script << "\n    " << zshRow(command.name, command.about);
  script << "\n  )\n  _arguments -C";
  for (const Option &option : program.options) addZshOption(script, program.name, option);
  script << R"( \
        '1: :->command' '*:: :->rest' && ret=0
  case $state in
    command) _describe -t commands command commands && ret=0 ;;
    rest)
      curcontext=${curcontext%:*}-$line[1]:
      case $line[1] in
)";
  for (const Command &command : program.commands) {
    script << "      " << command.name << ") _arguments";
    for (const Option &option : optionsOf(command)) addZshOption(script, command.name, option);
    for (const Option &positional : positionalsOf(command))
      script << " \\\n        " << quoted(":" + positional.names[0] + ":" + zshAction(command.name, positional));
    script << " && ret=0 ;;\n";
  }
  script << R"(      esac ;;
  esac
  return ret
}

# Found through fpath, this file is the function itself; otherwise it is sourced.
if [[ $funcstack[1] == _pyrelux ]]; then
  _pyrelux "$@"
else
  compdef _pyrelux pyrelux
fi
)";
  return script.str();
}

// --- fish

std::string fishQuoted(const std::string &text) {
  return "'" + replaced(replaced(text, '\\', "\\\\"), '\'', "\\'") + "'";
}

/// Fish expands the list each time: words, each with a tab and what it is about.
std::string fishChoices(const Option &option) {
  std::vector<std::string> words;
  for (const Choice &choice : option.choices)
    words.push_back(fishQuoted(choice.word) + (choice.about.empty() ? "" : "\\t" + fishQuoted(choice.about)));
  return fishQuoted(joined(words, " "));
}

std::string fishValue(const Option &option) {
  switch (option.kind) {
    case ValueKind::None:
      return "";
    case ValueKind::File:
      return " -r -F";
    case ValueKind::Text:
      return " -x";
    default:
      return " -x -a " + fishChoices(option);
  }
}

void addFishOption(std::ostream &script, const std::string &condition, const Option &option) {
  script << "complete -c pyrelux -n " << fishQuoted(condition);
  for (const std::string &name : option.names)
    script << (name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1));
  script << fishValue(option) << " -d " << fishQuoted(option.brief) << "\n";
}

std::string fishScript(const Program &program) {
  std::ostringstream script;
  script << "# fish completion for pyrelux, printed by \"pyrelux completion fish\".\ncomplete -c pyrelux -f\n";
  const std::string first = "__fish_use_subcommand";
  for (const Option &option : program.options) addFishOption(script, first, option);
  for (const Command &command : program.commands)
    script << "complete -c pyrelux -n " << first << " -a " << command.name << " -d " << fishQuoted(command.about)
           << "\n";
  for (const Command &command : program.commands) {
    const std::string chosen = "__fish_seen_subcommand_from " + command.name;
    for (const Option &option : optionsOf(command)) addFishOption(script, chosen, option);
    for (const Option &positional : positionalsOf(command))
      script << "complete -c pyrelux -n " << fishQuoted(chosen)
             << (positional.kind == ValueKind::File ? " -F" : " -a " + fishChoices(positional)) << "\n";
  }
  return script.str();
}

}  // namespace

const std::vector<std::string> &shellNames() {
  static const std::vector<std::string> all{"bash", "zsh", "fish"};
  return all;
}

std::string completionScript(const std::string &shell, const Program &program) {
  if (shell == "bash") return bashScript(program);
  return shell == "zsh" ? zshScript(program) : fishScript(program);
}

}  // namespace pyrelux::cli
