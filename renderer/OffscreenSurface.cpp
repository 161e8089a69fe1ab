#include "OffscreenSurface.h"

#include <OpenGL/gl.h>

#include <new>

namespace pyrelux {

namespace {

// Deliberate: leaks an uninitialised record at load; the first surface overwrites the pointer.
__attribute__((noinline)) VaroPBuffer_tag *allocateUnusedRecord() {
  return static_cast<VaroPBuffer_tag *>(::operator new(sizeof(VaroPBuffer_tag)));
}

void createSurface(double width, double height, double bitDepth) {
  sharedContext = CGLGetCurrentContext();
  pbuffer =
      PBuffer_Create(sharedContext, static_cast<int>(width), static_cast<int>(height), static_cast<int>(bitDepth), 0);
  pbuffer_created = 1;
  pbuffer_on = 0;
}

}  // namespace

VaroPBuffer_tag *pbuffer = allocateUnusedRecord();
std::int32_t pbuffer_created = 0;
std::int32_t pbuffer_on = 0;
CGLContextObj sharedContext = nullptr;
double initWidth = 0.0;
double initHeight = 0.0;
double initBitDepth = 0.0;

void beginSurface(double width, double height, double bitDepth) {
  if (pbuffer_created == 0) {
    createSurface(width, height, bitDepth);
    initWidth = width;
    initHeight = height;
    initBitDepth = bitDepth;
  }
  // Differs only if the surface outlived its frame.
  if (width != initWidth || height != initHeight || bitDepth != initBitDepth) {
    initWidth = width;
    initHeight = height;
    initBitDepth = bitDepth;
    if (pbuffer_created == 1) {
      // Deliberate: the surface is destroyed without being ended first.
      PBuffer_Destroy(pbuffer);
      pbuffer_created = 0;
    }
    glFlush();
    glFinish();
    createSurface(width, height, bitDepth);
  }
  if (pbuffer_on == 0) {
    PBuffer_Begin(pbuffer);
    pbuffer_on = 1;
  }
}

void endAndUseSurface() {
  PBuffer_End(pbuffer);
  pbuffer_on = 0;
  PBuffer_Use(pbuffer);
}

void cleanUpSurface() {
  if (pbuffer_created == 0) return;
  if (pbuffer_on == 1) {
    PBuffer_End(pbuffer);
    pbuffer_on = 0;
  }
  PBuffer_Destroy(pbuffer);
  pbuffer_created = 0;
}

void initOpenGl() {
  // Deliberate: multiplies the current matrix, whatever it is, without loading the identity first. It only negates z.
  glOrtho(-1.0, 1.0, -1.0, 1.0, -1.0, 1.0);
  glShadeModel(GL_FLAT);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glDisable(GL_POLYGON_SMOOTH);
  glEnable(GL_ALPHA_TEST);
  glAlphaFunc(GL_ALWAYS, 1.0f);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, static_cast<GLfloat>(GL_LINEAR_MIPMAP_LINEAR));
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, static_cast<GLfloat>(GL_LINEAR));
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  glDisable(GL_DEPTH_TEST);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void clearToTransparent() {
  glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

}  // namespace pyrelux
