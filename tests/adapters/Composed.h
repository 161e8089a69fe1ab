#pragma once

#include <string>

namespace pyrelux::cli::test {

/// Expects `over`, a program's output, to be the fire over the source: within one 8-bit level over black, with some
/// pixels that burn. `over` and `source`: red, green, blue, straight alpha in bytes; `fire`: premultiplied floats,
/// planes of green, blue, red and alpha, as ffmpeg decodes an EXR ("gbrapf32le").
void expectComposed(const std::string &over, const std::string &fire, const std::string &source);

}  // namespace pyrelux::cli::test
