#pragma once

#include <optional>

#include "AvPtr.h"
#include "PictureSize.h"

namespace pyrelux::media {

/// Keeps the messages of FFmpeg and libtiff off the terminal: what a user sees of a failure is our one sentence. Each
/// library has one log for the whole process. Calling this again is harmless, from any thread.
void silenceLibraries();

/// What the log says about one decoder, for what the libraries tell nowhere else. Needs silenceLibraries().
class DecoderLog {
 public:
  struct Complaints {
    bool hasErrors = false;
    std::optional<PictureSize> refusedSize;
  };

  /// Listens to the decoder while this object lives.
  explicit DecoderLog(const AVCodecContext &decoder);
  ~DecoderLog();
  DecoderLog(const DecoderLog &) = delete;
  DecoderLog &operator=(const DecoderLog &) = delete;

  Complaints complaints() const;

 private:
  const AVCodecContext *decoder_;
};

}  // namespace pyrelux::media
