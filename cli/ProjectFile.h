#pragma once

#include "FrameRange.h"
#include "Parameters.h"
#include "Project.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// What --project names; nothing is set in it when nothing is named. Throws media::InputError.
Project loadProject(const RenderOptions &options, const std::vector<host::ParameterDeclaration> &declarations);

/// The options, with the project's in the places of those that were not given.
RenderOptions withProject(RenderOptions options, const Project &project);

/// Writes a project with all that is in force to where --save-project says. Throws media::OutputError.
void saveProject(const RenderOptions &options, const host::ParameterSet &parameters, const FrameList &frames,
                 const FrameRate &rate);

}  // namespace pyrelux::cli
