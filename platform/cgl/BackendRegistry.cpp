#include "BackendRegistry.h"

#include "EGLBackend.h"
#include "NullBackend.h"
#include "RecordingBackend.h"
#include "SoftBackend.h"

namespace pyrelux::platform {

Backend *findBackend(std::int32_t backendId) {
  switch (backendId) {
    case kBackendGPU:
      return &gpuBackend();
    case kBackendMesa:
      return &mesaBackend();
    case kBackendNull:
      return &nullBackend();
    case kBackendRecording:
      return &recordingBackend();
    case kBackendSoft:
      return &softBackend();
    default:
      return nullptr;
  }
}

Backend *defaultBackend() { return gpuBackend().unavailable().empty() ? &gpuBackend() : &softBackend(); }

std::mutex &filterMutex() {
  static std::mutex mutex;
  return mutex;
}

std::string backendUnavailable(std::int32_t backendId) {
  Backend *backend = findBackend(backendId);
  return backend ? backend->unavailable() : "there is no such backend";
}

}  // namespace pyrelux::platform
