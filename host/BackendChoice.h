#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pyrelux::host {

/// The names that choose a backend: "auto" (a GPU where there is one, else our own), "gpu", "mesa" (Mesa's software
/// renderer), "soft" (our own), "egl" (a GPU, else Mesa).
const std::vector<std::string> &backendNames();

/// The id of the best backend that the name allows and that can draw here. Throws HostError with the reason and the
/// remedy when there is none.
std::int32_t chooseBackend(const std::string &name);

/// The name of the backend with this id.
std::string backendName(std::int32_t backendId);

/// What decides the last bits of what a backend draws on float surfaces here, as PYRELUX_SIMD names it; empty where
/// that is not known. The first call, or the first drawing, decides.
std::string instructionsOf(std::int32_t backendId);

}  // namespace pyrelux::host
