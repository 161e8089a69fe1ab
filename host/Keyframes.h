#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

// What a parameter is worth between its keyframes.

namespace pyrelux::host {

/// A parameter's value in a person's units: one number (angles in degrees, popups the entry's index), red, green, blue
/// (0 .. 1), or x, y (normalised image coordinates, (0, 0) lower left). What a kind does not use is 0.
using ParameterValue = std::array<double, 3>;

/// How a value goes from one keyframe to the next: not at all; evenly; slow to begin with; slow at the end; slow at
/// both ends; or along a curve of one's own.
enum class Ease { Hold, Linear, EaseIn, EaseOut, Ease, Bezier };

/// Every ease by its word: "hold", "linear", "ease-in", "ease-out", "ease", "bezier".
const std::vector<std::string> &easeNames();
const std::string &easeName(Ease ease);
std::optional<Ease> easeNamed(const std::string &name);

/// x1, y1, x2, y2 of a cubic curve from (0, 0) to (1, 1): across goes the time, up goes the value. x1 and x2 are in
/// 0 .. 1, so that every time has one value; y may leave it, and the value then swings beyond its keyframes.
using TimingCurve = std::array<double, 4>;

/// The largest y1 and y2 of a timing curve, either way.
constexpr double maxSwing = 100.0;

struct Keyframe {
  double frame = 0.0;  ///< a frame time: a frame number, fractions allowed
  ParameterValue value{};
  Ease ease = Ease::Linear;  ///< from this keyframe to the next
  TimingCurve curve{};       ///< of Ease::Bezier

  bool operator==(const Keyframe &other) const {
    return frame == other.frame && value == other.value && ease == other.ease && curve == other.curve;
  }
  bool operator!=(const Keyframe &other) const { return !(*this == other); }
};

/// What keeps one value at all times.
inline std::vector<Keyframe> constant(const ParameterValue &value) { return {{0.0, value}}; }

/// How much of the way to the next keyframe is done when `elapsed` (0 .. 1) of the time is.
double progressAt(const Keyframe &keyframe, double elapsed);

/// The value at a frame time. `keyframes`: at least one, in ascending order of their frames, no two on the same. Before
/// the first and after the last the value stays what it is there.
ParameterValue interpolate(const std::vector<Keyframe> &keyframes, double timeFrames);

}  // namespace pyrelux::host
