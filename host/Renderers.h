#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pyrelux::host {

/// The words that choose what draws: "auto" (a GPU where there is one, else our own), "gpu", "mesa" (Mesa's software
/// renderer), "soft" (our own), "egl" (a GPU, else Mesa).
const std::vector<std::string> &rendererNames();

/// The id of a renderer that can draw here, the best of those that the word allows. Throws HostError with the reason
/// and the remedy when there is none.
std::int32_t chooseRenderer(const std::string &name);

/// The word for a renderer's id.
std::string rendererName(std::int32_t rendererId);

}  // namespace pyrelux::host
