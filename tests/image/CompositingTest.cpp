#include "Compositing.h"
#include "Matte.h"

#include <gtest/gtest.h>

namespace pyrelux {
namespace {

Image pixels(int width, int height, const Image::Floats &samples) {
  Image image = Image::floats(width, height, Alpha::Premultiplied);
  image.asFloats() = samples;
  return image;
}

Image bytePixels(int width, int height, const Image::Bytes &samples, Alpha alpha = Alpha::Premultiplied) {
  Image image = Image::bytes(width, height, alpha);
  image.asBytes() = samples;
  return image;
}

TEST(SourceOnFire, CoversOrAdds) {
  const Image fire = pixels(1, 1, {0.8f, 0.4f, 0.0f, 0.5f});
  const Image source = pixels(1, 1, {0.5f, 0.25f, 0.5f, 0.5f});
  // Cover: fire * weight * (1 - opacity * alpha) + opacity * source, all powers of two.
  EXPECT_EQ(sourceOnFire(fire, 0.5f, source, 0.5f, SourceMode::Cover).asFloats(),
            (Image::Floats{0.8f * 0.375f + 0.25f, 0.4f * 0.375f + 0.125f, 0.25f, 0.5f * 0.375f + 0.25f}));
  EXPECT_EQ(sourceOnFire(fire, 0.5f, source, 0.5f, SourceMode::Mix).asFloats(),
            (Image::Floats{0.8f * 0.5f + 0.25f, 0.4f * 0.5f + 0.125f, 0.25f, 0.5f}));
}

TEST(SourceOnFire, TakesBytesToo) {
  const Image result =
      sourceOnFire(bytePixels(1, 1, {255, 0, 0, 255}), 1.0f, bytePixels(1, 1, {0, 51, 0, 51}), 1.0f, SourceMode::Mix);
  EXPECT_EQ(result.asFloats(), (Image::Floats{1.0f, 51.0f / 255.0f, 0.0f, 1.0f + 51.0f / 255.0f}));
}

TEST(Dissolve, GoesFromOneToTheOther) {
  const Image from = pixels(1, 1, {0.0f, 1.0f, 2.0f, 1.0f});
  const Image to = pixels(1, 1, {1.0f, 0.0f, 2.0f, 0.5f});
  EXPECT_EQ(dissolve(from, to, 0.25f).asFloats(), (Image::Floats{0.25f, 0.75f, 2.0f, 0.875f}));
}

TEST(ShapeOf, IsItsAlphaInWhite) {
  EXPECT_EQ(shapeOf(bytePixels(1, 2, {10, 20, 5, 30, 0, 0, 0, 200})).asBytes(),
            (Image::Bytes{30, 30, 30, 30, 200, 200, 200, 200}));
  EXPECT_EQ(shapeOf(pixels(1, 1, {3.0f, 0.0f, 0.1f, 0.5f})).asFloats(), (Image::Floats{0.5f, 0.5f, 0.5f, 0.5f}));
}

TEST(AlphaBox, IsAsSmallAsItCanBe) {
  Image image = Image::bytes(5, 4, Alpha::Premultiplied);
  EXPECT_TRUE(alphaBox(image).isEmpty());
  image.asBytes()[4 * (1 * 5 + 3)] = 255;  // colour alone
  EXPECT_TRUE(alphaBox(image).isEmpty());
  image.asBytes()[4 * (1 * 5 + 3) + 3] = 1;
  image.asBytes()[4 * (2 * 5 + 1) + 3] = 1;
  const PixelBox box = alphaBox(image);
  EXPECT_EQ(box.left, 1);
  EXPECT_EQ(box.right, 4);
  EXPECT_EQ(box.top, 1);
  EXPECT_EQ(box.bottom, 3);
  EXPECT_EQ(box.height(), 2);
  EXPECT_EQ(alphaBox(toFloat(image)).bottom, 3);
}

TEST(AlphaBox, TwoHaveOneAround) {
  const PixelBox both = around({1, 2, 3, 4}, {0, 3, 2, 9});
  EXPECT_EQ(both.left, 0);
  EXPECT_EQ(both.top, 2);
  EXPECT_EQ(both.right, 3);
  EXPECT_EQ(both.bottom, 9);
  EXPECT_EQ(around({}, {1, 2, 3, 4}).left, 1);
  EXPECT_EQ(around({1, 2, 3, 4}, {}).top, 2);
}

TEST(LumaMatte, IsLightOnBlack) {
  const Image matte = lumaMatte(pixels(2, 1, {1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f}));
  EXPECT_FLOAT_EQ(matte.asFloats()[3], 1.0f) << "its own alpha does not count";
  EXPECT_FLOAT_EQ(matte.asFloats()[7], 0.7152f);
  EXPECT_EQ(matte.asFloats()[5], 1.0f) << "colours stay";
  EXPECT_EQ(matte.alpha(), Alpha::Premultiplied);
  const Image grey = lumaMatte(bytePixels(1, 1, {128, 128, 128, 255}, Alpha::Straight));
  EXPECT_EQ(grey.asBytes(), (Image::Bytes{128, 128, 128, 128})) << "an edge of white on black is half white";
}

TEST(KeyMatte, TakesTheColourBehindAway) {
  // White paper, black ink, and the edge between them.
  const Image ink = keyMatte(bytePixels(3, 1, {255, 255, 255, 255, 0, 0, 0, 255, 128, 128, 128, 255}), {1, 1, 1}, 1.0);
  EXPECT_EQ(ink.asBytes(), (Image::Bytes{0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 127}));
  // Red on green, half mixed: half red is left.
  const Image red = keyMatte(pixels(1, 1, {0.5f, 0.5f, 0.0f, 1.0f}), {0, 1, 0}, 1.0);
  EXPECT_EQ(red.asFloats(), (Image::Floats{0.5f, 0.0f, 0.0f, 0.5f}));
}

TEST(KeyMatte, IsOpaqueFromItsSoftnessOn) {
  const Image::Floats near = {0.0f, 0.01f, 0.0f, 1.0f};
  EXPECT_EQ(keyMatte(pixels(1, 1, near), {0, 0, 0}, 0.25).asFloats(), (Image::Floats{0, 0, 0, 0}))
      << "what a lossy codec makes of black";
  EXPECT_EQ(keyMatte(pixels(1, 1, {0.25f, 0.0f, 0.0f, 1.0f}), {0, 0, 0}, 0.25).asFloats()[3], 1.0f);
  EXPECT_EQ(keyMatte(pixels(1, 1, {0.125f, 0.0f, 0.0f, 1.0f}), {0, 0, 0}, 0.25).asFloats()[3], 0.5f);
}

}  // namespace
}  // namespace pyrelux
