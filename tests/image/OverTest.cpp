#include <gtest/gtest.h>

#include "Over.h"

namespace pyrelux {
namespace {

Image floats(const Image::Floats &samples) {
  Image image = Image::floats(static_cast<int>(samples.size() / 4), 1, Alpha::Premultiplied);
  image.asFloats() = samples;
  return image;
}

TEST(Over, AddsWhatTheFrontLetsThrough) {
  const Image front = floats({0.5f, 0.25f, 0.0f, 0.75f,  //
                              2.0f, 0.0f, 0.0f, 0.0f,    // glow without alpha is light that is added
                              0.5f, 0.5f, 0.5f, 1.0f,    //
                              1.0f, 1.0f, 1.0f, 6.7f});  // more than opaque
  const Image back = floats({1.0f, 0.5f, 0.25f, 1.0f,    //
                             1.0f, 0.5f, 0.25f, 1.0f,    //
                             1.0f, 1.0f, 1.0f, 1.0f,     //
                             1.0f, 1.0f, 1.0f, 1.0f});
  const Image expected = floats({0.75f, 0.375f, 0.0625f, 1.0f,  //
                                 3.0f, 0.5f, 0.25f, 1.0f,       //
                                 0.5f, 0.5f, 0.5f, 1.0f,        //
                                 1.0f, 1.0f, 1.0f, 1.0f});
  EXPECT_EQ(over(front, back).asFloats(), expected.asFloats());
  EXPECT_EQ(over(front, back).alpha(), Alpha::Premultiplied);
}

TEST(Over, WhatIsBehindIsOpaqueWhateverItsAlpha) {
  const Image result = over(floats({0.25f, 0.0f, 0.0f, 0.5f}), floats({0.5f, 0.0f, 0.0f, 0.5f}));
  EXPECT_EQ(result.asFloats(), (Image::Floats{0.5f, 0.0f, 0.0f, 1.0f}));
}

TEST(Over, ADenseFireCoversMore) {
  // 1 - (1 - 0.5)^2 = 0.75 is covered at most; halfway from 0.25 that is 0.5.
  const Image front = floats({0.5f, 0.25f, 0.0f, 0.25f});
  const std::array<double, 3> white{1.0, 1.0, 1.0};
  EXPECT_EQ(over(front, white, 0.0f).asFloats(), (Image::Floats{1.25f, 1.0f, 0.75f, 1.0f}));
  EXPECT_EQ(over(front, white, 0.5f).asFloats(), (Image::Floats{1.0f, 0.75f, 0.5f, 1.0f}));
  EXPECT_EQ(over(front, white, 1.0f).asFloats(), (Image::Floats{0.75f, 0.5f, 0.25f, 1.0f}));
}

TEST(Over, AColourIsOpaque) {
  const Image front = floats({0.5f, 0.25f, 0.0f, 0.75f, 0.0f, 0.0f, 0.0f, 0.0f});
  EXPECT_EQ(over(front, std::array<double, 3>{1.0, 0.5, 0.25}).asFloats(),
            (Image::Floats{0.75f, 0.375f, 0.0625f, 1.0f, 1.0f, 0.5f, 0.25f, 1.0f}));
}

TEST(Over, BytesAreRoundedOnceOnly) {
  // 1 / 255 and the 127.5 / 255 that a front of alpha 0 lets through are 128.5 / 255.
  Image front = Image::bytes(1, 1, Alpha::Premultiplied);
  front.asBytes() = {1, 0, 0, 0};
  const Image result = over(front, std::array<double, 3>{0.5, 0.5, 0.5});
  ASSERT_TRUE(result.isFloat());
  EXPECT_FLOAT_EQ(result.asFloats()[0], 128.5f / 255.0f);
}

}  // namespace
}  // namespace pyrelux
