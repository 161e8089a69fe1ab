#pragma once

#include <vector>

#include "Pass.h"
#include "TexturePlanes.h"

// Very many copies at their own size, drawn at once: their sum is the texture convolved with all copies' taps, and by
// fast Fourier transforms that takes the same time however many there are.

namespace pyrelux::soft {

/// What adding copies up costs, one by one or by transforms.
struct FlameCost {
  double copies = 0;
  double tiles = 0;     ///< that copies touch, each tile counted for each copy
  double samples = 0;   ///< texels interpolated: pixels times planes, empty parts left out
  double sums = 0;      ///< additions: pixels times channels, empty parts left out
  double planes = 0;    ///< of the texture, that are convolved
  double channels = 0;  ///< that are convolved, each with a plane
  double points = 0;    ///< of a transform
  double pixels = 0;    ///< of the target
};

/// Whether transforms are faster; in doubt they are not.
bool fftIsFaster(const FlameCost &cost);

/// Adds up those copies of the pass for which transforms serve best, and returns the others. Nothing is drawn when all
/// are returned, else `blank` becomes false (see addFlame()). Sums are within about 1e-6 of the target's largest one.
std::vector<Quad> addByFft(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank);

/// The same, faster or not: leaves only the copies for which it can't be done.
std::vector<Quad> addByFftAnyway(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank);

}  // namespace pyrelux::soft
