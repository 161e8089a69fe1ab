#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// OpenGL through EGL without a window system: on a GPU where there is one, else on Mesa's software renderer.
Backend &eglBackend();

}  // namespace pyrelux::platform
