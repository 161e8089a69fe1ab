#pragma once

#include "Pass.h"

namespace pyrelux::soft {

/// Whether drawRows() can draw the quad: a plain colour that replaces the target's, or texels that fall on pixels one
/// for one, unless the texels are floats and the pixels bytes.
bool isRowQuad(const Pass &pass, const Quad &quad, const Pixels &target);

/// Whether drawing such a quad only copies texels.
bool isPlainCopy(const Pass &pass, const Quad &quad, const Pixels &target, bool blank);

/// Draws such a quad row by row on all threads, with the reference's result. `blank` says that the target counts as
/// transparent black, whatever it contains; then this writes every pixel of it.
void drawRows(const Pass &pass, const Quad &quad, Pixels &target, bool blank);

}  // namespace pyrelux::soft
