#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

/// Pixels that straight alpha cannot hold.
class ClippingTest : public MediaTest {
 protected:
  Losses lossesOf(const std::string &name, const OutputFormat &format, const std::vector<Image> &images) const {
    const auto writer = Writer::open(path(name), format);
    for (std::size_t index = 0; index < images.size(); ++index)
      writer->write(static_cast<std::int64_t>(index) + 1, images[index]);
    writer->finish();
    return writer->losses();
  }

  std::int64_t pixelsOf(const std::string &name, const OutputFormat &format, const Image &image) const {
    return lossesOf(name, format, {image}).clippedPixels;
  }
};

/// Three of its five pixels are brighter than their alpha.
Image glow() {
  Image image = Image::bytes(5, 1, Alpha::Premultiplied);
  image.asBytes() = {100, 100, 100, 100,  // as bright as its alpha
                     101, 0,   0,   100,  // by one level
                     0,   0,   9,   0,    // nothing but glow
                     255, 255, 255, 255,  //
                     0,   255, 0,   254};
  return image;
}

TEST_F(ClippingTest, IsCountedByPixelAndFrame) {
  const Image dark = Image::bytes(5, 1, Alpha::Premultiplied);
  for (const char *name : {"a.%d.png", "a.%d.tif", "a.mkv", "a.mov", "a.webm", "a.apng", "a.webp"}) {
    const Losses losses = lossesOf(name, {5, 1, 8, {}}, {glow(), dark, glow()});
    EXPECT_EQ(losses.clippedPixels, 6) << name;
    EXPECT_EQ(losses.clippedFrames, 2) << name;
  }
}

TEST_F(ClippingTest, HappensToStraightAlphaOfWholeNumbersOnly) {
  OutputFormat format{5, 1, 8, {}};
  for (const char *name : {"a.exr", "a.mp4", "a.gif"}) EXPECT_EQ(pixelsOf(name, format, glow()), 0) << name;
  format.alpha = Alpha::Straight;
  EXPECT_EQ(pixelsOf("a.exr", format, glow()), 0);
  EXPECT_EQ(pixelsOf("a.png", format, glow()), 3);
  format.alpha = Alpha::Premultiplied;
  for (const char *name : {"a.png", "a.tif", "a.mkv", "a.mov"}) EXPECT_EQ(pixelsOf(name, format, glow()), 0) << name;
}

TEST_F(ClippingTest, OfFloatsBeginsAtHalfALevelOfTheFile) {
  Image image = Image::floats(4, 1, Alpha::Premultiplied);
  image.asFloats() = {0.5f + 0.4f / 255.0f,
                      0.0f,
                      0.0f,
                      0.5f,  // below half a level of 8 bits
                      0.0f,
                      0.5f + 0.6f / 255.0f,
                      0.0f,
                      0.5f,  // above
                      3.0f,
                      3.0f,
                      3.0f,
                      1.0f,  // too bright for any whole number, whatever its alpha
                      3.0f,
                      0.0f,
                      0.0f,
                      1.0f - 0.6f / 255.0f};  // and one that alpha cuts further
  EXPECT_EQ(pixelsOf("a.png", {4, 1, 8, {}}, image), 2);
  EXPECT_EQ(pixelsOf("a.png", {4, 1, 16, {}}, image), 3);
}

TEST_F(ClippingTest, WhatClipsIsWhiteOrItsOwnHueAtFullBrightness) {
  write(path("a.png"), {5, 1, 8, {}}, {glow()});
  const Image image = readStill(path("a.png"));
  Image expected = Image::bytes(5, 1, Alpha::Straight);
  // Where alpha is 0, colour stays as it is, for those who look at it alone.
  expected.asBytes() = {255, 255, 255, 100, 255, 0, 0, 100, 0, 0, 9, 0, 255, 255, 255, 255, 0, 255, 0, 254};
  expectSame(image, expected);
}

TEST_F(ClippingTest, PremultipliedPngKeepsTheGlow) {
  OutputFormat format{5, 1, 8, {}};
  format.alpha = Alpha::Premultiplied;
  write(path("a.png"), format, {glow()});
  EXPECT_EQ(readStill(path("a.png")).asBytes(), glow().asBytes());
}

}  // namespace
}  // namespace pyrelux::media::test
