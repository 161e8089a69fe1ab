#include "Keyframes.h"

#include <algorithm>

namespace pyrelux::host {

namespace {

constexpr TimingCurve slowStart{0.42, 0.0, 1.0, 1.0};
constexpr TimingCurve slowEnd{0.0, 0.0, 0.58, 1.0};
constexpr TimingCurve slowBoth{0.42, 0.0, 0.58, 1.0};

/// A coordinate of the curve at its parameter s; `first` and `second` are the control points'.
double coordinateAt(double first, double second, double s) {
  const double rest = 1.0 - s;
  return 3.0 * rest * rest * s * first + 3.0 * rest * s * s * second + s * s * s;
}

/// The curve's height above x. Halves the span until no number is left in it: x only ever grows along the curve, so
/// this is as exact as doubles are, also where the curve stands upright and Newton's method would stray.
double heightAt(const TimingCurve &curve, double x) {
  double low = 0.0;
  double high = 1.0;
  for (;;) {
    const double middle = low + (high - low) / 2.0;
    if (middle <= low || middle >= high) return coordinateAt(curve[1], curve[3], middle);
    (coordinateAt(curve[0], curve[2], middle) < x ? low : high) = middle;
  }
}

}  // namespace

const std::vector<std::string> &easeNames() {
  static const std::vector<std::string> names{"hold", "linear", "ease-in", "ease-out", "ease", "bezier"};
  return names;
}

const std::string &easeName(Ease ease) { return easeNames()[static_cast<std::size_t>(ease)]; }

std::optional<Ease> easeNamed(const std::string &name) {
  const auto found = std::find(easeNames().begin(), easeNames().end(), name);
  if (found == easeNames().end()) return std::nullopt;
  return static_cast<Ease>(found - easeNames().begin());
}

double progressAt(const Keyframe &keyframe, double elapsed) {
  if (elapsed <= 0.0) return 0.0;
  if (elapsed >= 1.0) return 1.0;
  switch (keyframe.ease) {
    case Ease::Hold:
      return 0.0;
    case Ease::Linear:
      return elapsed;
    case Ease::EaseIn:
      return heightAt(slowStart, elapsed);
    case Ease::EaseOut:
      return heightAt(slowEnd, elapsed);
    case Ease::Ease:
      return heightAt(slowBoth, elapsed);
    case Ease::Bezier:
      break;
  }
  return heightAt(keyframe.curve, elapsed);
}

ParameterValue interpolate(const std::vector<Keyframe> &keyframes, double timeFrames) {
  const auto after = std::upper_bound(keyframes.begin(), keyframes.end(), timeFrames,
                                      [](double time, const Keyframe &keyframe) { return time < keyframe.frame; });
  if (after == keyframes.begin()) return after->value;
  const Keyframe &from = after[-1];
  if (after == keyframes.end()) return from.value;
  const double progress = progressAt(from, (timeFrames - from.frame) / (after->frame - from.frame));
  ParameterValue value;
  for (std::size_t i = 0; i < value.size(); ++i)
    value[i] = from.value[i] + (after->value[i] - from.value[i]) * progress;
  return value;
}

}  // namespace pyrelux::host
