#include "ColourRamp.h"

#include <cmath>

#include "NumericHelpers.h"

namespace pyrelux {

// Deliberate: a literal such as 1.01f in a double expression, here and elsewhere in renderer/. The value is the
// single-precision one.

double biased(double u, double bias) {
  const double e1 = double{0.1736f} / (std::pow(bias, 2.8) + double{0.03f});
  const double a = 1.0 - std::pow(1.0 - u, e1);
  const double e2 = std::pow(bias, double{2.54f}) * 5.0 + double{0.14f};
  const double c = std::pow(u, e2);
  return (a + c) / 2.0;
}

double curveShape(std::int32_t curveType, double u) {
  const bool firstHalf = u < 0.5;
  switch (curveType) {
    case 0:  // constant
      return 1.0;
    case 1:  // linear rise
      return u;
    case 2:  // rise, slow start
      return 1.0 - std::cos(u * pi / 2.0);
    case 3:  // rise, slow finish
      return std::sin(u * pi / 2.0);
    case 4:  // rise, raised cosine
      return 0.5 - std::cos(u * pi) / 2.0;
    case 5:  // linear fall
      return 1.0 - u;
    case 6:  // fall, slow start
      return std::cos(u * pi / 2.0);
    case 7:  // fall, slow finish
      return 1.0 - std::sin(u * pi / 2.0);
    case 8:  // fall, raised cosine
      return 0.5 + std::cos(u * pi) / 2.0;
    case 9:  // triangle
      return firstHalf ? 2.0 * u : 2.0 - 2.0 * u;
    case 10:  // rounded peak
      return std::sin(u * pi);
    case 11:  // pointed peak
      return firstHalf ? 1.0 - std::cos(u * pi) : 1.0 - std::sin((u - 0.5) * pi);
    case 12:  // raised-cosine peak
      return 0.5 - std::cos((u * 2.0) * pi) / 2.0;
    case 13:  // V
      return firstHalf ? 1.0 - 2.0 * u : 2.0 * u - 1.0;
    case 14:  // rounded valley
      return 1.0 - std::sin(u * pi);
    case 15:  // valley
      return firstHalf ? std::cos(u * pi) : std::sin((u - 0.5) * pi);
    case 16:  // raised-cosine valley
      return 0.5 + std::cos((u * 2.0) * pi) / 2.0;
    default:
      return 0.0;
  }
}

void ColourRamp::addStop(std::int32_t curveType, double start, double end, double bias, const Colour &colour,
                         const Colour &gain) {
  curveType_[stopCount_] = curveType;
  start_[stopCount_] = start;
  end_[stopCount_] = end;
  bias_[stopCount_] = bias;
  colour_[stopCount_] = colour;
  gain_[stopCount_] = gain;
  stopCount_ = stopCount_ + 1;
}

Colour ColourRamp::evaluate(double p) const {
  Colour sum;
  for (std::int32_t s = 0; s < stopCount_; ++s) {
    const double u = (p - start_[s]) / (end_[s] - start_[s]);
    double shape = 0.0;
    // A stop with start == end makes u NaN or infinite. Such a u fails this test, so the stop contributes nothing.
    if (0.0 <= u && u <= 1.0) shape = curveShape(curveType_[s], biased(u, bias_[s]));
    sum.red = sum.red + (colour_[s].red * shape) * gain_[s].red;
    sum.green = sum.green + (colour_[s].green * shape) * gain_[s].green;
    sum.blue = sum.blue + (colour_[s].blue * shape) * gain_[s].blue;
  }
  return sum;
}

ColourRamp makeFlameRamp(const Colour &inner, const Colour &centre, const Colour &outer) {
  const auto gain = [](float value) { return Colour{value, value, value}; };
  ColourRamp ramp;
  // Deliberate: the gains are slightly above 1 and differ from stop to stop.
  ramp.addStop(8, 0.0, 1.0, 0.5, inner, gain(1.01f));
  ramp.addStop(12, 0.0, 1.0, 0.5, centre, gain(1.033f));
  ramp.addStop(4, 0.0, 1.0, 0.5, outer, gain(1.009f));
  return ramp;
}

}  // namespace pyrelux
