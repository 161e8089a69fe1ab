#pragma once

#include <string>

#include "FrameList.h"
#include "Reader.h"
#include "RenderListener.h"
#include "RenderRequest.h"

namespace pyrelux::job {

/// Writing must never replace what is read, now or for a later frame: refuses when the output's frames, or the project
/// to be saved, are a file that `source` reads from. Messages call the source `what`. Throws ValueError,
/// media::OutputError.
void refuseToReplaceSource(const media::Reader &source, const std::string &what, const RenderRequest &request,
                           const FrameList &frames);

/// Refuses to overwrite existing output unless the request allows it. A link to nothing counts as output. Throws
/// media::OutputError.
void refuseToReplaceOutput(const RenderRequest &request, const FrameList &frames);

/// Makes the folders of the output that are missing. Throws media::OutputError.
void makeFoldersOf(const std::string &output);

/// Removes what killed runs for this output have left beside it, and remarks what.
void removeLeftovers(const std::string &output, RenderListener &listener);

}  // namespace pyrelux::job
