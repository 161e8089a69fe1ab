// Compares the samples of quads with values computed by hand.

#include <limits>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

using Row = std::vector<int>;

/// The red of a row of pixels.
Row rowOf(const Screen &screen, int y) {
  const Row all = screen.channel(0);
  return {all.begin() + y * screen.width(), all.begin() + (y + 1) * screen.width()};
}

void useTexture(GLenum target, GLenum filter, int width, int height, const std::vector<int> &levels) {
  bindNewTexture(target, filter);
  upload(target, width, height, picture(levels));
  glEnable(target);
  glColor4f(1, 1, 1, 1);
}

TEST(Nearest, TakesTheTexelUnderThePixelsCentre) {
  const Screen screen(6, 4);
  useTexture(rectangle, GL_NEAREST, 3, 2, {10, 20, 30, 40, 50, 60});
  drawQuad(Box{0, 0, 6, 4}, Box{0, 0, 3, 2});
  EXPECT_EQ(rowOf(screen, 0), (Row{10, 10, 20, 20, 30, 30}));
  EXPECT_EQ(rowOf(screen, 1), (Row{10, 10, 20, 20, 30, 30}));
  EXPECT_EQ(rowOf(screen, 2), (Row{40, 40, 50, 50, 60, 60}));
  EXPECT_EQ(rowOf(screen, 3), (Row{40, 40, 50, 50, 60, 60}));
  EXPECT_EQ(levelsAt(2, 3), (Levels{50, 205, 25, 255})) << "all channels of one texel";
}

TEST(Nearest, OfOddSizesMeetsPixelCentres) {
  const Screen screen(4, 1);
  useTexture(rectangle, GL_NEAREST, 3, 2, {10, 20, 30, 40, 50, 60});
  // Centres 0.5 .. 3.5 of 4 pixels lie at 0.375, 1.125, 1.875, 2.625 of 3 texels, and half of the height on the upper
  // row.
  drawQuad(Box{0, 0, 4, 1}, Box{0, 0, 3, 2});
  EXPECT_EQ(rowOf(screen, 0), (Row{40, 50, 50, 60}));
}

TEST(Nearest, ShiftedByLessThanHalfAPixelIsUnmoved) {
  const Screen screen(4, 1);
  useTexture(rectangle, GL_NEAREST, 3, 1, {10, 20, 30});
  drawQuad(Box{0.4, 0, 3.4, 1}, Box{0, 0, 3, 1});
  EXPECT_EQ(rowOf(screen, 0), (Row{10, 20, 30, 0}));
  Screen::clear(0, 0, 0, 0);
  drawQuad(Box{0.6, 0, 3.6, 1}, Box{0, 0, 3, 1});
  EXPECT_EQ(rowOf(screen, 0), (Row{0, 10, 20, 30}));
}

TEST(Linear, OfTwoByTwoOnFourByFour) {
  const Screen screen(4, 4);
  useTexture(rectangle, GL_LINEAR, 2, 2, {10, 90, 170, 250});
  drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 2, 2});
  // Centres lie at -1/4, 1/4, 3/4, 5/4 from the first texel's centre: clamped, then quarters of 80, and of 160 upwards.
  EXPECT_EQ(rowOf(screen, 0), (Row{10, 30, 70, 90}));
  EXPECT_EQ(rowOf(screen, 1), (Row{50, 70, 110, 130}));
  EXPECT_EQ(rowOf(screen, 2), (Row{130, 150, 190, 210}));
  EXPECT_EQ(rowOf(screen, 3), (Row{170, 190, 230, 250}));
}

TEST(Linear, OfThreeByTwoShiftedByAQuarter) {
  const Screen screen(4, 3);
  useTexture(rectangle, GL_LINEAR, 3, 2, {40, 80, 160, 0, 120, 200});
  drawQuad(Box{0.25, 0.5, 3.25, 2.5}, Box{0, 0, 3, 2});
  // Pixel x sees x - 1/4 texels: 40, then a quarter of the left and three of the right one. Row y sees y - 1/2: row 0
  // (its centre lies on the edge) the lower texels, row 1 the middle.
  EXPECT_EQ(rowOf(screen, 0), (Row{40, 70, 140, 0}));
  EXPECT_EQ(rowOf(screen, 1), (Row{20, 80, 160, 0}));
  EXPECT_EQ(rowOf(screen, 2), (Row{0, 0, 0, 0})) << "the upper edge on the centre is not covered";
}

TEST(Linear, RoundsToTheNearestLevel) {
  const Screen screen(8, 1);
  useTexture(rectangle, GL_LINEAR, 2, 1, {0, 5});
  drawQuad(Box{0, 0, 8, 1}, Box{0, 0, 2, 1});
  // (x - 3.5) / 4 + 1/2 between 0 and 5: 0.625, 1.875, 3.125, 4.375 for the four in the middle.
  EXPECT_EQ(rowOf(screen, 0), (Row{0, 0, 1, 2, 3, 4, 5, 5}));
}

TEST(Linear, OfFloatsIsNotRounded) {
  const Screen screen(4, 1, {true});
  bindNewTexture(rectangle, GL_LINEAR);
  upload(rectangle, 2, 1, std::vector<float>{0.5f, 1, -1, 0, 3.0f, 0, 1, 0.001f});
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 4, 1}, Box{0, 0, 2, 1});
  EXPECT_EQ(valuesAt(0, 0), (Values{0.5f, 1, -1, 0}));
  EXPECT_EQ(valuesAt(1, 0), (Values{1.125f, 0.75f, -0.5f, 0.00025f}));
  EXPECT_EQ(valuesAt(2, 0), (Values{2.375f, 0.25f, 0.5f, 0.00075f}));
  EXPECT_EQ(valuesAt(3, 0), (Values{3.0f, 0, 1, 0.001f}));
}

TEST(ClampToEdge, RepeatsTheOutermostTexels) {
  for (const GLenum filter : {GL_NEAREST, GL_LINEAR}) {
    const Screen screen(7, 1);
    useTexture(rectangle, filter, 2, 1, {40, 200});
    drawQuad(Box{0, 0, 7, 1}, Box{-2, 0, 5, 1});
    EXPECT_EQ(rowOf(screen, 0), (Row{40, 40, 40, 200, 200, 200, 200}));
    drawQuad(Box{0, 0, 7, 1}, Box{100, 40, 107, 41});
    EXPECT_EQ(rowOf(screen, 0), Row(7, 200));
    drawQuad(Box{0, 0, 7, 1}, Box{-1e6, -1e6, -1e6, -1e6});
    EXPECT_EQ(rowOf(screen, 0), Row(7, 40));
  }
}

TEST(Mirrored, TexturesRunBackwards) {
  for (const GLenum filter : {GL_NEAREST, GL_LINEAR}) {
    const Screen screen(3, 2);
    useTexture(rectangle, filter, 3, 2, {10, 20, 30, 40, 50, 60});
    drawQuad(Box{0, 0, 3, 2}, Box{3, 0, 0, 2});
    EXPECT_EQ(rowOf(screen, 0), (Row{30, 20, 10}));
    drawQuad(Box{0, 0, 3, 2}, Box{3, 2, 0, 0});
    EXPECT_EQ(rowOf(screen, 0), (Row{60, 50, 40}));
    EXPECT_EQ(rowOf(screen, 1), (Row{30, 20, 10}));
  }
}

TEST(Crops, ShowTheirPartOfTheTexture) {
  const Screen screen(4, 2);
  useTexture(rectangle, GL_LINEAR, 4, 2, {10, 20, 30, 40, 50, 60, 70, 80});
  drawQuad(Box{1, 0, 3, 2}, Box{2, 0, 4, 2});
  EXPECT_EQ(rowOf(screen, 1), (Row{0, 70, 80, 0}));
}

TEST(Modulate, MultipliesEachChannelAndRounds) {
  const Screen screen(2, 1);
  bindNewTexture();
  upload(rectangle, 2, 1, std::vector<std::uint8_t>{200, 100, 50, 250, 255, 1, 3, 128});
  glEnable(rectangle);
  glColor4f(0.5f, 0.2f, 1.0f, 0.7f);
  drawQuad(Box{0, 0, 2, 1}, Box{0, 0, 2, 1});
  // 100, 20, 50, 175 and 127.5, 0.2, 3, 89.6; a half goes up.
  EXPECT_EQ(levelsAt(0, 0), (Levels{100, 20, 50, 175}));
  EXPECT_EQ(levelsAt(1, 0), (Levels{128, 0, 3, 90}));
}

TEST(Modulate, OfFloatsIsTheirProduct) {
  const Screen screen(1, 1, {true});
  bindNewTexture();
  upload(rectangle, 1, 1, std::vector<float>{4.0f, 0.5f, -2.0f, 1.0f});
  glEnable(rectangle);
  glColor4f(0.5f, 0.25f, 1.0f, 0.125f);
  drawQuad(Box{0, 0, 1, 1}, Box{0, 0, 1, 1});
  EXPECT_EQ(valuesAt(0, 0), (Values{2.0f, 0.125f, -2.0f, 0.125f}));
}

TEST(TwoDimensional, CoordinatesAreNormalised) {
  for (const GLenum filter : {GL_NEAREST, GL_LINEAR}) {
    const std::vector<int> levels{10, 90, 20, 30, 50, 60};
    const Screen screen(9, 5);
    useTexture(rectangle, filter, 3, 2, levels);
    drawQuad(Box{0.3, 0.2, 8.3, 4.2}, Box{-0.5, 0, 2.75, 2});
    const auto expected = screen.bytes();
    glDisable(rectangle);
    Screen::clear(0, 0, 0, 0);
    useTexture(square, filter, 3, 2, levels);
    drawQuad(Box{0.3, 0.2, 8.3, 4.2}, Box{-0.5 / 3, 0, 2.75 / 3, 1});
    EXPECT_EQ(screen.bytes(), expected);
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  }
}

/// Whether a white quad with the texture bound is white, that is, untextured.
bool drawsUntextured(const Screen &screen) {
  Screen::clear(0, 0, 0, 0);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 2, 2}, Box{0, 0, 1, 1});
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  return screen.bytes() == std::vector<std::uint8_t>(16, 255);
}

TEST(Complete, ATextureNeedsAnImage) {
  const Screen screen(2, 2);
  for (const GLenum target : {square, rectangle}) {
    bindNewTexture(target);
    glEnable(target);
    EXPECT_TRUE(drawsUntextured(screen));
    upload(target, 1, 1, picture({100}));
    EXPECT_FALSE(drawsUntextured(screen));
    upload(target, 0, 0, std::vector<std::uint8_t>{});
    EXPECT_TRUE(drawsUntextured(screen)) << "an image without texels is none";
    glDisable(target);
  }
}

TEST(Complete, AMipmapFilterNeedsMipmaps) {
  const Screen screen(2, 2);
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(square, name);
  upload(square, 1, 1, picture({100}));
  clampToEdge(square);
  glTexParameteri(square, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(GL_NEAREST));
  glEnable(square);
  EXPECT_TRUE(drawsUntextured(screen)) << "2-D textures begin with mipmaps";
  for (GLint filter = 0x2700; filter <= 0x2703; ++filter) {
    glTexParameteri(square, GL_TEXTURE_MIN_FILTER, filter);
    EXPECT_TRUE(drawsUntextured(screen));
  }
  glTexParameterf(square, GL_TEXTURE_MIN_FILTER, static_cast<GLfloat>(GL_NEAREST));
  EXPECT_FALSE(drawsUntextured(screen));
}

TEST(Complete, ARectangleGoesBeforeATwoDimensionalTexture) {
  const Screen screen(2, 2);
  useTexture(square, GL_NEAREST, 1, 1, {100});
  EXPECT_EQ(drawsUntextured(screen), false);
  useTexture(rectangle, GL_NEAREST, 1, 1, {200});
  EXPECT_EQ(drawsUntextured(screen), false);
  EXPECT_EQ(levelsAt(0, 0)[0], 200);
  glBindTexture(rectangle, 0);
  EXPECT_TRUE(drawsUntextured(screen)) << "an incomplete rectangle hides the 2-D texture all the same";
  glDisable(rectangle);
  EXPECT_FALSE(drawsUntextured(screen));
  EXPECT_EQ(levelsAt(0, 0)[0], 100);
  glDisable(square);
  EXPECT_TRUE(drawsUntextured(screen));
}

TEST(Refused, TexturesThatRepeat) {
  const Screen screen(2, 2);
  useTexture(square, GL_NEAREST, 1, 1, {100});
  for (const GLenum name : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
    constexpr GLint repeat = 0x2901;
    glTexParameteri(square, name, repeat);
    EXPECT_EQ(glGetError(), GL_NO_ERROR) << "it is what 2-D textures begin with";
    drawQuad(Box{0, 0, 2, 2}, Box{0, 0, 1, 1});
    EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
    EXPECT_EQ(levelsAt(0, 0), (Levels{}));
    glTexParameteri(square, name, static_cast<GLint>(GL_CLAMP_TO_EDGE));
  }
  drawQuad(Box{0, 0, 2, 2}, Box{0, 0, 1, 1});
  EXPECT_EQ(levelsAt(0, 0)[0], 100);
}

TEST(Refused, TwoFiltersAtOnce) {
  const Screen screen(2, 2);
  useTexture(rectangle, GL_NEAREST, 1, 1, {100});
  glTexParameteri(rectangle, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(GL_LINEAR));
  drawQuad(Box{0, 0, 2, 2}, Box{0, 0, 1, 1});
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  EXPECT_EQ(levelsAt(0, 0), (Levels{}));
}

TEST(Coordinates, CountAtTheirVertexAndStay) {
  const Screen screen(2, 2);
  useTexture(rectangle, GL_NEAREST, 2, 1, {100, 200});
  glTexCoord2f(1.5f, 0.5f);
  drawQuad(Box{0, 0, 2, 2});
  EXPECT_EQ(screen.channel(0), Row(4, 200)) << "one texel for all corners";
}

TEST(Coordinates, DoNotMatterWithoutATexture) {
  const Screen screen(2, 2);
  glColor4f(1, 1, 1, 1);
  glBegin(GL_QUADS);
  corner(0, 0, 5, 7);
  corner(2, 0, std::numeric_limits<double>::quiet_NaN(), 3);
  corner(2, 2, 1, 2);
  corner(0, 2, 8, 1e30);
  glEnd();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  EXPECT_EQ(screen.channel(0), Row(4, 255));
}

}  // namespace
}  // namespace pyrelux::soft
