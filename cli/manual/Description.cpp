#include "Description.h"

#include <algorithm>
#include <iterator>

#include "ContactSheet.h"
#include "ParameterList.h"
#include "Parser.h"

namespace pyrelux::cli {

namespace {

/// "glow=" and the like; of popups "source-mode=Cover" and its others.
std::vector<Choice> assignmentsTo(const std::vector<host::ParameterDeclaration> &parameters) {
  std::vector<Choice> choices;
  for (const host::ParameterDeclaration &parameter : parameters) {
    const std::string name = parameter.slug() + "=";
    if (parameter.kind != host::ParameterKind::Popup) choices.push_back({name, takes(parameter)});
    for (const std::string &entry : parameter.entries) choices.push_back({name + entry, parameter.label});
  }
  return choices;
}

void offerParameters(Option &row, const std::vector<host::ParameterDeclaration> &parameters) {
  if (row.kind != ValueKind::Setting && row.kind != ValueKind::Variation) return;
  row.choices = assignmentsTo(parameters);
  if (row.kind == ValueKind::Variation) {
    row.choices.push_back({std::string(job::presetAxis) + "=", "looks"});
    row.choices.push_back({std::string(job::frameAxis) + "=", "frames"});
  }
  row.kind = ValueKind::Choice;
}

}  // namespace

Program describe(const Program &program, const std::vector<host::ParameterDeclaration> &parameters) {
  Program seen{program.name, program.about, program.options, {}};
  for (const Command &command : program.commands) {
    if (command.isHidden) continue;
    seen.commands.push_back(command);
    std::vector<Option> &options = seen.commands.back().options;
    options.insert(options.begin(), helpOption());
    for (Option &row : options) offerParameters(row, parameters);
  }
  return seen;
}

std::vector<Option> positionalsOf(const Command &command) {
  std::vector<Option> rows;
  std::copy_if(command.options.begin(), command.options.end(), std::back_inserter(rows),
               [](const Option &row) { return row.isPositional(); });
  return rows;
}

std::vector<Option> optionsOf(const Command &command) {
  std::vector<Option> rows;
  std::copy_if(command.options.begin(), command.options.end(), std::back_inserter(rows),
               [](const Option &row) { return !row.isPositional(); });
  return rows;
}

}  // namespace pyrelux::cli
