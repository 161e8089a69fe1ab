#include "PBufferUtils.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

namespace pyrelux {

namespace {

void makeSurfaceCurrent(VaroPBuffer_tag *record) {
  record->savedContext = CGLGetCurrentContext();
  GLint virtualScreen = 0;
  CGLGetVirtualScreen(record->savedContext, &virtualScreen);
  CGLSetCurrentContext(record->context);
  CGLSetPBuffer(record->context, record->pbuffer, 0, 0, virtualScreen);
}

}  // namespace

VaroPBuffer_tag *PBuffer_Create(CGLContextObj share, int width, int height, int bitDepth, int flags) {
  auto *record = new VaroPBuffer_tag;
  record->width = width;
  record->height = height;

  CGLPixelFormatAttribute attributes[10];
  int count = 0;
  const auto add = [&](int attribute) { attributes[count++] = static_cast<CGLPixelFormatAttribute>(attribute); };
  add(kCGLPFAAccelerated);
  add(kCGLPFAWindow);
  add(kCGLPFAColorSize);
  add(bitDepth * 4);
  if (bitDepth > 8) add(kCGLPFAColorFloat);
  if (flags & kPBufferDepth) {
    add(kCGLPFADepthSize);
    add(16);
  }
  add(kCGLPFANoRecovery);
  add(kCGLPFAAllowOfflineRenderers);
  add(0);

  CGLPixelFormatObj format = nullptr;
  GLint formatCount = 0;
  if (CGLChoosePixelFormat(attributes, &format, &formatCount) == kCGLNoError) {
    // Deliberate: a format whose context can't be made is not destroyed.
    if (CGLCreateContext(format, share, &record->context) == kCGLNoError) {
      CGLDestroyPixelFormat(format);
      CGLCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &record->pbuffer);
    }
  }
  return record;
}

void PBuffer_Destroy(VaroPBuffer_tag *record) {
  if (!record) return;
  CGLDestroyPBuffer(record->pbuffer);
  CGLDestroyContext(record->context);
  // Deliberate: the texture's name is never deleted; it stays in the reading context.
  delete record;
}

void PBuffer_Begin(VaroPBuffer_tag *record) {
  makeSurfaceCurrent(record);
  glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
  if (record->clearOnBegin) glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_FRAGMENT_PROGRAM_ARB);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
  // Deliberate: the modelview matrix holds the pixel mapping, and the projection stays the identity.
  glOrtho(0.0, record->width, 0.0, record->height, -1.0, 1.0);
  glActiveTexture(GL_TEXTURE0);
}

void PBuffer_WriteTo(VaroPBuffer_tag *record) {
  makeSurfaceCurrent(record);
  glActiveTexture(GL_TEXTURE0);
}

void PBuffer_End(VaroPBuffer_tag *record) {
  glFlush();
  record->written = true;
  CGLSetCurrentContext(record->savedContext);
  record->savedContext = nullptr;
}

void PBuffer_Use(VaroPBuffer_tag *record) {
  if (record->written) {
    const CGLContextObj reading = CGLGetCurrentContext();
    // Deliberate: flushes without a current context, because PBuffer_End has cleared savedContext.
    CGLSetCurrentContext(record->savedContext);
    glFlush();
    CGLSetCurrentContext(reading);
    record->written = false;
  }
  if (record->texture == 0) {
    const CGLContextObj reading = CGLGetCurrentContext();
    glGenTextures(1, &record->texture);
    glBindTexture(GL_TEXTURE_RECTANGLE_EXT, record->texture);
    glTexParameteri(GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_WRAP_S, static_cast<GLint>(GL_CLAMP_TO_EDGE));
    glTexParameteri(GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_WRAP_T, static_cast<GLint>(GL_CLAMP_TO_EDGE));
    CGLTexImagePBuffer(reading, record->pbuffer, GL_FRONT_LEFT);
  } else {
    glBindTexture(GL_TEXTURE_RECTANGLE_EXT, record->texture);
  }
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
}

}  // namespace pyrelux
