#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "ExitCodes.h"
#include "Filter.h"
#include "MediaErrors.h"
#include "Message.h"
#include "OwnParameters.h"
#include "ParameterText.h"
#include "Presets.h"

namespace pyrelux::cli {

namespace {

using Json = nlohmann::ordered_json;

struct ListedPreset {
  project::PresetFile file;
  project::Project project;
};

/// Those that can be read; of the others it says why not, and `hasFailed` becomes true.
std::vector<ListedPreset> readPresets(const std::vector<host::ParameterDeclaration> &declarations, bool &hasFailed) {
  std::vector<ListedPreset> presets;
  for (const project::PresetFile &file : project::presetFiles()) try {
      presets.push_back({file, project::loadPreset(file.path, declarations)});
    } catch (const media::InputError &error) {
      say(error.what());
      hasFailed = true;
    }
  return presets;
}

/// As --set takes them; of keyframes nothing, since --set takes none.
Json settingsOf(const project::Project &project, const std::vector<host::ParameterDeclaration> &declarations) {
  Json settings = Json::array();
  for (const host::ParameterDeclaration &parameter : declarations)
    if (const auto found = project.parameters.find(parameter.id);
        found != project.parameters.end() && found->second.size() == 1)
      settings.push_back(parameter.slug() + "=" + host::formatValue(parameter, found->second[0].value));
  return settings;
}

int listPresets(bool asJson) {
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const auto declarations = project::allParameters(filter).declarations();
  bool hasFailed = false;
  const std::vector<ListedPreset> presets = readPresets(declarations, hasFailed);
  if (asJson) {
    Json document = Json::array();
    for (const auto &[file, project] : presets)
      document.push_back({{"name", file.name},
                          {"description", project.description.value_or("")},
                          {"settings", settingsOf(project, declarations)},
                          {"project", Json::parse(project::formatProject(project, declarations))},
                          {"file", file.path},
                          {"own", file.isOwn}});
    std::cout << document.dump(2) << '\n';
  } else {
    std::size_t widest = 0;
    for (const ListedPreset &preset : presets) widest = std::max(widest, preset.file.name.size());
    for (const auto &[file, project] : presets)
      std::cout << std::left << std::setw(static_cast<int>(widest) + 2) << printable(file.name)
                << printable(project.description.value_or("")) << '\n';
  }
  return hasFailed ? failedExit : 0;
}

}  // namespace

Command presetsCommand() {
  const auto asJson = std::make_shared<bool>(false);
  return {"presets",
          "List the looks that --preset takes",
          {flag("--json", *asJson, true, "As JSON", ", with their settings and as project files")},
          [asJson] { return listPresets(*asJson); }};
}

}  // namespace pyrelux::cli
