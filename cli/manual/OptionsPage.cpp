#include "OptionsPage.h"

#include <sstream>

#include "Joined.h"

namespace pyrelux::cli {

namespace {

/// In a cell of a table, a bar would end it.
std::string cell(const std::string &text) {
  std::string escaped;
  for (const char letter : text) escaped += letter == '|' ? "\\|" : std::string(1, letter);
  return escaped;
}

std::string headOf(const Option &row) {
  const std::string names = joined(row.names);
  return row.isFlag() || row.isPositional() ? names : names + " " + row.value;
}

void addTable(std::ostream &page, const std::vector<Option> &rows, const std::string &group) {
  if (!group.empty()) page << "\n### " << group << "\n";
  page << "\n| option | what it does |\n|---|---|\n";
  for (const Option &row : rows)
    if (row.group == group)
      page << "| `" << cell(headOf(row)) << "` | " << cell(row.about()) << (row.isRequired ? " (required)" : "")
           << " |\n";
}

}  // namespace

std::string optionsPage(const Program &program) {
  std::ostringstream page;
  page << "# Options\n\nThe options of all commands, as `" << program.name
       << " COMMAND --help` prints them. This page is generated: script/docs writes it.\n";
  for (const Command &command : program.commands) {
    page << "\n## " << program.name << " " << command.name << "\n\n" << command.about << ".\n";
    std::vector<std::string> groups;
    for (const Option &row : command.options) {
      bool isKnown = false;
      for (const std::string &group : groups) isKnown = isKnown || group == row.group;
      if (!isKnown) groups.push_back(row.group);
    }
    for (const std::string &group : groups) addTable(page, command.options, group);
  }
  return page.str();
}

}  // namespace pyrelux::cli
