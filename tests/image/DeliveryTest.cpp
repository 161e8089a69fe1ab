#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "Delivery.h"
#include "Dither.h"
#include "StraightBlock.h"

namespace pyrelux {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr AlphaUse allKinds[] = {AlphaUse::Straight, AlphaUse::Exact, AlphaUse::Premultiplied, AlphaUse::None};

Image floats(int width, const Image::Floats &samples) {
  Image image = Image::floats(width, static_cast<int>(samples.size()) / 4 / width, Alpha::Premultiplied);
  image.asFloats() = samples;
  return image;
}

Image bytes(const Image::Bytes &samples) {
  Image image = Image::bytes(static_cast<int>(samples.size() / 4), 1, Alpha::Premultiplied);
  image.asBytes() = samples;
  return image;
}

/// Flames as they come from float surfaces: brighter than 1 in places, alpha beyond 1, faint ones, and nothing.
Image flames() {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> exponent(-12.0f, 2.5f);
  Image image = Image::floats(64, 64, Alpha::Premultiplied);
  for (std::size_t i = 0; i < image.sampleCount(); ++i)
    image.asFloats()[i] = i / 4 % 7 == 0 ? 0.0f : std::exp2(exponent(random));
  return image;
}

/// A delivered sample as a file of whole numbers stores it.
double stored(const Image &image, std::size_t sample, int bits) {
  const double largest = (1 << bits) - 1;
  const double value = std::min(std::max(image.asFloats()[sample], 0.0f), 1.0f) * largest;
  const int x = static_cast<int>(sample / 4) % image.width();
  const int y = static_cast<int>(sample / 4) / image.width();
  return std::floor(value + (bits == 8 ? ditherThreshold(x, y) : 0.5f)) / largest;
}

TEST(Delivery, LimitsAlphaBeforeAnythingElse) {
  for (const AlphaUse kind : allKinds)
    for (const float alpha : {1.0f, 1.66f, 6.7f, std::numeric_limits<float>::infinity()})
      EXPECT_EQ(delivered(floats(1, {0.5f, 0.25f, 0.125f, alpha}), {kind, 0.0f}, 32).asFloats(),
                (Image::Floats{0.5f, 0.25f, 0.125f, 1.0f}));
  for (const float alpha : {-0.5f, nan})
    EXPECT_EQ(delivered(floats(1, {0.5f, 0.25f, 0.125f, alpha}), {AlphaUse::Premultiplied, 0.0f}, 32).asFloats()[3],
              0.0f);
}

TEST(Delivery, StraightAlphaIsAsHighAsTheBrightestChannel) {
  const Image image = delivered(floats(3, {0.5f, 0.25f, 0.0f, 0.125f,  //
                                           0.25f, 0.5f, 0.0f, 1.0f,    //
                                           4.0f, 2.0f, 1.0f, 0.5f}),
                                {}, 32);
  EXPECT_EQ(image.alpha(), Alpha::Straight);
  EXPECT_EQ(image.asFloats(), (Image::Floats{1.0f, 0.5f, 0.0f, 0.5f,   //
                                             0.25f, 0.5f, 0.0f, 1.0f,  //
                                             4.0f, 2.0f, 1.0f, 1.0f}));
}

TEST(Delivery, ExactAlphaCutsColour) {
  const Image drawn = floats(2, {0.5f, 0.0625f, 0.0f, 0.125f, 0.25f, 0.5f, 0.0f, 1.0f});
  const Image image = delivered(drawn, {AlphaUse::Exact, 0.0f}, 32);
  EXPECT_EQ(image.alpha(), Alpha::Straight);
  EXPECT_EQ(image.asFloats(), (Image::Floats{1.0f, 0.5f, 0.0f, 0.125f, 0.25f, 0.5f, 0.0f, 1.0f}));
}

TEST(Delivery, PremultipliedKeepsColourAboveOne) {
  const Image image = delivered(floats(1, {4.0f, 2.0f, 0.0f, 0.5f}), {AlphaUse::Premultiplied, 0.0f}, 32);
  EXPECT_EQ(image.alpha(), Alpha::Premultiplied);
  EXPECT_EQ(image.asFloats(), (Image::Floats{4.0f, 2.0f, 0.0f, 0.5f}));
}

TEST(Delivery, NoneIsThePictureOverBlack) {
  for (const int bits : {8, 32})
    EXPECT_EQ(delivered(floats(1, {0.5f, 0.25f, 0.0f, 0.125f}), {AlphaUse::None, 0.0f}, bits).asFloats(),
              (Image::Floats{0.5f, 0.25f, 0.0f, 1.0f}));
}

TEST(Delivery, NothingStaysNothingBesideFire) {
  // Rows are converted four pixels at a time: here all, some and none of them burn.
  constexpr int width = 14;
  Image::Floats samples(4 * width);
  for (const int pixel : {5, 8, 9, 10, 11}) std::fill_n(samples.begin() + 4 * pixel, 4, 0.5f);
  for (const AlphaUse kind : allKinds)
    for (const int bits : {8, 16, 32}) {
      const Image result = delivered(floats(width, samples), {kind, 0.5f}, bits);
      for (int i = 0; i < 4 * width; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const float got = bits == 8 ? toFloat(result).asFloats()[at] : result.asFloats()[at];
        const bool isOpaque = kind == AlphaUse::None && i % 4 == 3;
        if (samples[at] != 0.0f && !isOpaque) {
          ASSERT_GT(got, 0.4f) << bits << " " << i;
        } else {
          ASSERT_EQ(got, isOpaque ? 1.0f : 0.0f) << bits << " " << i;
        }
      }
    }
}

TEST(Delivery, OverBlackStraightIsThePremultipliedPictureLimitedToOne) {
  const Image drawn = flames();
  for (const int bits : {8, 10, 16})
    for (const float density : {0.0f, 0.5f, 1.0f}) {
      const Image image = delivered(drawn, {AlphaUse::Straight, density}, bits);
      const double level = 1.0 / ((1 << bits) - 1);
      double maxDifference = 0.0;
      for (std::size_t i = 0; i < drawn.sampleCount(); ++i)
        if (i % 4 != 3) {
          const double shown = stored(image, i, bits) * stored(image, i | 3, bits);
          maxDifference = std::max(maxDifference, std::abs(shown - std::min(drawn.asFloats()[i], 1.0f)));
        }
      EXPECT_LT(maxDifference, level) << bits << " bits, density " << density;
      EXPECT_GT(maxDifference, 0.1 * level);
    }
}

TEST(Delivery, AlphaIsRoundedBeforeColourIsDivided) {
  // 0.4 levels of 8 bits become nothing, or a whole level where the dither says so, and colour goes by that.
  const Image drawn = floats(8, Image::Floats(8 * 8 * 4, 0.4f / 255.0f));
  const Image image = delivered(drawn, {}, 8);
  int visible = 0;
  for (std::size_t i = 0; i < image.sampleCount(); i += 4) {
    const float alpha = image.asFloats()[i + 3];
    EXPECT_TRUE(alpha == 0.0f || alpha == 1.0f / 255.0f);
    EXPECT_FLOAT_EQ(image.asFloats()[i], alpha == 0.0f ? 0.0f : 0.4f);
    visible += alpha > 0.0f;
  }
  EXPECT_NEAR(visible, 0.4 * 64, 4);
  // 16 bits hold 102.8 of their levels.
  EXPECT_FLOAT_EQ(delivered(drawn, {}, 16).asFloats()[3], 103.0f / 65535.0f);
}

TEST(Delivery, UnderAlphaZeroThereIsNothing) {
  for (const AlphaUse kind : {AlphaUse::Straight, AlphaUse::Exact})
    for (const Image &drawn : {floats(1, {0.0f, 0.0f, 0.0f, 0.0f}), floats(1, {nan, -1.0f, nan, nan}),
                               floats(1, {1e-7f, 1e-8f, 0.0f, 0.0f})})
      EXPECT_EQ(delivered(drawn, {kind, 0.0f}, 16).asFloats(), Image::Floats(4, 0.0f));
  EXPECT_EQ(delivered(floats(1, {0.5f, 0.5f, 0.5f, 0.0f}), {AlphaUse::Exact, 0.0f}, 16).asFloats(),
            Image::Floats(4, 0.0f));
}

TEST(Delivery, DensityRaisesAlphaAndLosesNoLight) {
  for (const AlphaUse kind : {AlphaUse::Straight, AlphaUse::Premultiplied, AlphaUse::Exact}) {
    // From what the kind gives, towards 1 - (1 - 0.5)^2.
    const float least = kind == AlphaUse::Straight ? 0.5f : 0.25f;
    for (const float density : {0.0f, 0.5f, 1.0f})
      EXPECT_FLOAT_EQ(deliveredAlpha(0.5f, 0.1f, 0.0f, 0.25f, {kind, density}), least + density * (0.75f - least));
    EXPECT_FLOAT_EQ(deliveredAlpha(0.5f, 0.1f, 0.0f, 0.9f, {kind, 1.0f}), 0.9f);
    EXPECT_FLOAT_EQ(deliveredAlpha(3.0f, 0.1f, 0.0f, 0.0f, {kind, 1.0f}), 1.0f);
  }
  EXPECT_EQ(deliveredAlpha(0.0f, 0.0f, 0.0f, 0.0f, {AlphaUse::None, 1.0f}), 1.0f);
}

TEST(Delivery, BytesStayBytesAtEightBits) {
  const Image drawn = bytes({64, 32, 0, 16, 0, 0, 0, 0, 10, 20, 30, 40});
  EXPECT_EQ(delivered(drawn, {}, 8).asBytes(), (Image::Bytes{255, 128, 0, 64, 0, 0, 0, 0, 64, 128, 191, 40}));
  EXPECT_EQ(delivered(drawn, {AlphaUse::Premultiplied, 0.0f}, 8).asBytes(), drawn.asBytes());
  EXPECT_TRUE(delivered(drawn, {}, 16).isFloat());
}

/// Red, green, blue and alpha of a block's pixels, from where they lie in a picture.
std::vector<std::uint8_t> deliveredBlock(const float *drawn, int x, int y, bool dithers) {
  PixelBlock block;
  for (std::size_t i = 0; i < 4 * blockPixels; ++i) block[i % 4][i / 4] = drawn[i];
  std::vector<std::uint8_t> bytes;
  for (const std::uint32_t pixel : deliverStraight(block, x, y, dithers))
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(pixel >> shift));
  return bytes;
}

TEST(Delivery, ABlockIsWhatTheWholePictureIs) {
  const Image drawn = flames();
  const Image image = delivered(drawn, {}, 8);
  for (const auto &[x, y] : {std::pair{0, 0}, {13, 5}, {44, 63}}) {
    const std::size_t first = 4 * static_cast<std::size_t>(y * drawn.width() + x);
    const std::vector<std::uint8_t> block = deliveredBlock(&drawn.asFloats()[first], x, y, true);
    for (std::size_t i = 0; i < block.size(); ++i)
      EXPECT_NEAR(block[i], 255.0 * stored(image, first + i, 8), 1e-9) << i << " from " << x << ", " << y;
  }
}

TEST(Delivery, ABlockIsRoundedIfAskedFor) {
  const float drawn[4 * blockPixels] = {0.3f / 255.0f,   0.0f,           0.0f, 0.4f / 255.0f,
                                        128.6f / 255.0f, 64.0f / 255.0f, 0.0f, 0.0f};
  std::vector<std::uint8_t> block = deliveredBlock(drawn, 5, 3, false);
  block.resize(8);
  EXPECT_EQ(block, (std::vector<std::uint8_t>{0, 0, 0, 0, 254, 127, 0, 129}));
}

TEST(Delivery, CountsWhatExactAlphaCuts) {
  const Image drawn = floats(4, {0.5f + 0.4f / 255.0f, 0.0f, 0.0f, 0.5f,  // below half a level of 8 bits
                                 0.0f, 0.5f + 0.6f / 255.0f, 0.0f, 0.5f,  // above
                                 3.0f, 3.0f, 3.0f, 1.0f,  // too bright for any whole number, whatever its alpha
                                 3.0f, 0.0f, 0.0f, 1.0f - 0.6f / 255.0f});
  EXPECT_EQ(countCut(drawn, {AlphaUse::Exact, 0.0f}, 8), 2u);
  EXPECT_EQ(countCut(drawn, {AlphaUse::Exact, 0.0f}, 16), 3u);
  EXPECT_EQ(countCut(bytes({100, 100, 100, 100, 101, 0, 0, 100}), {AlphaUse::Exact, 0.0f}, 8), 1u);
  for (const AlphaUse kind : {AlphaUse::Straight, AlphaUse::Premultiplied, AlphaUse::None})
    EXPECT_EQ(countCut(drawn, {kind, 0.0f}, 8), 0u);
}

TEST(Dither, KeepsLevelsThatAreExact) {
  for (int level = 0; level < 256; ++level)
    for (int place = 0; place < 4000; ++place)
      ASSERT_EQ(std::floor(static_cast<float>(level) / 255.0f * 255.0f + ditherThreshold(place % 61, place / 61)),
                level);
}

TEST(Dither, HasTheMeanOfWhatItRounds) {
  // Over small squares already, which is what makes it finer than noise: noise of 64 thresholds has an error of 0.036.
  for (const float fraction : {0.1f, 0.25f, 0.5f, 0.73f}) {
    double worst = 0.0;
    for (int top = 0; top < 64; top += 8)
      for (int left = 0; left < 64; left += 8) {
        int raised = 0;
        for (int y = 0; y < 8; ++y)
          for (int x = 0; x < 8; ++x) raised += fraction + ditherThreshold(left + x, top + y) >= 1.0f;
        worst = std::max(worst, std::abs(raised / 64.0 - fraction));
      }
    EXPECT_LT(worst, 0.07) << fraction;
  }
}

}  // namespace
}  // namespace pyrelux
