#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "Effect.h"

namespace pyrelux::adapters::test {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

Pixel composed(const Pixel &fire, const Pixel &source) {
  Pixel output{};
  compose(fire.data(), source.data(), output.data(), 1);
  return output;
}

TEST(Compose, WhereNothingBurnsTheSourceKeepsItsBytes) {
  EXPECT_EQ(composed({0, 0, 0, 0}, {200, 3, 77, 1}), (Pixel{200, 3, 77, 1}));
  EXPECT_EQ(composed({0, 0, 0, 0}, {200, 3, 77, 0}), (Pixel{200, 3, 77, 0}));
}

TEST(Compose, AnOpaqueFireHidesTheSource) {
  EXPECT_EQ(composed({9, 8, 7, 255}, {200, 3, 77, 90}), (Pixel{9, 8, 7, 255}));
}

TEST(Compose, AGlowIsAddedToAnOpaqueSource) {
  EXPECT_EQ(composed({40, 20, 0, 0}, {100, 100, 100, 255}), (Pixel{140, 120, 100, 255}));
  EXPECT_EQ(composed({240, 20, 0, 0}, {100, 100, 100, 255}), (Pixel{255, 120, 100, 255}));
}

TEST(Compose, AGlowOverNothingGetsAsMuchAlphaAsItIsBright) {
  EXPECT_EQ(composed({64, 32, 0, 0}, {9, 9, 9, 0}), (Pixel{255, 128, 0, 64}));
  EXPECT_EQ(composed({64, 32, 0, 16}, {0, 0, 0, 0}), (Pixel{255, 128, 0, 64}));
  Pixel output{};
  compose(Pixel{64, 32, 0, 0}.data(), nullptr, output.data(), 1);
  EXPECT_EQ(output, (Pixel{255, 128, 0, 64}));
}

TEST(Compose, HalfAFireOverHalfASource) {
  // Alpha 128 + 128 (1 - 128/255) = 191.75; colour 100 + 200 (128/255) (1 - 128/255) = 150.00, by the alpha 199.48.
  EXPECT_EQ(composed({100, 0, 0, 128}, {200, 0, 0, 128}), (Pixel{199, 0, 0, 192}));
}

TEST(Compose, OverBlackItIsWhatAddingGives) {
  std::mt19937 random(1);
  for (int trial = 0; trial < 20000; ++trial) {
    Pixel fire{};
    Pixel source{};
    for (int channel = 0; channel < 4; ++channel) {
      fire[channel] = static_cast<std::uint8_t>(random());
      source[channel] = static_cast<std::uint8_t>(random());
    }
    const Pixel output = composed(fire, source);
    for (int channel = 0; channel < 3; ++channel) {
      const double expected =
          std::min(255.0, fire[channel] + source[channel] * (source[3] / 255.0) * (1.0 - fire[3] / 255.0));
      // Straight samples are rounded before they are multiplied by an alpha that is rounded, too.
      EXPECT_NEAR(output[channel] * (output[3] / 255.0), expected, 1.0) << trial;
    }
  }
}

TEST(Compose, PixelsSideBySideAreWhatTheyAreAlone) {
  std::mt19937 random(2);
  for (std::size_t pixels = 1; pixels < 70; ++pixels) {
    std::vector<std::uint8_t> fire(4 * pixels);
    std::vector<std::uint8_t> source(4 * pixels);
    // Some runs of pixels do not burn.
    for (std::size_t i = 0; i < fire.size(); ++i) {
      fire[i] = i / 4 % 40 < 20 ? static_cast<std::uint8_t>(random()) : std::uint8_t{0};
      source[i] = static_cast<std::uint8_t>(random());
    }
    std::vector<std::uint8_t> alone(4 * pixels);
    for (std::size_t i = 0; i < fire.size(); i += 4) compose(&fire[i], &source[i], &alone[i], 1);
    std::vector<std::uint8_t> together(4 * pixels + 1, 99);
    compose(fire.data(), source.data(), together.data(), pixels);
    EXPECT_EQ(together.back(), 99);
    together.pop_back();
    EXPECT_EQ(together, alone) << pixels;
  }
}

TEST(Compose, MayWriteOverItsInput) {
  std::vector<std::uint8_t> pixels{100, 100, 100, 255, 1, 2, 3, 4};
  const std::vector<std::uint8_t> fire{40, 20, 0, 0, 0, 0, 0, 0};
  compose(fire.data(), pixels.data(), pixels.data(), 2);
  EXPECT_EQ(pixels, (std::vector<std::uint8_t>{140, 120, 100, 255, 1, 2, 3, 4}));
}

}  // namespace
}  // namespace pyrelux::adapters::test
