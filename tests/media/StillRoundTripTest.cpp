#include <cmath>
#include <limits>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

using StillRoundTrip = MediaTest;

TEST_F(StillRoundTrip, Png8IsExact) {
  for (const auto &[width, height] : {std::pair{13, 7}, {1, 1}, {3, 1}, {1, 5}, {64, 33}}) {
    const Image straight = straightPicture(width, height);
    // Where alpha is 0, premultiplied bytes could not hold the colour; floats with a straight tag can.
    write(path("a.png"), formatFor(straight, 8), {straight});
    expectSame(readStill(path("a.png")), straight);
  }
}

TEST_F(StillRoundTrip, PngHoldsStraightAlphaOfPremultipliedPictures) {
  Image straight = straightPicture(13, 7);
  Image expected = straight;
  // Premultiplied, colour under alpha 0 is lost.
  for (std::size_t sample = 0; sample < expected.sampleCount(); sample += 4)
    if (expected.asBytes()[sample + 3] == 0) std::fill_n(&expected.asBytes()[sample], 3, std::uint8_t{0});
  write(path("a.png"), formatFor(straight, 8), {premultiplied(toFloat(straight))});
  expectSame(readStill(path("a.png")), expected);
}

TEST_F(StillRoundTrip, Png8ReportsItself) {
  write(path("a.png"), {5, 3, 8, {}}, {straightPicture(5, 3)});
  const InputInfo info = Reader::open(path("a.png"))->info();
  EXPECT_EQ(info.kind, InputKind::Still);
  EXPECT_EQ(info.width, 5);
  EXPECT_EQ(info.height, 3);
  EXPECT_TRUE(info.hasAlpha);
  EXPECT_EQ(info.bitsPerComponent, 8);
  EXPECT_EQ(info.pixelAspect, 1.0);
  EXPECT_EQ(info.firstFrame, 0);
  EXPECT_EQ(info.lastFrame, 0);
  EXPECT_EQ(info.frameRate.perSecond(), 24.0);
}

TEST_F(StillRoundTrip, Png16IsExact) {
  for (const auto &[width, height] : {std::pair{13, 7}, {1, 1}, {33, 5}}) {
    const Image straight = deepStraightPicture(width, height);
    write(path("a.png"), formatFor(straight, 16), {straight});
    EXPECT_EQ(Reader::open(path("a.png"))->info().bitsPerComponent, 16);
    // v / 65535 was made by the same division as the reader's.
    expectSame(readStill(path("a.png")), straight);
  }
}

TEST_F(StillRoundTrip, Png16HoldsBytesExactly) {
  const Image straight = straightPicture(9, 4);
  write(path("a.png"), formatFor(straight, 16), {straight});
  expectSame(toBytes(readStill(path("a.png"))), straight);
}

TEST_F(StillRoundTrip, Png8TakesFloatsLimited) {
  const float level = 127.0f / 255.0f;
  write(path("a.png"), {2, 2, 8, {}}, {flat(2, 2, level, 2.0f, -1.0f, 1.0f)});
  const Image image = readStill(path("a.png"));
  EXPECT_EQ(image.asBytes()[0], 127);
  EXPECT_EQ(image.asBytes()[1], 255);
  EXPECT_EQ(image.asBytes()[2], 0);
  EXPECT_EQ(image.asBytes()[3], 255);
}

TEST_F(StillRoundTrip, ExrKeepsHalvesExactly) {
  Image image = Image::floats(7, 5, Alpha::Premultiplied);
  // Glow above alpha and above 1, small values, negative ones, colour where alpha is 0: all of them halves.
  const float values[] = {3.5f, 0.25f, 60000.0f, 0.0f, -0.5f, 6.1035156e-5f, 1.0f, 0.5f, 0.0f, 1.5f};
  for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
    image.asFloats()[sample] = sample % 4 == 3 ? 0.125f * static_cast<float>(sample % 8)
                                               : values[(sample * 7 + sample / 4) % std::size(values)];
  image.asFloats()[3] = 0.0f;
  write(path("a.exr"), formatFor(image, 16), {image});
  const auto reader = Reader::open(path("a.exr"));
  EXPECT_TRUE(reader->info().hasAlpha);
  EXPECT_EQ(reader->info().bitsPerComponent, 32);
  expectSame(reader->read(0), image);
}

TEST_F(StillRoundTrip, ExrLosesNoMoreThanTheLastBitOfAHalf) {
  Image image = Image::floats(16, 16, Alpha::Premultiplied);
  for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
    image.asFloats()[sample] = 0.01f + static_cast<float>(sample) * 0.0037f;
  write(path("a.exr"), formatFor(image, 8), {image});
  const Image read = readStill(path("a.exr"));
  for (std::size_t sample = 0; sample < image.sampleCount(); ++sample) {
    const float drawn = image.asFloats()[sample];
    const float expected = sample % 4 == 3 ? std::min(drawn, 1.0f) : drawn;
    // 10 bits of mantissa; the encoder cuts rather than rounds, so one whole unit of the last place.
    EXPECT_NEAR(read.asFloats()[sample], expected, std::ldexp(expected, -10));
  }
}

TEST_F(StillRoundTrip, ExrOfASinglePixel) {
  const Image image = flat(1, 1, 2.0f, 0.5f, 0.25f, 0.0f);
  write(path("a.exr"), formatFor(image, 8), {image});
  expectSame(readStill(path("a.exr")), image);
}

TEST_F(StillRoundTrip, ExrPremultipliesStraightPictures) {
  Image straight = Image::floats(1, 1, Alpha::Straight);
  straight.asFloats() = {0.5f, 1.0f, 0.25f, 0.5f};
  write(path("a.exr"), formatFor(straight, 8), {straight});
  expectSame(readStill(path("a.exr")), flat(1, 1, 0.25f, 0.5f, 0.125f, 0.5f));
}

TEST_F(StillRoundTrip, ExtensionInUpperCase) {
  const Image straight = straightPicture(4, 3);
  write(path("A.PNG"), formatFor(straight, 8), {straight});
  expectSame(readStill(path("A.PNG")), straight);
}

TEST_F(StillRoundTrip, PercentSignsInNames) {
  const Image straight = straightPicture(4, 3);
  write(path("100%.png"), formatFor(straight, 8), {straight});
  write(path("x%%04d.png"), formatFor(straight, 8), {straight});
  EXPECT_EQ(names(), (std::vector<std::string>{"100%.png", "x%04d.png"}));
  expectSame(readStill(path("100%.png")), straight);
  expectSame(readStill(path("x%%04d.png")), straight);
  // A file that exists under the very name is meant by it, pattern or not.
  expectSame(readStill(path("x%04d.png")), straight);
}

TEST_F(StillRoundTrip, NameWithAProtocolsPrefixIsAName) {
  const Image straight = straightPicture(4, 3);
  write(path("http:a.png"), formatFor(straight, 8), {straight});
  expectSame(readStill(path("http:a.png")), straight);
}

TEST_F(StillRoundTrip, AnswersEveryFrameWithTheSamePicture) {
  const Image straight = straightPicture(4, 3);
  write(path("a.png"), formatFor(straight, 8), {straight});
  const auto reader = Reader::open(path("a.png"));
  for (const std::int64_t frame : {std::int64_t{0}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::max()})
    expectSame(reader->read(frame), straight);
}

}  // namespace
}  // namespace pyrelux::media::test
