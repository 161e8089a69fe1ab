#pragma once

#include <string>
#include <vector>

#include "Image.h"

namespace pyrelux {

/// The names of the test patterns:
///   bars     eight opaque upright bars: white, yellow, cyan, green, magenta, red, blue, black
///   checker  opaque white and transparent squares, eight of them to the height, white at the top left
///   circle   an opaque white disc in the middle, its diameter half of the shorter side, with a soft edge of a pixel
///   ramp     white whose alpha rises from 0 in the leftmost column to 1 in the rightmost
///   title    the word PYRELUX in white block letters, which need no font, in the middle
const std::vector<std::string> &testPatternNames();

/// The pattern of that name, which must be one of the above: width x height pixels, premultiplied, with float samples
/// or bytes. The same arguments give the same picture on every machine.
Image testPattern(const std::string &name, int width, int height, bool isFloat);

}  // namespace pyrelux
