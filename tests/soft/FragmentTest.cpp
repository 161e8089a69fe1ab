// Tests the operations on fragments: colours, blending, masks, clearing.

#include <cmath>
#include <limits>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

void setColour(const Values &colour) { glColor4f(colour[0], colour[1], colour[2], colour[3]); }
void fillWith(const Values &colour) {
  setColour(colour);
  drawQuad(Box{0, 0, 4, 4});
}
/// The colour whose levels are exactly these.
Values asColour(const Levels &levels) {
  Values colour;
  for (std::size_t c = 0; c < 4; ++c) colour[c] = static_cast<float>(levels[c]) / 255.0f;
  return colour;
}

TEST(ClearColour, IsRoundedAndClamped) {
  const Screen screen(4, 4);
  Screen::clear(0.5f, 0.25f, 0.1f, 0.0f);
  // 127.5, 63.75, 25.5 and 0.
  EXPECT_EQ(levelsAt(3, 3), (Levels{128, 64, 26, 0}));
  Screen::clear(1.5f, -0.5f, nan, infinity);
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 0, 0, 255}));
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(ClearColour, OfEveryLevelIsThatLevel) {
  const Screen screen(4, 4);
  for (int level = 0; level < 256; ++level) {
    const Values colour = asColour({level, 255 - level, level / 2, 255});
    Screen::clear(colour[0], colour[1], colour[2], colour[3]);
    ASSERT_EQ(levelsAt(1, 2), (Levels{level, 255 - level, level / 2, 255}));
  }
}

TEST(ClearColour, OnFloatsIsKept) {
  const Screen screen(4, 4, {true});
  Screen::clear(0.123f, 1e-5f, 2.0f, 1.0f);
  EXPECT_EQ(valuesAt(2, 2), (Values{0.123f, 1e-5f, 1.0f, 1.0f}))
      << "clear colours are clamped (OpenGL 1.4, section 4.2.3)";
}

TEST(Clear, OfDepthOrNothingLeavesTheColour) {
  const Screen screen(4, 4);
  Screen::clear(1, 0, 0, 1);
  glClearColor(0, 1, 0, 1);
  glClear(GL_DEPTH_BUFFER_BIT);
  glClear(0);
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 0, 0, 255}));
  glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT);
  EXPECT_EQ(levelsAt(0, 0), (Levels{0, 255, 0, 255}));
}

TEST(ColourMask, HoldsBackChannelsOfClearsAndQuads) {
  for (const bool floats : {false, true}) {
    const Screen screen(4, 4, {floats});
    for (int mask = 0; mask < 16; ++mask) {
      const auto on = [&](int channel) { return static_cast<GLboolean>(mask >> channel & 1); };
      // Any value but 0 is true.
      const auto boolean = [&](int channel) { return static_cast<GLboolean>(on(channel) ? 7 : 0); };
      Levels cleared{}, drawn{}, added{};
      for (std::size_t c = 0; c < 4; ++c) {
        cleared[c] = on(static_cast<int>(c)) ? 51 : 102;
        drawn[c] = on(static_cast<int>(c)) ? 153 : 102;
        added[c] = on(static_cast<int>(c)) ? 204 : 102;
      }
      glDisable(GL_BLEND);
      glColorMask(1, 1, 1, 1);
      Screen::clear(0.4f, 0.4f, 0.4f, 0.4f);
      glColorMask(boolean(0), boolean(1), boolean(2), boolean(3));
      Screen::clear(0.2f, 0.2f, 0.2f, 0.2f);
      ASSERT_EQ(levelsAt(0, 0), cleared) << "mask " << mask;
      fillWith({0.6f, 0.6f, 0.6f, 0.6f});
      ASSERT_EQ(levelsAt(0, 0), drawn) << "mask " << mask;
      glEnable(GL_BLEND);
      glBlendFunc(GL_ONE, GL_ONE);
      fillWith({0.2f, 0.2f, 0.2f, 0.2f});
      ASSERT_EQ(levelsAt(0, 0), added) << "mask " << mask;
    }
  }
}

TEST(ColourMask, LeavesTheSourcesAlphaToBlending) {
  const Screen screen(4, 4);
  Screen::clear(1, 1, 1, 1);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  glColorMask(1, 1, 1, 0);
  fillWith(asColour({51, 0, 102, 153}));
  // 255 * (1 - 153/255) = 102 remains of what was there.
  EXPECT_EQ(levelsAt(0, 0), (Levels{153, 102, 204, 255}));
}

TEST(Colour, OfEveryLevelIsThatLevel) {
  const Screen screen(4, 4);
  for (int level = 0; level < 256; ++level) {
    const Levels levels{level, 255 - level, level / 3, 255};
    fillWith(asColour(levels));
    ASSERT_EQ(levelsAt(1, 2), levels);
  }
}

TEST(Colour, IsRoundedAndClamped) {
  const Screen screen(4, 4);
  // 127.245, 63.75, 0.51 and 0.49 levels.
  fillWith({0.499f, 0.25f, 0.002f, 0.49f / 255});
  EXPECT_EQ(levelsAt(0, 0), (Levels{127, 64, 1, 0}));
  fillWith({7.0f, -7.0f, nan, -infinity});
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 0, 0, 0}));
}

TEST(Colour, OnFloatsIsClampedAndKept) {
  const Screen screen(4, 4, {true});
  fillWith({0.123f, 1e-5f, 2.0f, -1.0f});
  EXPECT_EQ(valuesAt(2, 2), (Values{0.123f, 1e-5f, 1.0f, 0.0f}));
}

TEST(Colour, IsTheLastCornersWhenFlat) {
  const Screen screen(4, 4);
  glShadeModel(GL_FLAT);
  glBegin(GL_QUADS);
  glColor4f(1, 0, 0, 1);
  corner(0, 0);
  corner(4, 0);
  glColor4f(0, 1, 0, 1);
  corner(4, 2);
  glColor4f(0, 0, 1, 1);
  corner(0, 2);
  // The next quad takes the colour of its last corner, not an earlier one.
  corner(0, 2);
  corner(4, 2);
  corner(4, 4);
  glColor4f(1, 1, 0, 1);
  corner(0, 4);
  glColor4f(1, 1, 1, 1);
  glEnd();
  EXPECT_EQ(levelsAt(1, 1), (Levels{0, 0, 255, 255}));
  EXPECT_EQ(levelsAt(1, 3), (Levels{255, 255, 0, 255}));
}

TEST(Colour, IsNotMixedAcrossAQuad) {
  const Screen screen(4, 4);
  constexpr GLenum smooth = 0x1D01;
  glShadeModel(smooth);
  fillWith({0, 1, 0, 1});
  EXPECT_EQ(levelsAt(1, 1), (Levels{0, 255, 0, 255})) << "corners alike need no mixing";
  glBegin(GL_QUADS);
  glColor4f(1, 0, 0, 1);
  corner(0, 0);
  corner(4, 0);
  glColor4f(0, 0, 1, 1);
  corner(4, 4);
  corner(0, 4);
  glEnd();
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  EXPECT_EQ(levelsAt(1, 1), (Levels{0, 255, 0, 255}));
}

struct Mix {
  const char *name;
  bool enabled;
  GLenum source, destination;
  Levels below, above, expected;
};

void PrintTo(const Mix &mix, std::ostream *out) { *out << mix.name; }

class Blending : public ::testing::TestWithParam<Mix> {};

TEST_P(Blending, IsAsWorkedByHand) {
  const Mix &mix = GetParam();
  for (const bool floats : {false, true}) {
    const Screen screen(4, 4, {floats});
    fillWith(asColour(mix.below));
    if (mix.enabled) glEnable(GL_BLEND);
    glBlendFunc(mix.source, mix.destination);
    fillWith(asColour(mix.above));
    EXPECT_EQ(levelsAt(1, 1), mix.expected) << (floats ? "floats" : "bytes");
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  }
}

const Mix mixes[] = {
    {"Disabled", false, GL_ONE, GL_ONE, {10, 20, 30, 40}, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {"EnabledAtFirst", true, GL_ONE, 0, {10, 20, 30, 40}, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {"Add", true, GL_ONE, GL_ONE, {10, 20, 30, 40}, {1, 2, 3, 4}, {11, 22, 33, 44}},
    {"AddPastWhite", true, GL_ONE, GL_ONE, {200, 255, 0, 254}, {100, 255, 0, 1}, {255, 255, 0, 255}},
    // 1 - 102/255 = 3/5 of what is below remains: 120, 60, 6, 153.
    {"Over", true, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, {200, 100, 10, 255}, {7, 8, 9, 102}, {127, 68, 15, 255}},
    {"OverOpaque", true, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, {200, 100, 10, 255}, {7, 8, 9, 255}, {7, 8, 9, 255}},
    {"OverNothing", true, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, {0, 0, 0, 0}, {7, 8, 9, 102}, {7, 8, 9, 102}},
    // Light without alpha adds.
    {"OverClear", true, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, {200, 100, 10, 99}, {7, 8, 9, 0}, {207, 108, 19, 99}},
    // 1 - 127/255 = 128/255: of 101, 3, 1, 2 remain 50.698, 1.506, 0.502, 1.004.
    {"OverRounds", true, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, {101, 3, 1, 2}, {0, 0, 0, 127}, {51, 2, 1, 128}},
};

INSTANTIATE_TEST_SUITE_P(Mixes, Blending, ::testing::ValuesIn(mixes),
                         [](const auto &mix) { return std::string(mix.param.name); });

TEST(Blending, RoundsEachCopyOnBytes) {
  const Screen screen(4, 4);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  setColour({0.4f / 255, 0.6f / 255, 1.4f / 255, 1.6f / 255});
  glBegin(GL_QUADS);
  for (int i = 0; i < 10; ++i) corners({0, 0, 4, 4});
  glEnd();
  EXPECT_EQ(levelsAt(1, 1), (Levels{0, 10, 10, 20}));
}

TEST(Blending, SumsFloatsPastOne) {
  const Screen screen(4, 4, {true});
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  setColour({0.75f, 1.0f / 1024, 1.0f, 0.5f});
  glBegin(GL_QUADS);
  for (int i = 0; i < 10; ++i) corners({0, 0, 4, 4});
  glEnd();
  EXPECT_EQ(valuesAt(1, 1), (Values{7.5f, 10.0f / 1024, 10.0f, 5.0f}));
  EXPECT_EQ(levelsAt(1, 1), (Levels{255, 2, 255, 255})) << "a byte holds 1 at most";
}

TEST(Blending, OfThousandsOfWhiteCopiesStaysWhite) {
  const Screen screen(64, 33);
  bindNewTexture(GL_TEXTURE_RECTANGLE_EXT, GL_LINEAR);
  upload(GL_TEXTURE_RECTANGLE_EXT, 2, 1, picture({255, 254}));
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  setColour({1, 1, 1, 1});
  for (const double size : {2.0, 60.0}) {
    Screen::clear(0, 0, 0, 0);
    glBegin(GL_QUADS);
    for (int i = 0; i < 3000; ++i) corners({1.3, 1.3, 1.3 + size, 2.3}, {0, 0, 2, 1});
    glEnd();
    EXPECT_EQ(levelsAt(1, 1), (Levels{255, 0, 255, 255})) << "green is 0 in this texel";
    EXPECT_EQ(levelsAt(2, 1)[0], 255);
  }
}

TEST(AlphaTest, ThatAlwaysPassesDropsNothing) {
  const Screen screen(4, 4);
  glEnable(GL_ALPHA_TEST);
  for (const float reference : {0.0f, 0.5f, 1.0f}) {
    glAlphaFunc(GL_ALWAYS, reference);
    Screen::clear(0, 0, 0, 0);
    fillWith({1, 1, 1, 0});
    EXPECT_EQ(levelsAt(1, 1), (Levels{255, 255, 255, 0}));
  }
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(Order, OfClearsAndQuadsIsKept) {
  const Screen screen(4, 4);
  fillWith({1, 1, 1, 1});
  Screen::clear(0.2f, 0.2f, 0.2f, 0.2f);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  fillWith({0.2f, 0, 0, 0});
  glColorMask(0, 1, 0, 0);
  Screen::clear(0, 1, 0, 0);
  glColorMask(1, 1, 1, 1);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  fillWith({0, 0, 0.2f, 0.4f});
  // After the masked clear 102 255 51 51; 3/5 of it under 0 0 51 102.
  EXPECT_EQ(levelsAt(1, 1), (Levels{61, 153, 82, 133}));
}

}  // namespace
}  // namespace pyrelux::soft
