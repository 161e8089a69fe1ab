#include "FrameRange.h"

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

FrameRange parseFrameRange(const std::string &text) {
  const std::size_t dash = text.find('-');
  const auto first = parseWhole(text.substr(0, dash));
  const auto last = dash == std::string::npos ? first : parseWhole(text.substr(dash + 1));
  if (!first || !last) throw UsageError("'" + text + "' is not a range of frames; write 7 or 1-48");
  if (*first > *last) throw UsageError("'" + text + "' is not a range of frames: it ends before it begins");
  return {*first, *last};
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
  } else if (const auto decimal = parseDecimal(text); decimal && *decimal > 0.0 && *decimal <= 1000.0) {
    rate = fractionOf(*decimal);
  }
  if (rate.numerator <= 0 || rate.perSecond() > 1000.0)
    throw UsageError("'" + text +
                     "' is not a frame rate; write 24, 23.976 or 30000/1001, up to 1000 frames per second");
  return rate;
}

}  // namespace pyrelux::cli
