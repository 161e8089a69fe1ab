// Replaces EGLBackend.cpp in builds without EGL's headers.

#include "EGLBackend.h"

namespace pyrelux::platform {

namespace {

class NoEGLBackend : public Backend {
 public:
  explicit NoEGLBackend(const char *name) : name_(name) {}
  const char *name() const override { return name_; }
  std::string unavailable() override { return "this build has no EGL; build it where EGL's headers are (libegl-dev)"; }
  std::unique_ptr<Context> createContext(const PixelFormat &, Context *) override { return nullptr; }
  void releaseCurrent() override {}

 private:
  const char *name_;
};

}  // namespace

Backend &gpuBackend() {
  static NoEGLBackend backend("gpu");
  return backend;
}

Backend &mesaBackend() {
  static NoEGLBackend backend("mesa");
  return backend;
}

}  // namespace pyrelux::platform
