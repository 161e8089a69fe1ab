#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

/// Stills in formats and layouts that Writer does not write.
class StillFormat : public MediaTest {
 protected:
  Image readBack(const std::string &name, const FileBytes &bytes) {
    save(path(name), bytes);
    return readStill(path(name));
  }
};

Image opaque(Image image) {
  for (std::size_t sample = 3; sample < image.sampleCount(); sample += 4) image.asBytes()[sample] = 255;
  return image;
}

TEST_F(StillFormat, LosslessWithAlphaIsExact) {
  const Image picture = straightPicture(13, 7);
  expectSame(readBack("a.tiff", encodeStill("tiff", *frameOf(picture, AV_PIX_FMT_RGBA))), picture);
  expectSame(readBack("b.tiff", encodeStill("tiff", *frameOf(picture, AV_PIX_FMT_RGBA), "compression_algo=lzw")),
             picture);
  expectSame(readBack("a.tga", encodeStill("targa", *frameOf(picture, AV_PIX_FMT_BGRA))), picture);
  expectSame(readBack("a.bmp", encodeStill("bmp", *frameOf(picture, AV_PIX_FMT_BGRA))), picture);
}

TEST_F(StillFormat, WithoutAlphaIsOpaque) {
  const Image picture = straightPicture(13, 7);
  expectSame(readBack("a.png", encodeStill("png", *frameOf(picture, AV_PIX_FMT_RGB24))), opaque(picture));
  EXPECT_FALSE(Reader::open(path("a.png"))->info().hasAlpha);
  expectSame(readBack("a.bmp", encodeStill("bmp", *frameOf(picture, AV_PIX_FMT_BGR24))), opaque(picture));
}

TEST_F(StillFormat, Deep16BitTiffIsExact) {
  const Image picture = deepStraightPicture(9, 5);
  expectSame(readBack("a.tiff", encodeStill("tiff", *frameOf(picture, AV_PIX_FMT_RGBA64LE))), picture);
}

TEST_F(StillFormat, ExtensionDoesNotMatter) {
  const Image picture = straightPicture(13, 7);
  expectSame(readBack("a.jpg", encodeStill("png", *frameOf(picture, AV_PIX_FMT_RGBA))), picture);
  expectSame(readBack("a", encodeStill("png", *frameOf(picture, AV_PIX_FMT_RGBA))), picture);
}

TEST_F(StillFormat, EveryGreyLevelIsExact) {
  const FramePtr grey = blankFrame(AV_PIX_FMT_GRAY8, 256, 1);
  for (int x = 0; x < 256; ++x) grey->data[0][x] = static_cast<std::uint8_t>(x);
  const Image image = readBack("a.png", encodeStill("png", *grey));
  for (std::size_t x = 0; x < 256; ++x)
    for (std::size_t channel = 0; channel < 4; ++channel)
      ASSERT_EQ(image.asBytes()[x * 4 + channel], channel == 3 ? 255 : x);
}

TEST_F(StillFormat, GreyKeepsItsAlpha) {
  const FramePtr grey = blankFrame(AV_PIX_FMT_YA8, 256, 1);
  for (int x = 0; x < 256; ++x) {
    grey->data[0][2 * x] = static_cast<std::uint8_t>(x);
    grey->data[0][2 * x + 1] = static_cast<std::uint8_t>(255 - x);
  }
  const Image image = readBack("a.png", encodeStill("png", *grey));
  EXPECT_TRUE(Reader::open(path("a.png"))->info().hasAlpha);
  for (std::size_t x = 0; x < 256; ++x) {
    ASSERT_EQ(image.asBytes()[x * 4 + 1], x);
    ASSERT_EQ(image.asBytes()[x * 4 + 3], 255 - x);
  }
}

TEST_F(StillFormat, DeepGreyIsExact) {
  const FramePtr grey = blankFrame(AV_PIX_FMT_GRAY16BE, 3, 1);
  const std::uint8_t levels[] = {0x12, 0x34, 0xFF, 0xFF, 0x00, 0x01};
  std::memcpy(grey->data[0], levels, sizeof levels);
  const Image image = readBack("a.png", encodeStill("png", *grey));
  ASSERT_TRUE(image.isFloat());
  EXPECT_EQ(image.asFloats()[0], static_cast<float>(0x1234) / 65535.0f);
  EXPECT_EQ(image.asFloats()[4 + 2], 1.0f);
  EXPECT_EQ(image.asFloats()[8 + 1], 1.0f / 65535.0f);
  EXPECT_EQ(image.asFloats()[8 + 3], 1.0f);
}

FramePtr paletteFrame(std::uint32_t firstColour) {
  const FramePtr frame = blankFrame(AV_PIX_FMT_PAL8, 3, 2);
  std::uint32_t palette[256];
  std::fill_n(palette, 256, 0xFF000000u);
  palette[0] = firstColour;
  palette[1] = 0xFF40C020u;
  palette[200] = 0xFFFEDCBAu;
  std::memcpy(frame->data[1], palette, sizeof palette);
  const std::uint8_t rows[2][3] = {{0, 1, 200}, {200, 0, 1}};
  for (int y = 0; y < 2; ++y) std::memcpy(frame->data[0] + y * frame->linesize[0], rows[y], 3);
  return FramePtr(av_frame_clone(frame.get()));
}

TEST_F(StillFormat, PaletteKeepsColoursAndAlpha) {
  const Image image = readBack("a.png", encodeStill("png", *paletteFrame(0x80112233u)));
  EXPECT_TRUE(Reader::open(path("a.png"))->info().hasAlpha);
  const Image::Bytes expected = {0x11, 0x22, 0x33, 0x80, 0x40, 0xC0, 0x20, 0xFF, 0xFE, 0xDC, 0xBA, 0xFF,
                                 0xFE, 0xDC, 0xBA, 0xFF, 0x11, 0x22, 0x33, 0x80, 0x40, 0xC0, 0x20, 0xFF};
  EXPECT_EQ(image.asBytes(), expected);
}

TEST_F(StillFormat, OpaquePaletteHasNoAlpha) {
  save(path("a.png"), encodeStill("png", *paletteFrame(0xFF112233u)));
  EXPECT_FALSE(Reader::open(path("a.png"))->info().hasAlpha);
}

TEST_F(StillFormat, GifIsAStill) {
  std::vector<FramePtr> frames;
  frames.push_back(paletteFrame(0xFF112233u));
  saveMovie(path("a.gif"), "gif", "gif", frames);
  const Image image = readStill(path("a.gif"));
  EXPECT_EQ(Reader::open(path("a.gif"))->info().kind, InputKind::Still);
  const Image::Bytes expected = {0x11, 0x22, 0x33, 0xFF, 0x40, 0xC0, 0x20, 0xFF, 0xFE, 0xDC, 0xBA, 0xFF,
                                 0xFE, 0xDC, 0xBA, 0xFF, 0x11, 0x22, 0x33, 0xFF, 0x40, 0xC0, 0x20, 0xFF};
  EXPECT_EQ(image.asBytes(), expected);
}

TEST_F(StillFormat, AnimatedGifIsAMovie) {
  std::vector<FramePtr> frames;
  for (const std::uint32_t colour : {0xFF112233u, 0xFFAABBCCu}) frames.push_back(paletteFrame(colour));
  saveMovie(path("a.gif"), "gif", "gif", frames);
  const auto reader = Reader::open(path("a.gif"));
  EXPECT_EQ(reader->info().kind, InputKind::Movie);
  EXPECT_EQ(reader->info().lastFrame, 2);
  EXPECT_EQ(reader->read(2).asBytes()[0], 0xAA);
  EXPECT_EQ(reader->read(1).asBytes()[0], 0x11);
}

TEST_F(StillFormat, BlackAndWhite) {
  for (const AVPixelFormat layout : {AV_PIX_FMT_MONOBLACK, AV_PIX_FMT_MONOWHITE}) {
    const FramePtr frame = blankFrame(layout, 10, 1);
    frame->data[0][0] = 0b10110000;
    frame->data[0][1] = 0b01000000;
    const Image image = readBack("a.tiff", encodeStill("tiff", *frame));
    const bool isSet[10] = {true, false, true, true, false, false, false, false, false, true};
    for (std::size_t x = 0; x < 10; ++x)
      ASSERT_EQ(image.asBytes()[x * 4], isSet[x] == (layout == AV_PIX_FMT_MONOBLACK) ? 255 : 0) << x;
  }
}

TEST_F(StillFormat, LosslessWebpIsExact) {
  if (!avcodec_find_encoder_by_name("libwebp")) GTEST_SKIP() << "this FFmpeg cannot write WebP";
  const Image picture = opaque(straightPicture(13, 7));
  expectSame(readBack("a.webp", encodeStill("libwebp", *frameOf(picture, AV_PIX_FMT_BGRA), "lossless=1")), picture);
}

TEST_F(StillFormat, JpegIsFullRange) {
  // Levels of a flat picture survive the coding: only the mean of a block is stored, at a step of 1 level or less with
  // the quantiser used here. One more level for the conversion's rounding.
  const FramePtr frame = blankFrame(AV_PIX_FMT_YUVJ444P, 16, 16);
  frame->color_range = AVCOL_RANGE_JPEG;
  const int levels[] = {100, 90, 200};
  for (int plane = 0; plane < 3; ++plane)
    for (int y = 0; y < 16; ++y) std::memset(frame->data[plane] + y * frame->linesize[plane], levels[plane], 16);
  frame->quality = FF_QP2LAMBDA;
  const Image image = readBack("a.jpg", encodeStill("mjpeg", *frame, "qmin=1"));
  // The matrix of JFIF: R = Y + 1.402 (Cr - 128), G = Y - 0.344136 (Cb - 128) - 0.714136 (Cr - 128),
  // B = Y + 1.772 (Cb - 128).
  EXPECT_NEAR(image.asBytes()[0], 100 + 1.402 * 72, 2.0);
  EXPECT_NEAR(image.asBytes()[1], 100 + 0.344136 * 38 - 0.714136 * 72, 2.0);
  EXPECT_NEAR(image.asBytes()[2], 100 - 1.772 * 38, 2.0);
  EXPECT_EQ(image.asBytes()[3], 255);
}

/// A JPEG of 8 x 8 pixels that have the four levels. `transform` is what Adobe's marker says: 0 for cyan, magenta,
/// yellow and black, all inverted; without it there is no marker.
FileBytes fourComponentJpeg(const std::array<int, 4> &levels, std::optional<std::uint8_t> transform) {
  FileBytes bytes{0xFF, 0xD8};
  const auto append = [&bytes](std::uint8_t marker, const FileBytes &content) {
    bytes.insert(bytes.end(), {0xFF, marker, 0, static_cast<std::uint8_t>(content.size() + 2)});
    bytes.insert(bytes.end(), content.begin(), content.end());
  };
  if (transform) append(0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, *transform});
  // With a quantiser of 8 the first coefficient is the mean, less 128.
  FileBytes quantiser(65, 8);
  quantiser[0] = 0;
  append(0xDB, quantiser);
  append(0xC0, {8, 0, 8, 0, 8, 4, 1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0, 4, 0x11, 0});
  // Twelve codes of four bits for the size of the mean, and one of a bit for "no more".
  append(0xC4, {0x00, 0, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  append(0xC4, {0x10, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  append(0xDA, {4, 1, 0, 2, 0, 3, 0, 4, 0, 0, 63, 0});
  std::vector<bool> bits;
  const auto appendBits = [&bits](int value, int count) {
    while (count-- > 0) bits.push_back(value >> count & 1);
  };
  for (const int level : levels) {
    const int mean = level - 128;
    int size = 0;
    while (std::abs(mean) >> size) ++size;
    appendBits(size, 4);
    appendBits(mean > 0 ? mean : mean + (1 << size) - 1, size);
    appendBits(0, 1);
  }
  while (bits.size() % 8) bits.push_back(true);
  for (std::size_t bit = 0; bit < bits.size(); bit += 8) {
    int byte = 0;
    for (std::size_t index = 0; index < 8; ++index) byte = byte << 1 | bits[bit + index];
    bytes.push_back(static_cast<std::uint8_t>(byte));
    if (byte == 0xFF) bytes.push_back(0);
  }
  bytes.insert(bytes.end(), {0xFF, 0xD9});
  return bytes;
}

TEST_F(StillFormat, CmykJpegIsReadAsItsColours) {
  const struct {
    std::array<int, 4> levels;
    std::array<int, 3> colour;
  } rows[] = {{{200, 100, 50, 255}, {200, 100, 50}}, {{200, 100, 50, 128}, {100, 50, 25}}, {{255, 255, 255, 0}, {}}};
  for (const auto &row : rows) {
    const Image image = readBack("a.jpg", fourComponentJpeg(row.levels, std::uint8_t{0}));
    for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(image.asBytes()[channel], row.colour[channel], 1);
    EXPECT_EQ(image.asBytes()[3], 255);
  }
}

TEST_F(StillFormat, JpegOfFourUnknownComponentsIsRefused) {
  save(path("a.jpg"), fourComponentJpeg({200, 100, 50, 255}, std::nullopt));
  EXPECT_EQ(readingMessage(path("a.jpg")), "cannot read '" + path("a.jpg") +
                                               "': it has four colour components and does not say which; convert it "
                                               "to RGB");
}

TEST_F(StillFormat, FloatExrIsReadUnchanged) {
  Image picture = Image::floats(3, 2, Alpha::Premultiplied);
  for (std::size_t sample = 0; sample < picture.sampleCount(); ++sample)
    picture.asFloats()[sample] = -0.7f + 0.123456789f * static_cast<float>(sample);
  expectSame(readBack("a.exr", encodeStill("exr", *frameOf(picture, AV_PIX_FMT_GBRAPF32), "format=float")), picture);
}

TEST_F(StillFormat, PixelAspect) {
  const FramePtr frame = frameOf(straightPicture(8, 8), AV_PIX_FMT_RGBA);
  frame->sample_aspect_ratio = {16, 15};
  save(path("a.png"), encodeStill("png", *frame));
  EXPECT_DOUBLE_EQ(Reader::open(path("a.png"))->info().pixelAspect, 16.0 / 15.0);
}

}  // namespace
}  // namespace pyrelux::media::test
