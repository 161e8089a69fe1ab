#include "HelpFormatter.h"

#include <sstream>

namespace pyrelux::cli {

namespace {

constexpr std::size_t nameWidth = 26;

}  // namespace

HelpFormatter::HelpFormatter() { column_width(nameWidth); }

std::string HelpFormatter::make_option_desc(const CLI::Option *option) const {
  return wrapText(Formatter::make_option_desc(option), helpWidth - nameWidth);
}

std::string HelpFormatter::make_subcommand(const CLI::App *command) const {
  const std::string name = "  " + command->get_name();
  const std::size_t gap = name.size() < nameWidth ? nameWidth - name.size() : 1;
  std::string about = wrapText(command->get_description(), helpWidth - nameWidth);
  for (std::size_t end = 0; (end = about.find('\n', end)) != std::string::npos; end += nameWidth + 1)
    about.insert(end + 1, nameWidth, ' ');
  return name + std::string(gap, ' ') + about + "\n";
}

std::string wrapText(const std::string &text, std::size_t width) {
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
