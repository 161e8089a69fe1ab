#include "FrameList.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "ValueError.h"

namespace pyrelux {

namespace {

/// The largest frame number: those of sequences have as many digits at most.
constexpr std::int64_t maxFrames = 999'999'999'999'999'999;

/// A whole number without sign that is the whole text.
std::optional<std::int64_t> parseWhole(const std::string &text, std::int64_t most = INT32_MAX) {
  std::int64_t number = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || text[0] == '-' || number > most) return std::nullopt;
  return number;
}

/// "7", "1-48" or "1-48x2"; whether it ends before it begins is not looked at.
std::optional<FrameRange> parseRange(const std::string &text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string::npos) {
    const auto frame = parseWhole(text, maxFrames);
    return frame ? std::optional(FrameRange{*frame, *frame, 1}) : std::nullopt;
  }
  const std::size_t cross = text.find('x', dash);
  const auto first = parseWhole(text.substr(0, dash), maxFrames);
  const auto last = parseWhole(text.substr(dash + 1, cross == std::string::npos ? cross : cross - dash - 1), maxFrames);
  const auto step =
      cross == std::string::npos ? std::optional<std::int64_t>(1) : parseWhole(text.substr(cross + 1), maxFrames);
  if (!first || !last || !step || *step == 0) return std::nullopt;
  return FrameRange{*first, *last, *step};
}

}  // namespace

std::int64_t FrameList::count() const {
  std::int64_t count = 0;
  for (const FrameRange &range : ranges_) count += range.count();
  return count;
}

bool FrameList::contains(std::int64_t frame) const {
  const auto after =
      std::upper_bound(ranges_.begin(), ranges_.end(), frame,
                       [](std::int64_t number, const FrameRange &range) { return number < range.first; });
  if (after == ranges_.begin()) return false;
  const FrameRange &range = *(after - 1);
  return frame <= range.last && (frame - range.first) % range.step == 0;
}

FrameList parseFrames(const std::string &text) {
  std::vector<FrameRange> ranges;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    const auto range = parseRange(text.substr(from, comma - from));
    if (!range) throw ValueError("'" + text + "' is not a range of frames; write 7, 1-48, 1-240x2 or 1,5,9-12");
    if (range->first > range->last)
      throw ValueError("'" + text + "' is not a range of frames: it ends before it begins");
    if (!ranges.empty() && range->first <= ranges.back().last)
      throw ValueError("'" + text + "' is not a range of frames: write the parts in ascending order, without overlap");
    ranges.push_back({range->first, range->last - (range->last - range->first) % range->step, range->step});
    from = comma + 1;
  }
  return FrameList(std::move(ranges));
}

std::string formatFrames(const FrameList &frames) {
  std::string text;
  for (const FrameRange &range : frames.ranges()) {
    if (!text.empty()) text += ",";
    text += std::to_string(range.first);
    if (range.count() > 1) text += "-" + std::to_string(range.last);
    if (range.count() > 1 && range.step > 1) text += "x" + std::to_string(range.step);
  }
  return text;
}

}  // namespace pyrelux
