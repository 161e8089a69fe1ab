#include <cmath>

#include "Fit.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

/// Red rises from column to column, green from row to row, opaque.
Image gradient(int width, int height) {
  Image image = Image::floats(width, height, Alpha::Premultiplied);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float *pixel = &image.asFloats()[4 * (static_cast<std::size_t>(y) * width + x)];
      pixel[0] = (static_cast<float>(x) + 0.5f) / static_cast<float>(width);
      pixel[1] = (static_cast<float>(y) + 0.5f) / static_cast<float>(height);
      pixel[3] = 1.0f;
    }
  return image;
}

struct Extent {
  int left, top, right, bottom;  ///< of what is opaque, right and bottom beyond
};

Extent opaquePart(const Image &image) {
  Extent extent{image.width(), image.height(), 0, 0};
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (image.asFloats()[4 * (static_cast<std::size_t>(y) * image.width() + x) + 3] > 0.5f)
        extent = {std::min(extent.left, x), std::min(extent.top, y), std::max(extent.right, x + 1),
                  std::max(extent.bottom, y + 1)};
  return extent;
}

const float *pixelAt(const Image &image, int x, int y) {
  return &image.asFloats()[4 * (static_cast<std::size_t>(y) * image.width() + x)];
}

TEST(Fit, ReachesAsFarAsItsKindSays) {
  const struct {
    Fit fit;
    int width, height;
    double pixelAspect;
    Extent expected;
  } rows[] = {
      {Fit::Contain, 20, 10, 1.0, {0, 10, 40, 30}}, {Fit::Contain, 10, 20, 1.0, {10, 0, 30, 40}},
      {Fit::Contain, 20, 20, 2.0, {0, 10, 40, 30}}, {Fit::Cover, 20, 10, 1.0, {0, 0, 40, 40}},
      {Fit::Stretch, 20, 10, 1.0, {0, 0, 40, 40}},  {Fit::None, 20, 10, 1.0, {10, 15, 30, 25}},
      {Fit::None, 10, 10, 2.0, {10, 15, 30, 25}},   {Fit::None, 80, 10, 1.0, {0, 15, 40, 25}},
      {Fit::Shrink, 20, 10, 1.0, {10, 15, 30, 25}}, {Fit::Shrink, 80, 40, 1.0, {0, 10, 40, 30}},
  };
  for (const auto &row : rows) {
    const Image image = fitted(gradient(row.width, row.height), row.pixelAspect, {40, 40, 1.0}, row.fit);
    EXPECT_EQ(image.width(), 40);
    EXPECT_EQ(image.height(), 40);
    const Extent extent = opaquePart(image);
    EXPECT_EQ(extent.left, row.expected.left);
    EXPECT_EQ(extent.top, row.expected.top);
    EXPECT_EQ(extent.right, row.expected.right);
    EXPECT_EQ(extent.bottom, row.expected.bottom);
  }
}

TEST(Fit, CoverShowsTheMiddle) {
  const Image image = fitted(gradient(80, 20), 1.0, {40, 40, 1.0}, Fit::Cover);
  // A quarter of its width is seen: 3/8 to 5/8.
  EXPECT_NEAR(pixelAt(image, 0, 20)[0], 0.375f + 0.25f * 0.5f / 40.0f, 0.002f);
  EXPECT_NEAR(pixelAt(image, 39, 20)[0], 0.625f - 0.25f * 0.5f / 40.0f, 0.002f);
  EXPECT_NEAR(pixelAt(image, 20, 10)[1], 10.5f / 40.0f, 0.002f);
}

TEST(Fit, ScalesSmoothlyBothWays) {
  for (const int size : {10, 64, 160}) {
    const Image image = fitted(gradient(40, 40), 1.0, {size, size, 1.0}, Fit::Stretch);
    for (int x = size / 4; x < size * 3 / 4; ++x)
      EXPECT_NEAR(pixelAt(image, x, size / 2)[0], (static_cast<float>(x) + 0.5f) / static_cast<float>(size), 0.002f);
  }
}

TEST(Fit, LeavesPixelsThatNeedNoScalingAsTheyAre) {
  Image image = Image::bytes(2, 1, Alpha::Straight);
  image.asBytes() = {200, 100, 50, 128, 1, 2, 3, 255};
  const Image same = fitted(image, 1.0, {2, 1, 1.0}, Fit::Cover);
  EXPECT_EQ(same.asBytes(), premultiplied(image).asBytes());
  const Image wide = fitted(image, 1.0, {6, 1, 1.0}, Fit::Shrink);
  EXPECT_EQ(wide.alpha(), Alpha::Premultiplied);
  EXPECT_EQ(wide.asBytes()[7], 0);
  EXPECT_EQ(wide.asBytes()[11], 128);
  EXPECT_EQ(wide.asBytes()[12], 1);
  EXPECT_EQ(wide.asBytes()[16], 0);
}

TEST(Fit, OfALineIsNoLargerThanItsTarget) {
  // Scaled as a whole, it would have 16384 times as many rows.
  const Image image = fitted(gradient(1, 16384), 1.0, {64, 64, 1.0}, Fit::Cover);
  EXPECT_NEAR(pixelAt(image, 32, 0)[1], 0.5f, 0.001f);
}

TEST(FrameAtSameTime, IsTheOneShown) {
  const FrameRate film{24, 1};
  const FrameRate ntsc{30000, 1001};
  EXPECT_EQ(frameAtSameTime(0, film, ntsc), 0);
  EXPECT_EQ(frameAtSameTime(23, film, film), 23);
  EXPECT_EQ(frameAtSameTime(3, film, {12, 1}), 1);
  EXPECT_EQ(frameAtSameTime(4, film, {12, 1}), 2);
  EXPECT_EQ(frameAtSameTime(24, film, ntsc), 29);
  EXPECT_EQ(frameAtSameTime(1001 * 24, film, ntsc), 30000);
}

}  // namespace
}  // namespace pyrelux::media::test
