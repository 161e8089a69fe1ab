#include "Picture.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cmath>
#include <limits>

#include "Over.h"

namespace pyrelux::studio {
namespace {

/// Red, green and blue of a JPEG.
std::vector<std::uint8_t> decoded(const std::vector<std::uint8_t> &jpeg, int width, int height) {
  void *decoder = tjInitDecompress();
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 3);
  EXPECT_EQ(tjDecompress2(decoder, jpeg.data(), jpeg.size(), pixels.data(), width, 0, height, TJPF_RGB, 0), 0);
  tjDestroy(decoder);
  return pixels;
}

/// One colour everywhere, so that a JPEG keeps it nearly exactly.
Image flat(int width, int height, const std::array<float, 4> &colour) {
  Image image = Image::floats(width, height, Alpha::Premultiplied);
  for (std::size_t at = 0; at < image.asFloats().size(); ++at) image.asFloats()[at] = colour[at % 4];
  return image;
}

void expectColour(const std::vector<std::uint8_t> &pixels, const std::array<int, 3> &colour) {
  for (std::size_t at = 0; at < pixels.size(); ++at) ASSERT_NEAR(pixels[at], colour[at % 3], 4) << at;
}

TEST(DraftEncoder, LaysThePictureOverAColourAsRendersDo) {
  DraftEncoder encoder;
  const Colour grey{0.5, 0.25, 0.0};
  for (const bool isFloat : {true, false}) {
    const Image deep = flat(35, 17, {0.3f, 0.2f, 0.1f, 0.5f});
    const Image front = isFloat ? deep : toBytes(deep);
    const Image laid = toBytes(over(front, grey));
    expectColour(decoded(encoder.encode(front, {grey, nullptr}), 35, 17),
                 {laid.asBytes()[0], laid.asBytes()[1], laid.asBytes()[2]});
  }
}

TEST(DraftEncoder, LaysThePictureOverAPicture) {
  DraftEncoder encoder;
  const auto back = std::make_shared<const Image>(flat(32, 32, {0.8f, 0.4f, 0.2f, 1.0f}));
  expectColour(decoded(encoder.encode(flat(32, 32, {0.1f, 0.0f, 0.0f, 0.5f}), {{}, back}), 32, 32), {128, 51, 26});
}

TEST(DraftEncoder, LimitsLightAndTakesWhatIsNoNumberForNone) {
  DraftEncoder encoder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  expectColour(decoded(encoder.encode(flat(16, 16, {7.0f, -3.0f, nan, 2.0f}), {{1, 1, 1}, nullptr}), 16, 16),
               {255, 0, 0});
}

TEST(DraftEncoder, TakesPicturesOfOnePixel) {
  DraftEncoder encoder;
  expectColour(decoded(encoder.encode(flat(1, 1, {1, 1, 1, 1}), {}), 1, 1), {255, 255, 255});
}

TEST(Checkerboard, HasSquaresOfTwoGreys) {
  const Image board = checkerboard(40, 40, 16);
  const auto at = [&](int x, int y) { return board.asFloats()[static_cast<std::size_t>((y * 40 + x) * 4)]; };
  EXPECT_EQ(at(0, 0), at(15, 15));
  EXPECT_NE(at(0, 0), at(16, 0));
  EXPECT_EQ(at(0, 0), at(16, 16));
  EXPECT_EQ(board.asFloats()[3], 1.0f);
}

}  // namespace
}  // namespace pyrelux::studio
