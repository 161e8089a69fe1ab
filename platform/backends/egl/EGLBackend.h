#pragma once

#include "Backend.h"

// Backends that draw with OpenGL through EGL, without a window system. Each lives as long as the process.

namespace pyrelux::platform {

/// Draws on a GPU.
Backend &gpuBackend();

/// Draws on the processor, by Mesa.
Backend &mesaBackend();

}  // namespace pyrelux::platform
