#include "TiffAlpha.h"

#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace pyrelux::media {

void declarePremultiplied(AVPacket &tiff) {
  constexpr unsigned extraSamples = 338;
  constexpr std::uint16_t associated = 1;
  constexpr std::size_t entrySize = 12;   // tag, type, count and value
  constexpr std::size_t valueOffset = 8;  // in an entry
  // The encoder writes the least significant byte first.
  std::uint8_t *directory = tiff.data + AV_RL32(tiff.data + 4);
  std::uint8_t *entry = directory + 2;
  for (unsigned count = AV_RL16(directory); count > 0; --count, entry += entrySize)
    if (AV_RL16(entry) == extraSamples) AV_WL16(entry + valueOffset, associated);
}

}  // namespace pyrelux::media
