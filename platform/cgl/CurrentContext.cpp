#include "CurrentContext.h"

#include "RecordingBackend.h"
#include "Trace.h"

namespace pyrelux::platform {

namespace {

/// A function of any signature that does nothing and returns zero.
template <typename Function>
struct Inert;
template <typename Result, typename... Parameters>
struct Inert<Result (*)(Parameters...)> {
  static Result call(Parameters...) { return Result(); }
};

constexpr PyreluxGLDispatch inert = {
#define PYRELUX_GL(result, name, parameters, arguments) &Inert<decltype(PyreluxGLDispatch::name)>::call,
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
};

thread_local const PyreluxGLDispatch *current = &inert;
thread_local bool hasContext = false;
thread_local Trace *recorder = nullptr;

void chooseTableWithoutContext() {
  if (!hasContext) current = recorder ? &recordingDispatch() : &inert;
}

}  // namespace

void setCurrentDispatch(const PyreluxGLDispatch *dispatch) {
  hasContext = dispatch != nullptr;
  current = dispatch;
  chooseTableWithoutContext();
}

const PyreluxGLDispatch &inertDispatch() { return inert; }

Trace::Trace() {
  recorder = this;
  chooseTableWithoutContext();
}

Trace::~Trace() {
  recorder = nullptr;
  chooseTableWithoutContext();
}

Trace *Trace::current() { return recorder; }

}  // namespace pyrelux::platform

const PyreluxGLDispatch *pyreluxCurrentGL() { return pyrelux::platform::current; }
