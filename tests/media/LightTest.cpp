#include <algorithm>
#include <cmath>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

/// Flames are brighter than their alpha: what each kind of alpha makes of that in a file.
class LightTest : public MediaTest {
 protected:
  Losses lossesOf(const std::string &name, const OutputFormat &format, const std::vector<Image> &images) const {
    const auto writer = Writer::open(path(name), format);
    for (std::size_t index = 0; index < images.size(); ++index)
      writer->write(static_cast<std::int64_t>(index) + 1, images[index]);
    writer->finish();
    return writer->losses();
  }

  Image stored(const std::string &name, AlphaUse alpha, const Image &image) const {
    OutputFormat format{image.width(), image.height(), 8, {}};
    format.alpha = alpha;
    write(path(name), format, {image});
    return Reader::open(path(name))->read(1);
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

TEST_F(LightTest, IsCutByExactAlphaAlone) {
  const Image dark = Image::bytes(5, 1, Alpha::Premultiplied);
  OutputFormat format{5, 1, 8, {}};
  for (const char *name : {"a.%d.png", "a.%d.tif", "a.mkv", "a.mov", "a.webm", "a.apng", "a.webp", "a.%d.exr"}) {
    format.alpha = AlphaUse::Exact;
    const Losses losses = lossesOf(name, format, {glow(), dark, glow()});
    EXPECT_EQ(losses.cutPixels, 6) << name;
    EXPECT_EQ(losses.pixels, 15) << name;
    for (const AlphaUse alpha : {AlphaUse::Straight, AlphaUse::Premultiplied, AlphaUse::None}) {
      format.alpha = alpha;
      EXPECT_EQ(lossesOf(name, format, {glow()}).cutPixels, 0) << name;
    }
  }
  // They have no alpha to cut to.
  format.alpha = AlphaUse::Exact;
  for (const char *name : {"a.mp4", "a.gif"}) EXPECT_EQ(lossesOf(name, format, {glow()}).cutPixels, 0) << name;
}

TEST_F(LightTest, StraightPngHoldsAllOfIt) {
  Image expected = Image::bytes(5, 1, Alpha::Straight);
  expected.asBytes() = {255, 255, 255, 100, 255, 0, 0, 101, 0, 0, 255, 9, 255, 255, 255, 255, 0, 255, 0, 255};
  expectSame(stored("a.png", AlphaUse::Straight, glow()), expected);
}

TEST_F(LightTest, ExactPngHasTheAlphaThatWasDrawn) {
  Image expected = Image::bytes(5, 1, Alpha::Straight);
  // Nothing is left under alpha 0, where it could not be seen.
  expected.asBytes() = {255, 255, 255, 100, 255, 0, 0, 100, 0, 0, 0, 0, 255, 255, 255, 255, 0, 255, 0, 254};
  expectSame(stored("a.png", AlphaUse::Exact, glow()), expected);
}

TEST_F(LightTest, PremultipliedPngKeepsTheGlow) {
  EXPECT_EQ(stored("a.png", AlphaUse::Premultiplied, glow()).asBytes(), glow().asBytes());
}

TEST_F(LightTest, WithoutAlphaItIsThePictureOverBlack) {
  for (const char *name : {"a.png", "a.tif", "a.mkv", "a.apng"}) {
    const Image image = stored(name, AlphaUse::None, glow());
    Image expected = glow();
    makeOpaque(expected);
    EXPECT_EQ(image.asBytes(), expected.asBytes()) << name;
    EXPECT_FALSE(Reader::open(path(name))->info().hasAlpha) << name;
  }
  for (const char *name : {"a.mov", "a.webm", "a.exr"}) {
    stored(name, AlphaUse::None, glow());
    EXPECT_FALSE(Reader::open(path(name))->info().hasAlpha) << name;
  }
}

TEST_F(LightTest, AlphaAboveOneIsLimitedInEveryKindOfFile) {
  Image bright = Image::floats(16, 16, Alpha::Premultiplied);
  for (std::size_t i = 0; i < bright.sampleCount(); i += 4) {
    bright.asFloats()[i] = 0.75f;
    bright.asFloats()[i + 1] = 0.5f;
    bright.asFloats()[i + 3] = 6.7f;
  }
  for (const char *name : {"a.exr", "a.png", "a.tif", "a.mov", "a.mkv", "a.webm", "a.apng"})
    for (const AlphaUse alpha : {AlphaUse::Straight, AlphaUse::Exact, AlphaUse::Premultiplied}) {
      const Image image = toFloat(stored(name, alpha, bright));
      EXPECT_EQ(image.asFloats()[3], 1.0f) << name;
      EXPECT_NEAR(image.asFloats()[0], 0.75f, 2.0f / 255.0f) << name;
      EXPECT_NEAR(image.asFloats()[1], 0.5f, 2.0f / 255.0f) << name;
    }
}

TEST_F(LightTest, ExrKeepsColourAboveOne) {
  Image bright = Image::floats(1, 1, Alpha::Premultiplied);
  bright.asFloats() = {6.5f, 2.0f, 0.25f, 0.5f};
  EXPECT_EQ(stored("a.exr", AlphaUse::Premultiplied, bright).asFloats(), bright.asFloats());
  EXPECT_EQ(stored("a.exr", AlphaUse::Straight, bright).asFloats(), (Image::Floats{6.5f, 2.0f, 0.25f, 1.0f}));
}

TEST_F(LightTest, FaintGradientsAreDitheredToEightBitsInStills) {
  // A ramp over three levels: rounding would make steps of 64 pixels.
  Image ramp = Image::floats(192, 4, Alpha::Premultiplied);
  for (std::size_t i = 0; i < ramp.sampleCount(); ++i)
    ramp.asFloats()[i] = i % 4 == 3 ? 1.0f : (20.0f + static_cast<float>(i / 4 % 192) / 64.0f) / 255.0f;
  for (const char *name : {"a.png", "a.tif", "a.mkv", "a.apng"}) {
    const Image image = toBytes(stored(name, AlphaUse::Premultiplied, ramp));
    double worst = 0.0;
    for (std::size_t left = 0; left < 192; left += 16) {
      double error = 0.0;
      for (std::size_t y = 0; y < 4; ++y)
        for (std::size_t x = left; x < left + 16; ++x) {
          const std::size_t i = 4 * (192 * y + x);
          error += image.asBytes()[i] - 255.0 * ramp.asFloats()[i];
        }
      worst = std::max(worst, std::abs(error) / 64.0);
    }
    // Rounding is wrong by up to 0.375 levels on such squares.
    EXPECT_LT(worst, 0.1) << name;
  }
}

}  // namespace
}  // namespace pyrelux::media::test
