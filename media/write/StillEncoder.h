#pragma once

#include <memory>
#include <string>

#include "FileFormat.h"
#include "Image.h"
#include "Writer.h"

namespace pyrelux::media {

/// Turns pictures into the files of stills, by FFmpeg or by the library of the codec.
class StillEncoder {
 public:
  /// `codec` must outlive it. Throws OutputError: a size or frame rate that nothing has; EncoderError: no such encoder,
  /// a size that it refuses.
  static std::unique_ptr<StillEncoder> open(const std::string &path, const Codec &codec, const OutputFormat &format);

  virtual ~StillEncoder() = default;

  /// Writes all bytes of a picture's file. Throws MediaError.
  virtual void encode(const Image &image, AVIOContext &file) = 0;

  /// Of the pictures encoded so far.
  virtual const Losses &losses() const = 0;
};

}  // namespace pyrelux::media
