#include "Presets.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "Joined.h"
#include "MediaErrors.h"
#include "ProjectFile.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::project {

namespace {

constexpr const char *extension = ".json";

/// The folder share/pyrelux/presets of the tree that this code was installed in, be it a program or a plug-in: looked
/// for beside the folders above it. Empty if there is none.
fs::path shippedFolder() {
  Dl_info module = {};
  void *loaded = nullptr;
  if (!dladdr1(reinterpret_cast<const void *>(&presetFiles), &module, &loaded, RTLD_DL_LINKMAP)) return {};
  // A program has no name there, and dladdr has the word it was started by, which says nothing if PATH led to it.
  const std::string name = static_cast<const link_map *>(loaded)->l_name;
  std::error_code error;
  fs::path folder = fs::weakly_canonical(name.empty() ? "/proc/self/exe" : name, error).parent_path();
  // A multi-arch plug-in lies four folders deep: lib/ARCHITECTURE/frei0r-1.
  constexpr int maxDepth = 4;
  for (int depth = 0; depth < maxDepth && folder.has_relative_path(); ++depth) {
    folder = folder.parent_path();
    if (const fs::path presets = folder / "share/pyrelux/presets"; fs::is_directory(presets, error)) return presets;
  }
  return {};
}

/// Empty if the environment names no home.
fs::path ownFolder() {
  const char *config = std::getenv("XDG_CONFIG_HOME");
  if (config && fs::path(config).is_absolute()) return fs::path(config) / "pyrelux/presets";
  const char *home = std::getenv("HOME");
  return home && *home ? fs::path(home) / ".config/pyrelux/presets" : fs::path();
}

std::vector<PresetFile> filesIn(const fs::path &folder, bool isOwn) {
  std::vector<PresetFile> files;
  std::error_code error;
  if (folder.empty()) return files;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    if (entry->path().extension() == extension && entry->path().stem() != "")
      files.push_back({entry->path().stem().string(), entry->path().string(), isOwn});
  std::sort(files.begin(), files.end(), [](const PresetFile &a, const PresetFile &b) { return a.name < b.name; });
  return files;
}

std::vector<std::string> namesOf(const std::vector<PresetFile> &files) {
  std::vector<std::string> names;
  for (const PresetFile &file : files) names.push_back(file.name);
  return names;
}

}  // namespace

std::vector<PresetFile> presetFiles() {
  std::vector<PresetFile> files = filesIn(shippedFolder(), false);
  const std::vector<PresetFile> own = filesIn(ownFolder(), true);
  const auto isReplaced = [&own](const PresetFile &shipped) {
    return std::any_of(own.begin(), own.end(), [&](const PresetFile &file) { return file.name == shipped.name; });
  };
  files.erase(std::remove_if(files.begin(), files.end(), isReplaced), files.end());
  files.insert(files.end(), own.begin(), own.end());
  return files;
}

std::vector<std::string> presetNames() { return namesOf(presetFiles()); }

std::vector<std::string> shippedPresetNames() { return namesOf(filesIn(shippedFolder(), false)); }

std::string ownPresetPath(const std::string &name) {
  const fs::path folder = ownFolder();
  return folder.empty() ? std::string() : (folder / (name + extension)).string();
}

bool isPresetPath(const std::string &nameOrPath) { return fs::path(nameOrPath).extension() == extension; }

std::string presetPath(const std::string &nameOrPath) {
  if (isPresetPath(nameOrPath)) return nameOrPath;
  for (const PresetFile &file : presetFiles())
    if (file.name == nameOrPath) return file.path;
  const std::vector<std::string> names = presetNames();
  throw ValueError("there is no preset '" + nameOrPath + "'; there are " + (names.empty() ? "none" : joined(names)));
}

Project loadPreset(const std::string &nameOrPath, const std::vector<host::ParameterDeclaration> &declarations) {
  const std::string path = presetPath(nameOrPath);
  Project preset = loadProject(path, declarations);
  if (preset.preset)
    media::failReading(path, "it is used as a preset, and builds on the preset '" + *preset.preset + "'");
  return preset;
}

}  // namespace pyrelux::project
