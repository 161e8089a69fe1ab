#include "Pass.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Arithmetic.h"

namespace pyrelux::soft {
namespace {

TEST(MakeAxis, ACopyInItsPlaceSamplesTexelForPixel) {
  const Axis axis = makeAxis(0, 64, 0, 64, 64);
  EXPECT_EQ(axis.first, 0);
  EXPECT_EQ(axis.end, 64);
  EXPECT_TRUE(axis.isUnit());
  EXPECT_EQ(axis.position(17), 17 * Axis::one);
}

TEST(MakeAxis, PixelsBelongByTheirCentresLowerEdgeIncluded) {
  EXPECT_EQ(makeAxis(2.5, 5.5, 0, 3, 64).first, 2) << "the centre of pixel 2 lies on the edge";
  EXPECT_EQ(makeAxis(2.5, 5.5, 0, 3, 64).end, 5) << "the centre of pixel 5 lies on the upper edge";
  EXPECT_EQ(makeAxis(2.51, 5.51, 0, 3, 64).first, 3);
  EXPECT_EQ(makeAxis(2.51, 5.51, 0, 3, 64).end, 6);
}

TEST(MakeAxis, EdgesLieOnAGridOf256) {
  // 2.5 + 1/600 rounds to 2.5 on the grid; 2.5 + 1/400 to the next line.
  EXPECT_EQ(makeAxis(2.5 + 1.0 / 600, 9, 0, 6.5, 64).first, 2);
  EXPECT_EQ(makeAxis(2.5 + 1.0 / 400, 9, 0, 6.5, 64).first, 3);
}

TEST(MakeAxis, ACopyShiftedByAQuarterSamplesAQuarterBefore) {
  const Axis axis = makeAxis(10.25, 20.25, 0, 10, 64);
  EXPECT_EQ(axis.first, 10);
  EXPECT_EQ(axis.position(12), Axis::one * 7 / 4)
      << "pixel 12's centre is 2.25 texels in, texel centres count from 1/2";
}

TEST(MakeAxis, ScalesWithinRoundingOfOneAreOne) {
  EXPECT_TRUE(makeAxis(-7.788257598876953, 312.21173095703125, 0, 320, 320).isUnit());
  EXPECT_FALSE(makeAxis(0, 320.01, 0, 320, 320).isUnit());
}

TEST(MakeAxis, MirroredTexturesRunBackwards) {
  const Axis axis = makeAxis(0, 8, 8, 0, 8);
  EXPECT_EQ(axis.step, -Axis::one);
  EXPECT_EQ(axis.position(0), 7 * Axis::one);
  const Axis turned = makeAxis(8, 0, 0, 8, 8);
  EXPECT_EQ(turned.position(0), axis.position(0)) << "edges may come in any order";
}

TEST(MakeAxis, WhatIsOffTheTargetIsLeftOut) {
  const Axis axis = makeAxis(-5, 3, 0, 8, 6);
  EXPECT_EQ(axis.first, 0);
  EXPECT_EQ(axis.end, 3);
  EXPECT_EQ(axis.position(0), 5 * Axis::one);
  EXPECT_GE(makeAxis(-9, -1, 0, 8, 6).first, makeAxis(-9, -1, 0, 8, 6).end);
  EXPECT_GE(makeAxis(7, 9, 0, 8, 6).first, makeAxis(7, 9, 0, 8, 6).end);
}

TEST(MakeAxis, NothingSensibleCoversNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const double bad[][4] = {{nan, 1, 0, 1}, {0, nan, 0, 1}, {0, 1, nan, 1},  {0, 1, 0, nan},  {-inf, inf, 0, 1},
                           {0, 1, 0, inf}, {1, 1, 0, 1},   {0, 1e30, 0, 1}, {-1e30, 5, 0, 1}};
  for (const auto &edges : bad) {
    const Axis axis = makeAxis(edges[0], edges[1], edges[2], edges[3], 100);
    EXPECT_GE(axis.first, axis.end) << edges[0] << " " << edges[1] << " " << edges[2] << " " << edges[3];
  }
}

TEST(Arithmetic, LerpIsRoundedAndExactAtItsEnds) {
  for (int a = 0; a < 256; ++a)
    for (int b = 0; b < 256; ++b) {
      ASSERT_EQ(lerp(a, b, 0), a);
      for (int f = 1; f < 256; f += 17)
        ASSERT_EQ(lerp(a, b, f), static_cast<int>(std::floor(a + f * (b - a) / 256.0 + 0.5)))
            << a << " " << b << " " << f;
    }
}

TEST(Arithmetic, ModulateRoundsTheProduct) {
  for (int level = 0; level < 256; ++level) {
    EXPECT_EQ(modulate(level, tintOf(1.0f)), level) << "a full tint changes nothing";
    EXPECT_EQ(modulate(level, tintOf(0.0f)), 0);
    for (int tint = 0; tint < 32768; tint += 97)
      ASSERT_EQ(modulate(level, tint), static_cast<int>(std::floor(level * tint / 32768.0 + 0.5)));
  }
}

TEST(Arithmetic, Scale255IsRoundedDivision) {
  for (int level = 0; level < 256; ++level)
    for (int weight = 0; weight < 256; ++weight)
      ASSERT_EQ(scale255(level, weight), static_cast<int>(std::lround(level * weight / 255.0)));
}

TEST(Arithmetic, ColoursOutsideTheirRangeAreCut) {
  EXPECT_EQ(tintOf(-1.0f), 0);
  EXPECT_EQ(tintOf(2.0f), 32767);
}

TEST(Arithmetic, TapsAreRoundedToTheGrid) {
  EXPECT_EQ(tapAt(3 * Axis::one).texel, 3);
  EXPECT_EQ(tapAt(3 * Axis::one).fraction, 0);
  EXPECT_EQ(tapAt(-Axis::one / 2).texel, -1);
  EXPECT_EQ(tapAt(-Axis::one / 2).fraction, 128);
  EXPECT_EQ(tapAt(Axis::one - 1).texel, 1) << "nearer to the next texel than to the last fraction before it";
}

TEST(DrawsAlike, EverythingButTheQuadsHasToBeTheSame) {
  Pass pass;
  pass.texture = std::make_shared<const Pixels>(Samples::Byte, 2, 2);
  pass.blend = Blend::Add;
  Pass other = pass;
  other.quads.resize(3);
  EXPECT_TRUE(drawsAlike(pass, other));
  const auto differs = [&](auto change) {
    Pass changed = pass;
    change(changed);
    return !drawsAlike(pass, changed);
  };
  EXPECT_TRUE(differs([](Pass &p) { p.texture = std::make_shared<const Pixels>(Samples::Byte, 2, 2); }));
  EXPECT_TRUE(differs([](Pass &p) { p.texture = nullptr; }));
  EXPECT_TRUE(differs([](Pass &p) { p.filter = Filter::Nearest; }));
  EXPECT_TRUE(differs([](Pass &p) { p.blend = Blend::Over; }));
  EXPECT_TRUE(differs([](Pass &p) { p.mask[3] = false; }));
}

}  // namespace
}  // namespace pyrelux::soft
