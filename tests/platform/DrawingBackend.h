#pragma once

#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <string>
#include <utility>

#include "Backends.h"
#include "HostContext.h"

// What tests of the backends that draw begin with.

namespace pyrelux::platform {

using test::makeContext;

/// The size of surfaces, unless a test says otherwise.
constexpr GLsizei width = 4;
constexpr GLsizei height = 3;

struct NamedBackend {
  const char *name;
  std::int32_t id;
};

inline void PrintTo(const NamedBackend &backend, std::ostream *out) { *out << backend.name; }

inline const NamedBackend kBackends[] = {{"soft", kBackendSoft}, {"mesa", kBackendMesa}, {"gpu", kBackendGPU}};

/// Whether the environment requires a backend, by its name; "egl" requires mesa, which needs no GPU.
inline bool isRequired(const NamedBackend &backend) {
  const char *value = std::getenv("REQUIRE_BACKEND");
  const std::string required = value ? value : "";
  return backend.id == kBackendSoft || required == backend.name || (required == "egl" && backend.id == kBackendMesa);
}

/// A host's current context. Where a backend can't draw, its tests are skipped with a message, or fail if it is
/// required.
class BackendTest : public ::testing::Test {
 protected:
  void start(const NamedBackend &backend) {
    const std::string problem = backendUnavailable(backend.id);
    if (!problem.empty()) {
      if (isRequired(backend)) FAIL() << "the backend " << backend.name << " is required, and " << problem;
      GTEST_SKIP() << "NOT TESTED: " << problem;
    }
    host = makeContext(backend.id);
    ASSERT_NE(host, nullptr);
    CGLSetCurrentContext(host);
  }

  void TearDown() override {
    CGLSetCurrentContext(nullptr);
    if (host) CGLDestroyContext(host);
  }

  CGLContextObj host = nullptr;
};

class DrawingTest : public BackendTest, public ::testing::WithParamInterface<NamedBackend> {
 protected:
  void SetUp() override { start(GetParam()); }
};

/// A pbuffer with a context of its own that shares with the host's.
class Surface {
 public:
  Surface(CGLContextObj share, bool floats, GLsizei w = width, GLsizei h = height)
      : context_(makeContext(0, floats, share)), width_(w), height_(h) {
    EXPECT_EQ(CGLCreatePBuffer(w, h, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer_), kCGLNoError);
    begin();
  }
  ~Surface() {
    CGLDestroyPBuffer(pbuffer_);
    if (context_) CGLDestroyContext(context_);
  }
  Surface(const Surface &) = delete;
  Surface &operator=(const Surface &) = delete;

  void begin() {
    EXPECT_EQ(CGLSetCurrentContext(context_), kCGLNoError);
    EXPECT_EQ(CGLSetPBuffer(context_, pbuffer_, 0, 0, 0), kCGLNoError);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, width_, 0, height_, -1, 1);
  }

  void clear(float r, float g, float b, float a) const {
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT);
  }

  /// Destroys the context before the pbuffer, in the wrong order.
  void destroyContext() { CGLDestroyContext(std::exchange(context_, nullptr)); }

  CGLContextObj context() const { return context_; }
  CGLPBufferObj pbuffer() const { return pbuffer_; }

 private:
  CGLContextObj context_;
  CGLPBufferObj pbuffer_ = nullptr;
  GLsizei width_;
  GLsizei height_;
};

/// A new texture, bound.
inline GLuint boundRectangleTexture() {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, texture);
  glTexParameteri(GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(GL_NEAREST));
  glTexParameteri(GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(GL_NEAREST));
  return texture;
}

}  // namespace pyrelux::platform
