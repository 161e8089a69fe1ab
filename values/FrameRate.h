#pragma once

#include <optional>
#include <string>

namespace pyrelux {

/// Frames per second as an exact fraction.
struct FrameRate {
  int numerator = 24;
  int denominator = 1;
  double perSecond() const { return static_cast<double>(numerator) / denominator; }
};

/// "24", "23.976" or "30000/1001", from 0.001 to 1000 frames per second. The decimal names of the NTSC rates mean their
/// exact fractions. Nothing for any other text.
std::optional<FrameRate> readFrameRate(const std::string &text);

/// What readFrameRate() reads. Throws ValueError.
FrameRate parseFrameRate(const std::string &text);

/// "24" or "30000/1001".
std::string formatFrameRate(const FrameRate &rate);

}  // namespace pyrelux
