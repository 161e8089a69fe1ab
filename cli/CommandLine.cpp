#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include "Choices.h"
#include "ParameterList.h"
#include "SheetOptions.h"

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

std::vector<Choice> choicesFor(CLI::Option &option, const std::string &valueName,
                               const std::vector<host::ParameterDeclaration> &parameters) {
  std::vector<Choice> choices;
  for (const std::string &word : choicesOf(option)) choices.push_back({word, ""});
  if (valueName == settingName || valueName == variationName) choices = assignmentsTo(parameters);
  if (valueName == variationName) {
    choices.push_back({std::string(presetAxis) + "=", "looks"});
    choices.push_back({std::string(frameAxis) + "=", "frames"});
  }
  return choices;
}

OptionDescription describe(CLI::Option &option, const std::vector<host::ParameterDeclaration> &parameters) {
  OptionDescription description;
  description.about = option.get_description();
  description.group = option.get_group();
  description.isRequired = option.get_required();
  for (const std::string &name : option.get_snames()) description.names.push_back("-" + name);
  for (const std::string &name : option.get_lnames()) description.names.push_back("--" + name);
  const bool isPositional = option.get_positional();
  if (isPositional) description.names = {option.get_name(true)};
  if (option.get_items_expected_max() == 0) return description;

  description.isRepeatable = option.get_expected_max() == CLI::detail::expected_max_vector_size;
  description.valueName = isPositional                       ? description.names[0]
                          : option.get_option_text().empty() ? option.get_type_name()
                                                             : option.get_option_text();
  description.choices = choicesFor(option, description.valueName, parameters);
  const bool isFile = isPositional || description.valueName.find("FILE") != std::string::npos;
  description.kind = !description.choices.empty() ? ValueKind::Choice : isFile ? ValueKind::File : ValueKind::Text;
  return description;
}

}  // namespace

std::string OptionDescription::summary() const {
  std::size_t end = about.find_first_of(",:;(");
  if (end == std::string::npos) return about;
  while (end > 0 && about[end - 1] == ' ') --end;
  return about.substr(0, end);
}

CommandDescription describe(CLI::App &program, const std::vector<host::ParameterDeclaration> &parameters) {
  CommandDescription description;
  description.name = program.get_name();
  description.about = program.get_description();
  for (CLI::Option *option : program.get_options())
    (option->get_positional() ? description.positionals : description.options).push_back(describe(*option, parameters));
  for (CLI::App *command : program.get_subcommands([](CLI::App *command) { return !command->get_group().empty(); }))
    description.commands.push_back(describe(*command, parameters));
  return description;
}

}  // namespace pyrelux::cli
