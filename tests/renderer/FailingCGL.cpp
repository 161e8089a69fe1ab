#include "FailingCGL.h"

#include <OpenGL/OpenGL.h>
#include <dlfcn.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "Trace.h"

namespace pyrelux::test {

namespace {

Refusals *refusals = nullptr;
std::optional<GLint> virtualScreen;

/// Formats of refused contexts; freed here, because the code under test leaks them.
std::vector<CGLPixelFormatObj> orphanedFormats;

template <typename Function>
Function behind(Function, const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Refusals::Refusals() { refusals = this; }

Refusals::~Refusals() {
  refusals = nullptr;
  while (!orphanedFormats.empty()) CGLDestroyPixelFormat(orphanedFormats.back());
}

VirtualScreen::VirtualScreen(int number) { virtualScreen = number; }

VirtualScreen::~VirtualScreen() { virtualScreen.reset(); }

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

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format) {
  orphanedFormats.erase(std::remove(orphanedFormats.begin(), orphanedFormats.end(), format), orphanedFormats.end());
  static const auto real = behind(&CGLDestroyPixelFormat, "CGLDestroyPixelFormat");
  return real(format);
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

CGLError CGLGetVirtualScreen(CGLContextObj context, GLint *screen) {
  static const auto real = behind(&CGLGetVirtualScreen, "CGLGetVirtualScreen");
  const CGLError error = real(context, screen);
  if (!error && virtualScreen) *screen = *virtualScreen;
  return error;
}
