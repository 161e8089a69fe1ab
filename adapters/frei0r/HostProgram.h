#pragma once

#include <string>
#include <vector>

#include "Frei0rParameters.h"

namespace pyrelux::adapters {

/// How the program that this library is loaded into counts time, by its name and the libraries that it has: MLT and
/// GStreamer in seconds, FFmpeg's filters in milliseconds, others in seconds as frei0r.h asks.
TimeUnit timeUnitOfHost();

/// The same for a program of that name with libraries of those names, all without folders.
TimeUnit timeUnitOf(const std::string &program, const std::vector<std::string> &libraries);

}  // namespace pyrelux::adapters
