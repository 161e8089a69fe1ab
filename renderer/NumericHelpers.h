#pragma once

#include <cstdint>

// The arithmetic behind the flame's look, in double precision. Thread: any.

namespace pyrelux {

constexpr double pi = 3.141592653589793;

/// A smooth, fixed curve of x, mapped onto lo .. hi (not clamped; lo may exceed hi). It is a sum of sines, one for each
/// whole k from 2 up to `octaves`; a slower cosine modulates the phase of each. Below 2 octaves the result is the
/// midpoint. The curve repeats after 420 pi in x.
double noise(double x, double octaves, double lo, double hi);

/// The two halves of noise(): the sum of sines, and its mapping. NoiseSets.h has the sums of many x.
double noiseSum(double x, double octaves);
double noiseFrom(double sum, double lo, double hi);

/// Seeds the calling thread's random generator: the same seed gives the same draws. The generator is the minimal
/// standard one (Park and Miller, 1988): x = 16807 x mod (2^31 - 1). A seed of 0 becomes 123459876, because the
/// generator can't leave 0.
void seedGenerator(std::int32_t start);

/// The next value of the thread's generator, 1 .. 2^31 - 2.
std::int32_t nextGeneratorValue();

/// A uniform draw in lo .. hi, without hi, in steps of (hi - lo) / 71539. Takes exactly one value from the thread's
/// generator, whatever lo and hi are.
double rnd(double lo, double hi);

/// Rotates the point (*x, *y) about (centreX, centreY) by `angleDeg` degrees, clockwise where y points up. `aspect`
/// (above 0) stretches the y axis of the space.
void rotate2DPoint(double *x, double *y, double angleDeg, double centreX, double centreY, double aspect);

/// Deliberate: linear blend with reversed t: returns a at t = 1 and b at t = 0.
double interpolate(double a, double b, double t);

}  // namespace pyrelux
