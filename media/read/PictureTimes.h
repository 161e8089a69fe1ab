#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "AvPtr.h"
#include "FrameRate.h"

namespace pyrelux::media {

/// When the pictures of a movie are shown, in units of `base`.
struct PictureTimes {
  std::int64_t count = 0;
  std::vector<std::int64_t> times;  ///< of each picture; empty where the movie does not say them all
  std::int64_t end = 0;             ///< of the last one, if its length is known, else its begin
  AVRational base = {1, 1};

  double perFrame(const FrameRate &rate) const { return av_q2d(av_inv_q(base)) / rate.perSecond(); }
};

/// Whether every picture begins less than half a frame off its place in an even row, so that its number alone tells its
/// time. Times that go back, or that span more than a day, are no times and count as even.
bool isEven(const PictureTimes &pictures, const FrameRate &rate);

/// The rate of the pictures that follow each other fastest, but for a tenth of them: it has a frame for nearly every
/// picture, and no stray pair of pictures decides it. The first of `known` (what the container says) or one of the
/// usual rates if it is near; nothing if it is none that a movie can have.
std::optional<FrameRate> nominalRate(const PictureTimes &pictures, const std::vector<AVRational> &known);

/// How many frames of the rate the movie lasts; at least one.
std::int64_t countFrames(const PictureTimes &pictures, const FrameRate &rate);

/// The number, from 1, of the picture on the screen when a frame (counted from 1) begins.
std::int64_t pictureAt(const PictureTimes &pictures, const FrameRate &rate, std::int64_t frame);

}  // namespace pyrelux::media
