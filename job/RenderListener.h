#pragma once

#include <cstdint>
#include <string>

namespace pyrelux::job {

/// What became of a frame.
enum class FrameOutcome { Rendered, Kept, Failed };

/// Is told how a job goes. Texts are one sentence without a final stop, fit to be shown to a user. Thread: calls come
/// from several threads, also at the same time. Nothing that a listener throws is caught.
class RenderListener {
 public:
  virtual ~RenderListener() = default;

  /// Something that a user might not expect of the input or the output: it is interlaced, audio is left out.
  virtual void remark(const std::string & /*text*/) {}

  /// Something of what was asked for that can't be done, while the rest can: a letter that no font has.
  virtual void warn(const std::string & /*text*/) {}

  /// What draws. `name`: one of host::backendNames(); `description`: of the implementation behind it.
  virtual void backendChosen(const std::string & /*name*/, const std::string & /*description*/) {}

  /// Everything that can be refused was looked at; from here on there may be output that is half-written. `frames`: 0
  /// if only the input's end will tell.
  virtual void started(std::int64_t /*frames*/) {}

  /// A frame is done with. Frames come in ascending order.
  virtual void frameFinished(std::int64_t /*frame*/, FrameOutcome /*outcome*/) {}

  /// Why a frame failed while others did not.
  virtual void frameFailed(std::int64_t /*frame*/, const std::string & /*cause*/) {}

  /// The last frame is done with.
  virtual void finished() {}
};

}  // namespace pyrelux::job
