#include "CodecNeeds.h"

#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>

#include "MediaErrors.h"

namespace pyrelux::media {

void declareSrgb(AVCodecContext &encoder, Dictionary &, const std::string &) {
  encoder.color_primaries = AVCOL_PRI_BT709;
  encoder.color_trc = AVCOL_TRC_IEC61966_2_1;
}

void avoidSmallSlices(AVCodecContext &encoder, Dictionary &options, const std::string &) {
  constexpr int smallestSliced = 4;
  if (std::min(encoder.width, encoder.height) < smallestSliced) options.set("level", "1");
}

void requireMemoryForH265(AVCodecContext &encoder, Dictionary &, const std::string &path) {
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return;
  // Its threads' heaps, and the pictures that it looks ahead.
  constexpr std::size_t megabyte = std::size_t{1} << 20;
  const std::size_t needed =
      384 * megabyte + 300 * static_cast<std::size_t>(encoder.width) * static_cast<std::size_t>(encoder.height);
  void *addresses = mmap(nullptr, needed, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (addresses == MAP_FAILED)
    failEncoding(path, "h265 needs " + std::to_string(needed / megabyte) +
                           " megabytes of memory for this size, and a limit forbids them; raise it (ulimit -v)");
  munmap(addresses, needed);
}

void setMissingDecodingTime(AVPacket &packet, std::int64_t pictures, bool isFlushing) {
  constexpr std::int64_t heldBack = 2;
  if (isFlushing && pictures <= heldBack) packet.dts = packet.pts;
}

}  // namespace pyrelux::media
