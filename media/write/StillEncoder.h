#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FileFormat.h"
#include "Image.h"
#include "PictureDelivery.h"
#include "Writer.h"

namespace pyrelux::media {

/// Turns pictures into the files of stills. Thread: any, several at once.
class StillEncoder {
 public:
  /// `codec` must outlive it. Throws OutputError: a size or frame rate that nothing has; EncoderError: a size above
  /// what is read.
  StillEncoder(const std::string &path, const Codec &codec, const OutputFormat &format);

  /// All bytes of a picture's file. Throws MediaError.
  std::vector<std::uint8_t> encode(const Image &image);

  /// Of the pictures encoded so far. Not while others are.
  Losses losses() const;

 private:
  std::unique_ptr<PictureDelivery> takeDelivery();
  void giveBack(std::unique_ptr<PictureDelivery> delivery);

  std::string path_;
  const Codec &codec_;
  OutputFormat format_;
  std::mutex mutex_;
  /// Those that nobody uses, kept with their memory: one for each thread that has encoded.
  std::vector<std::unique_ptr<PictureDelivery>> deliveries_;
};

}  // namespace pyrelux::media
