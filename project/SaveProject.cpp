// Apart from loadProject(), because writing takes FFmpeg's libraries, which a plug-in that loads presets must not load.

#include <filesystem>

#include "ProjectFile.h"
#include "TextFile.h"

namespace fs = std::filesystem;

namespace pyrelux::project {

void saveProject(const std::string &path, Project project,
                 const std::vector<host::ParameterDeclaration> &declarations) {
  const fs::path folder = fs::absolute(path).parent_path();
  for (auto *file : project.scene.title.files())
    if (*file && fs::path(**file).is_relative()) *file = fs::proximate(**file, folder).string();
  media::writeText(path, formatProject(project, declarations));
}

}  // namespace pyrelux::project
