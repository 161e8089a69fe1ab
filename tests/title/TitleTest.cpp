#include "TestTitles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace pyrelux {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

int alphaAt(const Image &picture, int x, int y) {
  return picture.asBytes()[(static_cast<std::size_t>(y) * picture.width() + x) * 4 + 3];
}

TEST(Title, IsAPictureOfTheSizeThatWasAskedFor) {
  const Image picture = drawTitle(titleOf("FIRE")).picture;
  EXPECT_EQ(picture.width(), pictureWidth);
  EXPECT_EQ(picture.height(), pictureHeight);
  EXPECT_EQ(picture.alpha(), Alpha::Premultiplied);
  EXPECT_FALSE(picture.isFloat());
}

TEST(Title, IsInTheMiddle) {
  // Letters that stand out to one side of their line, and lines of different lengths.
  for (const char *text : {"FIRE", "gypsy", "j", "''", ".", "One\nand another", "a  ", "a\t", "a\n\n", "\na\n    "}) {
    SCOPED_TRACE(text);
    const PixelBox ink = inkOf(titleOf(text));
    // Its edges are at fractions of a pixel, each rounded outwards.
    EXPECT_NEAR(ink.left, pictureWidth - ink.right, 1);
    EXPECT_NEAR(ink.top, pictureHeight - ink.bottom, 1);
  }
}

TEST(Title, IsTransparentAround) {
  const Image picture = drawTitle(titleOf("FIRE")).picture;
  for (const int x : {0, pictureWidth - 1})
    for (const int y : {0, pictureHeight - 1}) EXPECT_EQ(alphaAt(picture, x, y), 0);
  EXPECT_EQ(*std::max_element(picture.asBytes().begin(), picture.asBytes().end()), 255);
}

TEST(Title, HasItsColourMultipliedByAlpha) {
  Title title = titleOf("FIRE");
  title.colour = {1.0, 0.5, 0.25};
  const Image picture = drawTitle(title).picture;
  int edges = 0;
  for (std::size_t sample = 0; sample < picture.sampleCount(); sample += 4) {
    const std::uint8_t *pixel = &picture.asBytes()[sample];
    edges += pixel[3] > 0 && pixel[3] < 255;
    for (std::size_t channel = 0; channel < 3; ++channel)
      ASSERT_NEAR(pixel[channel], title.colour[channel] * pixel[3], 0.5);
  }
  EXPECT_GT(edges, 100);
}

TEST(Title, OfFloatsHasItsColourExactly) {
  Title title = titleOf("FIRE");
  title.colour = {1.0 / 3.0, 0.0, 1.0};
  title.isDeep = true;
  const Image picture = drawTitle(title).picture;
  ASSERT_TRUE(picture.isFloat());
  int opaque = 0;
  for (std::size_t sample = 0; sample < picture.sampleCount(); sample += 4) {
    const float *pixel = &picture.asFloats()[sample];
    ASSERT_FLOAT_EQ(pixel[0], pixel[3] / 3.0f);
    ASSERT_EQ(pixel[1], 0.0f);
    ASSERT_EQ(pixel[2], pixel[3]);
    opaque += pixel[3] == 1.0f;
  }
  EXPECT_GT(opaque, 100);
}

TEST(Title, WithTwoLinesIsHigher) {
  const PixelBox one = inkOf(titleOf("FIRE"));
  const PixelBox two = inkOf(titleOf("FIRE\nFIRE"));
  EXPECT_GT(two.height(), one.height() + pictureHeight / 10);
  EXPECT_EQ(two.width(), one.width());
}

TEST(Title, LinesAreCentredBelowEachOther) {
  const Image picture = drawTitle(titleOf("I\nHHHHHH")).picture;
  const PixelBox ink = alphaBox(picture);
  Image top = picture;
  const std::size_t half = static_cast<std::size_t>((ink.top + ink.bottom) / 2) * pictureWidth * 4;
  std::fill(top.asBytes().begin() + static_cast<std::ptrdiff_t>(half), top.asBytes().end(), std::uint8_t{0});
  const PixelBox first = alphaBox(top);
  EXPECT_LT(first.width(), ink.width() / 3);
  EXPECT_NEAR(first.left + first.right, pictureWidth, 2);
}

TEST(Title, MarkupIsText) {
  EXPECT_GT(inkOf(titleOf("<b>I</b>", "Sans 20")).width(), 3 * inkOf(titleOf("I", "Sans 20")).width());
}

TEST(Title, SizeIsInPixels) {
  // A capital's height is about 0.73 em in the font that Sans means, and the em is what the size is of.
  const int small = inkOf(titleOf("H", "DejaVu Sans 50")).height();
  EXPECT_NEAR(small, 0.73 * 50, 2);
  EXPECT_NEAR(inkOf(titleOf("H", "DejaVu Sans 100")).height(), 2 * small, 2);
  EXPECT_EQ(inkOf(titleOf("H", "DejaVu Sans 50px")).height(), small);
}

TEST(Title, StyleAndFamilyAreFollowed) {
  const Image sans = drawTitle(titleOf("Fire", "DejaVu Sans 50")).picture;
  for (const char *font : {"DejaVu Sans Bold 50", "DejaVu Serif 50", "DejaVu Sans Mono 50"}) {
    const DrawnTitle drawn = drawTitle(titleOf("Fire", font));
    EXPECT_NE(drawn.picture.asBytes(), sans.asBytes()) << font;
    EXPECT_THAT(drawn.remarks, IsEmpty()) << font;
  }
}

TEST(Title, WithoutASizeFits) {
  EXPECT_EQ(drawTitle(titleOf("FIRE")).picture.asBytes(), drawTitle(titleOf("FIRE", "Sans Bold")).picture.asBytes());
  // A short text keeps 15 % of the height; a long one has 90 % of the width, a high one of the height.
  const PixelBox small = inkOf(titleOf("H", "DejaVu Sans"));
  EXPECT_NEAR(small.height(), 0.73 * 0.15 * pictureHeight, 2);
  EXPECT_NEAR(inkOf(titleOf("A rather long title that would not fit into the picture")).width(), 0.9 * pictureWidth, 2);
  EXPECT_NEAR(inkOf(titleOf("H\nH\nH\nH\nH\nH\nH\nH\nH\nH\nH\nH")).height(), 0.9 * pictureHeight, 2);
  EXPECT_THAT(refusalOf(titleOf(std::string(maxTitleLineBytes, 'H'))),
              HasSubstr("too long for the picture's 320x180 pixels"));
}

TEST(Title, WithASizeThatDoesNotFitIsRefused) {
  EXPECT_THAT(refusalOf(titleOf("FIRE", "Sans 200")),
              AllOf(HasSubstr("'Sans 200'"), HasSubstr("320x180 pixels"), HasSubstr("without a size")));
  EXPECT_THAT(refusalOf(titleOf(std::string(maxTitleLineBytes, 'W'), "Sans 999999")), HasSubstr("320x180"));
  EXPECT_THAT(refusalOf(titleOf("FIRE", "Sans 0")), HasSubstr("no size that can be drawn"));
  // Its capitals' height is less than the picture's.
  EXPECT_EQ(refusalOf(titleOf("I", "Sans 240")), "");
}

TEST(Title, WithoutInkIsRefused) {
  for (const char *text : {"", " ", "\n\n", "\t", "  \n"})
    EXPECT_THAT(refusalOf(titleOf(text)), HasSubstr("nothing to see"));
}

TEST(Title, ThatIsNotUtf8IsRefused) {
  EXPECT_EQ(refusalOf(titleOf("f\xE9u")), "the text is not UTF-8");
  EXPECT_EQ(refusalOf(titleOf("f\xC3\xA9u")), "");
}

TEST(Title, ThatIsVeryLongIsRefused) {
  EXPECT_THAT(refusalOf(titleOf(std::string(maxTitleLineBytes + 1, 'H'))),
              HasSubstr("a line of the text is longer than 2000 bytes"));
  EXPECT_THAT(refusalOf(titleOf(std::string(1000, '\n') + "H")), HasSubstr("more than 1000 lines"));
  EXPECT_EQ(refusalOf(titleOf(std::string(999, '\n') + "H")), "");
  EXPECT_THAT(refusalOf(titleOf(std::string(maxTitleBytes + 1, '\n'))), HasSubstr("longer than 65536 bytes"));
}

TEST(Title, InAnUnknownFontIsDrawnInAnother) {
  const DrawnTitle drawn = drawTitle(titleOf("FIRE", "Nowhere Grotesk Bold 40"));
  EXPECT_THAT(drawn.remarks, ElementsAre(AllOf(HasSubstr("no font 'Nowhere Grotesk'"), HasSubstr("is used instead"))));
  EXPECT_GT(alphaBox(drawn.picture).width(), 0);
  // One installed family of several is enough, and so is an alias.
  for (const char *font : {"Nowhere,DejaVu Sans 40", "Sans 40", "serif 40", "40", "Bold"})
    EXPECT_THAT(drawTitle(titleOf("FIRE", font)).remarks, IsEmpty()) << font;
}

TEST(Title, TellsOfCharactersThatNoFontHas) {
  // Two code points that are never assigned to characters.
  const DrawnTitle drawn = drawTitle(titleOf("a\xF4\x8F\xBF\xBD\xF4\x8F\xBF\xBC"));
  EXPECT_THAT(drawn.remarks, ElementsAre(HasSubstr("has 2 of the characters")));
}

TEST(Title, IsTheSameEveryTime) {
  EXPECT_EQ(drawTitle(titleOf("FIRE")).picture.asBytes(), drawTitle(titleOf("FIRE")).picture.asBytes());
}

TEST(Title, IsSharpAtAnySize) {
  // Drawn at its size and not enlarged from another: the share of half covered pixels falls with the size.
  const auto softness = [](int scale) {
    Title title = titleOf("H", "DejaVu Sans " + std::to_string(40 * scale));
    title.width *= scale;
    title.height *= scale;
    const Image picture = drawTitle(title).picture;
    double soft = 0.0;
    double inked = 0.0;
    for (std::size_t sample = 3; sample < picture.sampleCount(); sample += 4) {
      const std::uint8_t alpha = picture.asBytes()[sample];
      soft += alpha > 0 && alpha < 255;
      inked += alpha > 0;
    }
    return soft / inked;
  };
  EXPECT_LT(softness(8), softness(1) / 4);
}

}  // namespace
}  // namespace pyrelux
