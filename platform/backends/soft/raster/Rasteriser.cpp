#include "Rasteriser.h"

#include <algorithm>
#include <atomic>

#include "FlameSum.h"
#include "Kernels.h"
#include "Reference.h"
#include "RowPass.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

std::atomic<bool> referenceOnly{false};

bool coversAll(const Quad &quad, const Pixels &target) {
  return quad.x.first == 0 && quad.x.end == target.width() && quad.y.first == 0 && quad.y.end == target.height();
}

/// Whether the pass leaves the whole target transparent black.
bool isClearing(const Pass &pass, const Pixels &target) {
  if (pass.texture || pass.blend != Blend::Replace || pass.quads.size() != 1) return false;
  return pass.mask == std::array<bool, 4>{true, true, true, true} && pass.quads[0].colour == Colour{} &&
         coversAll(pass.quads[0], target);
}

void drawPass(const Pass &pass, Pixels &target, bool &blank) {
  if (referenceOnly) {
    settle(target, blank);
    drawByReference(pass, target);
    return;
  }
  // Few copies are not worth taking a texture apart, nor is it where texels fall on pixels.
  const bool rows = std::all_of(pass.quads.begin(), pass.quads.end(),
                                [&](const Quad &quad) { return isRowQuad(pass, quad, target); });
  if (rows) {
    for (const Quad &quad : pass.quads) {
      drawRows(pass, quad, target, blank);
      blank = false;
    }
    return;
  }
  if (isFlame(pass)) {
    addFlame(pass, target, blank);
  } else {
    settle(target, blank);
    drawByReference(pass, target);
  }
  blank = false;
}

}  // namespace

void useReferenceOnly(bool only) { referenceOnly = only; }

void settle(Pixels &target, bool &blank) {
  if (!blank) return;
  // A quad that covers nothing, drawn onto a blank target, leaves it black.
  drawRows(Pass{}, Quad{}, target, true);
  blank = false;
}

void draw(const std::vector<Pass> &passes, Pixels &target, bool &blank) {
  for (const Pass &pass : passes) {
    if (isClearing(pass, target))
      blank = true;
    else
      drawPass(pass, target, blank);
  }
}

const std::string &rasteriserDescription() {
  static const std::string description = std::string("Pyrelux software renderer (") + kernels().name + ", " +
                                         std::to_string(threadCount()) +
                                         (threadCount() == 1 ? " thread)" : " threads)");
  return description;
}

}  // namespace pyrelux::soft
