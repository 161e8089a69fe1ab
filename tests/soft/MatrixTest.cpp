// Tests the places of vertices: matrices, viewport, depth.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

/// The range of lit pixels, without its end; all 0 when none is lit.
struct Lit {
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  int count = 0;

  bool operator==(const Lit &other) const {
    return x0 == other.x0 && y0 == other.y0 && x1 == other.x1 && y1 == other.y1 && count == other.count;
  }
};

std::ostream &operator<<(std::ostream &out, const Lit &lit) {
  return out << lit.x0 << "," << lit.y0 << " .. " << lit.x1 << "," << lit.y1 << " (" << lit.count << " pixels)";
}

Lit box(int x0, int y0, int x1, int y1) { return {x0, y0, x1, y1, (x1 - x0) * (y1 - y0)}; }

/// The pixels that a white quad lights on a cleared screen.
Lit litBy(const Screen &screen, const Box &place) {
  Screen::clear(0, 0, 0, 0);
  glColor4f(1, 1, 1, 1);
  drawQuad(place);
  const auto bytes = screen.bytes();
  Lit lit;
  for (int y = 0; y < screen.height(); ++y)
    for (int x = 0; x < screen.width(); ++x) {
      if (!bytes[static_cast<std::size_t>(y * screen.width() + x) * 4]) continue;
      if (lit.count++ == 0) lit = {x, y, x + 1, y + 1, 1};
      lit.x0 = std::min(lit.x0, x);
      lit.x1 = std::max(lit.x1, x + 1);
      lit.y1 = y + 1;
    }
  return lit;
}

using Matrix = std::array<std::array<double, 4>, 4>;

Matrix identity() {
  Matrix matrix{};
  for (std::size_t i = 0; i < 4; ++i) matrix[i][i] = 1;
  return matrix;
}

Matrix product(const Matrix &a, const Matrix &b) {
  Matrix result{};
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j)
      for (std::size_t k = 0; k < 4; ++k) result[i][j] += a[i][k] * b[k][j];
  return result;
}

struct Ortho {
  double left, right, bottom, top, zNear, zFar;

  /// OpenGL 1.4, section 2.10.2.
  Matrix matrix() const {
    Matrix m{};
    m[0] = {2 / (right - left), 0, 0, -(right + left) / (right - left)};
    m[1] = {0, 2 / (top - bottom), 0, -(top + bottom) / (top - bottom)};
    m[2] = {0, 0, -2 / (zFar - zNear), -(zFar + zNear) / (zFar - zNear)};
    m[3] = {0, 0, 0, 1};
    return m;
  }
  void call() const { glOrtho(left, right, bottom, top, zNear, zFar); }
};

struct Stacks {
  const char *name;
  std::vector<Ortho> projection;
  std::vector<Ortho> modelview;
};

void PrintTo(const Stacks &stacks, std::ostream *out) { *out << stacks.name; }

class MatrixStacks : public ::testing::TestWithParam<Stacks> {};

TEST_P(MatrixStacks, MultiplyAsFourByFourMatricesDo) {
  const Screen screen(40, 24);
  Matrix projection = identity(), modelview = identity();
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  for (const Ortho &ortho : GetParam().projection) {
    ortho.call();
    projection = product(projection, ortho.matrix());
  }
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  for (const Ortho &ortho : GetParam().modelview) {
    ortho.call();
    modelview = product(modelview, ortho.matrix());
  }
  const Matrix whole = product(projection, modelview);
  const auto window = [&](std::size_t axis, double value, int size) {
    return (whole[axis][axis] * value + whole[axis][3] + 1) / 2 * size;
  };
  // Chosen in window coordinates and taken back, so that both ends lie inside and no edge on a pixel's centre.
  const auto object = [&](std::size_t axis, double target, int size) {
    return (target / size * 2 - 1 - whole[axis][3]) / whole[axis][axis];
  };
  const Box place{object(0, 5.2, 40), object(1, 3.3, 24), object(0, 31.8, 40), object(1, 20.1, 24)};
  ASSERT_NEAR(window(0, place.x0, 40), 5.2, 1e-9);
  ASSERT_NEAR(window(1, place.y1, 24), 20.1, 1e-9);
  EXPECT_EQ(litBy(screen, place), box(5, 3, 32, 20));
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

const Ortho flip{-1, 1, -1, 1, -1, 1};
const Stacks allStacks[] = {
    {"NoMatrices", {}, {}},
    {"PixelsOnProjection", {{0, 40, 0, 24, -1, 1}}, {}},
    {"PixelsOnModelview", {}, {{0, 40, 0, 24, -1, 1}}},
    {"PixelsOverFlip", {flip}, {{0, 40, 0, 24, -1, 1}}},
    {"ModelviewInsideProjection", {{0, 40, 0, 24, -1, 1}}, {{-1, 3, -2, 0.5, -1, 1}}},
    {"TwoOnOneStack", {{0, 40, 0, 24, -1, 1}, {-3, 5, 2, 4, -1, 1}}, {}},
    {"TwoOnEach", {{2, 9, -4, 4, -5, 5}, {-3, 5, 2, 4, -1, 1}}, {{-1, 2, -1, 3, -2, 2}, {0.5, 4, -9, 2, -1, 1}}},
    {"Mirrored", {{40, 0, 24, 0, -1, 1}}, {}},
    {"MirroredAlongXOnModelview", {{0, 40, 0, 24, -1, 1}}, {{7, -9, 0, 2, -1, 1}}},
    {"FlipsByTheDozen", {flip, flip, flip, flip, flip}, {flip, flip, flip, flip, flip, flip, flip}},
};

INSTANTIATE_TEST_SUITE_P(Stacks, MatrixStacks, ::testing::ValuesIn(allStacks),
                         [](const auto &stacks) { return std::string(stacks.param.name); });

TEST(Matrices, TheUnitProjectionRepeatedLeavesPlacesAlone) {
  const Screen screen(16, 8);
  const Lit once = litBy(screen, {3, 2, 9, 5});
  EXPECT_EQ(once, box(3, 2, 9, 5));
  for (int i = 0; i < 50; ++i) {
    glMatrixMode(GL_MODELVIEW);
    flip.call();
    ASSERT_EQ(litBy(screen, {3, 2, 9, 5}), once) << "after " << i + 1;
  }
}

TEST(Matrices, LoadIdentityTakesTheModeItIsIn) {
  const Screen screen(16, 8);
  glMatrixMode(GL_MODELVIEW);
  glOrtho(0, 2, 0, 2, -1, 1);
  glLoadIdentity();
  EXPECT_EQ(litBy(screen, {3, 2, 9, 5}), box(3, 2, 9, 5)) << "the projection stayed";
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  EXPECT_EQ(litBy(screen, {-0.5, -0.5, 0.5, 0.5}), box(4, 2, 12, 6));
}

TEST(Depth, WhatIsOutsideTheRangeIsClippedAway) {
  const Screen screen(8, 8);
  const auto litFor = [&](double zNear, double zFar) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, 8, 0, 8, zNear, zFar);
    return litBy(screen, {1, 1, 5, 5}).count;
  };
  EXPECT_EQ(litFor(-1, 1), 16);
  EXPECT_EQ(litFor(0, 1), 16) << "on the near plane";
  EXPECT_EQ(litFor(-1, 0), 16) << "on the far plane";
  EXPECT_EQ(litFor(1, -1), 16) << "planes the other way round";
  EXPECT_EQ(litFor(0.01, 1), 0) << "before the near plane";
  EXPECT_EQ(litFor(-1, -0.01), 0) << "behind the far plane";
  EXPECT_EQ(glGetError(), GL_NO_ERROR) << "clipping is no error";
}

TEST(Depth, BothStacksTakePart) {
  const Screen screen(8, 8);
  glMatrixMode(GL_MODELVIEW);
  // z = 0 goes to -2 and, through the projection, to 2.
  glOrtho(-1, 1, -1, 1, 0.5, 1.5);
  EXPECT_EQ(litBy(screen, {1, 1, 5, 5}).count, 0);
  glLoadIdentity();
  // z = 0 goes to -1 and, through the projection, to 1.
  glOrtho(-1, 1, -1, 1, 0, 1);
  EXPECT_EQ(litBy(screen, {1, 1, 5, 5}).count, 16);
}

TEST(Viewport, IsTheFirstSurfacesAtFirst) {
  const Screen screen(16, 8);
  const CGLPBufferObj other = makePBuffer(4, 4);
  EXPECT_EQ(litBy(screen, {0, 0, 16, 8}), box(0, 0, 16, 8));
  CGLSetPBuffer(screen.context(), other, 0, 0, 0);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 2, 2});
  EXPECT_EQ(levelsAt(1, 1)[0], 255) << "the viewport stays the first surface's: a pixel is still a pixel";
  EXPECT_EQ(levelsAt(2, 1)[0], 0);
  CGLDestroyPBuffer(other);
}

TEST(Viewport, PlacesAndScales) {
  const Screen screen(16, 8);
  glViewport(4, 2, 8, 4);
  EXPECT_EQ(litBy(screen, {2, 2, 14, 6}), box(5, 3, 11, 5));
  glViewport(-8, -4, 16, 8);
  EXPECT_EQ(litBy(screen, {2, 2, 14, 6}), box(0, 0, 6, 2));
  glViewport(0, 0, 32, 16);
  EXPECT_EQ(litBy(screen, {2, 2, 14, 6}), box(4, 4, 16, 8));
}

TEST(Viewport, Clips) {
  const Screen screen(16, 8);
  glViewport(4, 2, 8, 4);
  EXPECT_EQ(litBy(screen, {-50, -50, 50, 50}), box(4, 2, 12, 6));
  EXPECT_EQ(litBy(screen, {8, -50, 50, 50}), box(8, 2, 12, 6));
  EXPECT_EQ(litBy(screen, {16, 0, 20, 8}).count, 0) << "beside the viewport, though on the surface";
  glViewport(12, 6, 8, 4);
  EXPECT_EQ(litBy(screen, {-50, -50, 50, 50}), box(12, 6, 16, 8));
  glViewport(20, 2, 8, 4);
  EXPECT_EQ(litBy(screen, {-50, -50, 50, 50}).count, 0);
}

TEST(Viewport, ClipsWithoutMovingTheTexture) {
  const Screen screen(8, 1);
  bindNewTexture();
  upload(GL_TEXTURE_RECTANGLE_EXT, 16, 1,
         picture({0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150}));
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  glColor4f(1, 1, 1, 1);
  glViewport(2, 0, 4, 1);
  // 8 units across 4 pixels: 16 texels in 16 units, so 2 texels for a pixel; nearest takes the right one of the middle
  // two.
  drawQuad(Box{-4, 0, 12, 1}, Box{0, 0, 16, 1});
  EXPECT_EQ(screen.channel(0), (std::vector<int>{0, 0, 50, 70, 90, 110, 0, 0}));
}

TEST(Viewport, MayBeEmpty) {
  const Screen screen(16, 8);
  glViewport(4, 2, 0, 4);
  EXPECT_EQ(litBy(screen, {-50, -50, 50, 50}).count, 0);
  glViewport(4, 2, 4, 0);
  EXPECT_EQ(litBy(screen, {-50, -50, 50, 50}).count, 0);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(Viewport, MayLieAnywhere) {
  const Screen screen(8, 8);
  bindNewTexture();
  upload(GL_TEXTURE_RECTANGLE_EXT, 3, 2, pattern(3, 2));
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  glMatrixMode(GL_PROJECTION);
  constexpr GLint most = std::numeric_limits<GLint>::max();
  for (const GLint x : {most, most - 8, -most, -most - 1})
    for (const GLsizei size : {1, 8, most}) {
      glViewport(x, x, size, size);
      // Units are window pixels, so the first two quads would cover the surface if the viewport did not clip them.
      glLoadIdentity();
      const double end = static_cast<double>(x) + size;
      glOrtho(x, end, x, end, -1, 1);
      drawQuad(Box{0, 0, 8, 8}, Box{0, 0, 16, 16});
      drawQuad(Box{0, 0, 8, 8}, Box{16e6, 16e6, -16e6, -16e6});
      glLoadIdentity();
      drawQuad(Box{-1, -1, 1, 1}, Box{0, 0, 3, 2});
      EXPECT_EQ(glGetError(), GL_NO_ERROR);
    }
  screen.bytes();
  glViewport(0, 0, 8, 8);
  glDisable(GL_TEXTURE_RECTANGLE_EXT);
  EXPECT_EQ(litBy(screen, {-1, -1, 1, 1}), box(0, 0, 8, 8));
}

TEST(Viewport, DoesNotClipClearing) {
  const Screen screen(8, 4);
  glViewport(2, 2, 2, 2);
  Screen::clear(1, 1, 1, 1);
  EXPECT_EQ(screen.channel(0), std::vector<int>(32, 255));
}

TEST(Coverage, PixelsBelongToTheQuadThatHoldsTheirCentre) {
  const Screen screen(16, 8);
  EXPECT_EQ(litBy(screen, {2.4, 1.4, 5.6, 4.6}), box(2, 1, 6, 5));
  EXPECT_EQ(litBy(screen, {2.6, 1.6, 5.4, 4.4}), box(3, 2, 5, 4));
  EXPECT_EQ(litBy(screen, {2.6, 1.6, 3.4, 6.4}).count, 0) << "between two centres";
  // Edges lie on a grid of 1/256 pixel, the nearest line: 0.43 and 0.64 of a step past the centre.
  EXPECT_EQ(litBy(screen, {2.5 + 1.0 / 600, 1, 6, 2}), box(2, 1, 6, 2));
  EXPECT_EQ(litBy(screen, {2.5 + 1.0 / 400, 1, 6, 2}), box(3, 1, 6, 2));
  // Neighbours share an edge through pixel centres: each pixel belongs to exactly one.
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  Screen::clear(0, 0, 0, 0);
  glColor4f(0.2f, 0.2f, 0.2f, 0.2f);
  glBegin(GL_QUADS);
  corners({0, 0, 5.5, 3.5});
  corners({5.5, 0, 16, 3.5});
  corners({0, 3.5, 5.5, 8});
  corners({5.5, 3.5, 16, 8});
  glEnd();
  EXPECT_EQ(screen.channel(0), std::vector<int>(128, 51));
}

}  // namespace
}  // namespace pyrelux::soft
