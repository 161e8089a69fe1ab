// Apart from loadProject(), because writing takes FFmpeg's libraries, which a plug-in that loads presets must not load.

#include "ProjectFile.h"
#include "TextFile.h"

namespace pyrelux::project {

void saveProject(const std::string &path, const Project &project,
                 const std::vector<host::ParameterDeclaration> &declarations) {
  media::writeText(path, formatProject(project, declarations));
}

}  // namespace pyrelux::project
