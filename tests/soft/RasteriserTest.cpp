// Compares the rasteriser with the reference on random scenes.

#include "Rasteriser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ostream>

#include "Reference.h"
#include "Scenes.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

struct Difference {
  int x = -1, y = -1, channel = -1;
  double expected = 0, drawn = 0;
};

std::ostream &operator<<(std::ostream &out, const Difference &d) {
  return out << "pixel " << d.x << "," << d.y << " channel " << d.channel << ": expected " << d.expected << ", drawn "
             << d.drawn;
}

/// The first sample that differs by more than `slack(expected)`; x is -1 if none does.
template <typename Slack>
Difference firstDifference(const Pixels &expected, const Pixels &drawn, Slack slack) {
  const bool bytes = expected.samples() == Samples::Byte;
  for (int y = 0; y < expected.height(); ++y)
    for (int i = 0; i < 4 * expected.width(); ++i) {
      const double a = bytes ? expected.byteRow(y)[i] : expected.floatRow(y)[i];
      const double b = bytes ? drawn.byteRow(y)[i] : drawn.floatRow(y)[i];
      if (!(std::abs(a - b) <= slack(a))) return {i / 4, y, i % 4, a, b};
    }
  return {};
}

struct Size {
  int width;
  int height;
};

constexpr Size sizes[] = {{1, 1}, {2, 3}, {17, 5}, {31, 33}, {64, 64}, {129, 40}, {200, 70}, {1, 90}, {333, 1}};

void drawBoth(const std::vector<Pass> &passes, Pixels &reference, std::shared_ptr<Pixels> &fast) {
  for (const Pass &pass : passes) drawByReference(pass, reference);
  bool blank = false;
  draw(passes, fast, blank);
  materialiseClear(fast, blank);
}

class RandomScenes : public ::testing::TestWithParam<int> {
 protected:
  Random random{static_cast<unsigned>(GetParam())};

  Pass flame(Samples textureSamples, const Pixels &target, int quads) {
    const auto picture = static_cast<Picture>(between(random, 0, 5));
    const Size size = between(random, 0, 1) ? Size{target.width(), target.height()} : sizes[between(random, 0, 8)];
    Pass pass;
    pass.texture = std::make_shared<Pixels>(makePicture(random, picture, textureSamples, size.width, size.height));
    pass.filter = Filter::Linear;
    pass.blend = Blend::Add;
    if (between(random, 0, 7) == 0)
      for (bool &channel : pass.mask) channel = between(random, 0, 1) == 1;
    for (int i = 0; i < quads; ++i) pass.quads.push_back(makeQuad(random, *pass.texture, target));
    return pass;
  }
};

TEST_P(RandomScenes, FlamesOnBytesAreTheReferenceToTheByte) {
  for (const Size size : sizes) {
    Pixels reference = makePicture(random, Picture::Noise, Samples::Byte, size.width, size.height);
    auto fast = std::make_shared<Pixels>(reference);
    const auto samples = between(random, 0, 3) ? Samples::Byte : Samples::Float;
    drawBoth({flame(samples, reference, between(random, 1, 12))}, reference, fast);
    const Difference difference = firstDifference(reference, *fast, [](double) { return 0.0; });
    ASSERT_EQ(difference.x, -1) << difference << " at " << size.width << "x" << size.height << ", start " << GetParam();
  }
}

TEST_P(RandomScenes, FlamesOnFloatsAreTheReferenceWithinRounding) {
  for (const Size size : sizes) {
    Pixels reference = makePicture(random, Picture::Noise, Samples::Float, size.width, size.height);
    auto fast = std::make_shared<Pixels>(reference);
    const int quads = between(random, 1, 12);
    const auto samples = between(random, 0, 1) ? Samples::Byte : Samples::Float;
    drawBoth({flame(samples, reference, quads)}, reference, fast);
    // Single precision, a few roundings for each copy.
    const Difference difference =
        firstDifference(reference, *fast, [&](double value) { return (value + 1) * 6e-8 * 6 * (quads + 1); });
    ASSERT_EQ(difference.x, -1) << difference << " at " << size.width << "x" << size.height << ", start " << GetParam();
  }
}

TEST_P(RandomScenes, OtherPassesAreTheReferenceToTheByte) {
  for (const Size size : sizes) {
    const auto samples = between(random, 0, 1) ? Samples::Byte : Samples::Float;
    Pixels reference = makePicture(random, Picture::Premultiplied, samples, size.width, size.height);
    auto fast = std::make_shared<Pixels>(reference);
    std::vector<Pass> passes;
    for (int i = 0; i < 4; ++i) {
      Pass pass = flame(between(random, 0, 1) ? Samples::Byte : Samples::Float, reference, 2);
      pass.blend = static_cast<Blend>(between(random, 0, 2));
      pass.filter = between(random, 0, 1) ? Filter::Linear : Filter::Nearest;
      if (between(random, 0, 2) == 0) pass.texture.reset();
      // Like the passes that draw a picture over the target, texel for pixel.
      if (pass.texture && between(random, 0, 1)) {
        pass.quads.resize(1);
        pass.quads[0].x = makeAxis(0, pass.texture->width(), 0, pass.texture->width(), size.width);
        pass.quads[0].y = makeAxis(0, pass.texture->height(), 0, pass.texture->height(), size.height);
      }
      passes.push_back(std::move(pass));
    }
    drawBoth(passes, reference, fast);
    const bool bytes = samples == Samples::Byte;
    const Difference difference =
        firstDifference(reference, *fast, [&](double value) { return bytes ? 0.0 : (value + 1) * 1e-6; });
    ASSERT_EQ(difference.x, -1) << difference << " at " << size.width << "x" << size.height << ", start " << GetParam();
  }
}

INSTANTIATE_TEST_SUITE_P(Starts, RandomScenes, ::testing::Range(1, 61));

TEST_P(RandomScenes, WideFlamesOnFloatsAreTheReferenceWithinAStepOfPositions) {
  for (const int width : {511, 512, 1500}) {
    Pixels reference = makePicture(random, Picture::Noise, Samples::Float, width, 9);
    auto fast = std::make_shared<Pixels>(reference);
    const int quads = between(random, 1, 12);
    Pass pass = flame(Samples::Byte, reference, quads);
    pass.texture = std::make_shared<Pixels>(makePicture(random, Picture::Noise, Samples::Byte, width, 9));
    pass.quads.clear();
    for (int i = 0; i < quads; ++i) pass.quads.push_back(makeQuad(random, *pass.texture, reference));
    drawBoth({pass}, reference, fast);
    // Each copy's position may be off by half a step of 1/32767 texel, between texels that differ by 1 at most.
    const double steps = width < 512 ? 0 : 1.0 / 65534;
    const Difference difference = firstDifference(
        reference, *fast, [&](double value) { return (value + 1) * 6e-8 * 6 * (quads + 1) + steps * quads; });
    ASSERT_EQ(difference.x, -1) << difference << " at " << width << ", start " << GetParam();
  }
}

TEST(Rasteriser, CopiesAtAboutHalfTheirSizeAreTheReference) {
  // There, the texels of neighbouring pixels just fit into one load of a kernel, or just do not.
  Random random(11);
  const auto texture = std::make_shared<Pixels>(makePicture(random, Picture::Noise, Samples::Byte, 1100, 20));
  for (const Samples samples : {Samples::Byte, Samples::Float})
    for (double texels = 1.8; texels < 2.4; texels += 0.007) {
      Pass pass;
      pass.texture = texture;
      pass.blend = Blend::Add;
      pass.quads = {
          {makeAxis(3, 3 + 1100 / texels, 0, 1100, 640), makeAxis(0, 15, 0, 20, 16), {0.9f, 0.7f, 0.5f, 1.0f}}};
      Pixels reference(samples, 640, 16);
      auto fast = std::make_shared<Pixels>(reference);
      drawBoth({pass}, reference, fast);
      // On floats, half a step of a position.
      const double slack = samples == Samples::Byte ? 0.0 : 1e-6 + 1.0 / 65534;
      const Difference difference = firstDifference(reference, *fast, [&](double) { return slack; });
      ASSERT_EQ(difference.x, -1) << difference << " at " << texels << " texels in a pixel";
    }
}

TEST(Rasteriser, LargeStripesOfManyCopiesAreTheReferenceToTheByte) {
  Random random(7);
  for (const Size size : {Size{4097, 33}, Size{1025, 130}}) {
    Pixels reference(Samples::Byte, size.width, size.height);
    auto fast = std::make_shared<Pixels>(reference);
    Pass pass;
    pass.texture =
        std::make_shared<Pixels>(makePicture(random, Picture::Opaque, Samples::Byte, size.width, size.height));
    pass.blend = Blend::Add;
    for (int i = 0; i < 20; ++i) pass.quads.push_back(makeQuad(random, *pass.texture, reference));
    drawBoth({pass}, reference, fast);
    const Difference difference = firstDifference(reference, *fast, [](double) { return 0.0; });
    ASSERT_EQ(difference.x, -1) << difference;
  }
}

TEST(Rasteriser, MoreScaledCopiesThanABatchAreTheReferenceToTheByte) {
  Random random(11);
  Pixels reference(Samples::Byte, 40, 20);
  auto fast = std::make_shared<Pixels>(reference);
  Pass pass;
  pass.texture = std::make_shared<Pixels>(makePicture(random, Picture::Noise, Samples::Byte, 40, 20));
  pass.blend = Blend::Add;
  for (int i = 0; i < 1500; ++i) {
    Quad quad = makeQuad(random, *pass.texture, reference);
    for (float &channel : quad.colour) channel *= 0.01f;
    pass.quads.push_back(quad);
  }
  drawBoth({pass}, reference, fast);
  const Difference difference = firstDifference(reference, *fast, [](double) { return 0.0; });
  ASSERT_EQ(difference.x, -1) << difference;
}

TEST(Rasteriser, ABlankTargetIsBlackWhateverItHeld) {
  Random random(3);
  Pixels held = makePicture(random, Picture::Noise, Samples::Byte, 50, 40);
  const Pixels black(Samples::Byte, 50, 40);
  Pass pass;
  pass.texture = std::make_shared<Pixels>(makePicture(random, Picture::Noise, Samples::Byte, 20, 10));
  pass.blend = Blend::Add;
  for (const bool oneForOne : {true, false}) {
    const double shift = oneForOne ? 0.0 : 0.3;
    pass.quads = {{makeAxis(5 + shift, 25 + shift, 0, 20, 50), makeAxis(7, 17, 0, 10, 40), {1, 1, 1, 1}}};
    Pixels reference = black;
    drawByReference(pass, reference);
    auto fast = std::make_shared<Pixels>(held);
    bool blank = true;
    draw({pass}, fast, blank);
    EXPECT_FALSE(blank);
    const Difference difference = firstDifference(reference, *fast, [](double) { return 0.0; });
    EXPECT_EQ(difference.x, -1) << difference;
  }
  bool blank = true;
  auto untouched = std::make_shared<Pixels>(held);
  draw({}, untouched, blank);
  EXPECT_TRUE(blank) << "nothing was drawn";
  materialiseClear(untouched, blank);
  EXPECT_EQ(firstDifference(black, *untouched, [](double) { return 0.0; }).x, -1);
}

/// A pass that covers a target of 20 x 10 with a texture of that size.
Pass wholePass(const std::shared_ptr<const Pixels> &texture, Blend blend, Colour colour) {
  Pass pass;
  pass.texture = texture;
  pass.blend = blend;
  pass.quads = {{makeAxis(0, 20, 0, 20, 20), makeAxis(0, 10, 0, 10, 10), colour}};
  return pass;
}

TEST(SharedPixels, ACopyOfATextureTakesNoPixelsOfItsOwnUntilItIsDrawnInto) {
  Random random(5);
  for (const Samples samples : {Samples::Byte, Samples::Float}) {
    const auto texture = std::make_shared<const Pixels>(makePicture(random, Picture::Noise, samples, 20, 10));
    const Pixels before = *texture;
    auto target = std::make_shared<Pixels>(samples, 20, 10);
    bool blank = true;
    draw({wholePass(texture, Blend::Add, {1, 1, 1, 1})}, target, blank);
    EXPECT_EQ(target.get(), texture.get());
    EXPECT_FALSE(blank);

    auto reference = Pixels(before);
    const Pass more = wholePass(std::make_shared<const Pixels>(before), Blend::Add, {0.5f, 0.25f, 1, 0.125f});
    drawByReference(more, reference);
    draw({more}, target, blank);
    EXPECT_NE(target.get(), texture.get());
    EXPECT_EQ(firstDifference(reference, *target, [](double) { return 1e-6; }).x, -1);
    EXPECT_EQ(firstDifference(before, *texture, [](double) { return 0.0; }).x, -1) << "the texture was drawn into";

    // A blank target does not clear pixels that it shares.
    std::shared_ptr<Pixels> cleared = std::const_pointer_cast<Pixels>(texture);
    blank = true;
    materialiseClear(cleared, blank);
    EXPECT_EQ(firstDifference(Pixels(samples, 20, 10), *cleared, [](double) { return 0.0; }).x, -1);
    EXPECT_EQ(firstDifference(before, *texture, [](double) { return 0.0; }).x, -1) << "the texture was cleared";
  }
}

TEST(SharedPixels, WhatIsNotACopyIsDrawn) {
  Random random(6);
  const auto texture = std::make_shared<const Pixels>(makePicture(random, Picture::Noise, Samples::Byte, 20, 10));
  Pass shifted = wholePass(texture, Blend::Replace, {1, 1, 1, 1});
  shifted.quads[0].x = makeAxis(0, 20, 1, 21, 20);
  Pass masked = wholePass(texture, Blend::Replace, {1, 1, 1, 1});
  masked.mask[2] = false;
  const Pass tinted = wholePass(texture, Blend::Replace, {1, 1, 0.5f, 1});
  const Pass added = wholePass(texture, Blend::Add, {1, 1, 1, 1});
  for (const Pass &pass : {shifted, masked, tinted, added}) {
    auto target = std::make_shared<Pixels>(makePicture(random, Picture::Noise, Samples::Byte, 20, 10));
    Pixels reference = *target;
    drawByReference(pass, reference);
    bool blank = false;
    draw({pass}, target, blank);
    EXPECT_NE(target.get(), texture.get());
    EXPECT_EQ(firstDifference(reference, *target, [](double) { return 0.0; }).x, -1);
  }
}

}  // namespace
}  // namespace pyrelux::soft
