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

/// Whether the pass leaves the target as a copy of its texture.
bool isCopying(const Pass &pass, const Pixels &target, bool blank) {
  if (!pass.texture || pass.quads.size() != 1) return false;
  // A row quad as large as texture and target begins at the first texel.
  const Quad &quad = pass.quads[0];
  return pass.texture->width() == target.width() && pass.texture->height() == target.height() &&
         coversAll(quad, target) && isRowQuad(pass, quad, target) && isPlainCopy(pass, quad, target, blank);
}

/// Gives the target pixels that no one else owns.
void makeOwn(std::shared_ptr<Pixels> &target, bool blank) {
  if (target.use_count() == 1) return;
  target = blank ? std::make_shared<Pixels>(Pixels::Undefined(), target->samples(), target->width(), target->height())
                 : std::make_shared<Pixels>(*target);
}

void drawPass(const Pass &pass, std::shared_ptr<Pixels> &target, bool &blank) {
  if (referenceOnly) {
    materialiseClear(target, blank);
    makeOwn(target, blank);
    drawByReference(pass, *target);
    return;
  }
  if (isCopying(pass, *target, blank)) {
    target = std::const_pointer_cast<Pixels>(pass.texture);
    blank = false;
    return;
  }
  makeOwn(target, blank);
  // Where texels fall on pixels, drawing rows is faster than splitting the texture into planes.
  const bool rows = std::all_of(pass.quads.begin(), pass.quads.end(),
                                [&](const Quad &quad) { return isRowQuad(pass, quad, *target); });
  if (rows) {
    for (const Quad &quad : pass.quads) {
      drawRows(pass, quad, *target, blank);
      blank = false;
    }
    return;
  }
  if (isFlame(pass)) {
    addFlame(pass, *target, blank);
  } else {
    materialiseClear(target, blank);
    drawByReference(pass, *target);
  }
  blank = false;
}

}  // namespace

void useReferenceOnly(bool only) { referenceOnly = only; }

void materialiseClear(std::shared_ptr<Pixels> &target, bool &blank) {
  if (!blank) return;
  makeOwn(target, blank);
  // An empty quad on a blank target writes black everywhere.
  drawRows(Pass{}, Quad{}, *target, true);
  blank = false;
}

void draw(const std::vector<Pass> &passes, std::shared_ptr<Pixels> &target, bool &blank) {
  for (const Pass &pass : passes) {
    if (isClearing(pass, *target))
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

const char *rasteriserInstructions() { return kernels().name; }

}  // namespace pyrelux::soft
