// Any text as a range of frames and as a frame rate: each is refused as a usage error or means something sound.

#include "FrameList.h"
#include "FrameRate.h"
#include "ValueError.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "Require.h"

namespace {

using namespace pyrelux;
using pyrelux::fuzz::require;

void takeFrames(const std::string &text) {
  const FrameList frames = parseFrames(text);
  require(frames.first() >= 0 && frames.first() <= frames.last(), "frames begin before they end");
  require(frames.count() >= 1 && frames.count() <= frames.last() - frames.first() + 1, "no frame is there twice");
  constexpr int most = 1000;
  int seen = 0;
  std::int64_t before = -1;
  frames.forEach([&](std::int64_t frame) {
    require(frame > before && frame <= frames.last(), "frames ascend");
    require(before >= 0 || frame == frames.first(), "the first comes first");
    before = frame;
    return ++seen < most;
  });
  require(seen == most || (seen == frames.count() && before == frames.last()), "the count is right");
  const std::string written = formatFrames(frames);
  const FrameList again = parseFrames(written);
  require(again.count() == frames.count() && again.last() == frames.last(), "what is written is the same");
  require(formatFrames(again) == written, "there is one way to write it");
}

void takeRate(const std::string &text) {
  const pyrelux::FrameRate rate = parseFrameRate(text);
  require(rate.numerator > 0 && rate.denominator > 0, "a rate is a fraction above 0");
  require(rate.perSecond() >= 0.001 && rate.perSecond() <= 1000.0, "a rate is in its range");
  const pyrelux::FrameRate again = parseFrameRate(formatFrameRate(rate));
  require(static_cast<std::int64_t>(again.numerator) * rate.denominator ==
              static_cast<std::int64_t>(rate.numerator) * again.denominator,
          "what is written is the same rate");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  for (const auto take : {takeFrames, takeRate}) try {
      take(text);
    } catch (const ValueError &) {
    }
  return 0;
}
