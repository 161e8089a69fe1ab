#pragma once

#include <CLI/Option.hpp>
#include <string>
#include <vector>

namespace pyrelux::cli {

/// Lets an option take one of these words only; `name` stands for them in the help.
void takesOneOf(CLI::Option *option, const std::vector<std::string> &words, const std::string &name);

/// The words that an option takes, where what else it is given is refused later on: for completion.
void suggests(CLI::Option *option, const std::vector<std::string> &words, const std::string &name);

/// The words of either; empty for other options.
std::vector<std::string> choicesOf(CLI::Option &option);

}  // namespace pyrelux::cli
