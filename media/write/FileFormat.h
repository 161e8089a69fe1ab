#pragma once

#include <string>
#include <utility>
#include <vector>

#include "AvPtr.h"
#include "Delivery.h"

namespace pyrelux::media {

using Options = std::vector<std::pair<const char *, const char *>>;

/// A way to store pictures.
struct Codec {
  const char *name;        ///< as a user calls it
  const char *encoder;     ///< as FFmpeg calls it
  AVPixelFormat pixels8;   ///< when 8 bits are asked for
  AVPixelFormat pixels16;  ///< when 16 bits are asked for
  AlphaUse alpha;          ///< its custom; where it is not None, all others are possible
  bool isDeep;             ///< drawn with 16 bits unless 8 are asked for
  Options options;
  int smallestWidth = 1;   ///< pixels; the encoder fails with less
  int smallestHeight = 1;  ///< pixels; the encoder fails with less
};

/// A kind of file that can be written.
struct FileFormat {
  const char *extension;
  const char *muxer;          ///< null for a still: the encoded picture is the file
  std::vector<Codec> codecs;  ///< those that it holds; the first unless another is asked for
  Options options;            ///< of the muxer

  bool isMovie() const { return muxer != nullptr; }

  /// By its name; the first if that is empty. Throws OutputError, naming `path`, if it is none of them.
  const Codec &codec(const std::string &name, const std::string &path) const;
};

/// All that can be written.
const std::vector<FileFormat> &fileFormats();

/// By the path's extension, in upper or lower case. Throws OutputError if there is none of it.
const FileFormat &formatOf(const std::string &path);

}  // namespace pyrelux::media
