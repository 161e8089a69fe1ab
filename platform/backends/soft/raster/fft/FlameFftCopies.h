#pragma once

#include <vector>

#include "Pass.h"
#include "TexturePlanes.h"

// Copies of a whole texture at its own size, as parts of a convolution.
//
// A copy that samples texels i and i + 1 with the weights 1 - f and f adds texel j to the pixels j + offset (weight f)
// and j + offset + 1 (weight 1 - f): that is a kernel of two taps in each direction. Outside the texture the
// convolution takes zeros. Its result differs from the copy only at the two pixels that lie half inside it, one at each
// end. If such a pixel belongs to the copy, it lacks the share of the clamped neighbour; if it does not, it has a share
// of the end texel too many. An EdgeTap corrects it: it adds a multiple of the end texel to that pixel.

namespace pyrelux::soft {

/// Adds a multiple of an end texel to a pixel; does nothing if the weight is 0.
struct EdgeTap {
  int pixel = 0;
  float weight = 0.0f;
};

/// One direction of a copy: offset and fraction as above.
struct CopyAxis {
  int offset;
  float fraction;
  EdgeTap low;   ///< for texel 0
  EdgeTap high;  ///< for the last texel
};

struct WholeCopy {
  CopyAxis x;
  CopyAxis y;
  Colour colour;
};

/// Whether a quad is such a copy, complete except for what lies outside the target.
bool isWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target);

WholeCopy makeWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target);

/// One direction of a convolution: the part of the texture that is convolved (the box), the copies' offsets (the
/// kernel), and the place of the result. Texel boxFirst at offset kernelFirst falls on pixel origin().
struct Span {
  int boxFirst = 0;
  int boxSize = 0;
  int kernelFirst = 0;
  int kernelSize = 0;
  int outFirst = 0;  ///< first pixel of the target with a result
  int outEnd = 0;    ///< one past the last
  int size = 0;      ///< of the transform

  int origin() const { return boxFirst + kernelFirst; }
};

struct Spans {
  Span x;
  Span y;
};

/// The spans for at least one copy. They are empty (boxSize 0) if the texture is all zero.
Spans spansOf(const std::vector<WholeCopy> &copies, const TexturePlanes &planes, const Pixels &target);

}  // namespace pyrelux::soft
