#pragma once

#include <optional>
#include <string>

#include "Document.h"
#include "RenderRequest.h"

namespace pyrelux::studio {

/// The line that renders the same as the request, for a shell in the folder that the studio was started in. `content`:
/// what the request was made of. `project`: a project file with its settings, which are otherwise on the line. Nothing
/// where keyframes need such a file and none is given.
std::optional<std::string> commandLine(const Content &content, const job::RenderRequest &request,
                                       const std::optional<std::string> &project,
                                       const std::vector<host::ParameterDeclaration> &declarations);

/// The word as a shell takes it.
std::string shellWord(const std::string &text);

}  // namespace pyrelux::studio
