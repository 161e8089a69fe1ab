#pragma once

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>

namespace pyrelux::platform {

/// libEGL's functions, found when first asked for: a machine without the library runs everything but the backends that
/// need it.
struct EGLLibrary {
// clang-format off
#define PYRELUX_EGL_FUNCTIONS(X) \
  X(BindAPI) X(CreateContext) X(DestroyContext) X(GetCurrentContext) X(GetPlatformDisplay) X(GetProcAddress) \
  X(Initialize) X(MakeCurrent) X(QueryString) X(Terminate)
// clang-format on
#define PYRELUX_DECLARE(name) decltype(&::egl##name) name = nullptr;
  PYRELUX_EGL_FUNCTIONS(PYRELUX_DECLARE)
#undef PYRELUX_DECLARE
  bool loaded = false;
};

const EGLLibrary &egl();

/// Which of the machine's displays.
enum class EGLKind {
  Hardware,  ///< the first GPU that gives one
  Software,  ///< Mesa's software renderer
};

/// A display that contexts are made on, chosen once in a process.
struct ChosenDisplay {
  EGLDisplay display = EGL_NO_DISPLAY;
  std::string problem;  ///< why there is none, and what to do; empty when there is one
};

const ChosenDisplay &chosenDisplay(EGLKind kind);

}  // namespace pyrelux::platform
