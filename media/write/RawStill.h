#pragma once

#include <cstdint>
#include <vector>

#include "FileFormat.h"

namespace pyrelux::media {

/// The frame's pixels, row by row from the top, without anything between them.
std::vector<std::uint8_t> encodeRaw(const AVFrame &frame, const StillNotes &notes);

}  // namespace pyrelux::media
