#pragma once

#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstdint>
#include <stdexcept>

#include "Image.h"

namespace pyrelux::bench {

/// A context of a backend, current while this object exists. With a size, it draws into a surface of its own.
class BenchContext {
 public:
  explicit BenchContext(std::int32_t backendId, bool floats = false, int width = 0, int height = 0) {
    CGLPixelFormatAttribute attributes[6] = {};
    int count = 0;
    const auto add = [&](int attribute) { attributes[count++] = static_cast<CGLPixelFormatAttribute>(attribute); };
    add(kCGLPFARendererID);
    add(backendId);
    add(kCGLPFAColorSize);
    add(floats ? 64 : 32);
    if (floats) add(kCGLPFAColorFloat);
    CGLPixelFormatObj format = nullptr;
    GLint formats = 0;
    CGLChoosePixelFormat(attributes, &format, &formats);
    if (!format || CGLCreateContext(format, nullptr, &context_)) throw std::runtime_error("the backend is not here");
    CGLDestroyPixelFormat(format);
    CGLSetCurrentContext(context_);
    if (width == 0) return;
    CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer_);
    CGLSetPBuffer(context_, pbuffer_, 0, 0, 0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glOrtho(0.0, width, 0.0, height, -1.0, 1.0);
  }
  ~BenchContext() {
    CGLDestroyPBuffer(pbuffer_);
    CGLDestroyContext(context_);
  }
  BenchContext(const BenchContext &) = delete;
  BenchContext &operator=(const BenchContext &) = delete;

  /// Uploads the picture, which has bytes, as the bound and enabled rectangle texture.
  void upload(const Image &image) const {
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_RECTANGLE_EXT, name);
    glTexImage2D(GL_TEXTURE_RECTANGLE_EXT, 0, static_cast<GLint>(GL_RGBA8), image.width(), image.height(), 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, image.asBytes().data());
    glEnable(GL_TEXTURE_RECTANGLE_EXT);
  }

  void makeCurrent() const { CGLSetCurrentContext(context_); }

 private:
  CGLContextObj context_ = nullptr;
  CGLPBufferObj pbuffer_ = nullptr;
};

}  // namespace pyrelux::bench
