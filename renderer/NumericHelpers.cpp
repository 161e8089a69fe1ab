#include "NumericHelpers.h"

#include <cmath>

namespace pyrelux {

namespace {

constexpr std::int32_t startInPlaceOfZero = 123459876;

// Per thread, and not the C library's generator: neither another render nor the host disturbs a tongue's draws.
thread_local std::int32_t generator = startInPlaceOfZero;

}  // namespace

double noiseSum(double x, double octaves) {
  double sum = 0.0;
  for (double k = 2.0; k <= octaves; k += 1.0) {
    const double weight = 1.0 / (4.0 + k);
    const double inner = (x + k) / 3.0 + x / 10.0;
    const double argument = (k + 4.0) * (x / 7.0) + (2.0 * k) * std::cos(inner);
    sum = sum + weight * std::sin(argument);
  }
  return sum;
}

double noiseFrom(double sum, double lo, double hi) { return (sum / 2.0 + 0.5) * (hi - lo) + lo; }

double noise(double x, double octaves, double lo, double hi) { return noiseFrom(noiseSum(x, octaves), lo, hi); }

void seedGenerator(std::int32_t start) { generator = start == 0 ? startInPlaceOfZero : start; }

std::int32_t nextGeneratorValue() {
  constexpr std::int64_t multiplier = 16807;
  constexpr std::int64_t modulus = 2147483647;
  generator = static_cast<std::int32_t>(multiplier * generator % modulus);
  return generator;
}

double rnd(double lo, double hi) {
  // Deliberate: 71539 is both modulus and divisor; the modulo bias is accepted.
  constexpr std::int32_t steps = 71539;
  const double u = (nextGeneratorValue() % steps) / static_cast<double>(steps);
  return u * (hi - lo) + lo;
}

void rotate2DPoint(double *x, double *y, double angleDeg, double centreX, double centreY, double aspect) {
  const double a = (-angleDeg) / 180.0 * pi;
  const double dx = *x - centreX;
  const double dy = (*y - centreY) / aspect;
  // What the library gives for 0 as well; flames ask for nothing else, four times for each copy.
  const double cosine = a == 0.0 ? 1.0 : std::cos(a);
  const double sine = a == 0.0 ? a : std::sin(a);
  const double nx = dx * cosine - dy * sine;
  const double ny = dx * sine + dy * cosine;
  *x = nx + centreX;
  *y = ny * aspect + centreY;
}

double interpolate(double a, double b, double t) { return a * t + b * (1.0 - t); }

}  // namespace pyrelux
