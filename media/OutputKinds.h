#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Writer.h"

namespace pyrelux::media {

/// A kind of file that Writer writes, with one of its codecs.
struct OutputKind {
  std::string extension;  ///< with its dot: ".mov"
  std::string codec;      ///< as OutputFormat::codec names it
  bool isUsual = false;   ///< the extension's codec unless another is asked for
  bool isMovie = false;   ///< one file holds many frames
  bool holdsAlpha = false;
  bool holdsAudio = false;
  bool isDeep = false;       ///< holds more than 8 bits, and is drawn so unless 8 are asked for
  bool followsBits = false;  ///< its depth is another one when 16 bits are asked for than when 8 are
  std::optional<NumberRange> crf = {};
  std::optional<NumberRange> quality = {};
};

/// All of them, in the order of docs/formats.md.
std::vector<OutputKind> outputKinds();

}  // namespace pyrelux::media
