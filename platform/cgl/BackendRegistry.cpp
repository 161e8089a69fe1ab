#include "BackendRegistry.h"

#include "EGLBackend.h"
#include "NullBackend.h"
#include "RecordingBackend.h"
#include "SoftBackend.h"

namespace pyrelux::platform {

Backend *findBackend(std::int32_t rendererId) {
  switch (rendererId) {
    case kRendererGPU:
      return &gpuBackend();
    case kRendererMesa:
      return &mesaBackend();
    case kRendererNull:
      return &nullBackend();
    case kRendererRecording:
      return &recordingBackend();
    case kRendererSoft:
      return &softBackend();
    default:
      return nullptr;
  }
}

Backend *defaultBackend() { return gpuBackend().unavailable().empty() ? &gpuBackend() : &softBackend(); }

std::mutex &filterTurn() {
  static std::mutex turn;
  return turn;
}

std::string rendererUnavailable(std::int32_t rendererId) {
  Backend *backend = findBackend(rendererId);
  return backend ? backend->unavailable() : "there is no such renderer";
}

}  // namespace pyrelux::platform
