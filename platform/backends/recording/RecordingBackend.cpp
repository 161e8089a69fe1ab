#include "RecordingBackend.h"

#include "NullBackend.h"
#include "Trace.h"

namespace pyrelux::platform {

namespace {

/// Called with a function's arguments, adds the call to the trace: generated functions have only a parenthesised list.
struct Recorded {
  const char *name;
  template <typename... Arguments>
  void operator()(Arguments... arguments) const {
    trace("gl", name, arguments...);
  }
};

#define PYRELUX_GL(result, name, parameters, arguments) \
  result recorded##name parameters {                    \
    Recorded{"gl" #name} arguments;                     \
    return nullDispatch().name arguments;               \
  }
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL

constexpr PyreluxGLDispatch dispatch = {
#define PYRELUX_GL(result, name, parameters, arguments) &recorded##name,
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
};

class RecordingBackend : public Backend {
 public:
  const char *name() const override { return "recording"; }
  std::string unavailable() override { return {}; }
  std::unique_ptr<Context> createContext(const PixelFormat &, Context *) override {
    return makeHollowContext(dispatch);
  }
  void releaseCurrent() override {}
};

}  // namespace

const PyreluxGLDispatch &recordingDispatch() { return dispatch; }

Backend &recordingBackend() {
  static RecordingBackend backend;
  return backend;
}

}  // namespace pyrelux::platform
