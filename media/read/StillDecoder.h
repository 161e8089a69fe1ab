#pragma once

#include "InputFile.h"
#include "Reader.h"

namespace pyrelux::media {

/// A still and what is known about it.
struct Still {
  InputInfo info;
  Image image;
};

/// Decodes the file as one picture (the first of several). Throws MediaError.
Still decodeStill(InputFile &file, AVCodecID codec, InputAlpha alpha);

}  // namespace pyrelux::media
