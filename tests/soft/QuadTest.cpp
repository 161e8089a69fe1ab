// Tests which quads are drawn, whichever corner comes first, and which are not.

#include <limits>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

struct Corner {
  double x, y, s, t;
};

using Corners = std::array<Corner, 4>;

/// A texture whose turns and mirror images all differ, and a place for it with fractional coordinates.
class Quads : public ::testing::Test {
 protected:
  Quads() {
    bindNewTexture(rectangle, GL_LINEAR);
    upload(rectangle, 5, 3, pattern(5, 3));
    glEnable(rectangle);
    glColor4f(0.9f, 0.8f, 0.7f, 0.6f);
  }

  std::vector<std::uint8_t> drawn(const Corners &quad) const {
    Screen::clear(0, 0, 0, 0);
    glBegin(GL_QUADS);
    for (const Corner &c : quad) corner(c.x, c.y, c.s, c.t);
    glEnd();
    return screen.bytes();
  }

  const Screen screen{12, 10};
  const Corners upright{{{1.2, 2.3, 0, 0}, {9.7, 2.3, 5, 0}, {9.7, 8.9, 5, 3}, {1.2, 8.9, 0, 3}}};
  const std::vector<std::uint8_t> blank = std::vector<std::uint8_t>(12 * 10 * 4);
};

TEST_F(Quads, OfAllEightCornerOrdersAreOne) {
  const auto expected = drawn(upright);
  EXPECT_NE(expected, blank);
  for (std::size_t first = 0; first < 4; ++first)
    for (const bool backwards : {false, true}) {
      Corners turned;
      for (std::size_t i = 0; i < 4; ++i) turned[i] = upright[(first + (backwards ? 4 - i : i)) % 4];
      EXPECT_EQ(drawn(turned), expected) << "from corner " << first << (backwards ? ", backwards" : "");
      EXPECT_EQ(glGetError(), GL_NO_ERROR);
    }
}

TEST_F(Quads, MirroredAreOneInAllCornerOrders) {
  const auto plain = drawn(upright);
  for (const bool alongX : {false, true})
    for (const bool alongY : {false, true}) {
      Corners mirrored = upright;
      for (Corner &c : mirrored) {
        if (alongX) c.s = 5 - c.s;
        if (alongY) c.t = 3 - c.t;
      }
      const auto expected = drawn(mirrored);
      EXPECT_EQ(expected == plain, !alongX && !alongY);
      for (std::size_t first = 0; first < 4; ++first)
        for (const bool backwards : {false, true}) {
          Corners turned;
          for (std::size_t i = 0; i < 4; ++i) turned[i] = mirrored[(first + (backwards ? 4 - i : i)) % 4];
          EXPECT_EQ(drawn(turned), expected);
        }
    }
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_F(Quads, OnAMirroredMatrixAreThatImageMirrored) {
  const auto plain = drawn(upright);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(12, 0, 0, 10, -1, 1);
  const auto mirrored = drawn(upright);
  for (std::size_t y = 0; y < 10; ++y)
    for (std::size_t x = 0; x < 12; ++x)
      for (std::size_t c = 0; c < 4; ++c)
        // Positions round to 1/256 texel to the nearest, from either side.
        ASSERT_NEAR(mirrored[(y * 12 + x) * 4 + c], plain[(y * 12 + 11 - x) * 4 + c], 1) << x << "," << y;
}

struct Odd {
  const char *name;
  Corners quad;
};

void PrintTo(const Odd &odd, std::ostream *out) { *out << odd.name; }

class OddQuads : public Quads, public ::testing::WithParamInterface<Odd> {};

TEST_P(OddQuads, AreRefusedWithTheirWholePrimitive) {
  const Corners &quad = GetParam().quad;
  EXPECT_EQ(drawn(quad), blank);
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  for (const bool oddFirst : {false, true}) {
    glBegin(GL_QUADS);
    for (int i = 0; i < 2; ++i)
      for (const Corner &c : (i == 0) == oddFirst ? quad : upright) corner(c.x, c.y, c.s, c.t);
    glEnd();
    EXPECT_EQ(screen.bytes(), blank);
    EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  }
  EXPECT_NE(drawn(upright), blank) << "the next primitive is drawn";
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

const Odd odds[] = {
    {"Slanted", {{{1, 2, 0, 0}, {9, 2, 5, 0}, {10, 8, 5, 3}, {2, 8, 0, 3}}}},
    {"Rotated", {{{6, 1, 0, 0}, {10, 5, 5, 0}, {6, 9, 5, 3}, {2, 5, 0, 3}}}},
    {"Trapezium", {{{1, 2, 0, 0}, {9, 2, 5, 0}, {8, 8, 5, 3}, {2, 8, 0, 3}}}},
    {"OneCornerOff", {{{1, 2, 0, 0}, {9, 2, 5, 0}, {9, 8, 5, 3}, {1.001, 8, 0, 3}}}},
    {"BowTie", {{{1, 2, 0, 0}, {9, 8, 5, 3}, {9, 2, 5, 0}, {1, 8, 0, 3}}}},
    {"TextureTurned", {{{1, 2, 0, 0}, {9, 2, 0, 3}, {9, 8, 5, 3}, {1, 8, 5, 0}}}},
    {"TextureSheared", {{{1, 2, 0, 0}, {9, 2, 5, 0}, {9, 8, 6, 3}, {1, 8, 1, 3}}}},
    {"TextureBent", {{{1, 2, 0, 0}, {9, 2, 5, 0}, {9, 8, 4, 3}, {1, 8, 0, 3}}}},
    {"NoNumberX", {{{nan, 2, 0, 0}, {9, 2, 5, 0}, {9, 8, 5, 3}, {nan, 8, 0, 3}}}},
    {"NoNumberY", {{{1, nan, 0, 0}, {9, nan, 5, 0}, {9, 8, 5, 3}, {1, 8, 0, 3}}}},
    {"NoNumberS", {{{1, 2, nan, 0}, {9, 2, 5, 0}, {9, 8, 5, 3}, {1, 8, nan, 3}}}},
};

INSTANTIATE_TEST_SUITE_P(Shapes, OddQuads, ::testing::ValuesIn(odds),
                         [](const auto &odd) { return std::string(odd.param.name); });

TEST_F(Quads, FarOffOrWithoutAreaCoverNothing) {
  for (const Box &place :
       {Box{-infinity, 1, infinity, 5}, Box{1, -infinity, 5, infinity}, Box{0, 0, infinity, infinity}, Box{3, 3, 3, 8},
        Box{3, 3, 8, 3}, Box{3, 3, 3, 3}, Box{-1e30, -1e30, -1e29, -1e29}, Box{1e30, 1e30, 2e30, 2e30},
        Box{3e38, 0, 3.2e38, 4}, Box{20, 2, 30, 8}, Box{2, -8, 6, -1}}) {
    drawQuad(place, Box{0, 0, 5, 3});
    EXPECT_EQ(screen.bytes(), blank) << place.x0 << " " << place.y0 << " " << place.x1 << " " << place.y1;
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  }
}

TEST_F(Quads, WithTextureCoordinatesFromAnywhereDoNotCrash) {
  for (const double far : std::initializer_list<double>{1e6, -1e6, 16777216.0, 1e30, -1e30, infinity, -infinity})
    for (const Box &texture : {Box{0, 0, far, 3}, Box{far, far, 0, 0}, Box{-far, 0, far, 3}, Box{far, far, far, far}}) {
      drawQuad(Box{1, 1, 9, 9}, texture);
      drawQuad(Box{1.1, 1.1, 1.6, 9.9}, texture);
      glBegin(GL_QUADS);
      glEnd();
      screen.bytes();
      EXPECT_EQ(glGetError(), GL_NO_ERROR);
    }
}

TEST_F(Quads, LargerThanAnySurfaceAreCutToIt) {
  glDisable(rectangle);
  glColor4f(1.0f, 0.8f, 0.2f, 0.6f);
  drawQuad(Box{-1e6, -1e6, 1e6, 1e6});
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 204, 51, 153}));
  EXPECT_EQ(levelsAt(11, 9), (Levels{255, 204, 51, 153}));
}

TEST_F(Quads, UnfinishedAreDropped) {
  const auto expected = drawn(upright);
  Screen::clear(0, 0, 0, 0);
  glBegin(GL_QUADS);
  for (const Corner &c : upright) corner(c.x, c.y, c.s, c.t);
  corner(0, 0);
  corner(12, 0);
  corner(12, 10);
  glEnd();
  EXPECT_EQ(screen.bytes(), expected);
  // Its corners are dropped: the next primitive begins with none.
  EXPECT_EQ(drawn(upright), expected);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_F(Quads, AreMadeBetweenBeginAndEndOnly) {
  corner(0, 0);
  corner(12, 0);
  glBegin(GL_QUADS);
  corner(0, 0);
  corner(12, 0);
  glEnd();
  corner(12, 10);
  corner(0, 10);
  corners({0, 0, 12, 10});
  EXPECT_EQ(screen.bytes(), blank);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_F(Quads, NoneAtAllAreNoError) {
  for (int i = 0; i < 3; ++i) {
    glBegin(GL_QUADS);
    glEnd();
  }
  EXPECT_EQ(screen.bytes(), blank);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_F(Quads, OfOnePrimitiveOverlapInOrder) {
  glDisable(rectangle);
  glBegin(GL_QUADS);
  glColor4f(1, 0, 0, 1);
  corners({0, 0, 8, 8});
  glColor4f(0, 1, 0, 1);
  corners({4, 4, 12, 10});
  glEnd();
  EXPECT_EQ(levelsAt(3, 3), (Levels{255, 0, 0, 255}));
  EXPECT_EQ(levelsAt(5, 5), (Levels{0, 255, 0, 255}));
}

TEST_F(Quads, ThatWereRefusedLeaveTheirColourAndCoordinates) {
  glBegin(GL_QUADS);
  for (const Corner &c : odds[0].quad) corner(c.x, c.y, c.s, c.t);
  glColor4f(0, 1, 0, 1);
  glEnd();
  glGetError();
  glDisable(rectangle);
  drawQuad(Box{0, 0, 2, 2});
  EXPECT_EQ(levelsAt(1, 1), (Levels{0, 255, 0, 255}));
}

}  // namespace
}  // namespace pyrelux::soft
