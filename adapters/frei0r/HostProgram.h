#pragma once

#include "Frei0rParameters.h"

namespace pyrelux::adapters {

/// How the program that this library is loaded into counts time, by the libraries that it has: MLT and GStreamer in
/// seconds, FFmpeg's filters in milliseconds, others in seconds as frei0r.h asks.
TimeUnit timeUnitOfHost();

}  // namespace pyrelux::adapters
