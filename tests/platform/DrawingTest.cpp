#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>
#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "DrawingBackend.h"

namespace pyrelux::platform {
namespace {

struct Pixel {
  float r, g, b, a;
};

INSTANTIATE_TEST_SUITE_P(Backend, DrawingTest, ::testing::ValuesIn(kBackends),
                         [](const auto &backend) { return backend.param.name; });

/// For surfaces of bytes and of floats.
class TexImageTest : public BackendTest, public ::testing::WithParamInterface<std::tuple<NamedBackend, bool>> {
 protected:
  void SetUp() override { start(std::get<NamedBackend>(GetParam())); }
  bool floats() const { return std::get<bool>(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Backend, TexImageTest, ::testing::Combine(::testing::ValuesIn(kBackends), ::testing::Bool()),
                         [](const auto &chosen) {
                           return std::string(std::get<NamedBackend>(chosen.param).name) +
                                  (std::get<bool>(chosen.param) ? "Floats" : "Bytes");
                         });

/// For backends whose contexts are a driver's.
class EGLTest : public DrawingTest {};

INSTANTIATE_TEST_SUITE_P(Backend, EGLTest, ::testing::Values(kBackends[1], kBackends[2]),
                         [](const auto &backend) { return backend.param.name; });

void fill(float x, float y, float w, float h, const Pixel &colour) {
  glColor4f(colour.r, colour.g, colour.b, colour.a);
  glBegin(GL_QUADS);
  glVertex2f(x, y);
  glVertex2f(x + w, y);
  glVertex2f(x + w, y + h);
  glVertex2f(x, y + h);
  glEnd();
}

/// A picture whose rows, columns and channels all differ, exact in 8 bits: pixel (x, y) is (51 x, 60 y, 200 - 10 x,
/// 255).
Pixel patternAt(int x, int y) {
  return {static_cast<float>(51 * x) / 255.0f, static_cast<float>(60 * y) / 255.0f,
          static_cast<float>(200 - 10 * x) / 255.0f, 1.0f};
}

void drawPattern() {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) fill(static_cast<float>(x), static_cast<float>(y), 1.0f, 1.0f, patternAt(x, y));
}

std::vector<unsigned char> patternBytes() {
  std::vector<unsigned char> bytes;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (const int value : {51 * x, 60 * y, 200 - 10 * x, 255}) bytes.push_back(static_cast<unsigned char>(value));
  return bytes;
}

std::vector<unsigned char> readBytes() {
  std::vector<unsigned char> bytes(width * height * 4);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  return bytes;
}

std::vector<float> readFloats() {
  std::vector<float> floats(width * height * 4);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, floats.data());
  return floats;
}

/// Binds a texture that holds the pattern.
void bindPatternTexture() {
  boundRectangleTexture();
  const std::vector<unsigned char> bytes = patternBytes();
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage2D(GL_TEXTURE_RECTANGLE_EXT, 0, static_cast<GLint>(GL_RGBA8), width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
               bytes.data());
}

/// Draws the bound rectangle texture, texel for pixel, over the current surface.
void drawBoundTexture() {
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
  glBegin(GL_QUADS);
  for (const auto &[x, y] : {std::pair{0, 0}, {width, 0}, {width, height}, {0, height}}) {
    glTexCoord2f(static_cast<float>(x), static_cast<float>(y));
    glVertex2f(static_cast<float>(x), static_cast<float>(y));
  }
  glEnd();
  glDisable(GL_TEXTURE_RECTANGLE_EXT);
}

TEST_P(DrawingTest, LoadsEveryFunction) {
  const PyreluxGLDispatch &table = *pyreluxCurrentGL();
#define PYRELUX_GL(result, name, parameters, arguments) EXPECT_NE(table.name, nullptr) << #name;
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
  EXPECT_NE(glGetString(GL_RENDERER), nullptr);
}

TEST(DefaultBackend, DrawsForAContextThatNamesNone) {
  const CGLContextObj context = makeContext(0);
  CGLSetCurrentContext(context);
  const GLubyte *name = glGetString(GL_RENDERER);
  ASSERT_NE(name, nullptr);
  const std::string inUse = reinterpret_cast<const char *>(name);
  CGLDestroyContext(context);

  const CGLContextObj expected = makeContext(backendUnavailable(kBackendGPU).empty() ? kBackendGPU : kBackendSoft);
  CGLSetCurrentContext(expected);
  EXPECT_EQ(inUse, reinterpret_cast<const char *>(glGetString(GL_RENDERER)));
  CGLDestroyContext(expected);
}

TEST_P(EGLTest, AContextThatIsCurrentOnAnotherThreadIsRefused) {
  CGLError error = kCGLNoError;
  CGLContextObj current = host;
  std::thread([this, &error, &current] {
    error = CGLSetCurrentContext(host);
    current = CGLGetCurrentContext();
  }).join();
  EXPECT_EQ(error, kCGLBadState);
  EXPECT_EQ(current, nullptr);
  EXPECT_EQ(CGLGetCurrentContext(), host);
}

TEST_P(DrawingTest, AnEightBitSurfaceReadsBackExactly) {
  Surface surface(host, false);
  surface.clear(0, 0, 0, 0);
  drawPattern();
  EXPECT_EQ(readBytes(), patternBytes());
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_P(DrawingTest, ReadsBackFromTheUpperRowOnIfAskedFor) {
  EXPECT_NE(std::strstr(reinterpret_cast<const char *>(glGetString(GL_EXTENSIONS)), "GL_MESA_pack_invert"), nullptr);
  Surface surface(host, false);
  surface.clear(0, 0, 0, 0);
  drawPattern();
  const std::vector<unsigned char> pattern = patternBytes();
  std::vector<unsigned char> inverted;
  for (int y = height - 1; y >= 0; --y)
    inverted.insert(inverted.end(), pattern.begin() + y * width * 4, pattern.begin() + (y + 1) * width * 4);
  glPixelStorei(GL_PACK_INVERT_MESA, 1);
  EXPECT_EQ(readBytes(), inverted);
  glPixelStorei(GL_PACK_INVERT_MESA, 0);
  EXPECT_EQ(readBytes(), pattern);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_P(DrawingTest, TheViewportIsTheFirstSurfacesAndTheCallersAfterwards) {
  Surface surface(host, false);
  surface.clear(0, 0, 0, 0);
  glViewport(0, 0, 2, height);
  surface.begin();
  fill(0, 0, width, height, {1, 1, 1, 1});
  const auto bytes = readBytes();
  EXPECT_EQ(bytes[4 * 1], 255);
  EXPECT_EQ(bytes[4 * 2], 0) << "setting the surface again must not touch the viewport";
}

TEST_P(DrawingTest, AFloatSurfaceKeepsWhatEightBitsLose) {
  Surface surface(host, true);
  surface.clear(0, 0, 0, 0);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  // 1/1024 is a quarter of a level. Half floats represent it, and 3, exactly.
  const Pixel faint = {1.0f / 1024.0f, 1.0f, 0.25f, 1.0f};
  for (int i = 0; i < 3; ++i) fill(0, 0, width, height, faint);
  const auto floats = readFloats();
  EXPECT_EQ(floats[0], 3.0f / 1024.0f);
  EXPECT_EQ(floats[1], 3.0f);
  EXPECT_EQ(floats[2], 0.75f);
  EXPECT_EQ(floats[3], 3.0f);
}

TEST_P(DrawingTest, AnEightBitSurfaceClampsAndRounds) {
  Surface surface(host, false);
  surface.clear(0, 0, 0, 0);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  for (int i = 0; i < 3; ++i) fill(0, 0, width, height, {1.0f / 1024.0f, 1.0f, 51.0f / 255.0f, 1.0f});
  const auto floats = readFloats();
  EXPECT_EQ(floats[0], 0.0f) << "a quarter of a level vanishes each time";
  EXPECT_EQ(floats[1], 1.0f);
  EXPECT_EQ(floats[3], 1.0f);
  EXPECT_EQ(readBytes()[2], 153);
}

TEST_P(TexImageTest, GivesTheImageToASharingContext) {
  Surface surface(host, floats());
  surface.clear(0, 0, 0, 0);
  drawPattern();
  glFlush();

  Surface target(host, floats());
  CGLSetCurrentContext(target.context());
  target.clear(0, 0, 0, 0);
  const GLuint texture = boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), surface.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  EXPECT_EQ(CGLGetCurrentContext(), target.context());
  drawBoundTexture();
  // Bytes as half floats have an error of at most half a level in 2048, and convert back exactly.
  EXPECT_EQ(readBytes(), patternBytes());
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  glDeleteTextures(1, &texture);
}

TEST_P(TexImageTest, TheTextureStaysLive) {
  Surface surface(host, floats());
  surface.clear(0, 0, 0, 0);
  Surface target(host, floats());
  const GLuint texture = boundRectangleTexture();
  CGLTexImagePBuffer(target.context(), surface.pbuffer(), GL_FRONT_LEFT);

  surface.begin();
  drawPattern();
  glFlush();
  target.begin();
  target.clear(0, 0, 0, 0);
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, texture);
  drawBoundTexture();
  EXPECT_EQ(readBytes(), patternBytes());
}

TEST_P(TexImageTest, ASecondTextureTakesTheImageOver) {
  Surface surface(host, floats());
  surface.clear(0, 0, 0, 0);
  drawPattern();
  glFlush();
  Surface target(host, floats());
  boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), surface.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  const GLuint second = boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), surface.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), surface.pbuffer(), GL_FRONT_LEFT), kCGLNoError) << "and again";
  drawBoundTexture();
  EXPECT_EQ(readBytes(), patternBytes());

  surface.begin();
  fill(0, 0, width, height, {0, 1, 0, 1});
  EXPECT_EQ(readBytes()[1], 255);
  glFlush();
  target.begin();
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, second);
  drawBoundTexture();
  EXPECT_EQ(readBytes()[0], 0);
  EXPECT_EQ(readBytes()[1], 255);
}

TEST_P(DrawingTest, TheImageNeedsABoundTexture) {
  Surface surface(host, false);
  CGLSetCurrentContext(host);
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, 0);
  EXPECT_EQ(CGLTexImagePBuffer(host, surface.pbuffer(), GL_FRONT_LEFT), kCGLBadState);
}

TEST_P(DrawingTest, TwoSurfacesDoNotDisturbEachOther) {
  Surface first(host, false);
  first.clear(1, 0, 0, 1);
  Surface second(host, false);
  second.clear(0, 0, 1, 1);
  EXPECT_EQ(readBytes()[2], 255);
  first.begin();
  EXPECT_EQ(readBytes()[0], 255);
  EXPECT_EQ(readBytes()[2], 0);
}

TEST_P(DrawingTest, OneContextDrawsIntoTwoPBuffersByTurns) {
  Surface surface(host, false);
  surface.clear(1, 0, 0, 1);
  CGLPBufferObj other = nullptr;
  CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &other);
  EXPECT_EQ(CGLSetPBuffer(surface.context(), other, 0, 0, 0), kCGLNoError);
  surface.clear(0, 1, 0, 1);
  surface.begin();
  EXPECT_EQ(readBytes()[0], 255);
  EXPECT_EQ(readBytes()[1], 0);
  CGLDestroyPBuffer(other);
}

TEST_P(DrawingTest, AContextMayGoBeforeItsPBuffer) {
  Surface surface(host, false);
  surface.clear(1, 1, 1, 1);
  surface.destroyContext();
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  CGLSetCurrentContext(host);
  boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(host, surface.pbuffer(), GL_FRONT_LEFT), kCGLBadDrawable);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_P(DrawingTest, APBufferMayGoWhileItIsDrawnInto) {
  const CGLContextObj context = makeContext(0, false, host);
  CGLSetCurrentContext(context);
  CGLPBufferObj pbuffer = nullptr;
  CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer);
  CGLSetPBuffer(context, pbuffer, 0, 0, 0);
  EXPECT_EQ(CGLDestroyPBuffer(pbuffer), kCGLNoError);
  EXPECT_EQ(CGLGetCurrentContext(), context);
  // Drawing without a surface does nothing; an address sanitizer notices if it uses the destroyed one.
  fill(-1, -1, 2, 2, {1, 1, 1, 1});
  glFlush();
  CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer);
  EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 0), kCGLNoError);
  fill(-1, -1, 2, 2, {1, 1, 1, 1});
  EXPECT_EQ(readBytes()[0], 255);
  CGLDestroyPBuffer(pbuffer);
  CGLDestroyContext(context);
}

TEST_P(DrawingTest, DestroyingAPBufferLeavesTheHostsBindingAlone) {
  Surface target(host, false);
  auto surface = std::make_unique<Surface>(host, false);
  surface->clear(0, 0, 0, 0);
  target.begin();
  boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(target.context(), surface->pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  bindPatternTexture();
  surface.reset();
  EXPECT_EQ(CGLGetCurrentContext(), target.context());
  target.clear(0, 0, 0, 0);
  drawBoundTexture();
  EXPECT_EQ(readBytes(), patternBytes());
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_P(DrawingTest, DestroyingAPBufferLeavesItsOwnersBindingAlone) {
  Surface surface(host, false);
  CGLPBufferObj other = nullptr;
  CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &other);
  CGLSetPBuffer(surface.context(), other, 0, 0, 0);
  boundRectangleTexture();
  EXPECT_EQ(CGLTexImagePBuffer(surface.context(), other, GL_FRONT_LEFT), kCGLNoError);
  bindPatternTexture();
  CGLDestroyPBuffer(other);
  surface.begin();
  surface.clear(0, 0, 0, 0);
  drawBoundTexture();
  EXPECT_EQ(readBytes(), patternBytes());
}

TEST_P(DrawingTest, ATextureThatLostItsImageDrawsWithoutOne) {
  Surface target(host, false);
  auto surface = std::make_unique<Surface>(host, false);
  surface->clear(0, 1, 0, 1);
  target.begin();
  boundRectangleTexture();
  CGLTexImagePBuffer(target.context(), surface->pbuffer(), GL_FRONT_LEFT);
  surface.reset();
  drawBoundTexture();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST_P(DrawingTest, ASurfaceLargerThanItsTexturesIsRefused) {
  GLint largest = 0;
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &largest);
  ASSERT_GT(largest, 0);
  CGLPBufferObj pbuffer = nullptr;
  CGLCreatePBuffer(largest + 1, 1, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer);
  EXPECT_NE(CGLSetPBuffer(host, pbuffer, 0, 0, 0), kCGLNoError);
  CGLDestroyPBuffer(pbuffer);
}

}  // namespace
}  // namespace pyrelux::platform
