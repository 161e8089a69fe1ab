#pragma once

#include "Pass.h"

namespace pyrelux::soft {

/// Whether addFlame() can draw the pass: linearly filtered copies of a texture that are added to the target.
bool isFlame(const Pass &pass);

/// Draws such a pass tile by tile on all threads. The kernels add each copy's part of a tile and skip empty parts. On
/// 8-bit targets the result is the reference's, byte for byte, because saturating sums of non-negative levels do not
/// depend on their order.
///
/// `blank` says that the target counts as transparent black, whatever it contains; then this writes every pixel of it.
void addFlame(const Pass &pass, Pixels &target, bool blank);

}  // namespace pyrelux::soft
