#pragma once

#include <cstdint>
#include <string>

#include "Reader.h"
#include "StillDecoder.h"

namespace pyrelux::media {

/// The picture of an EXR, by OpenEXR: its display window, transparent where there are no pixels. Of several parts it is
/// the first that has red, green and blue or luminance, halves or floats, not deep. Throws InputError: damaged, too
/// large, no such part.
Still readExr(const std::uint8_t *data, std::size_t size, InputAlpha alpha, const std::string &path);

}  // namespace pyrelux::media
