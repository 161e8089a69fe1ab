#include "ProjectFile.h"

#include <filesystem>

#include "MediaErrors.h"
#include "Presets.h"
#include "TextFile.h"

namespace pyrelux::project {

Project loadProject(const std::string &path, const std::vector<host::ParameterDeclaration> &declarations) {
  const std::string text = media::readText(path, maxProjectBytes);
  try {
    Project project = parseProject(text, declarations);
    if (project.preset && isPresetPath(*project.preset))
      project.preset = (std::filesystem::path(path).parent_path() / *project.preset).string();
    return project;
  } catch (const ProjectError &error) {
    media::failReading(path, error.what());
  }
}

}  // namespace pyrelux::project
