// TIFFs of floats, and what their alpha means.

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

constexpr int width = 21;
constexpr int height = 19;

/// How a file is written; by default one strip after the other, RGBA, uncompressed.
struct Style {
  const char *mode = "w";
  int samples = 4;
  int bits = 32;
  bool isTiled = false;
  bool isSeparate = false;
  std::uint16_t compression = COMPRESSION_NONE;
  std::uint16_t predictor = PREDICTOR_NONE;
  std::uint16_t alphaKind = EXTRASAMPLE_UNASSALPHA;
  std::uint16_t format = SAMPLEFORMAT_IEEEFP;
};

/// Values that halves hold: below 0, above 1, tiny.
float valueOf(int x, int y, int sample) {
  if (x == 3 && y == 2) return std::ldexp(static_cast<float>(sample + 1), -24);
  return static_cast<float>(x - 2) / 8.0f + static_cast<float>(y) * 4.0f + static_cast<float>(sample) / 16.0f;
}

/// The bits of a half, of a value that halves hold.
std::uint16_t halfOf(float value) {
  const std::uint16_t sign = value < 0.0f ? 0x8000 : 0;
  value = std::abs(value);
  if (value < std::ldexp(1.0f, -14)) return static_cast<std::uint16_t>(sign | std::lround(std::ldexp(value, 24)));
  int exponent = 0;
  const float fraction = std::frexp(value, &exponent);
  return static_cast<std::uint16_t>(sign | ((exponent + 14) << 10) | (std::lround(std::ldexp(fraction, 11)) & 0x3FF));
}

class Tiff : public MediaTest {
 protected:
  std::string file() const { return path("a.tif"); }

  void saveTiff(const Style &style) const {
    TIFF *tiff = TIFFOpen(file().c_str(), style.mode);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, style.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, style.samples);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, style.format);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, style.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, style.isSeparate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, style.compression);
    if (style.predictor != PREDICTOR_NONE) TIFFSetField(tiff, TIFFTAG_PREDICTOR, style.predictor);
    if (style.samples % 2 == 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &style.alphaKind);
    const int blockWidth = style.isTiled ? 16 : width;
    const int blockHeight = style.isTiled ? 16 : 5;
    if (style.isTiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, blockWidth);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, blockHeight);
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, blockHeight);
    }
    const int planes = style.isSeparate ? style.samples : 1;
    std::uint32_t block = 0;
    for (int plane = 0; plane < planes; ++plane)
      for (int top = 0; top < height; top += blockHeight)
        for (int left = 0; left < width; left += blockWidth, ++block) {
          FileBytes bytes;
          const int bottom = style.isTiled ? top + blockHeight : std::min(top + blockHeight, height);
          for (int y = top; y < bottom; ++y)
            for (int x = left; x < left + blockWidth; ++x)
              for (int sample = plane; sample < (style.isSeparate ? plane + 1 : style.samples); ++sample)
                append(bytes, valueOf(x, y, sample), style);
          const tmsize_t size = static_cast<tmsize_t>(bytes.size());
          ASSERT_EQ(style.isTiled ? TIFFWriteEncodedTile(tiff, block, bytes.data(), size)
                                  : TIFFWriteEncodedStrip(tiff, block, bytes.data(), size),
                    size);
        }
    TIFFClose(tiff);
  }

  /// The picture that a file of the style should give.
  static Image expected(const Style &style) {
    Image image = Image::floats(width, height,
                                style.alphaKind == EXTRASAMPLE_ASSOCALPHA ? Alpha::Premultiplied : Alpha::Straight);
    const bool isGrey = style.samples < 3;
    std::size_t at = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        for (int channel = 0; channel < 3; ++channel) image.asFloats()[at++] = valueOf(x, y, isGrey ? 0 : channel);
        image.asFloats()[at++] = style.samples % 2 == 0 ? valueOf(x, y, style.samples - 1) : 1.0f;
      }
    return image;
  }

  void expectRead(const Style &style) const {
    saveTiff(style);
    expectSame(readStill(file()), expected(style));
    const InputInfo info = Reader::open(file())->info();
    EXPECT_EQ(info.bitsPerComponent, style.bits);
    EXPECT_EQ(info.hasAlpha, style.samples % 2 == 0);
  }

 private:
  static void append(FileBytes &bytes, float value, const Style &style) {
    const std::uint16_t half = halfOf(value);
    const void *from = style.bits == 16 ? static_cast<const void *>(&half) : &value;
    const auto *begin = static_cast<const std::uint8_t *>(from);
    bytes.insert(bytes.end(), begin, begin + style.bits / 8);
  }
};

TEST_F(Tiff, OfFloatsIsReadUnchanged) {
  for (const int bits : {16, 32})
    for (const int samples : {1, 2, 3, 4})
      for (const bool isTiled : {false, true})
        for (const bool isSeparate : {false, true})
          for (const char *mode : {"wl", "wb"}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(samples) + " samples, " + mode +
                         (isTiled ? ", tiles" : "") + (isSeparate ? ", separate" : ""));
            Style style;
            style.mode = mode;
            style.bits = bits;
            style.samples = samples;
            style.isTiled = isTiled;
            style.isSeparate = isSeparate;
            expectRead(style);
          }
}

TEST_F(Tiff, OfFloatsMayBeCompressed) {
  for (const int compression : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
    Style style;
    style.compression = static_cast<std::uint16_t>(compression);
    expectRead(style);
    style.predictor = PREDICTOR_FLOATINGPOINT;
    expectRead(style);
  }
}

TEST_F(Tiff, SaysWhatItsAlphaMeans) {
  for (const auto &[kind, alpha] : {std::pair{EXTRASAMPLE_ASSOCALPHA, Alpha::Premultiplied},
                                    {EXTRASAMPLE_UNASSALPHA, Alpha::Straight},
                                    {EXTRASAMPLE_UNSPECIFIED, Alpha::Straight}}) {
    Style style;
    style.alphaKind = static_cast<std::uint16_t>(kind);
    expectRead(style);
    EXPECT_EQ(readStill(file()).alpha(), alpha);
    // Whole numbers take another way.
    style.format = SAMPLEFORMAT_UINT;
    style.bits = 16;
    saveTiff(style);
    EXPECT_EQ(readStill(file()).alpha(), alpha);
  }
}

TEST_F(Tiff, OfFloatsThatIsCutOffIsRefused) {
  for (const bool isTiled : {false, true}) {
    Style style;
    style.isTiled = isTiled;
    saveTiff(style);
    // The library puts the directory at the end, where anything cut off would hide it; so the middle is taken away.
    FileBytes bytes = load(file());
    std::uint32_t directory;
    std::memcpy(&directory, &bytes[4], sizeof directory);
    const std::uint32_t taken = 4000;
    bytes.erase(bytes.begin() + 8, bytes.begin() + 8 + taken);
    const std::uint32_t moved = directory - taken;
    std::memcpy(&bytes[4], &moved, sizeof moved);
    save(file(), bytes);
    EXPECT_EQ(readingMessage(file()), "cannot read '" + file() + "': it is damaged or cut off");
  }
}

TEST_F(Tiff, ThatIsDamagedAnywhereIsReadOrRefused) {
  std::minstd_rand random(1);
  for (const bool isTiled : {false, true}) {
    Style style;
    style.isTiled = isTiled;
    style.compression = COMPRESSION_LZW;
    saveTiff(style);
    const FileBytes whole = load(file());
    std::uint32_t directory;
    std::memcpy(&directory, &whole[4], sizeof directory);
    int refused = 0;
    for (int round = 0; round < 400; ++round) {
      FileBytes bytes = whole;
      // Mostly where the directory is.
      const std::size_t begin = round % 4 ? directory : 0;
      bytes[begin + random() % (bytes.size() - begin)] = static_cast<std::uint8_t>(random());
      save(file(), bytes);
      const std::string message = readingMessage(file());
      refused += !message.empty();
      ASSERT_TRUE(message.empty() || message.rfind("cannot read '" + file() + "': ", 0) == 0) << message;
    }
    EXPECT_GT(refused, 10);
  }
}

TEST_F(Tiff, OfOtherFloatsIsRefused) {
  TIFF *tiff = TIFFOpen(file().c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 1);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 64);
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  double value = 0.5;
  TIFFWriteEncodedStrip(tiff, 0, &value, sizeof value);
  TIFFClose(tiff);
  EXPECT_EQ(readingMessage(file()), "cannot read '" + file() + "': its floats are not grey or RGB with 16 or 32 bits");
}

TEST_F(Tiff, OfFloatsThatIsTooLargeIsRefused) {
  for (const auto &[w, h] : {std::pair{60000, 60000}, {20000, 1}}) {
    TIFF *tiff = TIFFOpen(file().c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 32);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 1);
    std::vector<float> row(static_cast<std::size_t>(w));
    TIFFWriteEncodedStrip(tiff, 0, row.data(), w * 4);
    TIFFClose(tiff);
    EXPECT_NE(readingMessage(file()).find("the largest that can be read"), std::string::npos) << readingMessage(file());
  }
}

}  // namespace
}  // namespace pyrelux::media::test
