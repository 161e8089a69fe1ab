#include "FrameTimes.h"

extern "C" {
#include <libavutil/mathematics.h>
}

namespace pyrelux::media {

std::int64_t frameAtSameTime(std::int64_t index, const FrameRate &from, const FrameRate &to) {
  return av_rescale_q_rnd(index, {from.denominator, from.numerator}, {to.denominator, to.numerator}, AV_ROUND_DOWN);
}

}  // namespace pyrelux::media
