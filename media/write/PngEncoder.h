#pragma once

#include <cstdint>
#include <vector>

#include "FileFormat.h"
#include "PngBytes.h"

namespace pyrelux::media {

/// The PNG of a frame of RGB24, RGBA, RGB48BE or RGBA64BE, compressed by libdeflate: says that its colours are sRGB,
/// and the pixel aspect where it is not 1. Throws std::bad_alloc.
std::vector<std::uint8_t> encodePng(const AVFrame &frame, const StillNotes &notes);
std::vector<std::uint8_t> encodePng(const AVFrame &frame, double pixelAspect, PngEffort effort);

}  // namespace pyrelux::media
