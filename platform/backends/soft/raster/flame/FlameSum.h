#pragma once

#include "Pass.h"

namespace pyrelux::soft {

/// Whether addFlame() may draw the pass: linearly filtered copies of a texture, added up.
bool isFlame(const Pass &pass);

/// Draws such a pass: tile by tile on all threads, each copy's part of a tile by the kernels, empty parts skipped. On
/// 8-bit targets the result is the reference's, byte for byte: sums of non-negative levels that saturate do not depend
/// on their order.
///
/// `blank` says that the target is transparent black whatever it holds; then every pixel of it is written.
void addFlame(const Pass &pass, Pixels &target, bool blank);

}  // namespace pyrelux::soft
