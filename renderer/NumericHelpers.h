#pragma once

#include <cstdint>

// The arithmetic that the flame's look stands on. All in double precision; thread: any.

namespace pyrelux {

constexpr double pi = 3.141592653589793;

/// A smooth, fixed curve of x, mapped onto lo .. hi (not clamped; lo may exceed hi): a sum of sines, one for each whole
/// k from 2 up to `octaves`, each modulated in phase by a slower cosine. Below 2 octaves it is the midpoint. It
/// repeats after 420 pi in x.
double noise(double x, double octaves, double lo, double hi);

/// Starts the thread's random generator anew, so that the draws that follow are the same every time. The generator is
/// the minimal standard one (Park and Miller, 1988): x = 16807 x mod (2^31 - 1). 0 starts at 123459876, since the
/// generator can't leave 0.
void seedGenerator(std::int32_t start);

/// The generator's next value, 1 .. 2^31 - 2.
std::int32_t nextGeneratorValue();

/// A uniform draw in lo .. hi, hi excluded, in steps of (hi - lo) / 71539. Takes exactly one value of the thread's
/// generator, whatever lo and hi are.
double rnd(double lo, double hi);

/// Turns the point (*x, *y) about (centreX, centreY), clockwise where y points up, in a space whose y axis is stretched
/// by `aspect` (above 0).
void rotate2DPoint(double *x, double *y, double angleDeg, double centreX, double centreY, double aspect);

/// A linear blend: a at t = 1, b at t = 0. This sense, the reverse of the usual one, is meant.
double interpolate(double a, double b, double t);

}  // namespace pyrelux
