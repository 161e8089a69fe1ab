#pragma once

#include <cstdint>

namespace pyrelux {

/// The ids under which hosts store parameter values. They never change, because saved projects contain them.
enum ParameterId : std::uint32_t {
  kSourceOpacity = 1,
  kDirection = 2,
  kGlow = 3,
  kSteps = 4,
  kColorDepth = 5,
  kLength = 6,
  kPoint = 7,
  kWeight = 8,
  kColorInner = 9,
  kColorCenter = 10,
  kColorOuter = 11,
  kSourceMode = 12,
  kAttractRepel = 13,
  kTongues = 14,
  kWiggleAmount = 15,
  kWiggleTurbulence = 16,
  kTurbulenceAmount = 17,
  kTurbulenceWavelength = 18,
  kTurbulenceSpeed = 19,
  kSpread = 20,
  kCropLeft = 21,
  kCropRight = 22,
  kCropTop = 23,
  kCropBottom = 24,
  kHeader = 25,
};

/// The maximum of "Pyrelux::Steps"; CommonSteps::capacity is large enough for it.
constexpr int maximumSteps = 300;

}  // namespace pyrelux
