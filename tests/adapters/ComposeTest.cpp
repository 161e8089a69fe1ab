#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "Canvas.h"
#include "Delivery.h"
#include "Dither.h"

namespace pyrelux::adapters::test {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

Image bytes(const std::vector<std::uint8_t> &samples, int width) {
  Image image = Image::bytes(width, static_cast<int>(samples.size()) / 4 / width, Alpha::Premultiplied);
  image.asBytes() = samples;
  return image;
}

Image floats(const std::vector<float> &samples, int width) {
  Image image = Image::floats(width, static_cast<int>(samples.size()) / 4 / width, Alpha::Premultiplied);
  image.asFloats() = samples;
  return image;
}

Pixel composed(const Pixel &fire, const Pixel &source) {
  Pixel output{};
  compose(bytes({fire.begin(), fire.end()}, 1), source.data(), output.data());
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
  compose(bytes({64, 32, 0, 0}, 1), nullptr, output.data());
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
      // Straight samples are rounded, and then multiplied by a rounded alpha.
      EXPECT_NEAR(output[channel] * (output[3] / 255.0), expected, 1.0) << trial;
    }
  }
}

TEST(Compose, PixelsSideBySideAreWhatTheyAreAlone) {
  std::mt19937 random(2);
  for (int pixels = 1; pixels < 70; ++pixels) {
    std::vector<std::uint8_t> fire(4 * static_cast<std::size_t>(pixels));
    std::vector<std::uint8_t> source(fire.size());
    // Some runs of pixels do not burn.
    for (std::size_t i = 0; i < fire.size(); ++i) {
      fire[i] = i / 4 % 40 < 20 ? static_cast<std::uint8_t>(random()) : std::uint8_t{0};
      source[i] = static_cast<std::uint8_t>(random());
    }
    std::vector<std::uint8_t> alone(fire.size());
    for (std::size_t i = 0; i < fire.size(); i += 4)
      compose(bytes({fire.begin() + i, fire.begin() + i + 4}, 1), &source[i], &alone[i]);
    std::vector<std::uint8_t> together(fire.size() + 1, 99);
    compose(bytes(fire, pixels), source.data(), together.data());
    EXPECT_EQ(together.back(), 99);
    together.pop_back();
    EXPECT_EQ(together, alone) << pixels;
  }
}

TEST(Compose, MayWriteOverItsInput) {
  std::vector<std::uint8_t> pixels{100, 100, 100, 255, 1, 2, 3, 4};
  compose(bytes({40, 20, 0, 0, 0, 0, 0, 0}, 2), pixels.data(), pixels.data());
  EXPECT_EQ(pixels, (std::vector<std::uint8_t>{140, 120, 100, 255, 1, 2, 3, 4}));
}

TEST(Compose, DeepFiresAreLimitedAndDithered) {
  // Alpha above 1 hides the background and darkens nothing.
  std::vector<std::uint8_t> output{10, 200, 30, 255};
  compose(floats({0.8f, 0.4f, 0.0f, 6.7f}, 1), output.data(), output.data());
  EXPECT_EQ(output, (std::vector<std::uint8_t>{204, 102, 0, 255}));

  // Light of a third of a level: some pixels become a level brighter, and their mean is right.
  constexpr int side = 48;
  std::vector<float> faint;
  std::vector<std::uint8_t> grey;
  for (int i = 0; i < side * side; ++i) {
    faint.insert(faint.end(), {1.0f / 3.0f / 255.0f, 0.0f, 0.0f, 0.0f});
    grey.insert(grey.end(), {100, 100, 100, 255});
  }
  compose(floats(faint, side), grey.data(), grey.data());
  double sum = 0.0;
  for (std::size_t i = 0; i < grey.size(); i += 4) {
    sum += grey[i] - 100;
    EXPECT_EQ(grey[i + 1], 100);
    EXPECT_EQ(grey[i + 3], 255);
  }
  EXPECT_NEAR(sum / (side * side), 1.0 / 3.0, 0.01);
}

TEST(Compose, IsWhatAFileGetsOfAFireAlone) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> exponent(-10.0f, 2.0f);
  std::vector<float> fire(4 * 40 * 7);
  for (float &sample : fire) sample = std::exp2(exponent(random));
  const Image drawn = floats(fire, 40);
  std::vector<std::uint8_t> output(fire.size());
  compose(drawn, nullptr, output.data());
  const Image file = delivered(drawn, {}, 8);
  for (int pixel = 0; pixel < 40 * 7; ++pixel) {
    const float threshold = ditherThreshold(pixel % 40, pixel / 40);
    for (int channel = 0; channel < 4; ++channel) {
      const std::size_t i = static_cast<std::size_t>(4 * pixel + channel);
      ASSERT_EQ(output[i], std::floor(std::min(file.asFloats()[i], 1.0f) * 255.0f + threshold)) << i;
    }
  }
}

}  // namespace
}  // namespace pyrelux::adapters::test
