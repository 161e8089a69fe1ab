#include "FrameRate.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <numeric>

#include "ValueError.h"

namespace pyrelux {

namespace {

/// A whole number without sign that is the whole text.
std::optional<int> wholeOf(const std::string &text) {
  int number = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || text[0] == '-') return std::nullopt;
  return number;
}

std::optional<double> decimalOf(const std::string &text) {
  double number = 0.0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

FrameRate fractionOf(double rate) {
  // 23.976 and its like are short for these.
  for (const int base : {24, 30, 48, 60, 120})
    if (rate != base && std::abs(rate - base * 1000.0 / 1001.0) < 0.005) return {base * 1000, 1001};
  return {static_cast<int>(std::lround(rate * 1000.0)), 1000};
}

}  // namespace

std::optional<FrameRate> readFrameRate(const std::string &text) {
  FrameRate rate{0, 1};
  if (const std::size_t slash = text.find('/'); slash != std::string::npos) {
    const auto numerator = wholeOf(text.substr(0, slash));
    const auto denominator = wholeOf(text.substr(slash + 1));
    if (numerator && denominator && *denominator > 0) {
      const int common = std::gcd(*numerator, *denominator);
      rate = {*numerator / common, *denominator / common};
    }
  } else if (const auto whole = wholeOf(text)) {
    rate = {*whole, 1};
  } else if (const auto decimal = decimalOf(text); decimal && *decimal >= 0.001 && *decimal <= 1000.0) {
    rate = fractionOf(*decimal);
  }
  // Containers count time in fractions of a second that have no room for finer ones.
  constexpr int finest = 1000000;
  if (rate.numerator <= 0 || rate.perSecond() > 1000.0 || rate.perSecond() < 0.001 ||
      std::max(rate.numerator, rate.denominator) > finest)
    return std::nullopt;
  return rate;
}

FrameRate parseFrameRate(const std::string &text) {
  if (const auto rate = readFrameRate(text)) return *rate;
  throw ValueError("'" + text +
                   "' is not a frame rate; write 24, 23.976 or 30000/1001, in 0.001 to 1000 frames per second");
}

std::string formatFrameRate(const FrameRate &rate) {
  const std::string numerator = std::to_string(rate.numerator);
  return rate.denominator == 1 ? numerator : numerator + "/" + std::to_string(rate.denominator);
}

}  // namespace pyrelux
