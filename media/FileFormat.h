#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Handles.h"

namespace pyrelux::media {

/// What becomes of the alpha of a premultiplied picture.
enum class AlphaUse {
  Straight,       ///< colour is divided by it
  Premultiplied,  ///< stored as it is
  OverBlack,      ///< dropped, which leaves the picture as it looks over black
};

/// A kind of file that can be written.
struct FileFormat {
  const char *extension;
  const char *encoder;
  const char *muxer;       ///< null for a still: the encoded picture is the file
  AVPixelFormat pixels8;   ///< when 8 bits are asked for
  AVPixelFormat pixels16;  ///< when 16 bits are asked for
  AlphaUse alpha;
  bool isDeep;                                                 ///< deeper than 8 bits whatever is asked for
  std::vector<std::pair<const char *, const char *>> options;  ///< of the encoder and of the muxer

  bool isMovie() const { return muxer != nullptr; }
};

/// By the path's extension, in upper or lower case. Throws MediaError if there is none of it.
const FileFormat &formatOf(const std::string &path);

}  // namespace pyrelux::media
