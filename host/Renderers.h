#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pyrelux::host {

/// The words that choose what draws: "auto" and the names of single renderers.
const std::vector<std::string> &rendererNames();

/// The id of a renderer that can draw here: the one named, or for "auto" the best there is (a GPU through EGL, else Mesa's
/// software renderer). Throws HostError with the reason and the remedy when it can't.
std::int32_t chooseRenderer(const std::string &name);

/// The word for a renderer's id.
std::string rendererName(std::int32_t rendererId);

}  // namespace pyrelux::host
