#include "Image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace pyrelux {
namespace {

Image bytePixel(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a, Alpha alpha) {
  Image image = Image::bytes(1, 1, alpha);
  image.asBytes() = {r, g, b, a};
  return image;
}

Image floatPixel(float r, float g, float b, float a, Alpha alpha) {
  Image image = Image::floats(1, 1, alpha);
  image.asFloats() = {r, g, b, a};
  return image;
}

TEST(Image, StartsTransparentBlackOfItsSize) {
  const Image image = Image::floats(3, 2, Alpha::Straight);
  EXPECT_EQ(image.width(), 3);
  EXPECT_EQ(image.height(), 2);
  EXPECT_EQ(image.sampleCount(), 24u);
  EXPECT_TRUE(image.isFloat());
  EXPECT_EQ(image.asFloats(), Image::Floats(24, 0.0f));
  EXPECT_EQ(image.alpha(), Alpha::Straight);
}

TEST(Image, EveryByteSurvivesTheWayToFloatAndBack) {
  Image image = Image::bytes(64, 1, Alpha::Straight);
  for (int i = 0; i < 256; ++i) image.asBytes()[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
  const Image floats = toFloat(image);
  EXPECT_FLOAT_EQ(floats.asFloats()[51], 0.2f);
  EXPECT_EQ(toBytes(floats).asBytes(), image.asBytes());
}

TEST(Image, BytesRoundToTheNearestLevelAndClip) {
  const float half = 0.5f / 255.0f;
  const Image image =
      floatPixel(100.0f / 255.0f + 0.99f * half, 100.0f / 255.0f + 1.01f * half, -3.0f, 7.0f, Alpha::Premultiplied);
  EXPECT_EQ(toBytes(image).asBytes(), (Image::Bytes{100, 101, 0, 255}));
}

TEST(Image, NotANumberBecomesBlack) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(toBytes(floatPixel(nan, 1.0f, nan, nan, Alpha::Straight)).asBytes(), (Image::Bytes{0, 255, 0, 0}));
}

TEST(Image, PremultiplyingRoundsOnceInFloat) {
  // 200 * 77 / 255 = 60.39, 51 * 77 / 255 = 15.4, 255 * 77 / 255 = 77
  const Image result = premultiplied(bytePixel(200, 51, 255, 77, Alpha::Straight));
  EXPECT_EQ(result.asBytes(), (Image::Bytes{60, 15, 77, 77}));
  EXPECT_EQ(result.alpha(), Alpha::Premultiplied);
}

TEST(Image, PremultiplyingBytesRoundsEveryPairAsFloatsDo) {
  Image image = Image::bytes(256, 256, Alpha::Straight);
  for (std::size_t alpha = 0; alpha < 256; ++alpha)
    for (std::size_t colour = 0; colour < 256; ++colour) {
      std::uint8_t *pixel = &image.asBytes()[4 * (256 * alpha + colour)];
      pixel[0] = static_cast<std::uint8_t>(colour);
      pixel[3] = static_cast<std::uint8_t>(alpha);
    }
  EXPECT_EQ(premultiplied(image).asBytes(), toBytes(premultiplied(toFloat(image))).asBytes());
}

TEST(Image, PremultiplyingTwiceIsOnce) {
  const Image once = premultiplied(floatPixel(0.8f, 0.4f, 0.2f, 0.5f, Alpha::Straight));
  EXPECT_EQ(once.asFloats(), (Image::Floats{0.4f, 0.2f, 0.1f, 0.5f}));
  EXPECT_EQ(premultiplied(once).asFloats(), once.asFloats());
}

TEST(Image, StraighteningUndoesPremultiplying) {
  const Image straight = straightened(floatPixel(0.25f, 0.125f, 0.5f, 0.5f, Alpha::Premultiplied));
  EXPECT_EQ(straight.asFloats(), (Image::Floats{0.5f, 0.25f, 1.0f, 0.5f}));
  EXPECT_EQ(straight.alpha(), Alpha::Straight);
  EXPECT_EQ(straightened(straight).asFloats(), straight.asFloats());
}

TEST(Image, AGlowAboveAlphaSurvivesAsFloatAndClipsAsBytes) {
  EXPECT_EQ(straightened(floatPixel(0.5f, 0.25f, 0.0f, 0.25f, Alpha::Premultiplied)).asFloats(),
            (Image::Floats{2.0f, 1.0f, 0.0f, 0.25f}));
  EXPECT_EQ(straightened(bytePixel(128, 64, 0, 64, Alpha::Premultiplied)).asBytes(), (Image::Bytes{255, 255, 0, 64}));
}

TEST(Image, ColourWithoutAlphaIsKept) {
  EXPECT_EQ(straightened(floatPixel(0.5f, 0.25f, 0.0f, 0.0f, Alpha::Premultiplied)).asFloats(),
            (Image::Floats{0.5f, 0.25f, 0.0f, 0.0f}));
}

TEST(Image, ReshapingKeepsTheMemoryThatFits) {
  Image image = Image::bytes(20, 10, Alpha::Straight);
  const std::uint8_t *memory = image.asBytes().data();
  image.reshape(10, 20, Alpha::Premultiplied, false);
  EXPECT_EQ(image.asBytes().data(), memory);
  EXPECT_EQ(image.width(), 10);
  EXPECT_EQ(image.height(), 20);
  EXPECT_EQ(image.alpha(), Alpha::Premultiplied);

  image.reshape(7, 3, Alpha::Straight, true);
  ASSERT_TRUE(image.isFloat());
  EXPECT_EQ(image.asFloats().size(), 7u * 3 * 4);
  image.reshape(1, 1, Alpha::Straight, false);
  EXPECT_EQ(image.asBytes().size(), 4u);
}

TEST(Image, IsTurnedUpsideDown) {
  Image bytes = Image::bytes(1, 3, Alpha::Premultiplied);
  bytes.asBytes() = {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
  flipRows(bytes);
  EXPECT_EQ(bytes.asBytes(), (Image::Bytes{3, 3, 3, 3, 2, 2, 2, 2, 1, 1, 1, 1}));
  Image floats = Image::floats(2, 2, Alpha::Premultiplied);
  floats.asFloats() = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  flipRows(floats);
  EXPECT_EQ(floats.asFloats(), (Image::Floats{9, 10, 11, 12, 13, 14, 15, 16, 1, 2, 3, 4, 5, 6, 7, 8}));
}

}  // namespace
}  // namespace pyrelux
