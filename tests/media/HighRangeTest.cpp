// Movies of a high dynamic range, of wide gamuts and of uncommon matrices, against the definitions in ITU-R BT.2020,
// BT.2100 and BT.2390, worked out here in another form.

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "StandardRange.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

using Colour = std::array<double, 3>;

double pqOf(double luminance) {
  const double power = std::pow(luminance / 10000.0, 0.1593017578125);
  return std::pow((0.8359375 + 18.8515625 * power) / (1.0 + 18.6875 * power), 78.84375);
}

double luminanceOf(double pq) {
  const double power = std::pow(pq, 1.0 / 78.84375);
  return 10000.0 * std::pow(std::max(power - 0.8359375, 0.0) / (18.8515625 - 18.6875 * power), 1.0 / 0.1593017578125);
}

/// The curve's bend as a Bezier curve: it leaves the knee with slope 1 and ends level.
double tonesOf(double luminance) {
  const double whole = pqOf(1000.0);
  const double top = pqOf(203.0) / whole;
  const double knee = 1.5 * top - 0.5;
  const double level = std::min(pqOf(luminance) / whole, 1.0);
  if (level < knee) return luminance / 203.0;
  const double t = (level - knee) / (1.0 - knee);
  std::array<double, 4> points = {knee, knee + (1.0 - knee) / 3.0, top, top};
  for (int round = 3; round > 0; --round)
    for (int index = 0; index < round; ++index) points[index] += t * (points[index + 1] - points[index]);
  return luminanceOf(points[0] * whole) / 203.0;
}

Colour times(const std::array<Colour, 3> &matrix, const Colour &colour) {
  Colour product{};
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) product[row] += matrix[row][column] * colour[column];
  return product;
}

/// Linear light with the primaries of BT.709 in those of BT.2020: Report ITU-R BT.2087.
constexpr std::array<Colour, 3> to2020 = {
    {{0.6274, 0.3293, 0.0433}, {0.0691, 0.9195, 0.0114}, {0.0164, 0.0880, 0.8956}}};

Colour mapped(Colour colour, const std::function<double(double)> &change) {
  for (double &component : colour) component = change(component);
  return colour;
}

double displayed(double light) { return std::pow(std::clamp(light, 0.0, 1.0), 1.0 / 2.4); }

class HighRange : public MediaTest {
 protected:
  /// A picture of one colour in a lossless movie with these tags, as it is read: the middle one of its pixels.
  Colour read(const Colour &colour, AVColorTransferCharacteristic transfer, AVColorPrimaries primaries,
              float alpha = 1.0f) {
    Image image = Image::floats(8, 70, Alpha::Straight);
    for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
      image.asFloats()[sample] = sample % 4 == 3 ? alpha : static_cast<float>(colour[sample % 4]);
    std::vector<FramePtr> frames;
    frames.push_back(frameOf(image, AV_PIX_FMT_GBRAP16));
    frames[0]->colorspace = AVCOL_SPC_RGB;
    frames[0]->color_trc = transfer;
    frames[0]->color_primaries = primaries;
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
    return middleOf(Reader::open(path("a.mkv"))->read(1), alpha);
  }

  static Colour middleOf(const Image &image, float alpha = 1.0f) {
    const Image floats = toFloat(image);
    const std::size_t pixel = static_cast<std::size_t>(image.width() * (image.height() - 1) + image.width() / 2) * 4;
    EXPECT_NEAR(floats.asFloats()[pixel + 3], alpha, 1e-4);
    return {floats.asFloats()[pixel], floats.asFloats()[pixel + 1], floats.asFloats()[pixel + 2]};
  }

  static void expectNear(const Colour &actual, const Colour &expected, double tolerance) {
    for (int channel = 0; channel < 3; ++channel)
      EXPECT_NEAR(actual[channel], expected[channel], tolerance) << "channel " << channel;
  }
};

// 16 bits in, and the four digits of the matrix.
constexpr double tolerance = 1e-3;

TEST_F(HighRange, TonesFollowTheReportsCurve) {
  for (const double luminance : {0.1, 10.0, 80.0, 90.0, 150.0, 203.0, 500.0, 1000.0, 4000.0})
    EXPECT_NEAR(toneMapped(static_cast<float>(luminance / 203.0)), tonesOf(luminance), 1e-5) << luminance;
}

TEST_F(HighRange, PqBecomesWhatADisplayShows) {
  for (const double luminance : {0.0, 5.0, 50.0, 203.0, 700.0, 10000.0}) {
    const double level = displayed(tonesOf(luminance));
    const double code = pqOf(luminance);
    expectNear(read({code, code, code}, AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020), {level, level, level}, tolerance);
  }
}

TEST_F(HighRange, ColoursKeepTheirHueAndGetThePrimariesOfBt709) {
  for (const Colour &light : {Colour{40.0, 2.0, 10.0}, {600.0, 500.0, 450.0}, {20.0, 60.0, 900.0}}) {
    const Colour wide = times(to2020, light);
    const double brightest = *std::max_element(wide.begin(), wide.end());
    const double gain = tonesOf(brightest) / brightest;
    const Colour expected = mapped(light, [gain](double component) { return displayed(component * gain); });
    // Their matrix of four digits has most weight where a dark component stands beside a bright one.
    expectNear(read(mapped(wide, pqOf), AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020), expected, 0.01);
    // Unsaid, the primaries of PQ are BT.2020's.
    expectNear(read(mapped(wide, pqOf), AVCOL_TRC_SMPTE2084, AVCOL_PRI_UNSPECIFIED), expected, 0.01);
  }
}

TEST_F(HighRange, HlgIsThatOfADisplayOf1000) {
  // BT.2100: the inverse of the camera's curve, and a gamma of 1.2 for the luminance.
  const auto sceneOf = [](double code) {
    constexpr double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    return code <= 0.5 ? code * code / 3.0 : (std::exp((code - c) / a) + b) / 12.0;
  };
  for (const double code : {0.0, 0.2, 0.5, 0.75, 0.9, 1.0}) {
    const double level = displayed(tonesOf(1000.0 * std::pow(sceneOf(code), 1.2)));
    expectNear(read({code, code, code}, AVCOL_TRC_ARIB_STD_B67, AVCOL_PRI_BT2020), {level, level, level}, tolerance);
  }
}

TEST_F(HighRange, WhatAlphaHidesIsConvertedLikeTheRest) {
  const double code = pqOf(50.0);
  const double level = displayed(50.0 / 203.0);
  expectNear(read({code, code, code}, AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020, 0.25f), {level, level, level}, tolerance);
  // The same picture taken for premultiplied: colour is divided by alpha, converted, and multiplied again.
  const double quarter = code / 4.0;
  read({quarter, quarter, quarter}, AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020, 0.25f);
  const Colour premultiplied = middleOf(Reader::open(path("a.mkv"), InputAlpha::Premultiplied)->read(1), 0.25f);
  expectNear(premultiplied, {level / 4.0, level / 4.0, level / 4.0}, tolerance);
  // Alpha that is ignored divides nothing.
  const Colour opaque = middleOf(Reader::open(path("a.mkv"), InputAlpha::None)->read(1));
  const double dark = displayed(luminanceOf(quarter) / 203.0);
  expectNear(opaque, {dark, dark, dark}, tolerance);
}

TEST_F(HighRange, PicturesOf8BitsStayBytes) {
  // One of the 219 levels that luma has.
  const float code = 110.0f / 219.0f;
  const FramePtr frame = frameOf(flat(16, 16, code, code, code, 1.0f), AV_PIX_FMT_YUV444P);
  frame->color_trc = AVCOL_TRC_SMPTE2084;
  frame->color_primaries = AVCOL_PRI_BT2020;
  std::vector<FramePtr> frames;
  frames.emplace_back(av_frame_clone(frame.get()));
  saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  const Image image = Reader::open(path("a.mkv"))->read(1);
  ASSERT_FALSE(image.isFloat());
  EXPECT_NEAR(image.asBytes()[0], 255.0 * displayed(tonesOf(luminanceOf(code))), 0.51);
}

TEST_F(HighRange, WideGamutsOfTheStandardRangeKeepTheirTransfer) {
  const Colour light = {0.3, 0.6, 0.1};
  // Of BT.1886, as a display has it.
  expectNear(read(mapped(times(to2020, light), displayed), AVCOL_TRC_BT2020_10, AVCOL_PRI_BT2020),
             mapped(light, displayed), tolerance);
  expectNear(read(mapped(times(to2020, light), displayed), AVCOL_TRC_UNSPECIFIED, AVCOL_PRI_BT2020),
             mapped(light, displayed), tolerance);
  // Of sRGB, and white, which all of them share.
  for (const AVColorPrimaries primaries : {AVCOL_PRI_BT2020, AVCOL_PRI_SMPTE432})
    expectNear(read({0.6, 0.6, 0.6}, AVCOL_TRC_IEC61966_2_1, primaries), {0.6, 0.6, 0.6}, tolerance);
}

TEST_F(HighRange, OthersAreLeftAsTheyAre) {
  const Colour colour = {0.9, 0.5, 0.1};
  for (const AVColorPrimaries primaries : {AVCOL_PRI_BT709, AVCOL_PRI_SMPTE170M, AVCOL_PRI_UNSPECIFIED})
    for (const AVColorTransferCharacteristic transfer :
         {AVCOL_TRC_BT709, AVCOL_TRC_IEC61966_2_1, AVCOL_TRC_LINEAR, AVCOL_TRC_UNSPECIFIED})
      expectNear(read(colour, transfer, primaries), colour, 1e-5);
}

class Matrix : public HighRange {
 protected:
  /// Luma and the differences of colour, -0.5 .. 0.5, in a lossless movie of 12 bits, as they are read.
  Colour readYuv(const Colour &yuv, AVColorSpace matrix, AVColorTransferCharacteristic transfer,
                 AVColorPrimaries primaries) {
    std::vector<FramePtr> frames;
    frames.push_back(blankFrame(AV_PIX_FMT_YUV444P12, 16, 16));
    AVFrame &frame = *frames[0];
    frame.colorspace = matrix;
    frame.color_trc = transfer;
    frame.color_primaries = primaries;
    frame.color_range = AVCOL_RANGE_MPEG;
    for (int plane = 0; plane < 3; ++plane)
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
          reinterpret_cast<std::uint16_t *>(frame.data[plane] + y * frame.linesize[plane])[x] =
              static_cast<std::uint16_t>(
                  std::lround(plane == 0 ? 256.0 + 3504.0 * yuv[0] : 2048.0 + 3584.0 * yuv[plane]));
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
    return middleOf(Reader::open(path("a.mkv"))->read(1));
  }
};

// 12 bits in.
constexpr double ycgcoTolerance = 2e-3;

TEST_F(Matrix, YCgCo) {
  const Colour rgb = {0.7, 0.4, 0.2};
  const Colour yuv = {rgb[1] / 2 + (rgb[0] + rgb[2]) / 4, rgb[1] / 2 - (rgb[0] + rgb[2]) / 4, (rgb[0] - rgb[2]) / 2};
  expectNear(readYuv(yuv, AVCOL_SPC_YCGCO, AVCOL_TRC_BT709, AVCOL_PRI_BT709), rgb, ycgcoTolerance);
  expectNear(readYuv(yuv, AVCOL_SPC_YCGCO, AVCOL_TRC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED), rgb, ycgcoTolerance);
}

TEST_F(Matrix, ConstantLuminance) {
  // BT.2020: luma is the curve of the luminance, not a sum of curves. Light is a camera's, here and there.
  const auto curve = [](double light) {
    return light < 0.018053968510807 ? 4.5 * light : 1.099296826809442 * std::pow(light, 0.45) - 0.099296826809442;
  };
  const Colour light = {0.5, 0.2, 0.1};
  const double luma = curve(0.2627 * light[0] + 0.6780 * light[1] + 0.0593 * light[2]);
  const double blue = curve(light[2]) - luma;
  const double red = curve(light[0]) - luma;
  const Colour yuv = {luma, blue / (blue <= 0 ? 1.9404 : 1.5816), red / (red <= 0 ? 1.7184 : 0.9936)};
  // The primaries of BT.709 keep them from being converted on.
  expectNear(readYuv(yuv, AVCOL_SPC_BT2020_CL, AVCOL_TRC_BT2020_12, AVCOL_PRI_BT709), mapped(light, curve),
             ycgcoTolerance);
}

TEST_F(Matrix, ICtCpOfPq) {
  const Colour light = {60.0, 30.0, 12.0};
  const Colour lms = mapped(times({{{1688, 2146, 262}, {683, 2951, 462}, {99, 309, 3688}}}, light),
                            [](double sum) { return pqOf(sum / 4096.0); });
  const Colour yuv = mapped(times({{{2048, 2048, 0}, {6610, -13613, 7003}, {17933, -17390, -543}}}, lms),
                            [](double sum) { return sum / 4096.0; });
  const Colour expected = read(mapped(light, pqOf), AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020);
  expectNear(readYuv(yuv, AVCOL_SPC_ICTCP, AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020), expected, 0.01);
}

TEST_F(Matrix, ThatIsNotKnownIsRefused) {
  for (const auto &[matrix, transfer] : {std::pair{AVCOL_SPC_SMPTE2085, AVCOL_TRC_SMPTE2084},
                                         {AVCOL_SPC_ICTCP, AVCOL_TRC_BT709},
                                         {AVCOL_SPC_BT2020_CL, AVCOL_TRC_SMPTE2084},
                                         {AVCOL_SPC_CHROMA_DERIVED_CL, AVCOL_TRC_BT709}}) {
    try {
      readYuv({0.5, 0.0, 0.0}, matrix, transfer, AVCOL_PRI_BT2020);
      ADD_FAILURE() << "read";
    } catch (const InputError &error) {
      EXPECT_NE(std::string(error.what()).find("convert it to BT.709"), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace pyrelux::media::test
