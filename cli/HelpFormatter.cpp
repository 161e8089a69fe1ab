#include "HelpFormatter.h"

#include <sstream>

namespace pyrelux::cli {

namespace {

constexpr std::size_t nameWidth = 26;

}  // namespace

HelpFormatter::HelpFormatter() { column_width(nameWidth); }

std::string HelpFormatter::make_option_desc(const CLI::Option *option) const {
  return broken(Formatter::make_option_desc(option), helpWidth - nameWidth);
}

std::string HelpFormatter::make_subcommand(const CLI::App *command) const {
  std::ostringstream line;
  CLI::detail::format_help(line, command->get_name(), broken(command->get_description(), helpWidth - nameWidth),
                           nameWidth);
  return line.str();
}

std::string broken(const std::string &text, std::size_t width) {
  std::istringstream words(text);
  std::string lines;
  std::size_t column = 0;
  for (std::string word; words >> word; column += word.size()) {
    if (column > 0 && column + 1 + word.size() > width) {
      lines += '\n';
      column = 0;
    } else if (column > 0) {
      lines += ' ';
      ++column;
    }
    lines += word;
  }
  return lines;
}

}  // namespace pyrelux::cli
