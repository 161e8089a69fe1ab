#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace pyrelux {

/// Frames first, first + step, … up to last, which is one of them.
struct FrameRange {
  std::int64_t first = 1;
  std::int64_t last = 1;
  std::int64_t step = 1;
  std::int64_t count() const { return (last - first) / step + 1; }
};

/// Which frames to render: ranges of which each begins after the one before; at least one.
class FrameList {
 public:
  FrameList(const FrameRange &range) : ranges_{range} {}
  explicit FrameList(std::vector<FrameRange> ranges) : ranges_(std::move(ranges)) {}

  const std::vector<FrameRange> &ranges() const { return ranges_; }
  std::int64_t first() const { return ranges_.front().first; }
  std::int64_t last() const { return ranges_.back().last; }
  std::int64_t count() const;
  bool contains(std::int64_t frame) const;

  /// Calls work(frame) for every frame, in ascending order, until it returns false.
  template <typename Work>
  void forEach(Work work) const {
    for (const FrameRange &range : ranges_)
      for (std::int64_t frame = range.first; frame <= range.last; frame += range.step)
        if (!work(frame)) return;
  }

 private:
  std::vector<FrameRange> ranges_;
};

/// "7", "1-48", "1-240x2" (every second one) or several of them in ascending order: "1,5,9-12". Frame numbers are whole
/// and not negative. Throws ValueError.
FrameList parseFrames(const std::string &text);

/// The text that parseFrames() turns into these.
std::string formatFrames(const FrameList &frames);

}  // namespace pyrelux
