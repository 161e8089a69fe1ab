// Tests pbuffers whose image a texture shows, and the orders in which both can be destroyed.

#include <memory>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

CGLError attach(const Screen &to, const Screen &from) {
  return CGLTexImagePBuffer(to.context(), from.pbuffer(), GL_FRONT_LEFT);
}

/// The bound rectangle texture's colour, drawn over `screen`; white without a complete one.
Levels shownOn(const Screen &screen) {
  screen.use();
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  Screen::clear(0, 0, 0, 0);
  drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  return levelsAt(2, 2);
}

void fillWith(const Screen &screen, const Levels &levels) {
  screen.use();
  glDisable(rectangle);
  glColor4f(static_cast<float>(levels[0]) / 255, static_cast<float>(levels[1]) / 255,
            static_cast<float>(levels[2]) / 255, static_cast<float>(levels[3]) / 255);
  drawQuad(Box{0, 0, 4, 4});
}

constexpr Levels red{255, 10, 20, 255}, green{30, 255, 40, 128}, nothing{0, 0, 0, 0}, untextured{255, 255, 255, 255};

class ImageOf : public ::testing::TestWithParam<bool> {
 protected:
  Screen target{4, 4};
  Screen source{4, 4, {GetParam(), target.context()}};
};

INSTANTIATE_TEST_SUITE_P(Surface, ImageOf, ::testing::Values(false, true),
                         [](const auto &floats) { return std::string(floats.param ? "OfFloats" : "OfBytes"); });

TEST_P(ImageOf, IsSeenThroughTheTexture) {
  fillWith(source, red);
  target.use();
  bindNewTexture();
  EXPECT_EQ(attach(target, source), kCGLNoError);
  EXPECT_EQ(shownOn(target), red);
}

TEST_P(ImageOf, NeedNotHaveBeenDrawn) {
  target.use();
  bindNewTexture();
  EXPECT_EQ(attach(target, source), kCGLNoError);
  EXPECT_EQ(shownOn(target), nothing) << "complete, and transparent black";
}

TEST_P(ImageOf, StaysLive) {
  target.use();
  bindNewTexture();
  attach(target, source);
  fillWith(source, red);
  EXPECT_EQ(shownOn(target), red);
  fillWith(source, green);
  EXPECT_EQ(shownOn(target), green) << "without a flush, too";
  source.use();
  Screen::clear(0, 0, 0, 0);
  EXPECT_EQ(shownOn(target), nothing);
}

TEST_P(ImageOf, IsWhatItWasWhenTheQuadWasDrawn) {
  target.use();
  bindNewTexture();
  attach(target, source);
  fillWith(source, red);
  target.use();
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
  fillWith(source, green);
  glFlush();
  target.use();
  EXPECT_EQ(levelsAt(1, 1), red);
}

TEST_P(ImageOf, MayBeSeenThroughTwoTextures) {
  target.use();
  const GLuint first = bindNewTexture();
  attach(target, source);
  const GLuint second = bindNewTexture();
  attach(target, source);
  fillWith(source, green);
  EXPECT_EQ(shownOn(target), green);
  glBindTexture(rectangle, first);
  EXPECT_EQ(shownOn(target), green);
  glDeleteTextures(1, &first);
  glBindTexture(rectangle, second);
  fillWith(source, red);
  EXPECT_EQ(shownOn(target), red);
}

TEST_P(ImageOf, IsAttachedToTheNameInEveryContext) {
  target.use();
  const GLuint name = bindNewTexture();
  attach(target, source);
  fillWith(source, red);
  const Screen other(4, 4, {false, target.context()});
  glBindTexture(rectangle, name);
  EXPECT_EQ(shownOn(other), red);
}

/// A texture to which the image of `source`, red, and then that of `second`, green, was attached.
class ImageOfTwo : public ImageOf {
 protected:
  void SetUp() override {
    fillWith(second, green);
    fillWith(source, red);
    target.use();
    bindNewTexture();
    attach(target, source);
    attach(target, second);
  }

  const Screen second{4, 4, {GetParam(), target.context()}};
};

INSTANTIATE_TEST_SUITE_P(Surface, ImageOfTwo, ::testing::Values(false, true),
                         [](const auto &floats) { return std::string(floats.param ? "OfFloats" : "OfBytes"); });

TEST_P(ImageOfTwo, ShowsTheLastAttached) {
  EXPECT_EQ(shownOn(target), green);
  source.destroyPBuffer();
  EXPECT_EQ(shownOn(target), green) << "the first surface has nothing to do with it any more";
  fillWith(second, red);
  EXPECT_EQ(shownOn(target), red);
}

TEST_P(ImageOfTwo, ShowsTheFirstAttachedAgain) {
  attach(target, source);
  EXPECT_EQ(attach(target, source), kCGLNoError) << "once more";
  EXPECT_EQ(shownOn(target), red);
}

TEST_P(ImageOf, GivesWayToAnUpload) {
  fillWith(source, red);
  target.use();
  bindNewTexture();
  attach(target, source);
  upload(rectangle, 1, 1, std::vector<std::uint8_t>{1, 2, 3, 4});
  EXPECT_EQ(shownOn(target), (Levels{1, 2, 3, 4}));
  source.use();
  EXPECT_EQ(levelsAt(0, 0), red) << "the surface is as it was";
  source.destroyPBuffer();
  EXPECT_EQ(shownOn(target), (Levels{1, 2, 3, 4}));
}

TEST_P(ImageOf, TakesThePlaceOfAnUpload) {
  fillWith(source, red);
  target.use();
  bindNewTexture();
  upload(rectangle, 1, 1, std::vector<std::uint8_t>{1, 2, 3, 4});
  attach(target, source);
  EXPECT_EQ(shownOn(target), red);
  source.destroyPBuffer();
  EXPECT_EQ(shownOn(target), untextured) << "the upload does not come back";
}

TEST_P(ImageOf, GoesWithThePBuffer) {
  fillWith(source, red);
  target.use();
  const GLuint first = bindNewTexture();
  attach(target, source);
  bindNewTexture();
  attach(target, source);
  source.destroyPBuffer();
  EXPECT_EQ(shownOn(target), untextured) << "an incomplete texture is as good as none";
  glBindTexture(rectangle, first);
  EXPECT_EQ(shownOn(target), untextured);
  upload(rectangle, 1, 1, std::vector<std::uint8_t>{1, 2, 3, 4});
  EXPECT_EQ(shownOn(target), (Levels{1, 2, 3, 4})) << "the name is good for a new image";
}

TEST_P(ImageOf, GoesWithTheContextThatDrewIt) {
  fillWith(source, red);
  target.use();
  bindNewTexture();
  attach(target, source);
  source.destroyContext();
  EXPECT_EQ(CGLGetCurrentContext(), target.context());
  EXPECT_EQ(shownOn(target), untextured);
  EXPECT_EQ(attach(target, source), kCGLBadDrawable) << "the pbuffer has no image";
}

TEST_P(ImageOf, IsStillThereForWhatWasDrawnBefore) {
  fillWith(source, red);
  target.use();
  bindNewTexture();
  attach(target, source);
  glEnable(rectangle);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 4, 2}, Box{0, 0, 4, 2});
  source.destroyPBuffer();
  EXPECT_EQ(levelsAt(1, 1), red);
  EXPECT_EQ(levelsAt(1, 3), nothing);
}

TEST_P(ImageOf, NeedsANameAndACurrentContext) {
  target.use();
  EXPECT_EQ(attach(target, source), kCGLBadState) << "texture 0 is bound";
  bindNewTexture();
  source.use();
  EXPECT_EQ(attach(target, source), kCGLBadState) << "another context is current";
  target.use();
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), source.pbuffer(), 0x1234), kCGLBadEnumeration);
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), nullptr, GL_FRONT_LEFT), kCGLBadDrawable);
  EXPECT_EQ(CGLTexImagePBuffer(nullptr, source.pbuffer(), GL_FRONT_LEFT), kCGLBadContext);
  EXPECT_EQ(shownOn(target), untextured) << "nothing was attached";
}

TEST_P(ImageOf, IsRefusedToContextsThatDoNotShare) {
  const Screen stranger(4, 4);
  bindNewTexture();
  EXPECT_EQ(attach(stranger, source), kCGLBadMatch);
  EXPECT_EQ(shownOn(stranger), untextured);
}

TEST_P(ImageOf, IsNotDrawnIntoItself) {
  fillWith(source, red);
  bindNewTexture();
  EXPECT_EQ(attach(source, source), kCGLNoError);
  glEnable(rectangle);
  glColor4f(0.5f, 0.5f, 0.5f, 0.5f);
  drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  EXPECT_EQ(levelsAt(1, 1), red);
  // The same context may draw it elsewhere.
  const CGLPBufferObj other = makePBuffer(4, 4);
  CGLSetPBuffer(source.context(), other, 0, 0, 0);
  glColor4f(1, 1, 1, 1);
  drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  EXPECT_EQ(levelsAt(1, 1), red);
  CGLDestroyPBuffer(other);
}

TEST_P(ImageOf, PassesThroughChains) {
  // Each surface shows the previous one; none is flushed.
  std::vector<std::unique_ptr<Screen>> chain;
  fillWith(source, green);
  const Screen *last = &source;
  for (int i = 0; i < 4; ++i) {
    chain.push_back(std::make_unique<Screen>(4, 4, ScreenOptions{GetParam(), target.context()}));
    bindNewTexture();
    EXPECT_EQ(attach(*chain.back(), *last), kCGLNoError);
    glEnable(rectangle);
    glColor4f(1, 1, 1, 1);
    drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
    last = chain.back().get();
  }
  EXPECT_EQ(levelsAt(3, 0), green);
}

TEST_P(ImageOf, DeletedNamesLetGoOfIt) {
  target.use();
  const GLuint name = bindNewTexture();
  attach(target, source);
  const Screen other(4, 4, {false, target.context()});
  glBindTexture(rectangle, name);
  glDeleteTextures(1, &name);
  fillWith(source, red);
  target.use();
  EXPECT_EQ(shownOn(target), red) << "deleted elsewhere, bound here";
  source.destroyPBuffer();
  EXPECT_EQ(shownOn(target), untextured);
}

TEST(PBuffer, BelongsToTheContextThatDrewFirst) {
  Screen first(4, 4);
  const CGLContextObj second = makeContext({false, first.context()});
  CGLSetCurrentContext(second);
  EXPECT_EQ(CGLSetPBuffer(second, first.pbuffer(), 0, 0, 0), kCGLBadMatch);
  first.use();
  fillWith(first, red);
  first.destroyContext();
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  CGLSetCurrentContext(second);
  EXPECT_EQ(CGLSetPBuffer(second, first.pbuffer(), 0, 0, 0), kCGLNoError) << "free for the next one";
  EXPECT_EQ(levelsAt(0, 0), nothing) << "the image went with its context";
  CGLDestroyContext(second);
}

TEST(PBuffer, MayGoWhileItIsDrawnInto) {
  Screen screen(4, 4);
  fillWith(screen, red);
  screen.destroyPBuffer();
  drawQuad(Box{0, 0, 4, 4});
  glClear(GL_COLOR_BUFFER_BIT);
  glFinish();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  levelsAt(0, 0);
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION) << "there is no surface to read";
}

TEST(PBuffer, MayGoInTheMiddleOfAQuad) {
  Screen screen(4, 4);
  glBegin(GL_QUADS);
  corners({0, 0, 4, 4});
  corner(0, 0);
  corner(4, 0);
  screen.destroyPBuffer();
  corner(4, 4);
  corner(0, 4);
  glEnd();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(PBuffer, MayBeChangedInTheMiddleOfAPrimitive) {
  // Quads cut to the first surface must not reach past the second.
  const Screen screen(64, 64);
  glColor4f(1, 1, 1, 1);
  const CGLPBufferObj small = makePBuffer(4, 4);
  CGLSetPBuffer(screen.context(), small, 0, 0, 0);
  Screen::clear(0, 0, 0, 0);
  screen.use();
  glBegin(GL_QUADS);
  corners({8, 8, 60, 60});
  corners({0, 0, 64, 64});
  CGLSetPBuffer(screen.context(), small, 0, 0, 0);
  glEnd();
  levelsAt(0, 0);
  screen.use();
  EXPECT_EQ(levelsAt(63, 63), nothing);
  CGLDestroyPBuffer(small);
}

TEST(PBuffer, OfTheLargestSizeMayBeFollowedByNoLargerOne) {
  const CGLContextObj context = makeContext({});
  CGLSetCurrentContext(context);
  GLint largest = 0;
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &largest);
  const CGLPBufferObj wide = makePBuffer(largest, 1), wider = makePBuffer(largest + 1, 1),
                      high = makePBuffer(1, 1 << 30);
  EXPECT_EQ(CGLSetPBuffer(context, wide, 0, 0, 0), kCGLNoError);
  Screen::clear(1, 1, 1, 1);
  EXPECT_EQ(levelsAt(largest - 1, 0), untextured);
  EXPECT_EQ(CGLSetPBuffer(context, wider, 0, 0, 0), kCGLBadAlloc);
  EXPECT_EQ(CGLSetPBuffer(context, high, 0, 0, 0), kCGLBadAlloc);
  EXPECT_EQ(levelsAt(largest - 1, 0), untextured) << "the surface before stays";
  CGLDestroyContext(context);
  for (const CGLPBufferObj pbuffer : {wide, wider, high}) EXPECT_EQ(CGLDestroyPBuffer(pbuffer), kCGLNoError);
}

}  // namespace
}  // namespace pyrelux::soft
