#include "Choices.h"

#include <CLI/App.hpp>
#include <sstream>

namespace pyrelux::cli {

namespace {

// The library keeps nothing of an option but what checks it, so the words are in the check's description: "{a,b}".
constexpr const char *checkName = "choices";

}  // namespace

void takesOneOf(CLI::Option *option, const std::vector<std::string> &words, const std::string &name) {
  option->check(CLI::IsMember(words), checkName)->option_text(name);
}

void suggests(CLI::Option *option, const std::vector<std::string> &words, const std::string &name) {
  const auto anything = [](std::string &) { return std::string(); };
  option->check(CLI::Validator(anything, CLI::detail::generate_set(words)), checkName)->option_text(name);
}

std::vector<std::string> choicesOf(CLI::Option &option) {
  std::string list;
  try {
    list = option.get_validator(checkName)->get_description();
  } catch (const CLI::OptionNotFound &) {
    return {};
  }
  std::istringstream stream(list.substr(1, list.size() - 2));
  std::vector<std::string> words;
  for (std::string word; std::getline(stream, word, ',');) words.push_back(word);
  return words;
}

}  // namespace pyrelux::cli
