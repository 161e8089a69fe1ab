// Texture names: making, binding and deleting them, alone and in contexts that share.

#include <algorithm>
#include <set>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

/// A rectangle texture of one level, bound.
GLuint makeLevel(int level) {
  const GLuint name = bindNewTexture();
  upload(rectangle, 1, 1, picture({level}));
  return name;
}

/// The level that the bound rectangle texture shows; 255 without a complete one.
int shown() {
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  Screen::clear(0, 0, 0, 0);
  drawQuad(Box{0, 0, 1, 1}, Box{0, 0, 1, 1});
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  return levelsAt(0, 0)[0];
}

TEST(Names, AreNewAndNotZero) {
  const Screen screen(2, 2);
  glBindTexture(rectangle, 3);
  std::vector<GLuint> names(20);
  glGenTextures(20, names.data());
  const std::set<GLuint> distinct(names.begin(), names.end());
  EXPECT_EQ(distinct.size(), 20u);
  EXPECT_EQ(distinct.count(0), 0u);
  EXPECT_EQ(distinct.count(3), 0u) << "3 is in use, though it was never generated";
  std::vector<GLuint> more(20);
  glGenTextures(20, more.data());
  for (const GLuint name : more) EXPECT_EQ(distinct.count(name), 0u);
  glGenTextures(0, nullptr);
  glDeleteTextures(0, nullptr);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(Names, NeedNotBeGenerated) {
  const Screen screen(2, 2);
  glBindTexture(rectangle, 123456789);
  upload(rectangle, 1, 1, picture({40}));
  makeLevel(50);
  EXPECT_EQ(shown(), 50);
  glBindTexture(rectangle, 123456789);
  EXPECT_EQ(shown(), 40);
}

TEST(Names, BelongToTheTargetTheyWereFirstBoundTo) {
  const Screen screen(2, 2);
  const GLuint name = makeLevel(50);
  glBindTexture(square, name);
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  glTexParameteri(square, GL_TEXTURE_MIN_FILTER, 0x2703);
  EXPECT_EQ(glGetError(), GL_NO_ERROR) << "the default 2-D texture is still bound";
  EXPECT_EQ(shown(), 50);
  glDeleteTextures(1, &name);
  glBindTexture(square, name);
  EXPECT_EQ(glGetError(), GL_NO_ERROR) << "a deleted name is free for either";
}

TEST(Names, KeepTheirParameters) {
  const Screen screen(4, 1);
  const GLuint nearest = bindNewTexture(rectangle, GL_NEAREST);
  upload(rectangle, 2, 1, picture({40, 80}));
  bindNewTexture(rectangle, GL_LINEAR);
  upload(rectangle, 2, 1, picture({40, 80}));
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 4, 1}, Box{0, 0, 2, 1});
  EXPECT_EQ(screen.channel(0), (std::vector<int>{40, 50, 70, 80}));
  glBindTexture(rectangle, nearest);
  drawQuad(Box{0, 0, 4, 1}, Box{0, 0, 2, 1});
  EXPECT_EQ(screen.channel(0), (std::vector<int>{40, 40, 80, 80}));
}

TEST(Deleting, TheBoundTextureBindsTheDefault) {
  const Screen screen(2, 2);
  upload(rectangle, 1, 1, picture({90}));
  setFilter(rectangle, GL_NEAREST);
  const GLuint name = makeLevel(50);
  EXPECT_EQ(shown(), 50);
  glDeleteTextures(1, &name);
  EXPECT_EQ(shown(), 90) << "texture 0 has an image like any other";
}

TEST(Deleting, IgnoresZeroAndUnknownNames) {
  const Screen screen(2, 2);
  const GLuint name = makeLevel(50);
  const GLuint others[] = {0, name + 1000, 0xFFFFFFFF, name + 1000};
  glDeleteTextures(4, others);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  EXPECT_EQ(shown(), 50);
}

TEST(Deleting, TakesTheImageAway) {
  const Screen screen(2, 2);
  const GLuint name = makeLevel(50);
  glDeleteTextures(1, &name);
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 255) << "a new texture under the old name";
}

TEST(Deleting, WaitsForWhatWasDrawn) {
  const Screen screen(1, 1);
  const GLuint name = makeLevel(50);
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 1, 1}, Box{0, 0, 1, 1});
  glDeleteTextures(1, &name);
  EXPECT_EQ(levelsAt(0, 0)[0], 50);
}

TEST(Sharing, ShowsTexturesOfTheOtherContext) {
  const Screen first(1, 1);
  const GLuint name = makeLevel(50);
  const Screen second(1, 1, {false, first.context()});
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 50);
  upload(rectangle, 1, 1, picture({60}));
  first.use();
  EXPECT_EQ(shown(), 60) << "it was bound all along";
}

TEST(Sharing, GoesOnWhenTheFirstContextIsGone) {
  auto first = std::make_unique<Screen>(1, 1);
  const GLuint name = makeLevel(50);
  const Screen second(1, 1, {false, first->context()});
  first.reset();
  second.use();
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 50);
  const Screen third(1, 1, {true, second.context()});
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 50) << "float and byte contexts share alike";
}

TEST(Sharing, GivesNoNameTwice) {
  const Screen first(1, 1);
  const Screen second(1, 1, {false, first.context()});
  std::vector<GLuint> names(10);
  for (std::size_t i = 0; i < names.size(); ++i) {
    (i % 2 ? first : second).use();
    glGenTextures(1, &names[i]);
  }
  EXPECT_EQ(std::set<GLuint>(names.begin(), names.end()).size(), 10u);
}

TEST(Sharing, LeavesTheDefaultTexturesToEachContext) {
  const Screen first(1, 1);
  upload(rectangle, 1, 1, picture({90}));
  setFilter(rectangle, GL_NEAREST);
  const Screen second(1, 1, {false, first.context()});
  EXPECT_EQ(shown(), 255);
  first.use();
  EXPECT_EQ(shown(), 90);
}

TEST(Sharing, DoesNotHappenUnasked) {
  const Screen first(1, 1);
  const GLuint name = makeLevel(50);
  const Screen second(1, 1);
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 255);
}

TEST(Sharing, ADeletedTextureLivesWhereItIsBound) {
  const Screen first(1, 1);
  const GLuint name = makeLevel(50);
  const Screen second(1, 1, {false, first.context()});
  glBindTexture(rectangle, name);
  first.use();
  glDeleteTextures(1, &name);
  EXPECT_EQ(shown(), 255);
  // The name is free at once for a new texture; the old texture lives on in the other context.
  glBindTexture(rectangle, name);
  setFilter(rectangle, GL_NEAREST);
  upload(rectangle, 1, 1, picture({70}));
  EXPECT_EQ(shown(), 70);
  second.use();
  EXPECT_EQ(shown(), 50);
  upload(rectangle, 1, 1, picture({55}));
  EXPECT_EQ(shown(), 55);
  glDeleteTextures(1, &name);
  EXPECT_EQ(shown(), 55) << "the name now means the new texture, which is not bound here";
  glBindTexture(rectangle, name);
  EXPECT_EQ(shown(), 255);
}

TEST(Sharing, StateIsEachContextsOwn) {
  const Screen first(4, 1);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  glColorMask(1, 0, 0, 0);
  glPixelStorei(GL_PACK_ALIGNMENT, 8);
  glColor4f(0.2f, 0.2f, 0.2f, 0.2f);
  const Screen second(4, 1, {false, first.context()});
  drawQuad(Box{0, 0, 4, 1});
  drawQuad(Box{0, 0, 4, 1});
  EXPECT_EQ(levelsAt(0, 0), (Levels{255, 255, 255, 255})) << "white, unblended, unmasked";
  first.use();
  drawQuad(Box{0, 0, 4, 1});
  drawQuad(Box{0, 0, 4, 1});
  EXPECT_EQ(levelsAt(0, 0), (Levels{102, 0, 0, 0}));
}

}  // namespace
}  // namespace pyrelux::soft
