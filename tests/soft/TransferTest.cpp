// Tests uploads and reads: rows, kinds of samples, regions.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

void store(GLenum internalFormat, int width, int height, GLenum type, const void *pixels) {
  glTexImage2D(rectangle, 0, static_cast<GLint>(internalFormat), width, height, 0, GL_RGBA, type, pixels);
}

/// Draws the bound texture over the screen, texel for pixel.
void show(const Screen &screen) {
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  const Box whole{0, 0, static_cast<double>(screen.width()), static_cast<double>(screen.height())};
  drawQuad(whole, whole);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

class Rows : public ::testing::TestWithParam<std::tuple<int, int>> {
 protected:
  int alignment() const { return std::get<0>(GetParam()); }
  int width() const { return std::get<1>(GetParam()); }
  static constexpr int height = 3;
  /// OpenGL 1.4, section 3.6.3: rows of bytes begin at multiples of the alignment.
  std::size_t stride() const {
    return static_cast<std::size_t>((4 * width() + alignment() - 1) / alignment() * alignment());
  }
  std::size_t rowBytes() const { return static_cast<std::size_t>(4 * width()); }
};

TEST_P(Rows, AreUnpackedByTheirAlignment) {
  const Screen screen(width(), height);
  const auto pixels = pattern(width(), height);
  std::vector<std::uint8_t> padded(stride() * height, 0xEE);
  for (std::size_t y = 0; y < height; ++y)
    std::copy_n(pixels.begin() + static_cast<std::ptrdiff_t>(y * rowBytes()), rowBytes(),
                padded.begin() + static_cast<std::ptrdiff_t>(y * stride()));
  // There is no padding after the last row.
  padded.resize(stride() * (height - 1) + rowBytes());
  padded.shrink_to_fit();
  bindNewTexture();
  glPixelStorei(GL_UNPACK_ALIGNMENT, alignment());
  store(GL_RGBA8, width(), height, GL_UNSIGNED_BYTE, padded.data());
  show(screen);
  EXPECT_EQ(screen.bytes(), pixels);
}

TEST_P(Rows, ArePackedByTheirAlignment) {
  const Screen screen(width(), height);
  const auto pixels = pattern(width(), height);
  bindNewTexture();
  upload(rectangle, width(), height, pixels);
  show(screen);
  std::vector<std::uint8_t> padded(stride() * (height - 1) + rowBytes(), 0xEE);
  glPixelStorei(GL_PACK_ALIGNMENT, alignment());
  glReadPixels(0, 0, width(), height, GL_RGBA, GL_UNSIGNED_BYTE, padded.data());
  for (std::size_t i = 0; i < padded.size(); ++i) {
    const std::size_t column = i % stride();
    const int expected = column < rowBytes() ? pixels[i / stride() * rowBytes() + column] : 0xEE;
    ASSERT_EQ(padded[i], expected) << "byte " << i;
  }
}

TEST_P(Rows, OfFloatsNeedNoPadding) {
  const Screen screen(width(), height, {true});
  std::vector<float> values(static_cast<std::size_t>(width() * height * 4));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i) / 8.0f - 1.0f;
  bindNewTexture();
  glPixelStorei(GL_UNPACK_ALIGNMENT, alignment());
  glPixelStorei(GL_PACK_ALIGNMENT, alignment());
  upload(rectangle, width(), height, values);
  show(screen);
  EXPECT_EQ(screen.floats(), values);
}

INSTANTIATE_TEST_SUITE_P(Alignments, Rows,
                         ::testing::Combine(::testing::Values(1, 2, 4, 8), ::testing::Values(1, 2, 3, 5, 16)),
                         [](const auto &rows) {
                           return "Alignment" + std::to_string(std::get<0>(rows.param)) + "Width" +
                                  std::to_string(std::get<1>(rows.param));
                         });

TEST(Alignment, OfPackingAndUnpackingAreTwoThings) {
  const Screen screen(1, 2);
  bindNewTexture();
  glPixelStorei(GL_PACK_ALIGNMENT, 8);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  const std::vector<std::uint8_t> pixels{1, 2, 3, 4, 5, 6, 7, 8};
  store(GL_RGBA8, 1, 2, GL_UNSIGNED_BYTE, pixels.data());
  show(screen);
  EXPECT_EQ(levelsAt(0, 1), (Levels{5, 6, 7, 8}));
}

TEST(Upload, OfFloatsIntoBytesRoundsAndClamps) {
  const Screen screen(2, 1, {true});
  bindNewTexture();
  const std::vector<float> values{0.5f, 1.5f, -0.5f, 0.499f / 255, nan, infinity, -infinity, 1.0f};
  for (const GLenum stored : {GL_RGBA, GL_RGBA8}) {
    store(stored, 2, 1, GL_FLOAT, values.data());
    show(screen);
    EXPECT_EQ(valuesAt(0, 0), (Values{128 / 255.0f, 1, 0, 0}));
    EXPECT_EQ(valuesAt(1, 0), (Values{0, 1, 0, 1}));
  }
}

TEST(Upload, OfBytesIntoFloatsIsTheirShareOf255) {
  const Screen screen(64, 1, {true});
  bindNewTexture();
  std::vector<std::uint8_t> all(256);
  for (std::size_t i = 0; i < 256; ++i) all[i] = static_cast<std::uint8_t>(i);
  for (const GLenum stored : {GL_RGBA16F_ARB, GL_RGBA32F_ARB}) {
    store(stored, 64, 1, GL_UNSIGNED_BYTE, all.data());
    show(screen);
    const auto values = screen.floats();
    for (std::size_t i = 0; i < 256; ++i) ASSERT_FLOAT_EQ(values[i], static_cast<float>(i) / 255.0f);
    EXPECT_EQ(screen.bytes(), all) << "every level survives the way through floats";
  }
}

TEST(Upload, OfFloatsKeepsWhatBytesLose) {
  const Screen screen(1, 1, {true});
  bindNewTexture();
  const float values[] = {100.0f, -3.0f, 1e-6f, 1.0f + 1.0f / 512};
  store(GL_RGBA32F_ARB, 1, 1, GL_FLOAT, values);
  show(screen);
  EXPECT_EQ(valuesAt(0, 0), (Values{100.0f, -3.0f, 1e-6f, 1.0f + 1.0f / 512}));
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 0, 0, 255}));
}

TEST(Upload, TakesTheUpperRowFirstIfAskedTo) {
  const Screen screen(5, 3);
  EXPECT_NE(std::strstr(reinterpret_cast<const char *>(glGetString(GL_EXTENSIONS)), "GL_PYRELUX_unpack_invert"),
            nullptr);
  const auto pixels = pattern(5, 3);
  std::vector<std::uint8_t> inverted;
  for (int y = 2; y >= 0; --y) inverted.insert(inverted.end(), pixels.begin() + 20 * y, pixels.begin() + 20 * (y + 1));
  bindNewTexture();
  glPixelStorei(GL_UNPACK_INVERT_PYRELUX, 1);
  store(GL_RGBA8, 5, 3, GL_UNSIGNED_BYTE, inverted.data());
  show(screen);
  EXPECT_EQ(screen.bytes(), pixels);
  glPixelStorei(GL_UNPACK_INVERT_PYRELUX, 0);
  store(GL_RGBA8, 5, 3, GL_UNSIGNED_BYTE, inverted.data());
  show(screen);
  EXPECT_EQ(screen.bytes(), inverted);
}

TEST(Upload, ReplacesImageAndSize) {
  const Screen screen(3, 1);
  bindNewTexture();
  upload(rectangle, 3, 1, picture({10, 20, 30}));
  show(screen);
  upload(rectangle, 1, 1, picture({70}));
  show(screen);
  EXPECT_EQ(screen.channel(0), (std::vector<int>{70, 70, 70})) << "clamped to the edge of one texel";
}

TEST(Upload, IsSeenByLaterQuadsOnly) {
  const Screen screen(2, 1);
  bindNewTexture();
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  upload(rectangle, 1, 1, picture({70}));
  drawQuad(Box{0, 0, 1, 1}, Box{0, 0, 1, 1});
  upload(rectangle, 1, 1, picture({90}));
  drawQuad(Box{1, 0, 2, 1}, Box{0, 0, 1, 1});
  EXPECT_EQ(screen.channel(0), (std::vector<int>{70, 90}));
}

TEST(Upload, LeavesTheClientsPicture) {
  const Screen screen(2, 1);
  bindNewTexture();
  auto pixels = picture({70, 80});
  upload(rectangle, 2, 1, pixels);
  std::fill(pixels.begin(), pixels.end(), std::uint8_t{0});
  show(screen);
  EXPECT_EQ(screen.channel(0), (std::vector<int>{70, 80}));
}

TEST(Upload, WithoutAPictureMakesRoom) {
  const Screen screen(2, 1);
  bindNewTexture();
  store(GL_RGBA8, 2, 1, GL_UNSIGNED_BYTE, nullptr);
  show(screen);
  EXPECT_EQ(levelsAt(0, 0)[3], 0) << "what GL leaves open is transparent black here";
}

TEST(Read, KindsOfSamplesBothWays) {
  for (const bool floats : {false, true}) {
    const Screen screen(1, 1, {floats});
    glColor4f(51 / 255.0f, 0, 1, 102 / 255.0f);
    drawQuad(Box{0, 0, 1, 1});
    EXPECT_EQ(levelsAt(0, 0), (Levels{51, 0, 255, 102}));
    EXPECT_EQ(valuesAt(0, 0), (Values{51 / 255.0f, 0, 1, 102 / 255.0f}));
  }
}

TEST(Read, OfFloatsAsBytesRounds) {
  const Screen screen(1, 1, {true});
  glColor4f(10.49f / 255, 10.51f / 255, 0.49f / 255, 254.6f / 255);
  drawQuad(Box{0, 0, 1, 1});
  EXPECT_EQ(levelsAt(0, 0), (Levels{10, 11, 0, 255}));
}

TEST(Read, OfFloatTexturesOnBytesClips) {
  const Screen screen(2, 1);
  bindNewTexture();
  upload(rectangle, 2, 1, std::vector<float>{1.5f, -1, 0.5f, 1, 0.25f, 100, 1e-9f, 0.999f});
  show(screen);
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 0, 128, 255}));
  EXPECT_EQ(levelsAt(1, 0), (Levels{64, 255, 0, 255}));
}

struct Region {
  const char *name;
  int x, y, width, height;
};

void PrintTo(const Region &region, std::ostream *out) { *out << region.name; }

class Regions : public ::testing::TestWithParam<Region> {};

TEST_P(Regions, AreReadWhereTheyMeetTheSurface) {
  constexpr int width = 5, height = 4;
  const Screen screen(width, height);
  const auto pixels = pattern(width, height);
  bindNewTexture();
  upload(rectangle, width, height, pixels);
  show(screen);
  const auto [name, x0, y0, w, h] = GetParam();
  // Never without any memory: null is not a place to read to.
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(w * h * 4 + 4), 0xEE);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x0, y0, w, h, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  std::vector<float> floats(bytes.size(), -9.0f);
  glReadPixels(x0, y0, w, h, GL_RGBA, GL_FLOAT, floats.data());
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  for (int y = 0; y < h; ++y)
    for (int i = 0; i < 4 * w; ++i) {
      const int x = x0 + i / 4;
      const bool inside = x >= 0 && x < width && y0 + y >= 0 && y0 + y < height;
      const auto at = static_cast<std::size_t>(y * w * 4 + i);
      const int level = inside ? pixels[static_cast<std::size_t>(((y0 + y) * width + x) * 4 + i % 4)] : 0xEE;
      ASSERT_EQ(bytes[at], level) << x << "," << y0 + y;
      ASSERT_EQ(floats[at], inside ? static_cast<float>(level) / 255.0f : -9.0f) << x << "," << y0 + y;
    }
}

const Region regions[] = {{"Whole", 0, 0, 5, 4},       {"Inner", 1, 1, 3, 2},    {"LeftOf", -2, 1, 4, 2},
                          {"RightOf", 3, 1, 4, 2},     {"Below", 1, -3, 2, 5},   {"Above", 1, 2, 2, 5},
                          {"AllRound", -3, -2, 12, 9}, {"FarLeft", -9, 0, 4, 4}, {"FarRight", 5, 0, 4, 4},
                          {"FarBelow", 0, -9, 4, 4},   {"FarAbove", 0, 4, 4, 4}, {"NoWidth", 1, 1, 0, 3},
                          {"NoHeight", 1, 1, 3, 0}};

INSTANTIATE_TEST_SUITE_P(Places, Regions, ::testing::ValuesIn(regions),
                         [](const auto &region) { return std::string(region.param.name); });

TEST(Read, FarFromTheSurfaceTouchesNothing) {
  const Screen screen(4, 4);
  constexpr GLint most = std::numeric_limits<GLint>::max(), least = std::numeric_limits<GLint>::min();
  std::uint8_t untouched = 0xEE;
  for (const auto &[x, y] : {std::pair{most, 0}, {0, most}, {least, 0}, {0, least}, {most, most}, {least, least}}) {
    glReadPixels(x, y, most, most, GL_RGBA, GL_UNSIGNED_BYTE, &untouched);
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &untouched);
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  }
  EXPECT_EQ(untouched, 0xEE);
}

TEST(Read, OfNoPixelsNeedsNoPlaceForThem) {
  const Screen screen(4, 4);
  glReadPixels(0, 0, 0, 4, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glReadPixels(0, 0, 4, 0, GL_RGBA, GL_FLOAT, nullptr);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  EXPECT_EQ(glGetError(), GL_INVALID_VALUE);
}

}  // namespace
}  // namespace pyrelux::soft
