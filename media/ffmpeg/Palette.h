#pragma once

#include <string>

#include "AvPtr.h"
#include "Image.h"

namespace pyrelux::media {

/// Stores a picture of bytes as an opaque one of 256 colours, the best for it, dithered. The frame has the layout PAL8
/// and the picture's size. Throws EncoderError, naming `path`.
void writePalette(const Image &image, AVFrame &frame, const std::string &path);

}  // namespace pyrelux::media
