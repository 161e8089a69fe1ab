#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "PixelConversion.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

using Colour = std::array<double, 3>;

/// What a YUV triple means, from the definition: luma weights of red and blue, range, depth.
Colour rgbOf(const std::array<int, 3> &yuv, double weightRed, double weightBlue, bool isFullRange, int depth) {
  const double scale = 1 << (depth - 8);
  const double largest = (1 << depth) - 1;
  const double luma = isFullRange ? yuv[0] / largest : (yuv[0] - 16 * scale) / (219 * scale);
  const double chromaReach = isFullRange ? largest : 224 * scale;
  const double blue = (yuv[1] - 128 * scale) / chromaReach;
  const double red = (yuv[2] - 128 * scale) / chromaReach;
  const double r = luma + 2 * (1 - weightRed) * red;
  const double b = luma + 2 * (1 - weightBlue) * blue;
  const double g = (luma - weightRed * r - weightBlue * b) / (1 - weightRed - weightBlue);
  return {r, g, b};
}

constexpr int flatHeight = 16;

/// A picture of one YUV colour in a lossless movie with tags, as it is read.
class ColourTest : public MediaTest {
 protected:
  Image readFlat(AVPixelFormat layout, const std::array<int, 3> &yuv, AVColorSpace matrix, AVColorRange range,
                 int pictureHeight = flatHeight) {
    FramePtr frame = blankFrame(layout, 16, pictureHeight);
    frame->colorspace = matrix;
    frame->color_range = range;
    const bool isDeep = layout != AV_PIX_FMT_YUV444P && layout != AV_PIX_FMT_YUV420P;
    for (int plane = 0; plane < 3; ++plane) {
      const int rows = plane > 0 && layout == AV_PIX_FMT_YUV420P ? pictureHeight / 2 : pictureHeight;
      for (int y = 0; y < rows; ++y)
        for (int x = 0; x < (isDeep ? 16 : frame->linesize[plane]); ++x) {
          std::uint8_t *row = frame->data[plane] + y * frame->linesize[plane];
          if (isDeep)
            reinterpret_cast<std::uint16_t *>(row)[x] = static_cast<std::uint16_t>(yuv[plane]);
          else
            row[x] = static_cast<std::uint8_t>(yuv[plane]);
        }
    }
    std::vector<FramePtr> frames;
    frames.push_back(std::move(frame));
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
    return Reader::open(path("a.mkv"))->read(1);
  }

  static void expectColour(const Image &image, const Colour &expected, double tolerance) {
    const Image floats = toFloat(image);
    for (std::size_t sample = 0; sample < floats.sampleCount(); ++sample)
      ASSERT_NEAR(floats.asFloats()[sample], sample % 4 == 3 ? 1.0 : expected[sample % 4], tolerance)
          << "sample " << sample;
  }
};

// One level: the scaler's matrix has 13 to 16 bits and its result is rounded once.
constexpr double oneLevel = 1.0 / 255.0;
constexpr std::array<int, 3> orange = {140, 80, 180};
constexpr double red601 = 0.299, blue601 = 0.114, red709 = 0.2126, blue709 = 0.0722, red2020 = 0.2627,
                 blue2020 = 0.0593;

TEST_F(ColourTest, UsesTheMatrixOfTheFile) {
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG),
               rgbOf(orange, red709, blue709, false, 8), oneLevel);
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG),
               rgbOf(orange, red601, blue601, false, 8), oneLevel);
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG),
               rgbOf(orange, red2020, blue2020, false, 8), oneLevel);
}

TEST_F(ColourTest, UsesTheRangeOfTheFile) {
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG),
               rgbOf(orange, red709, blue709, true, 8), oneLevel);
}

TEST_F(ColourTest, UntaggedFilesFollowTheirHeight) {
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, 718),
               rgbOf(orange, red601, blue601, false, 8), oneLevel);
  expectColour(readFlat(AV_PIX_FMT_YUV444P, orange, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, 720),
               rgbOf(orange, red709, blue709, false, 8), oneLevel);
}

TEST_F(ColourTest, Subsampled) {
  expectColour(readFlat(AV_PIX_FMT_YUV420P, orange, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG),
               rgbOf(orange, red709, blue709, false, 8), oneLevel);
}

TEST_F(ColourTest, SubsampledColourLiesWhereTheFileSays) {
  // Cr rises by 6 levels per pair of pixels. It is stored at the left pixel of a pair, or between the two, and a line
  // through the stored values gives back the same line.
  for (const auto &[location, place] : {std::pair{AVCHROMA_LOC_LEFT, 0.0}, {AVCHROMA_LOC_CENTER, 0.5}}) {
    const FramePtr frame = blankFrame(AV_PIX_FMT_YUV420P, 64, 16);
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_range = AVCOL_RANGE_JPEG;
    frame->chroma_location = location;
    std::memset(frame->data[0], 128, static_cast<std::size_t>(frame->linesize[0]) * 16);
    std::memset(frame->data[1], 128, static_cast<std::size_t>(frame->linesize[1]) * 8);
    for (int y = 0; y < 8; ++y)
      for (int pair = 0; pair < 32; ++pair)
        frame->data[2][y * frame->linesize[2] + pair] = static_cast<std::uint8_t>(32 + 6 * pair);
    const Image image = toImage(*frame, Alpha::Straight, "test");
    // Away from the sides, where the line ends. Half a level of Cr is lost when it is brought to whole pixels, which
    // is 0.8 of red, and half a level of red.
    for (int x = 8; x < 56; ++x)
      EXPECT_NEAR(image.asBytes()[(8 * 64 + static_cast<std::size_t>(x)) * 4],
                  std::clamp(128 + 1.5748 * (32 + 6 * (x - place) / 2 - 128), 0.0, 255.0), 1.4)
          << "pixel " << x << " location " << location;
  }
}

TEST_F(ColourTest, DeepFilesGiveDeepPictures) {
  const std::array<int, 3> yuv10 = {561, 321, 719};
  const Image image = readFlat(AV_PIX_FMT_YUV444P10, yuv10, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG);
  ASSERT_TRUE(image.isFloat());
  EXPECT_EQ(Reader::open(path("a.mkv"))->info().bitsPerComponent, 10);
  // A quarter of a 10-bit level: no rounding to 10 bits on the way.
  expectColour(image, rgbOf(yuv10, red709, blue709, false, 10), 0.25 / 1023.0);
}

TEST_F(ColourTest, BlackAndWhiteAreExact) {
  for (const int depth : {8, 10, 16}) {
    const AVPixelFormat layout = depth == 8    ? AV_PIX_FMT_YUV444P
                                 : depth == 10 ? AV_PIX_FMT_YUV444P10
                                               : AV_PIX_FMT_YUV444P16;
    const int scale = 1 << (depth - 8);
    const std::array<int, 3> black = {16 * scale, 128 * scale, 128 * scale};
    const std::array<int, 3> white = {235 * scale, 128 * scale, 128 * scale};
    // Bytes are exact. Deep pictures pass through 16-bit fixed point, which leaves a few of 65535 levels.
    const double tolerance = depth == 8 ? 0.0 : 4.0 / 65535.0;
    expectColour(readFlat(layout, black, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG), {0, 0, 0}, tolerance);
    expectColour(readFlat(layout, white, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG), {1, 1, 1}, tolerance);
  }
}

}  // namespace
}  // namespace pyrelux::media::test
