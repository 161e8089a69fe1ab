#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Image.h"
#include "StillDecoder.h"

struct tiff;

namespace pyrelux::media {

/// A TIFF in memory, for what FFmpeg neither tells nor reads: what its alpha means, and samples that are floats.
class TiffFile {
 public:
  /// The bytes must outlive this. Of a damaged file nothing is known. `path` is for messages.
  TiffFile(const std::uint8_t *data, std::int64_t size, const std::string &path);
  ~TiffFile();
  TiffFile(const TiffFile &) = delete;
  TiffFile &operator=(const TiffFile &) = delete;

  /// As the file says; straight where it does not.
  Alpha alpha() const;

  bool holdsFloats() const;

  /// The picture of a file that holds floats, of 16 or 32 bits, exactly; opaque if `alpha` is nothing. Throws
  /// InputError: damaged, too large, other than grey or RGB.
  Still readFloats(std::optional<Alpha> alpha) const;

 private:
  struct Source;
  struct Close {
    void operator()(tiff *file) const;
  };

  std::string path_;
  std::unique_ptr<Source> source_;
  std::unique_ptr<tiff, Close> file_;  // null if damaged
};

}  // namespace pyrelux::media
