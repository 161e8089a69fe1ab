#pragma once

#include <string>
#include <vector>

#include "Parameters.h"
#include "Project.h"

namespace pyrelux::project {

/// Reads a project file. A preset that it names by a path is looked for from the file's folder. Throws
/// media::InputError, which names the file and the place in it.
Project loadProject(const std::string &path, const std::vector<host::ParameterDeclaration> &declarations);

/// Writes a project file, complete or not at all. Throws media::OutputError.
void saveProject(const std::string &path, const Project &project,
                 const std::vector<host::ParameterDeclaration> &declarations);

}  // namespace pyrelux::project
