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

/// Decodes a file's bytes in the same way. `path` is for messages.
Still decodeStill(const AVPacket &bytes, AVCodecID codec, InputAlpha alpha, const std::string &path);

}  // namespace pyrelux::media
