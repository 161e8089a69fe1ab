#pragma once

#include <string>

#include "FrameList.h"
#include "MediaErrors.h"
#include "Reader.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// Writing must never replace what is read, now or for a later frame: refuses when the output's frames, or the project
/// to be saved, are a file that `source` reads from. Messages call the source `what`. Throws UsageError,
/// media::OutputError.
void refuseToReplaceSource(const media::Reader &source, const std::string &what, const RenderOptions &options,
                           const FrameList &frames);

/// What is there stays, links to nothing too, unless the options say otherwise. Throws media::OutputError.
void refuseToReplaceOutput(const RenderOptions &options, const FrameList &frames);

}  // namespace pyrelux::cli
