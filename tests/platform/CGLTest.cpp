#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>
#include <gmock/gmock.h>

#include <set>
#include <string>
#include <thread>

#include "Backends.h"
#include "HostContext.h"

namespace pyrelux::platform {
namespace {

using test::chooseFormat;
using test::HostContext;
using test::makeContext;

CGLPBufferObj makePBuffer(GLsizei width = 8, GLsizei height = 4) {
  CGLPBufferObj pbuffer = nullptr;
  EXPECT_EQ(CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer), kCGLNoError);
  return pbuffer;
}

CGLError choose(std::initializer_list<std::int32_t> attributes, CGLPixelFormatObj *format, GLint *count) {
  std::vector<CGLPixelFormatAttribute> list;
  for (const std::int32_t attribute : attributes) list.push_back(static_cast<CGLPixelFormatAttribute>(attribute));
  return CGLChoosePixelFormat(list.data(), format, count);
}

TEST(CGLErrorString, HasADistinctWordForEveryError) {
  std::set<std::string> words;
  for (const CGLError error :
       {kCGLNoError, kCGLBadAttribute, kCGLBadPixelFormat, kCGLBadContext, kCGLBadDrawable, kCGLBadState, kCGLBadValue,
        kCGLBadMatch, kCGLBadEnumeration, kCGLBadAddress, kCGLBadAlloc})
    words.insert(CGLErrorString(error));
  EXPECT_EQ(words.size(), 11u);
  EXPECT_STREQ(CGLErrorString(static_cast<CGLError>(-1)), "unknown error");
}

TEST(CGLPixelFormat, EveryAttributeTheFilterAsksForIsKnown) {
  CGLPixelFormatObj format = nullptr;
  GLint count = 0;
  EXPECT_EQ(choose({73, 80, 8, 64, 58, 12, 16, 72, 96, 0}, &format, &count), kCGLNoError);
  EXPECT_NE(format, nullptr);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(CGLDestroyPixelFormat(format), kCGLNoError);
}

TEST(CGLPixelFormat, AnUnknownAttributeIsAnError) {
  int there = 0;
  auto format = reinterpret_cast<CGLPixelFormatObj>(&there);
  GLint count = 7;
  EXPECT_EQ(choose({73, 12345, 0}, &format, &count), kCGLBadAttribute);
  EXPECT_EQ(format, nullptr);
  EXPECT_EQ(count, 0);
}

TEST(CGLPixelFormat, ABackendThatDoesNotExistMatchesNothingWithoutAnError) {
  int there = 0;
  auto format = reinterpret_cast<CGLPixelFormatObj>(&there);
  GLint count = 7;
  EXPECT_EQ(choose({kCGLPFARendererID, 0x1234, 0}, &format, &count), kCGLNoError);
  EXPECT_EQ(format, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_FALSE(backendUnavailable(0x1234).empty());
}

TEST(CGLPixelFormat, NullPointersAreBadAddresses) {
  const CGLPixelFormatAttribute none[] = {static_cast<CGLPixelFormatAttribute>(0)};
  CGLPixelFormatObj format = nullptr;
  GLint count = 0;
  EXPECT_EQ(CGLChoosePixelFormat(nullptr, &format, &count), kCGLBadAddress);
  EXPECT_EQ(CGLChoosePixelFormat(none, nullptr, &count), kCGLBadAddress);
  EXPECT_EQ(CGLChoosePixelFormat(none, &format, nullptr), kCGLBadAddress);
}

TEST(CGLContext, NullHandlesAreErrorsWithoutAnEffect) {
  const HostContext host;
  CGLContextObj context = nullptr;
  GLint screen = 0;
  EXPECT_EQ(CGLDestroyPixelFormat(nullptr), kCGLBadPixelFormat);
  EXPECT_EQ(CGLCreateContext(nullptr, nullptr, &context), kCGLBadPixelFormat);
  EXPECT_EQ(CGLDestroyContext(nullptr), kCGLBadContext);
  EXPECT_EQ(CGLGetVirtualScreen(nullptr, &screen), kCGLBadContext);
  EXPECT_EQ(CGLGetVirtualScreen(host.handle(), nullptr), kCGLBadAddress);
  EXPECT_EQ(CGLDestroyPBuffer(nullptr), kCGLBadDrawable);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST(CGLContext, AResultNeedsAPlaceToGo) {
  const CGLPixelFormatObj format = chooseFormat(kBackendNull);
  EXPECT_EQ(CGLCreateContext(format, nullptr, nullptr), kCGLBadAddress);
  CGLDestroyPixelFormat(format);
  EXPECT_EQ(CGLCreatePBuffer(8, 8, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, nullptr), kCGLBadAddress);
}

TEST(CGLContext, HasOneVirtualScreen) {
  const HostContext host;
  GLint screen = 9;
  EXPECT_EQ(CGLGetVirtualScreen(host.handle(), &screen), kCGLNoError);
  EXPECT_EQ(screen, 0);
}

TEST(CGLContext, DrawsWithTheBackendOfTheContextItSharesWith) {
  const HostContext host(kBackendNull);
  const CGLContextObj sharing = makeContext(0, false, host.handle());
  CGLSetCurrentContext(sharing);
  const std::uint64_t before = nullBackendQuads();
  glBegin(GL_QUADS);
  for (int i = 0; i < 4; ++i) glVertex2f(0.0f, 0.0f);
  glEnd();
  EXPECT_EQ(nullBackendQuads(), before + 1);
  CGLSetCurrentContext(host.handle());
  CGLDestroyContext(sharing);
}

TEST(CGLContext, ThatNamesAnotherBackendThanItsShareIsRefused) {
  const HostContext host(kBackendNull);
  const CGLPixelFormatObj format = chooseFormat(kBackendRecording);
  int there = 0;
  auto context = reinterpret_cast<CGLContextObj>(&there);
  EXPECT_EQ(CGLCreateContext(format, host.handle(), &context), kCGLBadMatch);
  EXPECT_EQ(context, nullptr);
  CGLDestroyPixelFormat(format);
}

TEST(CGLContext, ThatNamesTheBackendOfItsShareIsMade) {
  const HostContext host(kBackendNull);
  const CGLContextObj sharing = makeContext(kBackendNull, false, host.handle());
  EXPECT_NE(sharing, nullptr);
  CGLDestroyContext(sharing);
}

TEST(CGLContext, IsCurrentForItsThreadOnly) {
  const HostContext host;
  CGLContextObj elsewhere = host.handle();
  std::thread([&elsewhere] { elsewhere = CGLGetCurrentContext(); }).join();
  EXPECT_EQ(elsewhere, nullptr);
  std::thread([] { const HostContext other; }).join();
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

class EveryBackend : public ::testing::TestWithParam<std::int32_t> {};

TEST_P(EveryBackend, TakesAContextOnOneThreadAtATime) {
  if (!backendUnavailable(GetParam()).empty()) GTEST_SKIP() << "NOT TESTED: " << backendUnavailable(GetParam());
  const CGLContextObj context = makeContext(GetParam());
  const CGLContextObj other = makeContext(GetParam());
  ASSERT_EQ(CGLSetCurrentContext(context), kCGLNoError);
  const auto elsewhere = [](CGLContextObj wanted, CGLContextObj before) {
    CGLError error = kCGLNoError;
    CGLContextObj after = nullptr;
    std::thread([&] {
      CGLSetCurrentContext(before);
      error = CGLSetCurrentContext(wanted);
      after = CGLGetCurrentContext();
    }).join();
    return std::pair(error, after);
  };
  EXPECT_EQ(elsewhere(context, nullptr), std::pair(kCGLBadState, CGLContextObj(nullptr)));
  EXPECT_EQ(elsewhere(context, other), std::pair(kCGLBadState, other)) << "what was current stays so";
  EXPECT_EQ(CGLGetCurrentContext(), context);
  EXPECT_EQ(CGLSetCurrentContext(context), kCGLNoError) << "again";

  // A context is free again when another one or none becomes current, and when its thread ends.
  EXPECT_EQ(CGLSetCurrentContext(other), kCGLNoError);
  EXPECT_EQ(elsewhere(context, nullptr), std::pair(kCGLNoError, context));
  EXPECT_EQ(elsewhere(context, nullptr), std::pair(kCGLNoError, context));
  EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
  EXPECT_EQ(elsewhere(other, nullptr), std::pair(kCGLNoError, other));
  EXPECT_EQ(CGLSetCurrentContext(other), kCGLNoError);
  CGLDestroyContext(other);
  CGLDestroyContext(context);
}

INSTANTIATE_TEST_SUITE_P(Backends, EveryBackend,
                         ::testing::Values(kBackendNull, kBackendRecording, kBackendSoft, kBackendMesa));

TEST(CGLContext, SwitchingMovesTheCallsWithIt) {
  const HostContext host(kBackendNull);
  const CGLContextObj other = makeContext(kBackendNull);
  for (const CGLContextObj context : {other, host.handle()}) {
    EXPECT_EQ(CGLSetCurrentContext(context), kCGLNoError);
    EXPECT_EQ(CGLGetCurrentContext(), context);
  }
  CGLDestroyContext(other);
}

TEST(CGLContext, DestroyingTheCurrentOneLeavesNone) {
  const CGLContextObj context = makeContext(kBackendNull);
  CGLSetCurrentContext(context);
  const std::uint64_t before = nullBackendQuads();
  EXPECT_EQ(CGLDestroyContext(context), kCGLNoError);
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  glBegin(GL_QUADS);
  for (int i = 0; i < 4; ++i) glVertex2f(0.0f, 0.0f);
  glEnd();
  EXPECT_EQ(nullBackendQuads(), before);
}

TEST(CGLContext, DestroyingAnotherOneLeavesTheCurrent) {
  const HostContext host;
  CGLDestroyContext(makeContext(kBackendNull));
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST(CGLPBuffer, HasASizeAndOneLevel) {
  CGLPBufferObj pbuffer = nullptr;
  for (const auto &[width, height, level] : {std::tuple{0, 4, 0}, {8, 0, 0}, {-1, 4, 0}, {8, 4, 1}}) {
    EXPECT_EQ(CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, level, &pbuffer), kCGLBadValue);
    EXPECT_EQ(pbuffer, nullptr);
  }
}

TEST(CGLPBuffer, IsARectangleOfRGBA) {
  CGLPBufferObj pbuffer = nullptr;
  EXPECT_EQ(CGLCreatePBuffer(8, 4, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer), kCGLBadEnumeration);
  EXPECT_EQ(CGLCreatePBuffer(8, 4, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA8, 0, &pbuffer), kCGLBadEnumeration);
  EXPECT_EQ(pbuffer, nullptr);
}

TEST(CGLPBuffer, IsDrawnIntoByTheCurrentContextOnly) {
  const HostContext host;
  const CGLContextObj other = makeContext(kBackendRecording);
  const CGLPBufferObj pbuffer = makePBuffer();
  EXPECT_EQ(CGLSetPBuffer(other, pbuffer, 0, 0, 0), kCGLBadState);
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 0), kCGLNoError);
  CGLDestroyContext(other);
  CGLDestroyPBuffer(pbuffer);
}

TEST(CGLPBuffer, BelongsToTheContextThatDrewIntoItFirst) {
  const HostContext host;
  const CGLPBufferObj pbuffer = makePBuffer();
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 0), kCGLNoError);
  const CGLContextObj other = makeContext(0, false, host.handle());
  CGLSetCurrentContext(other);
  EXPECT_EQ(CGLSetPBuffer(other, pbuffer, 0, 0, 0), kCGLBadMatch);
  CGLSetCurrentContext(host.handle());
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 0), kCGLNoError);
  CGLDestroyContext(other);
  CGLDestroyPBuffer(pbuffer);
}

TEST(CGLPBuffer, IsFreeAgainWhenItsContextIsDestroyed) {
  const CGLContextObj first = makeContext(kBackendNull);
  const CGLPBufferObj pbuffer = makePBuffer();
  CGLSetCurrentContext(first);
  CGLSetPBuffer(first, pbuffer, 0, 0, 0);
  CGLDestroyContext(first);
  const HostContext second(kBackendNull);
  EXPECT_EQ(CGLTexImagePBuffer(second.handle(), pbuffer, GL_FRONT_LEFT), kCGLBadDrawable) << "its image is gone";
  EXPECT_EQ(CGLSetPBuffer(second.handle(), pbuffer, 0, 0, 0), kCGLNoError);
  EXPECT_EQ(CGLDestroyPBuffer(pbuffer), kCGLNoError);
}

TEST(CGLPBuffer, HandlesAndNumbersAreChecked) {
  const HostContext host;
  const CGLPBufferObj pbuffer = makePBuffer();
  EXPECT_EQ(CGLSetPBuffer(nullptr, pbuffer, 0, 0, 0), kCGLBadContext);
  EXPECT_EQ(CGLSetPBuffer(host.handle(), nullptr, 0, 0, 0), kCGLBadDrawable);
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 1, 0, 0), kCGLBadValue);
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 0, 1, 0), kCGLBadValue);
  EXPECT_EQ(CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 1), kCGLBadValue);
  CGLDestroyPBuffer(pbuffer);
}

TEST(CGLTexImage, NeedsAnImageAndTheCurrentContext) {
  const HostContext host;
  const CGLPBufferObj pbuffer = makePBuffer();
  EXPECT_EQ(CGLTexImagePBuffer(nullptr, pbuffer, GL_FRONT_LEFT), kCGLBadContext);
  EXPECT_EQ(CGLTexImagePBuffer(host.handle(), nullptr, GL_FRONT_LEFT), kCGLBadDrawable);
  EXPECT_EQ(CGLTexImagePBuffer(host.handle(), pbuffer, GL_FRONT_LEFT), kCGLBadDrawable) << "never drawn into";
  CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 0);
  EXPECT_EQ(CGLTexImagePBuffer(host.handle(), pbuffer, GL_RGBA), kCGLBadEnumeration);
  EXPECT_EQ(CGLTexImagePBuffer(host.handle(), pbuffer, GL_FRONT_LEFT), kCGLNoError);
  CGLSetCurrentContext(nullptr);
  EXPECT_EQ(CGLTexImagePBuffer(host.handle(), pbuffer, GL_FRONT_LEFT), kCGLBadState);
  CGLDestroyPBuffer(pbuffer);
}

TEST(CGLTexImage, DoesNotCrossBackends) {
  const HostContext host(kBackendNull);
  const CGLPBufferObj pbuffer = makePBuffer();
  CGLSetPBuffer(host.handle(), pbuffer, 0, 0, 0);
  const HostContext other(kBackendRecording);
  EXPECT_EQ(CGLTexImagePBuffer(other.handle(), pbuffer, GL_FRONT_LEFT), kCGLBadMatch);
  CGLDestroyPBuffer(pbuffer);
}

}  // namespace
}  // namespace pyrelux::platform
