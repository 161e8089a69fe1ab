#include "SoftBackend.h"

#include "Backends.h"
#include "Rasteriser.h"
#include "SoftContext.h"
#include "ThreadPool.h"

namespace pyrelux::platform {

namespace {

class SoftBackend : public Backend {
 public:
  const char *name() const override { return "soft"; }
  std::string unavailable() override { return {}; }

  std::unique_ptr<Context> createContext(const PixelFormat &format, Context *share) override {
    auto group = share ? static_cast<soft::SoftContext *>(share)->group() : std::make_shared<soft::ShareGroup>();
    const auto samples = format.floatComponents ? soft::Samples::Float : soft::Samples::Byte;
    return std::make_unique<soft::SoftContext>(samples, std::move(group));
  }

  void releaseCurrent() override { soft::SoftContext::releaseCurrent(); }
};

}  // namespace

Backend &softBackend() {
  static SoftBackend backend;
  return backend;
}

std::string softInstructions() { return soft::rasteriserInstructions(); }

std::chrono::nanoseconds softTimeInParallel() { return soft::timeInParallel(); }

}  // namespace pyrelux::platform
