#pragma once

#include <cstdint>
#include <optional>

#include "AvPtr.h"

namespace pyrelux::media {

/// Whether the outer structure of a still runs to its end mark. The decoders of these formats fill up what is missing
/// without a complaint, so a file that was cut off has to be found by walking through its parts; bytes after the end
/// mark are allowed. A PNG's header that says what no PNG may be is damage, too. Of an EXR, only the headers are walked
/// through. Formats whose decoders notice by themselves
/// count as whole.
bool isWhole(AVCodecID codec, const std::uint8_t *data, int size);

/// Whether it is a JPEG whose four components could be anything. The decoder takes them for luma, two colour
/// differences and alpha, and most are cyan, magenta, yellow and black.
bool hasUnknownColours(AVCodecID codec, const std::uint8_t *data, int size);

/// Why a still can't be decoded though it is whole: a kind of its format that FFmpeg's decoder lacks. Null for all
/// else.
const char *unsupportedKind(AVCodecID codec, const std::uint8_t *data, int size);

/// The number of pictures in a GIF; nothing if it is cut off.
std::optional<int> countGifPictures(const std::uint8_t *data, int size);

}  // namespace pyrelux::media
