// What CGL does when a backend refuses. CGL runs alone, over backends of the test's own.

#include <OpenGL/OpenGL.h>
#include <gtest/gtest.h>

#include <thread>

#include "BackendRegistry.h"
#include "NullBackend.h"

namespace pyrelux::platform {
namespace {

enum : std::int32_t { kFirst = 1, kSecond = 2 };

/// A backend with one current context for the whole process: only one thread at a time uses it here.
class TestBackend : public Backend {
 public:
  const char *name() const override { return "test"; }
  std::string unavailable() override { return {}; }
  std::unique_ptr<platform::Context> createContext(const PixelFormat &, platform::Context *) override {
    return std::make_unique<Context>(*this);
  }
  void releaseCurrent() override { current = nullptr; }

  bool refuses = false;
  platform::Context *current = nullptr;

 private:
  struct Context : platform::Context {
    explicit Context(TestBackend &its) : backend(its) {}
    const PyreluxGLDispatch &dispatch() const override { return nullDispatch(); }
    bool makeCurrent() override {
      if (!backend.refuses) backend.current = this;
      return !backend.refuses;
    }
    std::unique_ptr<Surface> createSurface(GLsizei, GLsizei) override { return std::make_unique<Surface>(); }
    bool drawInto(Surface &) override { return true; }
    bool attachToBoundTexture(Surface &) override { return true; }
    TestBackend &backend;
  };
};

TestBackend first;
TestBackend second;

CGLContextObj makeContext(std::int32_t backendId) {
  const CGLPixelFormatAttribute attributes[] = {kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(backendId),
                                                static_cast<CGLPixelFormatAttribute>(0)};
  CGLPixelFormatObj format = nullptr;
  GLint count = 0;
  EXPECT_EQ(CGLChoosePixelFormat(attributes, &format, &count), kCGLNoError);
  CGLContextObj context = nullptr;
  EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
  CGLDestroyPixelFormat(format);
  return context;
}

CGLError setOnAnotherThread(CGLContextObj context) {
  CGLError error = kCGLNoError;
  std::thread([&] { error = CGLSetCurrentContext(context); }).join();
  return error;
}

/// A context of one backend is current; one of the same or another backend refuses to become current.
class Refusal : public ::testing::TestWithParam<std::int32_t> {
 protected:
  Refusal() {
    EXPECT_EQ(CGLSetCurrentContext(before_), kCGLNoError);
    current_ = first.current;
    refusing().refuses = true;
    EXPECT_EQ(CGLSetCurrentContext(refused_), kCGLBadState);
    refusing().refuses = false;
  }
  ~Refusal() override {
    CGLDestroyContext(before_);
    CGLDestroyContext(refused_);
  }

  static TestBackend &refusing() { return GetParam() == kFirst ? first : second; }

  CGLContextObj before_ = makeContext(kFirst);
  CGLContextObj refused_ = makeContext(GetParam());
  platform::Context *current_ = nullptr;
};
INSTANTIATE_TEST_SUITE_P(Implementations, Refusal, ::testing::Values(kFirst, kSecond));

TEST_P(Refusal, LeavesTheContextBeforeCurrent) {
  EXPECT_EQ(CGLGetCurrentContext(), before_);
  EXPECT_NE(current_, nullptr);
  EXPECT_EQ(first.current, current_);
}

TEST_P(Refusal, LeavesTheContextBeforeToThisThreadAlone) { EXPECT_EQ(setOnAnotherThread(before_), kCGLBadState); }

TEST_P(Refusal, LeavesTheRefusedContextToAnybody) { EXPECT_EQ(setOnAnotherThread(refused_), kCGLNoError); }

}  // namespace

// Replaces the platform's own function.
Backend *findBackend(std::int32_t backendId) {
  return backendId == kFirst ? &first : backendId == kSecond ? &second : nullptr;
}
Backend *defaultBackend() { return &first; }

}  // namespace pyrelux::platform
