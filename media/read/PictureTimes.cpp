#include "PictureTimes.h"

#include <algorithm>
#include <cmath>

namespace pyrelux::media {

namespace {

constexpr double longestMovie = 24.0 * 60.0 * 60.0;  // in seconds

double lengthOf(const PictureTimes &pictures) {
  return static_cast<double>(av_sat_sub64(std::max(pictures.end, pictures.times.back()), pictures.times.front()));
}

bool isNear(double rate, double other, double tolerance) { return std::fabs(rate / other - 1.0) < tolerance; }

}  // namespace

bool isEven(const PictureTimes &pictures, const FrameRate &rate) {
  const std::vector<std::int64_t> &times = pictures.times;
  if (times.empty() || !std::is_sorted(times.begin(), times.end())) return true;
  if (lengthOf(pictures) * av_q2d(pictures.base) > longestMovie) return true;
  const double perFrame = pictures.perFrame(rate);
  for (std::size_t index = 0; index < times.size(); ++index)
    if (std::fabs(static_cast<double>(times[index] - times[0]) - static_cast<double>(index) * perFrame) >=
        0.5 * perFrame)
      return false;
  return true;
}

std::optional<FrameRate> nominalRate(const PictureTimes &pictures, const std::vector<AVRational> &known) {
  std::vector<std::int64_t> lengths;
  for (std::size_t index = 1; index < pictures.times.size(); ++index)
    if (pictures.times[index] > pictures.times[index - 1])
      lengths.push_back(pictures.times[index] - pictures.times[index - 1]);
  if (lengths.empty()) return std::nullopt;
  const auto short_ = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 10);
  std::nth_element(lengths.begin(), short_, lengths.end());
  const double rate = 1.0 / (static_cast<double>(*short_) * av_q2d(pictures.base));
  constexpr double lowest = 0.001, highest = 1000.0;
  if (!(rate >= lowest && rate <= highest)) return std::nullopt;

  // A coarse clock makes it inexact.
  const double inexact = std::max(0.01, 1.0 / static_cast<double>(*short_));
  for (const AVRational &said : known)
    if (said.num > 0 && said.den > 0 && isNear(rate, av_q2d(said), inexact)) return FrameRate{said.num, said.den};
  // Recorders keep no better time than this.
  constexpr double jitter = 0.05;
  constexpr FrameRate usual[] = {{24, 1}, {25, 1}, {30, 1}, {48, 1}, {50, 1}, {60, 1}, {100, 1}, {120, 1}, {240, 1}};
  const auto nearest = std::min_element(std::begin(usual), std::end(usual), [rate](const auto &a, const auto &b) {
    return std::fabs(rate - a.perSecond()) < std::fabs(rate - b.perSecond());
  });
  if (isNear(rate, nearest->perSecond(), jitter)) return *nearest;
  const AVRational exact = av_d2q(rate, 100000);
  return FrameRate{exact.num, exact.den};
}

std::int64_t countFrames(const PictureTimes &pictures, const FrameRate &rate) {
  const double perFrame = pictures.perFrame(rate);
  const double begin = static_cast<double>(pictures.times.back() - pictures.times.front());
  // The last picture is there for a frame at least.
  return std::max(std::llround(lengthOf(pictures) / perFrame), std::llround(begin / perFrame) + 1);
}

std::int64_t pictureAt(const PictureTimes &pictures, const FrameRate &rate, std::int64_t frame) {
  const double perFrame = pictures.perFrame(rate);
  // Times are rounded to the container's clock, which may be as coarse as the frames.
  const double rounding = std::min(1.0, perFrame / 4.0);
  const double time =
      static_cast<double>(pictures.times.front()) + static_cast<double>(frame - 1) * perFrame + rounding;
  const auto after = std::upper_bound(pictures.times.begin(), pictures.times.end(), time,
                                      [](double now, std::int64_t begin) { return now < static_cast<double>(begin); });
  return std::max<std::int64_t>(after - pictures.times.begin(), 1);
}

}  // namespace pyrelux::media
