#pragma once

#include <string>
#include <vector>

#include "Parameters.h"
#include "Project.h"

namespace pyrelux::project {

/// Reads a project file. Files that it names are looked for from its folder. Throws
/// media::InputError, which names the file and the place in it.
Project loadProject(const std::string &path, const std::vector<host::ParameterDeclaration> &declarations);

/// Writes a project file, complete or not at all; relative paths in it are then counted from its folder. Throws
/// media::OutputError.
void saveProject(const std::string &path, Project project, const std::vector<host::ParameterDeclaration> &declarations);

}  // namespace pyrelux::project
