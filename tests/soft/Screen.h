#pragma once

#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "Backends.h"

// Small surfaces for drawing through CGL and OpenGL, and functions for what tests draw there.

namespace pyrelux::soft::testing {

constexpr GLenum rectangle = GL_TEXTURE_RECTANGLE_EXT;
constexpr GLenum square = GL_TEXTURE_2D;
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

struct ScreenOptions {
  bool floats = false;
  CGLContextObj share = nullptr;
  std::int32_t backend = platform::kBackendSoft;
};

inline CGLContextObj makeContext(const ScreenOptions &options) {
  std::vector<CGLPixelFormatAttribute> attributes{
      kCGLPFAColorSize, static_cast<CGLPixelFormatAttribute>(options.floats ? 64 : 32), kCGLPFARendererID,
      static_cast<CGLPixelFormatAttribute>(options.backend)};
  if (options.floats) attributes.push_back(kCGLPFAColorFloat);
  attributes.push_back(static_cast<CGLPixelFormatAttribute>(0));
  CGLPixelFormatObj format = nullptr;
  GLint count = 0;
  EXPECT_EQ(CGLChoosePixelFormat(attributes.data(), &format, &count), kCGLNoError);
  CGLContextObj context = nullptr;
  EXPECT_EQ(CGLCreateContext(format, options.share, &context), kCGLNoError);
  CGLDestroyPixelFormat(format);
  return context;
}

inline CGLPBufferObj makePBuffer(int width, int height) {
  CGLPBufferObj pbuffer = nullptr;
  EXPECT_EQ(CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer), kCGLNoError);
  return pbuffer;
}

/// A pbuffer with a context of its own. It starts current and transparent black; its coordinates are pixels from its
/// lower left corner.
class Screen {
 public:
  Screen(int width, int height, const ScreenOptions &options = {})
      : context_(makeContext(options)), pbuffer_(makePBuffer(width, height)), width_(width), height_(height) {
    use();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, width, 0, height, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glShadeModel(GL_FLAT);
    clear(0, 0, 0, 0);
  }
  ~Screen() {
    destroyPBuffer();
    destroyContext();
  }
  Screen(const Screen &) = delete;
  Screen &operator=(const Screen &) = delete;

  void use() const {
    EXPECT_EQ(CGLSetCurrentContext(context_), kCGLNoError);
    if (!pbuffer_) return;
    EXPECT_EQ(CGLSetPBuffer(context_, pbuffer_, 0, 0, 0), kCGLNoError);
  }
  static void clear(float red, float green, float blue, float alpha) {
    glClearColor(red, green, blue, alpha);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  void destroyPBuffer() {
    if (pbuffer_) CGLDestroyPBuffer(std::exchange(pbuffer_, nullptr));
  }
  void destroyContext() {
    if (context_) CGLDestroyContext(std::exchange(context_, nullptr));
  }

  CGLContextObj context() const { return context_; }
  CGLPBufferObj pbuffer() const { return pbuffer_; }
  int width() const { return width_; }
  int height() const { return height_; }

  /// All pixels, tightly packed from the bottom.
  std::vector<std::uint8_t> bytes() const {
    std::vector<std::uint8_t> all(sampleCount());
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, all.data());
    return all;
  }
  std::vector<float> floats() const {
    std::vector<float> all(sampleCount());
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_FLOAT, all.data());
    return all;
  }
  /// One channel of all pixels.
  std::vector<int> channel(int index) const {
    std::vector<int> levels;
    const auto all = bytes();
    for (std::size_t i = static_cast<std::size_t>(index); i < all.size(); i += 4) levels.push_back(all[i]);
    return levels;
  }

 private:
  std::size_t sampleCount() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4; }

  CGLContextObj context_;
  CGLPBufferObj pbuffer_;
  int width_;
  int height_;
};

using Levels = std::array<int, 4>;
using Values = std::array<float, 4>;

inline Levels levelsAt(int x, int y) {
  std::array<std::uint8_t, 4> bytes{};
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

inline Values valuesAt(int x, int y) {
  Values values{};
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_FLOAT, values.data());
  return values;
}

/// A rectangle from one corner to the opposite one.
struct Box {
  double x0, y0, x1, y1;
};

inline void corner(double x, double y) { glVertex2f(static_cast<float>(x), static_cast<float>(y)); }
inline void corner(double x, double y, double s, double t) {
  glTexCoord2f(static_cast<float>(s), static_cast<float>(t));
  corner(x, y);
}

/// The corners of a quad, between glBegin and glEnd.
inline void corners(const Box &place) {
  corner(place.x0, place.y0);
  corner(place.x1, place.y0);
  corner(place.x1, place.y1);
  corner(place.x0, place.y1);
}
inline void corners(const Box &place, const Box &texture) {
  corner(place.x0, place.y0, texture.x0, texture.y0);
  corner(place.x1, place.y0, texture.x1, texture.y0);
  corner(place.x1, place.y1, texture.x1, texture.y1);
  corner(place.x0, place.y1, texture.x0, texture.y1);
}

template <typename... Boxes>
void drawQuad(const Boxes &...boxes) {
  glBegin(GL_QUADS);
  corners(boxes...);
  glEnd();
}

inline void setFilter(GLenum target, GLenum filter) {
  glTexParameteri(target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(filter));
  glTexParameteri(target, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(filter));
}

inline void clampToEdge(GLenum target) {
  glTexParameteri(target, GL_TEXTURE_WRAP_S, static_cast<GLint>(GL_CLAMP_TO_EDGE));
  glTexParameteri(target, GL_TEXTURE_WRAP_T, static_cast<GLint>(GL_CLAMP_TO_EDGE));
}

/// A new texture, bound, with plain filtering and no image.
inline GLuint bindNewTexture(GLenum target = GL_TEXTURE_RECTANGLE_EXT, GLenum filter = GL_NEAREST) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(target, name);
  setFilter(target, filter);
  clampToEdge(target);
  return name;
}

inline void upload(GLenum target, int width, int height, const std::vector<std::uint8_t> &bytes) {
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage2D(target, 0, static_cast<GLint>(GL_RGBA8), width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
}
inline void upload(GLenum target, int width, int height, const std::vector<float> &floats) {
  glTexImage2D(target, 0, static_cast<GLint>(GL_RGBA32F_ARB), width, height, 0, GL_RGBA, GL_FLOAT, floats.data());
}

/// A picture from the values v of one channel; the others are 255 - v, v / 2 and 255.
inline std::vector<std::uint8_t> picture(const std::vector<int> &levels) {
  std::vector<std::uint8_t> bytes;
  for (const int level : levels)
    for (const int channel : {level, 255 - level, level / 2, 255}) bytes.push_back(static_cast<std::uint8_t>(channel));
  return bytes;
}

/// Pixels whose neighbours all differ, and whose channels all differ.
inline std::vector<std::uint8_t> pattern(int width, int height) {
  std::vector<std::uint8_t> bytes;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (const int channel : {7 + 13 * x + 5 * y, 240 - 3 * x - 11 * y, 50 + x * y, 255 - x})
        bytes.push_back(static_cast<std::uint8_t>(channel & 255));
  return bytes;
}

}  // namespace pyrelux::soft::testing
