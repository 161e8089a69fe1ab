#pragma once

#include <vector>

#include "Pass.h"
#include "TexturePlanes.h"

// Copies of a whole texture at its own size, as a convolution sees them.
//
// Where a copy samples texels i and i + 1 with weights 1 - f and f, it adds texel j to the pixels j + offset (weight f)
// and j + offset + 1 (weight 1 - f): a kernel of two taps in each direction. With nothing outside the texture, that is
// the copy but for the pixels half in and half out at its two ends: one that belongs to the copy lacks the clamped
// neighbour, one that does not has a share of the last texel nonetheless. Both are put right by adding a multiple of
// the end texel to one pixel.

namespace pyrelux::soft {

/// A pixel that gets a multiple of an end texel; none if the weight is 0.
struct EdgeTap {
  int pixel = 0;
  float weight = 0.0f;
};

struct CopyAxis {
  int offset;
  float fraction;
  EdgeTap low;   ///< of texel 0
  EdgeTap high;  ///< of the last texel
};

struct WholeCopy {
  CopyAxis x;
  CopyAxis y;
  Colour colour;
};

/// Whether a quad is such a copy, shown wholly but for what the target's bounds cut off.
bool isWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target);

WholeCopy makeWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target);

/// One direction of a convolution: what of the texture is convolved, with which offsets, and where the result lies.
/// Texel boxFirst and offset kernelFirst meet at pixel `origin`.
struct Span {
  int boxFirst = 0;
  int boxSize = 0;
  int kernelFirst = 0;
  int kernelSize = 0;
  int outFirst = 0;  ///< first pixel of the target that may get something
  int outEnd = 0;
  int size = 0;  ///< of the transform

  int origin() const { return boxFirst + kernelFirst; }
};

struct Spans {
  Span x;
  Span y;
};

/// There must be a copy. Spans are empty (boxSize 0) when the texture is.
Spans spansOf(const std::vector<WholeCopy> &copies, const TexturePlanes &planes, const Pixels &target);

}  // namespace pyrelux::soft
