#pragma once

#include "FrameList.h"
#include "FrameRate.h"
#include "MediaErrors.h"
#include "Parameters.h"
#include "Project.h"
#include "Reader.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// What --project names; nothing is set in it when nothing is named. Throws media::InputError.
Project loadProject(const RenderOptions &options, const std::vector<host::ParameterDeclaration> &declarations);

/// The options, with the project's in the places of those that were not given.
RenderOptions withProject(RenderOptions options, const Project &project);

/// Writes a project with all that is in force for these frames of the input to where --save-project says. Throws
/// media::OutputError.
void saveProject(const RenderOptions &options, const host::ParameterSet &parameters, const media::InputInfo &input,
                 const FrameList &frames, const FrameRate &rate);

}  // namespace pyrelux::cli
