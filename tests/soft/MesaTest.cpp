// Compares the soft backend with Mesa on the same random scenes, and both with the exact sums.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string>
#include <tuple>

#include "FlameScene.h"

namespace pyrelux::soft {
namespace {

using namespace testing;
using platform::kBackendMesa;
using platform::kBackendSoft;

/// Skips with a message where Mesa is missing, or fails if the environment requires it.
class WithMesa : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string problem = platform::backendUnavailable(kBackendMesa);
    if (problem.empty()) return;
    const char *required = std::getenv("REQUIRE_BACKEND");
    if (required && std::string(required) == "egl") FAIL() << "REQUIRE_BACKEND is egl, and " << problem;
    GTEST_SKIP() << "NOT TESTED: " << problem;
  }
};

struct Kind {
  const char *name;
  Picture picture;
};

const Kind kinds[] = {{"Empty", Picture::Empty}, {"Opaque", Picture::Opaque},
                      {"Grey", Picture::Grey},   {"Premultiplied", Picture::Premultiplied},
                      {"Noise", Picture::Noise}, {"Title", Picture::Title}};

struct Size {
  int width, height;
};

void PrintTo(const Kind &kind, std::ostream *out) { *out << kind.name; }
void PrintTo(const Size &size, std::ostream *out) { *out << size.width << "x" << size.height; }

const Size sizes[] = {{1, 1}, {2, 3}, {17, 5}, {64, 36}, {128, 96}, {1, 90}, {333, 1}, {4097, 33}};

std::string sceneName(const ::testing::TestParamInfo<std::tuple<Kind, Size>> &scene) {
  const auto [kind, size] = scene.param;
  return std::string(kind.name) + std::to_string(size.width) + "x" + std::to_string(size.height);
}

class Flames : public WithMesa, public ::testing::WithParamInterface<std::tuple<Kind, Size>> {
 protected:
  Picture picture() const { return std::get<0>(GetParam()).picture; }
  Size size() const { return std::get<1>(GetParam()); }
  /// The same scenes on every run; large ones are slow.
  int starts() const { return size().width > 1000 ? 2 : 16; }
  FlameScene scene(int start) const {
    Random random(static_cast<unsigned>(start));
    const int copies[] = {1, 6, 30, 12};
    return makeScene(random, picture(), size().width, size().height, copies[start % 4]);
  }
};

TEST_P(Flames, OnBytesDifferByNoMoreThanRounding) {
  std::size_t compared = 0, different = 0, all = 0;
  for (int start = 1; start <= starts(); ++start) {
    const FlameScene flame = scene(start);
    const auto soft = drawLevels(flame, kBackendSoft), mesa = drawLevels(flame, kBackendMesa);
    const auto exact = exactSums(flame);
    for (std::size_t i = 0; i < soft.size(); ++i) {
      const std::size_t pixel = i / 4;
      const auto place = [&] {
        return "start " + std::to_string(start) + ", pixel " + std::to_string(pixel % flame.width) + "," +
               std::to_string(pixel / flame.width) + " channel " + std::to_string(i % 4);
      };
      ++all;
      // On an edge both sides are right.
      if (exact[i].atAnEdge) continue;
      ASSERT_GE(soft[i], exact[i].lowest) << place();
      ASSERT_LE(soft[i], exact[i].highest) << place();
      // Mesa steps along the texture in single precision; where that does not tell texels apart, it takes others.
      if (exact[i].beyondSingles) continue;
      ASSERT_GE(mesa[i], exact[i].lowest) << place();
      ASSERT_LE(mesa[i], exact[i].highest) << place();
      // A position that the two round to neighbouring steps of 1/256 texel changes a copy by a level, and a product at
      // a half does; two copies of a pixel that meet both are rare, three were never seen.
      ASSERT_LE(std::abs(soft[i] - mesa[i]), 2) << place();
      ++compared;
      different += soft[i] != mesa[i];
    }
  }
  const double share = static_cast<double>(different) / static_cast<double>(std::max<std::size_t>(compared, 1));
  std::cout << "compared " << compared << " of " << all << " bytes, " << 100 * share << " % differ\n";
  RecordProperty("differing", std::to_string(share));
  // The positions' errors in single precision grow with the width, and with them the ties that fall the other way.
  EXPECT_LE(share, size().width > 1000 ? 0.01 : 0.005);
}

TEST_P(Flames, OnFloatsAreTheExactSums) {
  // Mesa's float surfaces hold halves, and every copy is cut to one: its sums are off by a unit in the eleventh bit for
  // each copy, so they can confirm nothing. Surfaces of whole floats can't be asked for through CGL.
  double worst = 0;
  for (int start = 1; start <= starts(); ++start) {
    const FlameScene flame = scene(start);
    const auto drawn = drawFloats(flame, kBackendSoft);
    const auto exact = exactSums(flame);
    for (std::size_t i = 0; i < drawn.size(); ++i) {
      if (exact[i].atAnEdge) continue;
      // What storing the sum once as a half would cost, 2^-11 of it.
      const double slack = std::max(exact[i].sum, 1.0 / 16384) / 2048 + exact[i].vertexSlack;
      const double error = std::abs(static_cast<double>(drawn[i]) - exact[i].sum);
      worst = std::max(worst, error / slack);
      ASSERT_LE(error, slack) << "start " << start << ", pixel " << i / 4 % flame.width << "," << i / 4 / flame.width
                              << " channel " << i % 4 << ": " << drawn[i] << ", exactly " << exact[i].sum;
    }
  }
  std::cout << "worst error " << worst << " of what is allowed\n";
}

INSTANTIATE_TEST_SUITE_P(Scenes, Flames, ::testing::Combine(::testing::ValuesIn(kinds), ::testing::ValuesIn(sizes)),
                         sceneName);

struct Passes {
  const char *name;
  GLenum source, destination;
  GLenum filter;
  int limit;  ///< levels
};

void PrintTo(const Passes &passes, std::ostream *out) { *out << passes.name; }

class OtherPasses : public WithMesa, public ::testing::WithParamInterface<Passes> {
 protected:
  /// Lays pictures over one another, each moved by whole pixels: no edge through a centre, no texel between two.
  std::vector<std::uint8_t> drawn(std::int32_t backend, int start) const {
    Random random(static_cast<unsigned>(start));
    const Screen screen(61, 37, {false, nullptr, backend});
    glEnable(GL_BLEND);
    glBlendFunc(GetParam().source, GetParam().destination);
    glEnable(GL_TEXTURE_RECTANGLE_EXT);
    for (int i = 0; i < 4; ++i) {
      const Pixels pixels = makePicture(random, i % 2 ? Picture::Premultiplied : Picture::Title, Samples::Byte, 40, 30);
      bindNewTexture(GL_TEXTURE_RECTANGLE_EXT, GetParam().filter);
      upload(GL_TEXTURE_RECTANGLE_EXT, 40, 30,
             std::vector<std::uint8_t>(pixels.byteRow(0), pixels.byteRow(0) + 40 * 30 * 4));
      const double x = between(random, -20, 40), y = between(random, -20, 30);
      const float opacity = static_cast<float>(between(random, 0, 8)) / 8;
      glColor4f(opacity, opacity, opacity, opacity);
      drawQuad(Box{x, y, x + 40, y + 30}, Box{0, 0, 40, 30});
    }
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
    return screen.bytes();
  }
};

TEST_P(OtherPasses, AgreeWithinRounding) {
  int worst = 0;
  std::size_t different = 0, all = 0;
  for (int start = 1; start <= 30; ++start) {
    const auto soft = drawn(kBackendSoft, start), mesa = drawn(kBackendMesa, start);
    for (std::size_t i = 0; i < soft.size(); ++i) {
      const int difference = std::abs(soft[i] - mesa[i]);
      worst = std::max(worst, difference);
      different += difference > 0;
      ++all;
      ASSERT_LE(difference, GetParam().limit)
          << "start " << start << ", pixel " << i / 4 % 61 << "," << i / 4 / 61 << " channel " << i % 4;
    }
  }
  std::cout << "worst " << worst << ", " << 100.0 * static_cast<double>(different) / static_cast<double>(all)
            << " % differ\n";
}

// Each of four passes may round its product the other way at a half; over a pass a difference below shrinks.
const Passes otherPasses[] = {{"Replace", GL_ONE, 0, GL_NEAREST, 1},
                              {"Over", GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_NEAREST, 2},
                              {"OverLinear", GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_LINEAR, 2},
                              {"Add", GL_ONE, GL_ONE, GL_NEAREST, 2}};

INSTANTIATE_TEST_SUITE_P(Passes, OtherPasses, ::testing::ValuesIn(otherPasses),
                         [](const auto &passes) { return std::string(passes.param.name); });

/// Plain quads through random matrices, viewports and masks.
std::vector<std::uint8_t> drawPlaces(std::int32_t backend, int start) {
  Random random(static_cast<unsigned>(start));
  const Screen screen(48, 40, {false, nullptr, backend});
  for (int i = 0; i < 8; ++i) {
    // Places in odd 64ths of a pixel from corner to corner: never on a centre.
    const auto edge = [&](int pixels) { return between(random, -20 * 32, (pixels + 20) * 32) / 32.0 + 1.0 / 64; };
    const Box place{edge(48), edge(40), edge(48), edge(40)};
    const auto quarter = [&] { return static_cast<float>(between(random, 0, 5)) / 5; };
    const Values colour{quarter(), quarter(), quarter(), quarter()};
    const int x = between(random, -8, 16), y = between(random, -8, 16);
    const int width = 1 << between(random, 3, 6), height = 1 << between(random, 3, 6);
    glViewport(x, y, width, height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    // Powers of two, so that both backends' places come out exact: window pixels in the end, by two matrices in a row.
    const double zoom = 1 << between(random, 0, 3);
    const bool mirrored = between(random, 0, 1) == 1;
    glOrtho(mirrored ? zoom : -zoom, mirrored ? -zoom : zoom, -zoom, zoom, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glOrtho(x, x + 2 * width / zoom, y, y + 2 * height / zoom, between(random, 0, 3) ? -1 : 0.5, 2);
    const auto on = [&] { return static_cast<GLboolean>(between(random, 0, 3) != 0); };
    const std::array<GLboolean, 4> mask{on(), on(), on(), on()};
    glColorMask(mask[0], mask[1], mask[2], mask[3]);
    glColor4f(colour[0], colour[1], colour[2], colour[3]);
    drawQuad(place);
    if (between(random, 0, 7) == 0) Screen::clear(colour[3], colour[2], colour[1], colour[0]);
  }
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  return screen.bytes();
}

TEST_F(WithMesa, PlacesViewportsDepthsAndMasksAreTheSameToTheByte) {
  std::size_t lit = 0;
  for (int start = 1; start <= 200; ++start) {
    const auto soft = drawPlaces(kBackendSoft, start), mesa = drawPlaces(kBackendMesa, start);
    for (std::size_t i = 0; i < soft.size(); ++i) {
      ASSERT_EQ(soft[i], mesa[i]) << "start " << start << ", pixel " << i / 4 % 48 << "," << i / 4 / 48 << " channel "
                                  << i % 4;
      lit += soft[i] != 0;
    }
  }
  EXPECT_GT(lit, 200000u) << "too little was drawn to tell anything";
}

}  // namespace
}  // namespace pyrelux::soft
