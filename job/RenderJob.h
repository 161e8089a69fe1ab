#pragma once

#include <cstdint>

#include "RenderListener.h"
#include "RenderRequest.h"
#include "StopToken.h"

namespace pyrelux::job {

struct RenderResult {
  std::int64_t frames = 0;  ///< that were asked for; of a stream all that came, if none were
  std::int64_t rendered = 0;
  std::int64_t kept = 0;
  std::int64_t failed = 0;
  bool isStopped = false;  ///< the job was ended by its token
  std::int64_t done() const { return rendered + kept + failed; }
};

/// One render from a request to files. Thread: run() on one thread; it starts others for reading and writing. Jobs may
/// run one after the other in one process.
class RenderJob {
 public:
  explicit RenderJob(RenderRequest request) : request_(std::move(request)) {}

  /// Renders. Once `stop` is requested, no other frame is begun; what is finished is kept, and a movie ends there.
  /// Frames of a sequence fail one by one; otherwise the first failure ends the job. Throws ValueError for a request
  /// that can't be followed, host::HostError, media::InputError, media::OutputError, media::EncoderError, and
  /// std::runtime_error without any font.
  RenderResult run(RenderListener &listener, const StopToken &stop);

 private:
  RenderRequest request_;
};

}  // namespace pyrelux::job
