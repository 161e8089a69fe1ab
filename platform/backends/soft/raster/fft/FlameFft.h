#pragma once

#include <vector>

#include "Pass.h"
#include "TexturePlanes.h"

// Draws very many copies at their own size at once, on float surfaces. The sum of the copies is the convolution of the
// texture with a kernel that holds all copies' taps. Fast Fourier transforms compute it in a time that hardly depends
// on the number of copies.

namespace pyrelux::soft {

/// The work of adding copies up, one by one or by transforms, as counts.
struct FlameCost {
  double copies = 0;
  double tiles = 0;     ///< tiles that copies touch, each counted once for each copy
  double samples = 0;   ///< interpolated texels: pixels times planes, without empty parts
  double sums = 0;      ///< additions: pixels times channels, without empty parts
  double planes = 0;    ///< planes of the texture that are convolved
  double channels = 0;  ///< channels that are convolved, each with one plane
  double points = 0;    ///< points of one transform
  double pixels = 0;    ///< pixels of the target
};

/// Whether transforms are clearly faster and fit into memory.
bool fftIsFaster(const FlameCost &cost);

/// Draws those copies of the pass for which transforms are faster, and returns the others. When it returns all of them
/// it has drawn nothing; otherwise `blank` becomes false (see addFlame()). The error of a sum is about 1e-6 of the
/// target's largest sum.
std::vector<Quad> addByFft(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank);

/// The same without regard to speed: returns only the copies that transforms can't draw.
std::vector<Quad> addByFftAnyway(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank);

}  // namespace pyrelux::soft
