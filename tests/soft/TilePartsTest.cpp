// Which parts of a tile a copy reaches, by looking at every texel.

#include "TileParts.h"

#include <gtest/gtest.h>

#include "Scenes.h"

namespace pyrelux::soft::testing {
namespace {

/// Whether a part of the tile whose first pixel samples texel (x, y) reads a texel that is not zero.
bool readsAnything(const Pixels &texture, int x, int y, int strip, int part) {
  const int left = x + strip * stripWidth + part % 2 * halfStrip, bottom = y + part / 2 * partRows;
  for (int t = bottom; t <= bottom + partRows; ++t)
    for (int s = left; s <= left + halfStrip; ++s) {
      const std::uint8_t *const row = texture.byteRow(std::clamp(t, 0, texture.height() - 1));
      if (row[4 * std::clamp(s, 0, texture.width() - 1)]) return true;
    }
  return false;
}

TEST(TileParts, HaveEveryPartThatReadsATexel) {
  Random random(5);
  for (int round = 0; round < 12; ++round) {
    const int width = between(random, 1, 300), height = between(random, 1, 120);
    Pixels texture(Samples::Byte, width, height);
    for (int y = 0; y < height; ++y) std::fill_n(texture.byteRow(y), 4 * width, std::uint8_t{0});
    for (int spot = 0; spot < 4; ++spot)
      std::fill_n(texture.byteRow(between(random, 0, height - 1)) + 4 * between(random, 0, width - 1), 4, 255);
    const TexturePlanes planes(texture, TexturePlanes::Levels);
    const TileParts parts(planes.occupancy());
    int marked = 0, needed = 0, all = 0;
    for (int y = -60; y < height + 60; y += 3)
      for (int x = -200; x < width + 60; x += 5)
        for (int i = 0; i < 32; ++i) {
          const bool is = parts.at(x, y) >> i & 1;
          const bool must = readsAnything(texture, x, y, i / partsOfStrip, i % partsOfStrip);
          ASSERT_TRUE(is || !must) << width << "x" << height << " at " << x << "," << y << ": " << i;
          ++all;
          marked += is;
          needed += must;
        }
    // Cells are coarser than texels, but a part takes no more than three by two of them.
    if (width > 200 && height > 100) {
      EXPECT_LE(marked, 3 * needed) << "of " << all;
    }
  }
}

TEST(TileParts, AreAllWhereNothingIsEmpty) {
  Random random(6);
  const Pixels texture = makePicture(random, Picture::Opaque, Samples::Byte, 50, 40);
  const TexturePlanes planes(texture, TexturePlanes::Levels);
  for (const int x : {-500, 0, 17, 500}) EXPECT_EQ(TileParts(planes.occupancy()).at(x, 3), ~0u);
}

}  // namespace
}  // namespace pyrelux::soft::testing
