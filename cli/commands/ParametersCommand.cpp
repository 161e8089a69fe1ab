#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Commands.h"
#include "Filter.h"
#include "HostError.h"
#include "OwnParameters.h"
#include "ParameterHelp.h"
#include "ParameterList.h"
#include "ParameterText.h"
#include "ProjectSchema.h"

namespace pyrelux::cli {

namespace {

using host::ParameterDeclaration;
using host::ParameterKind;
using Json = nlohmann::ordered_json;

Json number(const ParameterDeclaration &parameter, double value) {
  if (parameter.kind == ParameterKind::Integer || parameter.kind == ParameterKind::Popup)
    return static_cast<int>(value);
  return value;
}

Json defaultOf(const ParameterDeclaration &parameter) {
  const auto &value = parameter.defaultValue;
  switch (parameter.kind) {
    case ParameterKind::Custom:
      return nullptr;
    case ParameterKind::Colour:
      return {value[0], value[1], value[2]};
    case ParameterKind::Point:
      return {value[0], value[1]};
    default:
      return number(parameter, value[0]);
  }
}

Json describe(const ParameterDeclaration &parameter) {
  Json description;
  description["id"] = parameter.id;
  description["name"] = parameter.slug();
  description["key"] = parameter.key;
  description["label"] = parameter.label;
  description["kind"] = host::kindName(parameter.kind);
  description["range"] = nullptr;
  if (parameter.hasRange())
    description["range"] = {number(parameter, parameter.minimum), number(parameter, parameter.maximum)};
  description["default"] = defaultOf(parameter);
  description["entries"] = parameter.entries;
  description["unit"] = parameter.unit();
  return description;
}

/// The rows, with columns as wide as they have to be.
std::string tableOf(const std::vector<std::vector<std::string>> &rows, const std::string &indentation) {
  std::vector<std::size_t> widths(rows[0].size());
  for (const auto &row : rows)
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], row[column].size());
  std::string table;
  for (const auto &row : rows) {
    std::string line = indentation;
    for (std::size_t column = 0; column < row.size(); ++column) {
      line += row[column];
      line.append(widths[column] - row[column].size() + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    table += line + '\n';
  }
  return table;
}

std::string tableOf(const std::vector<ParameterDeclaration> &parameters) {
  std::vector<std::vector<std::string>> rows{{"ID", "NAME", "LABEL", "KIND", "DEFAULT", "TAKES"}};
  for (const ParameterDeclaration &parameter : parameters)
    rows.push_back({std::to_string(parameter.id), parameter.slug(), parameter.label, host::kindName(parameter.kind),
                    host::formatValue(parameter, parameter.defaultValue), takes(parameter)});
  return tableOf(rows, "");
}

}  // namespace

std::vector<ParameterDeclaration> settableParameters() {
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  std::vector<ParameterDeclaration> parameters = project::allParameters(filter).declarations();
  const auto isCustom = [](const ParameterDeclaration &parameter) { return parameter.kind == ParameterKind::Custom; };
  parameters.erase(std::remove_if(parameters.begin(), parameters.end(), isCustom), parameters.end());
  return parameters;
}

std::string takes(const ParameterDeclaration &parameter) {
  if (parameter.hasRange()) return host::formatRange(parameter);
  return parameter.kind == ParameterKind::Popup ? host::formatEntries(parameter) : parameter.unit();
}

std::string parametersHelp() {
  try {
    const auto parameters = settableParameters();
    std::vector<std::vector<std::string>> rows;
    for (const ParameterDeclaration &parameter : parameters)
      rows.push_back({parameter.slug(), host::formatValue(parameter, parameter.defaultValue), takes(parameter)});
    std::string help = "Parameters for --set, with their defaults, what they take and what they do:\n";
    std::istringstream lines(tableOf(rows, "  "));
    for (const ParameterDeclaration &parameter : parameters) {
      std::string line;
      std::getline(lines, line);
      help += line + "\n      " + project::parameterHelp(parameter) + '\n';
    }
    return help;
  } catch (const host::HostError &error) {
    return std::string("Parameters for --set are not known: ") + error.what() + "\n";
  }
}

namespace {

int listParameters(bool json) {
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const auto parameters = project::allParameters(filter).declarations();
  if (json) {
    Json list = Json::array();
    for (const ParameterDeclaration &parameter : parameters) list.push_back(describe(parameter));
    std::cout << list.dump(2) << '\n';
  } else {
    std::cout << tableOf(parameters);
  }
  return 0;
}

int printProjectSchema() {
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  std::cout << project::projectSchema(project::allParameters(filter).declarations());
  return 0;
}

}  // namespace

Command parametersCommand() {
  struct Arguments {
    bool isJson = false;
    bool isSchema = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"parameters",
          "List the effect's parameters in the inspector's order",
          {flag("--json", arguments->isJson, true, "As JSON"),
           flag("--schema", arguments->isSchema, true, "As a JSON Schema of the files that 'render --project' takes")
               .excluding("--json")},
          [arguments] { return arguments->isSchema ? printProjectSchema() : listParameters(arguments->isJson); }};
}

}  // namespace pyrelux::cli
