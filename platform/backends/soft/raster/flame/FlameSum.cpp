#include "FlameSum.h"

#include <algorithm>
#include <type_traits>

#include "FlameFft.h"
#include "FlameTile.h"
#include "Reference.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

/// The maximum number of scaled copies that are prepared at once, because their column tables take memory.
constexpr std::size_t scaledBatch = 512;

/// Draws the copies, and by the reference the quads of `rest`.
template <typename Traits>
void drawCopies(const Flame<Traits> &flame, const Pass &rest, Pixels &target, bool blank) {
  using Tile = FlameTile<Traits>;
  const int columns = (target.width() + Tile::width - 1) / Tile::width;
  const int rows = (target.height() + Tile::height - 1) / Tile::height;
  parallelFor(columns * rows, [&](int index) {
    const int x0 = index / rows * Tile::width, y0 = index % rows * Tile::height;
    const int x1 = std::min(x0 + Tile::width, target.width()), y1 = std::min(y0 + Tile::height, target.height());
    Tile tile(flame, x0, y0, x1, y1);
    tile.addUp();
    tile.writeTo(target, blank);
    drawByReference(rest, target, x0, y0, x1, y1);
  });
}

/// Draws the copies for which transforms are faster, and returns the others.
template <typename Traits>
std::vector<Quad> drawManyAtOnce(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank) {
  if constexpr (std::is_same_v<Traits, ByteAccumulator>)
    return pass.quads;  // on 8-bit surfaces every copy is rounded by itself
  else
    return addByFft(pass, planes, target, blank);
}

/// The planes that a pass reads.
template <typename Traits>
unsigned planesFor(const Pass &pass) {
  unsigned planes = 0;
  for (const Quad &quad : pass.quads)
    planes |= quad.x.isUnit() && quad.y.isUnit() ? Traits::unitPlanes : Traits::scaledPlanes;
  return planes;
}

template <typename Traits>
void addFlameOf(const Pass &pass, Pixels &target, bool blank) {
  const TexturePlanes planes(*pass.texture, planesFor<Traits>(pass));
  const std::vector<Quad> quads = drawManyAtOnce<Traits>(pass, planes, target, blank);

  Pass rest = pass;
  rest.quads.clear();
  Flame<Traits> flame(planes);
  const auto drawSoFar = [&] {
    flame.prepare();
    drawCopies(flame, rest, target, blank);
    blank = false;
    flame.clear();
    rest.quads.clear();
  };
  for (const Quad &quad : quads) {
    if (flame.reaches(quad))
      flame.add(quad, pass.mask);
    else
      rest.quads.push_back(quad);
    if (flame.scaledCount == scaledBatch) drawSoFar();
  }
  drawSoFar();
}

}  // namespace

bool isFlame(const Pass &pass) { return pass.texture && pass.filter == Filter::Linear && pass.blend == Blend::Add; }

void addFlame(const Pass &pass, Pixels &target, bool blank) {
  if (target.samples() == Samples::Byte)
    addFlameOf<ByteAccumulator>(pass, target, blank);
  else if (MixedAccumulator::suits(*pass.texture))
    addFlameOf<MixedAccumulator>(pass, target, blank);
  else
    addFlameOf<FloatAccumulator>(pass, target, blank);
}

}  // namespace pyrelux::soft
