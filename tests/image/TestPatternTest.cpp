#include "TestPattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace pyrelux {
namespace {

using testing::ElementsAre;

using Pixel = std::array<int, 4>;

constexpr int width = 64;
constexpr int height = 32;

Pixel at(const Image &image, int x, int y) {
  const std::uint8_t *sample = &image.asBytes()[(static_cast<std::size_t>(y) * image.width() + x) * 4];
  return {sample[0], sample[1], sample[2], sample[3]};
}

Image pattern(const std::string &name) { return testPattern(name, width, height, false); }

constexpr Pixel white{255, 255, 255, 255};
constexpr Pixel transparent{0, 0, 0, 0};

TEST(TestPattern, NamesAreThese) {
  EXPECT_THAT(testPatternNames(), ElementsAre("bars", "checker", "circle", "ramp", "title"));
}

TEST(TestPattern, HasTheSizeAndKindThatWereAskedFor) {
  for (const std::string &name : testPatternNames())
    for (const auto &[w, h] : {std::pair{64, 32}, {1, 1}, {7, 1}, {1, 9}, {33, 17}})
      for (const bool isFloat : {false, true}) {
        const Image image = testPattern(name, w, h, isFloat);
        EXPECT_EQ(image.width(), w);
        EXPECT_EQ(image.height(), h);
        EXPECT_EQ(image.isFloat(), isFloat);
        EXPECT_EQ(image.alpha(), Alpha::Premultiplied);
      }
}

TEST(TestPattern, BarsGoFromWhiteToBlack) {
  const Image bars = pattern("bars");
  const Pixel expected[] = {white,
                            {255, 255, 0, 255},
                            {0, 255, 255, 255},
                            {0, 255, 0, 255},
                            {255, 0, 255, 255},
                            {255, 0, 0, 255},
                            {0, 0, 255, 255},
                            {0, 0, 0, 255}};
  for (int x = 0; x < width; ++x)
    for (const int y : {0, height - 1}) ASSERT_EQ(at(bars, x, y), expected[x / 8]) << x;
}

TEST(TestPattern, CheckerHasEightSquaresToTheHeight) {
  const Image checker = pattern("checker");
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) ASSERT_EQ(at(checker, x, y), (x / 4 + y / 4) % 2 ? transparent : white);
}

TEST(TestPattern, CircleIsRoundAndInTheMiddle) {
  const Image circle = pattern("circle");
  double area = 0.0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      area += at(circle, x, y)[3] / 255.0;
      ASSERT_EQ(at(circle, x, y), at(circle, width - 1 - x, y));
      ASSERT_EQ(at(circle, x, y), at(circle, x, height - 1 - y));
    }
  EXPECT_EQ(at(circle, width / 2, height / 2), white);
  EXPECT_EQ(at(circle, 0, 0), transparent);
  // Half of the height across: a radius of 8.
  EXPECT_NEAR(area, 3.14159 * 8 * 8, 1.0);
}

TEST(TestPattern, RampRisesEvenly) {
  const Image ramp = testPattern("ramp", width, height, true);
  for (int x = 0; x < width; ++x)
    for (std::size_t channel = 0; channel < 4; ++channel)
      ASSERT_FLOAT_EQ(ramp.asFloats()[static_cast<std::size_t>(x) * 4 + channel],
                      static_cast<float>(x) / static_cast<float>(width - 1));
  EXPECT_EQ(at(pattern("ramp"), 0, 5), transparent);
  EXPECT_EQ(at(pattern("ramp"), width - 1, 5), white);
}

TEST(TestPattern, TitleIsInTheMiddle) {
  const Image title = pattern("title");
  // Dots of one pixel: 41 columns and 7 rows from (11, 12).
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      if (x < 11 || x >= 52 || y < 12 || y >= 19) {
        ASSERT_EQ(at(title, x, y), transparent) << x << "," << y;
      }
  // The P's stem, its foot's right, and the X's last arm.
  for (int y = 12; y < 19; ++y) EXPECT_EQ(at(title, 11, y), white);
  EXPECT_EQ(at(title, 15, 18), transparent);
  EXPECT_EQ(at(title, 51, 12), white);
  EXPECT_EQ(at(title, 51, 15), transparent);
  EXPECT_EQ(at(title, 51, 18), white);
}

}  // namespace
}  // namespace pyrelux
