#include "ProjectFile.h"

#include <filesystem>

#include "MediaErrors.h"
#include "Presets.h"
#include "TextFile.h"

namespace fs = std::filesystem;

namespace pyrelux::project {

Project loadProject(const std::string &path, const std::vector<host::ParameterDeclaration> &declarations) {
  const std::string text = media::readText(path, maxProjectBytes);
  try {
    Project project = parseProject(text, declarations);
    const fs::path folder = fs::path(path).parent_path();
    if (project.preset && isPresetPath(*project.preset)) project.preset = (folder / *project.preset).string();
    for (auto *file : project.scene.title.files())
      if (*file) *file = (folder / **file).string();
    return project;
  } catch (const ProjectError &error) {
    media::failReading(path, error.what());
  }
}

}  // namespace pyrelux::project
