#pragma once

#include <CLI/App.hpp>
#include <CLI/Formatter.hpp>
#include <string>

namespace pyrelux::cli {

/// Columns of a line of help.
constexpr std::size_t helpWidth = 96;

/// Help whose explanations are wrapped to such lines.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter();
  std::string make_option_desc(const CLI::Option *option) const override;
  std::string make_subcommand(const CLI::App *command) const override;
};

/// The text wrapped to lines of at most `width` columns, at spaces. What is longer than a line stands on one of its
/// own.
std::string wrapText(const std::string &text, std::size_t width);

}  // namespace pyrelux::cli
