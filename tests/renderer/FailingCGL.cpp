#include "FailingCGL.h"

#include <OpenGL/OpenGL.h>
#include <dlfcn.h>

#include <vector>

#include "Trace.h"

namespace pyrelux::test {

namespace {

Refusals *refusals = nullptr;

/// Formats of refused contexts: their maker leaves them, so they are freed here.
std::vector<CGLPixelFormatObj> orphanedFormats;

template <typename Function>
Function behind(Function, const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Refusals::Refusals() { refusals = this; }

Refusals::~Refusals() {
  refusals = nullptr;
  for (const CGLPixelFormatObj format : orphanedFormats) CGLDestroyPixelFormat(format);
  orphanedFormats.clear();
}

}  // namespace pyrelux::test

using pyrelux::platform::trace;
using namespace pyrelux::test;

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute *attributes, CGLPixelFormatObj *format, GLint *count) {
  if (refusals && refusals->pixelFormat) {
    trace("cgl", "CGLChoosePixelFormat", "refused");
    return kCGLBadAttribute;
  }
  static const auto real = behind(&CGLChoosePixelFormat, "CGLChoosePixelFormat");
  return real(attributes, format, count);
}

CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj *context) {
  if (refusals && refusals->context) {
    trace("cgl", "CGLCreateContext", "refused");
    orphanedFormats.push_back(format);
    return kCGLBadAlloc;
  }
  static const auto real = behind(&CGLCreateContext, "CGLCreateContext");
  return real(format, share, context);
}

CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat, GLint maxLevel,
                          CGLPBufferObj *pbuffer) {
  if (refusals && refusals->pbuffer) {
    trace("cgl", "CGLCreatePBuffer", "refused");
    return kCGLBadAlloc;
  }
  static const auto real = behind(&CGLCreatePBuffer, "CGLCreatePBuffer");
  return real(width, height, target, internalFormat, maxLevel, pbuffer);
}
