#include "FrameRange.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <optional>

namespace pyrelux::cli {

namespace {

/// A whole number without sign that is the whole text.
std::optional<std::int64_t> parseWhole(const std::string &text) {
  std::int64_t number = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || text[0] == '-' || number > INT32_MAX) return std::nullopt;
  return number;
}

/// "7", "1-48" or "1-48x2"; whether it ends before it begins is not looked at.
std::optional<FrameRange> parseRange(const std::string &text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string::npos) {
    const auto frame = parseWhole(text);
    return frame ? std::optional(FrameRange{*frame, *frame, 1}) : std::nullopt;
  }
  const std::size_t cross = text.find('x', dash);
  const auto first = parseWhole(text.substr(0, dash));
  const auto last = parseWhole(text.substr(dash + 1, cross == std::string::npos ? cross : cross - dash - 1));
  const auto step = cross == std::string::npos ? std::optional<std::int64_t>(1) : parseWhole(text.substr(cross + 1));
  if (!first || !last || !step || *step == 0) return std::nullopt;
  return FrameRange{*first, *last, *step};
}

std::optional<double> parseDecimal(const std::string &text) {
  double number = 0.0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

media::FrameRate fractionOf(double rate) {
  // 23.976 and its like are short for these.
  for (const int base : {24, 30, 48, 60, 120})
    if (rate != base && std::abs(rate - base * 1000.0 / 1001.0) < 0.005) return {base * 1000, 1001};
  return {static_cast<int>(std::lround(rate * 1000.0)), 1000};
}

}  // namespace

std::int64_t FrameList::count() const {
  std::int64_t count = 0;
  for (const FrameRange &range : ranges_) count += range.count();
  return count;
}

FrameList parseFrames(const std::string &text) {
  std::vector<FrameRange> ranges;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    const auto range = parseRange(text.substr(from, comma - from));
    if (!range) throw UsageError("'" + text + "' is not a range of frames; write 7, 1-48, 1-240x2 or 1,5,9-12");
    if (range->first > range->last)
      throw UsageError("'" + text + "' is not a range of frames: it ends before it begins");
    if (!ranges.empty() && range->first <= ranges.back().last)
      throw UsageError("'" + text + "' is not a range of frames: write the parts in ascending order, without overlap");
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

media::FrameRate parseFrameRate(const std::string &text) {
  media::FrameRate rate{0, 1};
  if (const std::size_t slash = text.find('/'); slash != std::string::npos) {
    const auto numerator = parseWhole(text.substr(0, slash));
    const auto denominator = parseWhole(text.substr(slash + 1));
    if (numerator && denominator && *denominator > 0) {
      const std::int64_t common = std::gcd(*numerator, *denominator);
      rate = {static_cast<int>(*numerator / common), static_cast<int>(*denominator / common)};
    }
  } else if (const auto whole = parseWhole(text)) {
    rate = {static_cast<int>(*whole), 1};
  } else if (const auto decimal = parseDecimal(text); decimal && *decimal >= 0.001 && *decimal <= 1000.0) {
    rate = fractionOf(*decimal);
  }
  // Containers count time in fractions of a second that have no room for finer ones.
  constexpr int finest = 1000000;
  if (rate.numerator <= 0 || rate.perSecond() > 1000.0 || rate.perSecond() < 0.001 ||
      std::max(rate.numerator, rate.denominator) > finest)
    throw UsageError("'" + text +
                     "' is not a frame rate; write 24, 23.976 or 30000/1001, in 0.001 to 1000 frames per second");
  return rate;
}

std::string formatFrameRate(const media::FrameRate &rate) {
  const std::string numerator = std::to_string(rate.numerator);
  return rate.denominator == 1 ? numerator : numerator + "/" + std::to_string(rate.denominator);
}

}  // namespace pyrelux::cli
