#pragma once

#include <string>

#include "AvPtr.h"
#include "Image.h"

namespace pyrelux::media {

/// What the three components of a picture mean, in the code points of ITU-T H.273, which FFmpeg and zimg share.
struct ColourSpace {
  AVColorSpace matrix = AVCOL_SPC_RGB;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_BT709;
  AVColorPrimaries primaries = AVCOL_PRI_BT709;
};

/// In cd/m²: what linear light 1 is where the transfer is PQ or HLG; their reference white by Report ITU-R BT.2408.
constexpr double referenceWhite = 203.0;

/// Throws InputError for colours that are not known.
[[noreturn]] void failConverting(const ColourSpace &space, const std::string &path);

/// Converts an image of floats by zimg. Luma, red, green and blue are nominally 0 .. 1, differences of colour -0.5 ..
/// 0.5. Light is that of a display: BT.709 means the curve of BT.1886. Throws InputError, naming `path`, where there is
/// no such conversion.
void convertColours(Image &image, const ColourSpace &from, const ColourSpace &to, const std::string &path);

}  // namespace pyrelux::media
