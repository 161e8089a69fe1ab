#include "BackendRegistry.h"

#include "EGLBackend.h"
#include "NullBackend.h"
#include "RecordingBackend.h"

namespace pyrelux::platform {

Backend *findBackend(std::int32_t rendererId) {
  switch (rendererId) {
    case kRendererEGL:
      return &eglBackend();
    case kRendererNull:
      return &nullBackend();
    case kRendererRecording:
      return &recordingBackend();
    default:
      return nullptr;
  }
}

Backend *defaultBackend() { return &eglBackend(); }

std::string rendererUnavailable(std::int32_t rendererId) {
  Backend *backend = findBackend(rendererId);
  return backend ? backend->unavailable() : "there is no such renderer";
}

}  // namespace pyrelux::platform
