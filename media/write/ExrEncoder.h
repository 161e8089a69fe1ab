#pragma once

#include <cstdint>
#include <vector>

#include "AvPtr.h"
#include "FileFormat.h"

/// The EXR of a frame of GBRPF32 or GBRAPF32, by OpenEXR: compressed by ZIP, with the channels R, G, B and A, the pixel
/// aspect, and the record in its header. Each throws EncoderError and std::bad_alloc.
namespace pyrelux::media {

/// Samples are rounded to the nearest half.
std::vector<std::uint8_t> encodeHalfExr(const AVFrame &frame, const StillNotes &notes);

std::vector<std::uint8_t> encodeFloatExr(const AVFrame &frame, const StillNotes &notes);

}  // namespace pyrelux::media
