#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Parameters.h"
#include "Project.h"

// Presets are project files. Those that are shipped lie in share/pyrelux/presets, a user's own in
// $XDG_CONFIG_HOME/pyrelux/presets (without the variable in ~/.config/pyrelux/presets).

namespace pyrelux::project {

struct PresetFile {
  std::string name;  ///< the file's name without ".json"
  std::string path;
  bool isOwn = false;  ///< the user's, not shipped
};

/// All presets, by name: those that are shipped, then the user's own. A user's preset replaces a shipped one of the
/// same name.
std::vector<PresetFile> presetFiles();

/// Their names, in the same order.
std::vector<std::string> presetNames();

/// The names of those that are shipped, whether the user has replaced them or not.
std::vector<std::string> shippedPresetNames();

/// Where a preset of the user's own has its file, be it there or not. Empty if the environment names no home.
std::string ownPresetPath(const std::string &name);

/// Whether a preset is named by its file's path: "looks/warm.json".
bool isPresetPath(const std::string &nameOrPath);

/// The file of a preset. Throws ValueError, which lists the names, when there is none of that name.
std::string presetPath(const std::string &nameOrPath);

/// Reads a preset. Throws ValueError as above; media::InputError when the file can't be read, is no project, or builds
/// on another preset.
Project loadPreset(const std::string &nameOrPath, const std::vector<host::ParameterDeclaration> &declarations);

}  // namespace pyrelux::project
