// Which calls are errors, which error they set, and that such a call changes nothing.

#include <functional>
#include <limits>
#include <set>
#include <string>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

struct Call {
  const char *name;
  GLenum error;
  std::function<void()> call;
};

void PrintTo(const Call &call, std::ostream *out) { *out << call.name; }

/// A drawing that depends on all of the context's state: a clear, a textured and a plain quad, and a read of odd width.
std::vector<std::uint8_t> probe() {
  glClear(GL_COLOR_BUFFER_BIT);
  drawQuad(Box{1, 1, 7, 5}, Box{0, 0, 3, 2});
  glDisable(GL_TEXTURE_RECTANGLE_EXT);
  drawQuad(Box{2, 0, 5, 3});
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  std::vector<std::uint8_t> bytes(256, 0xEE);
  glReadPixels(0, 0, 7, 6, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  return bytes;
}

/// A screen on which no state that can change is at its default.
class SetScreen {
 public:
  SetScreen() : screen_(8, 6) {
    glViewport(1, 0, 7, 6);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, 8, 0, 6, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glOrtho(-1, 1, -2, 2, -1, 1);
    glOrtho(-1, 1, -0.5, 0.5, -1, 1);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_ALWAYS, 0.5f);
    glColorMask(GL_TRUE, GL_TRUE, GL_FALSE, GL_TRUE);
    glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
    glColor4f(0.9f, 0.8f, 0.7f, 0.6f);
    glTexCoord2f(1.5f, 0.5f);
    texture = bindNewTexture(GL_TEXTURE_RECTANGLE_EXT, GL_LINEAR);
    upload(GL_TEXTURE_RECTANGLE_EXT, 3, 2, pattern(3, 2));
    glEnable(GL_TEXTURE_RECTANGLE_EXT);
    glPixelStorei(GL_PACK_ALIGNMENT, 8);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  }

  GLuint texture = 0;

 private:
  Screen screen_;
};

constexpr GLint linear = 0x2601, repeat = 0x2901, clamp = 0x2900, nearestMipmapNearest = 0x2700;

void image(GLenum target, GLint level, GLenum stored, GLsizei width, GLsizei height, GLint border, GLenum format,
           GLenum type) {
  static const std::vector<std::uint8_t> bytes(256, 99);
  glTexImage2D(target, level, static_cast<GLint>(stored), width, height, border, format, type, bytes.data());
}

void read(GLsizei width, GLsizei height, GLenum format, GLenum type) {
  std::vector<std::uint8_t> bytes(256);
  glReadPixels(0, 0, width, height, format, type, bytes.data());
  EXPECT_EQ(bytes, std::vector<std::uint8_t>(256)) << "a call in error wrote";
}

class BadCall : public ::testing::TestWithParam<Call> {};

TEST_P(BadCall, LeavesItsErrorAndNothingElse) {
  SetScreen screen;
  const auto before = probe();
  GetParam().call();
  EXPECT_EQ(glGetError(), GetParam().error);
  EXPECT_EQ(glGetError(), GL_NO_ERROR) << "asking takes the error away";
  EXPECT_EQ(probe(), before);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

const Call badCalls[] = {
    {"ActiveTextureUnit1", GL_INVALID_ENUM, [] { glActiveTexture(GL_TEXTURE0 + 1); }},
    {"AlphaFuncNever", GL_INVALID_ENUM, [] { glAlphaFunc(0x0200, 0); }},
    {"BlendFuncUnknownSource", GL_INVALID_ENUM, [] { glBlendFunc(0x1234, GL_ONE); }},
    {"BlendFuncUnknownDestination", GL_INVALID_ENUM, [] { glBlendFunc(GL_ONE, 0x1234); }},
    {"DisableUnknown", GL_INVALID_ENUM, [] { glDisable(0x1234); }},
    {"EnableUnknown", GL_INVALID_ENUM, [] { glEnable(0x1234); }},
    {"EnableDepthTest", GL_INVALID_ENUM, [] { glEnable(GL_DEPTH_TEST); }},
    {"EnableLighting", GL_INVALID_ENUM, [] { glEnable(GL_LIGHTING); }},
    {"EnablePolygonSmooth", GL_INVALID_ENUM, [] { glEnable(GL_POLYGON_SMOOTH); }},
    {"EnableFragmentProgram", GL_INVALID_ENUM, [] { glEnable(GL_FRAGMENT_PROGRAM_ARB); }},
    {"PolygonModeFace", GL_INVALID_ENUM, [] { glPolygonMode(0x1234, GL_FILL); }},
    {"PolygonModeLine", GL_INVALID_ENUM, [] { glPolygonMode(GL_FRONT_AND_BACK, 0x1B01); }},
    {"ShadeModel", GL_INVALID_ENUM, [] { glShadeModel(0x1234); }},
    {"MatrixModeTexture", GL_INVALID_ENUM, [] { glMatrixMode(0x1702); }},
    {"OrthoNoWidth", GL_INVALID_VALUE, [] { glOrtho(1, 1, 0, 1, -1, 1); }},
    {"OrthoNoHeight", GL_INVALID_VALUE, [] { glOrtho(0, 1, 3, 3, -1, 1); }},
    {"OrthoNoDepth", GL_INVALID_VALUE, [] { glOrtho(0, 1, 0, 1, 2, 2); }},
    {"ViewportNegativeWidth", GL_INVALID_VALUE, [] { glViewport(0, 0, -1, 4); }},
    {"ViewportNegativeHeight", GL_INVALID_VALUE, [] { glViewport(0, 0, 4, -1); }},
    {"BindTextureTarget", GL_INVALID_ENUM, [] { glBindTexture(0x0DE0, 0); }},
    {"DeleteTexturesCount", GL_INVALID_VALUE, [] { glDeleteTextures(-1, nullptr); }},
    {"GenTexturesCount", GL_INVALID_VALUE, [] { glGenTextures(-1, nullptr); }},
    {"TexImageTarget", GL_INVALID_ENUM, [] { image(0x0DE0, 0, GL_RGBA8, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageFormat", GL_INVALID_ENUM, [] { image(rectangle, 0, GL_RGBA8, 2, 2, 0, 0x1907, GL_UNSIGNED_BYTE); }},
    {"TexImageType", GL_INVALID_ENUM, [] { image(rectangle, 0, GL_RGBA8, 2, 2, 0, GL_RGBA, 0x1403); }},
    {"TexImageStored", GL_INVALID_VALUE, [] { image(rectangle, 0, 0x1234, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageLevel", GL_INVALID_VALUE, [] { image(rectangle, 1, GL_RGBA8, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageNegativeLevel", GL_INVALID_VALUE,
     [] { image(GL_TEXTURE_2D, -1, GL_RGBA8, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageBorder", GL_INVALID_VALUE, [] { image(rectangle, 0, GL_RGBA8, 2, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageNegativeWidth", GL_INVALID_VALUE,
     [] { image(rectangle, 0, GL_RGBA8, -2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageNegativeHeight", GL_INVALID_VALUE,
     [] { image(rectangle, 0, GL_RGBA8, 2, -2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexImageTooWide", GL_INVALID_VALUE,
     [] {
       GLint largest = 0;
       glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &largest);
       image(rectangle, 0, GL_RGBA8, largest + 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE);
     }},
    {"TexImageTooHigh", GL_INVALID_VALUE,
     [] { image(rectangle, 0, GL_RGBA8, 1, std::numeric_limits<GLsizei>::max(), 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexParameterTarget", GL_INVALID_ENUM, [] { glTexParameteri(0x0DE0, GL_TEXTURE_MIN_FILTER, linear); }},
    {"TexParameterName", GL_INVALID_ENUM, [] { glTexParameteri(rectangle, 0x1234, linear); }},
    {"TexParameterMinFilter", GL_INVALID_ENUM, [] { glTexParameteri(rectangle, GL_TEXTURE_MIN_FILTER, 0x1234); }},
    {"TexParameterRectangleMipmap", GL_INVALID_ENUM,
     [] { glTexParameteri(rectangle, GL_TEXTURE_MIN_FILTER, nearestMipmapNearest); }},
    {"TexParameterMagMipmap", GL_INVALID_ENUM,
     [] { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, nearestMipmapNearest); }},
    {"TexParameterRectangleRepeat", GL_INVALID_ENUM, [] { glTexParameteri(rectangle, GL_TEXTURE_WRAP_S, repeat); }},
    {"TexParameterClamp", GL_INVALID_ENUM, [] { glTexParameteri(rectangle, GL_TEXTURE_WRAP_T, clamp); }},
    {"TexParameterfTarget", GL_INVALID_ENUM, [] { glTexParameterf(0x0DE0, GL_TEXTURE_MIN_FILTER, 9729.0f); }},
    {"TexParameterfValue", GL_INVALID_ENUM, [] { glTexParameterf(rectangle, GL_TEXTURE_MIN_FILTER, 1e30f); }},
    {"TexParameterfNegative", GL_INVALID_ENUM, [] { glTexParameterf(rectangle, GL_TEXTURE_MIN_FILTER, -5.0f); }},
    {"TexParameterfNaN", GL_INVALID_ENUM, [] { glTexParameterf(rectangle, GL_TEXTURE_MIN_FILTER, nan); }},
    {"BeginMode", GL_INVALID_ENUM, [] { glBegin(0x0004); }},
    {"EndAlone", GL_INVALID_OPERATION, [] { glEnd(); }},
    {"ClearMask", GL_INVALID_VALUE, [] { glClear(GL_COLOR_BUFFER_BIT | 0x0400); }},
    {"GetStringUnknown", GL_INVALID_ENUM, [] { EXPECT_EQ(glGetString(0x1234), nullptr); }},
    {"GetIntegervUnknown", GL_INVALID_ENUM,
     [] {
       GLint value = -7;
       glGetIntegerv(0x1234, &value);
       EXPECT_EQ(value, -7);
     }},
    {"PixelStoreName", GL_INVALID_ENUM, [] { glPixelStorei(0x1234, 1); }},
    {"PixelStoreZero", GL_INVALID_VALUE, [] { glPixelStorei(GL_PACK_ALIGNMENT, 0); }},
    {"PixelStoreThree", GL_INVALID_VALUE, [] { glPixelStorei(GL_UNPACK_ALIGNMENT, 3); }},
    {"PixelStoreSixteen", GL_INVALID_VALUE, [] { glPixelStorei(GL_PACK_ALIGNMENT, 16); }},
    {"PixelStoreNegative", GL_INVALID_VALUE, [] { glPixelStorei(GL_PACK_ALIGNMENT, -4); }},
    {"ReadPixelsFormat", GL_INVALID_ENUM, [] { read(2, 2, 0x1907, GL_UNSIGNED_BYTE); }},
    {"ReadPixelsType", GL_INVALID_ENUM, [] { read(2, 2, GL_RGBA, 0x1403); }},
    {"ReadPixelsNegativeWidth", GL_INVALID_VALUE, [] { read(-2, 2, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"ReadPixelsNegativeHeight", GL_INVALID_VALUE, [] { read(2, -2, GL_RGBA, GL_UNSIGNED_BYTE); }},
};

std::string nameOf(const ::testing::TestParamInfo<Call> &call) { return call.param.name; }

INSTANTIATE_TEST_SUITE_P(Calls, BadCall, ::testing::ValuesIn(badCalls), nameOf);

/// A valid call in the wrong place. Its effect would change the result of probe().
class CallInside : public ::testing::TestWithParam<Call> {};

const Call callsInside[] = {
    {"ActiveTexture", GL_INVALID_OPERATION, [] { glActiveTexture(GL_TEXTURE0); }},
    {"AlphaFunc", GL_INVALID_OPERATION, [] { glAlphaFunc(GL_ALWAYS, 0); }},
    {"BlendFunc", GL_INVALID_OPERATION, [] { glBlendFunc(GL_ONE, GL_ONE); }},
    {"ColorMask", GL_INVALID_OPERATION, [] { glColorMask(0, 0, 1, 0); }},
    {"Disable", GL_INVALID_OPERATION, [] { glDisable(GL_BLEND); }},
    {"Enable", GL_INVALID_OPERATION, [] { glEnable(GL_TEXTURE_2D); }},
    {"PolygonMode", GL_INVALID_OPERATION, [] { glPolygonMode(GL_FRONT_AND_BACK, GL_FILL); }},
    {"ShadeModel", GL_INVALID_OPERATION, [] { glShadeModel(0x1D01); }},
    {"LoadIdentity", GL_INVALID_OPERATION, [] { glLoadIdentity(); }},
    {"MatrixMode", GL_INVALID_OPERATION, [] { glMatrixMode(GL_PROJECTION); }},
    {"Ortho", GL_INVALID_OPERATION, [] { glOrtho(0, 9, 0, 9, -1, 1); }},
    {"Viewport", GL_INVALID_OPERATION, [] { glViewport(0, 0, 2, 2); }},
    {"BindTexture", GL_INVALID_OPERATION, [] { glBindTexture(rectangle, 0); }},
    {"DeleteTextures", GL_INVALID_OPERATION,
     [] {
       for (GLuint name = 1; name < 4; ++name) glDeleteTextures(1, &name);
     }},
    {"GenTextures", GL_INVALID_OPERATION,
     [] {
       GLuint name = 77;
       glGenTextures(1, &name);
       EXPECT_EQ(name, 77u);
     }},
    {"TexImage2D", GL_INVALID_OPERATION, [] { image(rectangle, 0, GL_RGBA8, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE); }},
    {"TexParameterf", GL_INVALID_OPERATION, [] { glTexParameterf(rectangle, GL_TEXTURE_MIN_FILTER, 9728.0f); }},
    {"TexParameterfNaN", GL_INVALID_OPERATION, [] { glTexParameterf(rectangle, GL_TEXTURE_MIN_FILTER, nan); }},
    {"TexParameteri", GL_INVALID_OPERATION, [] { glTexParameteri(rectangle, GL_TEXTURE_MIN_FILTER, 0x2600); }},
    {"Begin", GL_INVALID_OPERATION, [] { glBegin(GL_QUADS); }},
    {"Clear", GL_INVALID_OPERATION, [] { glClear(GL_COLOR_BUFFER_BIT); }},
    {"ClearColor", GL_INVALID_OPERATION, [] { glClearColor(1, 1, 1, 1); }},
    {"Finish", GL_INVALID_OPERATION, [] { glFinish(); }},
    {"Flush", GL_INVALID_OPERATION, [] { glFlush(); }},
    {"GetError", GL_INVALID_OPERATION, [] { EXPECT_EQ(glGetError(), 0u) << "undefined values are 0 here"; }},
    {"GetIntegerv", GL_INVALID_OPERATION,
     [] {
       GLint value = -7;
       glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &value);
       EXPECT_EQ(value, -7);
     }},
    {"GetString", GL_INVALID_OPERATION, [] { EXPECT_EQ(glGetString(GL_RENDERER), nullptr); }},
    {"PixelStorei", GL_INVALID_OPERATION, [] { glPixelStorei(GL_PACK_ALIGNMENT, 1); }},
    {"ReadPixels", GL_INVALID_OPERATION, [] { read(2, 2, GL_RGBA, GL_UNSIGNED_BYTE); }},
};

TEST_P(CallInside, IsRefusedAndTheQuadGoesOn) {
  SetScreen screen;
  const auto before = probe();

  glClear(GL_COLOR_BUFFER_BIT);
  glBegin(GL_QUADS);
  corner(1, 1, 0, 0);
  corner(7, 1, 3, 0);
  GetParam().call();
  corner(7, 5, 3, 2);
  corner(1, 5, 0, 2);
  glEnd();
  EXPECT_EQ(glGetError(), GetParam().error);
  glDisable(GL_TEXTURE_RECTANGLE_EXT);
  drawQuad(Box{2, 0, 5, 3});
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  std::vector<std::uint8_t> bytes(256, 0xEE);
  glReadPixels(0, 0, 7, 6, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  EXPECT_EQ(bytes, before) << "the quad round the call";
  EXPECT_EQ(probe(), before) << "what was drawn afterwards";
}

INSTANTIATE_TEST_SUITE_P(Calls, CallInside, ::testing::ValuesIn(callsInside), nameOf);

TEST(Errors, EveryFunctionIsTriedInsideOrMayBeCalledThere) {
  std::set<std::string> tried{"Color4f", "TexCoord2f", "Vertex2f", "End"};
  for (const Call &call : callsInside) tried.insert(call.name);
#define PYRELUX_GL(result, name, parameters, arguments) EXPECT_TRUE(tried.count(#name)) << #name;
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
}

TEST(Errors, TheFirstSticksUntilItIsAskedFor) {
  const Screen screen(4, 4);
  glViewport(0, 0, -1, 0);
  glEnable(0x1234);
  glEnd();
  EXPECT_EQ(glGetError(), GL_INVALID_VALUE);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  glEnd();
  glViewport(0, 0, -1, 0);
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
}

TEST(Errors, BelongToTheirContext) {
  const Screen first(4, 4);
  glEnd();
  const Screen second(4, 4, {false, first.context()});
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  first.use();
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
}

TEST(Errors, WhatIsNeverOnMayBeTurnedOff) {
  const Screen screen(4, 4);
  for (const GLenum name : {GL_DEPTH_TEST, GL_LIGHTING, GL_POLYGON_SMOOTH, GL_FRAGMENT_PROGRAM_ARB, GL_ALPHA_TEST,
                            GL_BLEND, GL_TEXTURE_2D, GL_TEXTURE_RECTANGLE_EXT})
    glDisable(name);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

TEST(Errors, WithoutASurfaceNothingCanBeReadAndDrawingIsLost) {
  const CGLContextObj context = makeContext({});
  CGLSetCurrentContext(context);
  glClear(GL_COLOR_BUFFER_BIT);
  drawQuad(Box{-1, -1, 1, 1});
  glFlush();
  glFinish();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  read(1, 1, GL_RGBA, GL_UNSIGNED_BYTE);
  EXPECT_EQ(glGetError(), GL_INVALID_OPERATION);
  CGLDestroyContext(context);
}

TEST(Errors, WithoutAContextEveryCallIsNothing) {
  CGLSetCurrentContext(nullptr);
  glBegin(GL_QUADS);
  glEnable(0x1234);
  glEnd();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  EXPECT_EQ(glGetString(GL_RENDERER), nullptr);
}

TEST(Asking, NamesTheBackendAndItsLimits) {
  const Screen screen(4, 4);
  const auto text = [](GLenum name) { return std::string(reinterpret_cast<const char *>(glGetString(name))); };
  EXPECT_EQ(text(GL_VENDOR), "Pyrelux");
  EXPECT_NE(text(GL_RENDERER).find("software"), std::string::npos) << text(GL_RENDERER);
  EXPECT_EQ(text(GL_VERSION).substr(0, 3), "1.4");
  GLint rectangles = 0, squares = 0;
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &rectangles);
  glGetIntegerv(0x0D33, &squares);
  EXPECT_GE(rectangles, 4096);
  EXPECT_EQ(rectangles, squares);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

}  // namespace
}  // namespace pyrelux::soft
