#pragma once

#include "Backend.h"

// OpenGL through EGL, without a window system.

namespace pyrelux::platform {

/// On a GPU.
Backend &gpuBackend();

/// By Mesa's software renderer.
Backend &mesaBackend();

}  // namespace pyrelux::platform
