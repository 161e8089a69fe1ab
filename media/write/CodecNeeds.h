#pragma once

#include <cstdint>
#include <string>

#include "AvPtr.h"

/// What single encoders need besides their options: the functions that Codec::prepare and Codec::correct point to.
namespace pyrelux::media {

/// Animated PNG. It has a word for sRGB but none for BT.709, which would become a gamma that makes pictures
/// lighter.
void declareSrgb(AVCodecContext &encoder, Dictionary &options, const std::string &path);

/// FFV1. Its level 3 divides a picture into 2 x 2 slices or more, and loses pixels of pictures too small for that.
void avoidSmallSlices(AVCodecContext &encoder, Dictionary &options, const std::string &path);

/// H.265. libx265 crashes or waits for ever when it gets no memory. Only a limit on addresses tells beforehand. Throws
/// EncoderError.
void requireMemoryForH265(AVCodecContext &encoder, Dictionary &options, const std::string &path);

/// H.265. When libx265 gets fewer frames than it holds back to reorder them, it does not set their decoding times. Such
/// frames are in order.
void setMissingDecodingTime(AVPacket &packet, std::int64_t pictures, bool isFlushing);

}  // namespace pyrelux::media
