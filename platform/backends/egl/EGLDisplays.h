#pragma once

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>

namespace pyrelux::platform {

/// The display that contexts are made on, chosen once in a process: the first GPU that gives one, else Mesa's
/// surfaceless display, which a software renderer stands behind. LIBGL_ALWAYS_SOFTWARE passes the GPUs over.
struct ChosenDisplay {
  EGLDisplay display = EGL_NO_DISPLAY;
  std::string problem;  ///< why there is none, and what to do; empty when there is one
};

const ChosenDisplay &chosenDisplay();

}  // namespace pyrelux::platform
