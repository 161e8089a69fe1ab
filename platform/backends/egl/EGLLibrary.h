#pragma once

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>

namespace pyrelux::platform {

/// The functions of libEGL, loaded at their first use. On a machine without the library everything else still runs.
struct EGLLibrary {
// clang-format off
#define PYRELUX_EGL_FUNCTIONS(X) \
  X(BindAPI) X(CreateContext) X(DestroyContext) X(GetCurrentContext) X(GetPlatformDisplay) X(GetProcAddress) \
  X(Initialize) X(MakeCurrent) X(QueryString) X(Terminate)
// clang-format on
#define PYRELUX_DECLARE(name) decltype(&::egl##name) name = nullptr;
  PYRELUX_EGL_FUNCTIONS(PYRELUX_DECLARE)
#undef PYRELUX_DECLARE
  bool loaded = false;  ///< whether all functions were found
};

/// The library, loaded by the first call. Thread: any.
const EGLLibrary &egl();

/// Which of the machine's displays to use.
enum class EGLKind {
  Hardware,  ///< the first usable GPU's
  Software,  ///< Mesa's on the processor
};

/// A display for contexts.
struct ChosenDisplay {
  EGLDisplay display = EGL_NO_DISPLAY;
  std::string problem;  ///< why there is none, and what to do; empty when there is one
};

/// The display of that kind; the first call in a process chooses it. Thread: any.
const ChosenDisplay &chosenDisplay(EGLKind kind);

}  // namespace pyrelux::platform
