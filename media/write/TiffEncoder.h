#pragma once

#include <cstdint>
#include <vector>

#include "AvPtr.h"
#include "FileFormat.h"

namespace pyrelux::media {

/// The TIFF of a frame of RGB24, RGBA, RGB48LE or RGBA64LE, by libtiff: compressed by Deflate, little-endian, with the
/// alpha's kind and the pixel aspect in its tags. Throws std::bad_alloc.
std::vector<std::uint8_t> encodeTiff(const AVFrame &frame, const StillNotes &notes);

}  // namespace pyrelux::media
