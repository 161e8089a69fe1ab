#pragma once

#include "Pass.h"

namespace pyrelux::soft {

/// Whether drawRows() may draw the quad: all of a colour in place of what was there, or texels that fall on pixels one
/// for one, unless texels are floats and pixels bytes.
bool isRowQuad(const Pass &pass, const Quad &quad, const Pixels &target);

/// Whether drawing such a quad is no more than copying texels.
bool isPlainCopy(const Pass &pass, const Quad &quad, const Pixels &target, bool blank);

/// Draws such a quad row by row on all threads, as the reference does. `blank` says that the target is transparent
/// black whatever it holds; then every pixel of it is written.
void drawRows(const Pass &pass, const Quad &quad, Pixels &target, bool blank);

}  // namespace pyrelux::soft
