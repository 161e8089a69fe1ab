#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <gtest/gtest.h>

#include <cstring>

#include "Backends.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::platform {
namespace {

using test::HostContext;

/// Every entry of the thread's table, by name.
std::vector<std::pair<const char *, bool>> slots() {
  const PyreluxGLDispatch &table = *pyreluxCurrentGL();
  return {
#define PYRELUX_GL(result, name, parameters, arguments) {"gl" #name, table.name != nullptr},
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
  };
}

void expectComplete() {
  for (const auto &[name, filled] : slots()) EXPECT_TRUE(filled) << name;
}

TEST(Dispatch, EveryTableIsComplete) {
  EXPECT_GT(slots().size(), 30u);
  expectComplete();
  for (const std::int32_t backend : {kBackendNull, kBackendRecording}) {
    SCOPED_TRACE(backend);
    const HostContext host(backend);
    expectComplete();
  }
}

TEST(Dispatch, EachFunctionCallsItsOwnSlot) {
  // Each function without pointer parameters is recorded under its own name.
  const HostContext host;
  Trace trace;
  glActiveTexture(GL_TEXTURE0);
  glAlphaFunc(GL_ALWAYS, 0.5f);
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  glColorMask(1, 0, 1, 0);
  glDisable(GL_BLEND);
  glEnable(GL_LIGHTING);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glShadeModel(GL_FLAT);
  glLoadIdentity();
  glMatrixMode(GL_PROJECTION);
  glOrtho(1, 2, 3, 4, 5, 6);
  glViewport(1, 2, 3, 4);
  glBindTexture(GL_TEXTURE_2D, 5);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, 0.25f);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, 7);
  glBegin(GL_QUADS);
  glClear(GL_COLOR_BUFFER_BIT);
  glClearColor(0.5f, 0.25f, 0.125f, 1.0f);
  glColor4f(0.125f, 0.25f, 0.5f, 1.0f);
  glEnd();
  glFinish();
  glFlush();
  glTexCoord2f(8, 9);
  glVertex2f(10, 11);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  const std::vector<std::string> expected = {"glActiveTexture(33984)",
                                             "glAlphaFunc(519, 0.5)",
                                             "glBlendFunc(1, 771)",
                                             "glColorMask(1, 0, 1, 0)",
                                             "glDisable(3042)",
                                             "glEnable(2896)",
                                             "glPolygonMode(1032, 6914)",
                                             "glShadeModel(7424)",
                                             "glLoadIdentity()",
                                             "glMatrixMode(5889)",
                                             "glOrtho(1, 2, 3, 4, 5, 6)",
                                             "glViewport(1, 2, 3, 4)",
                                             "glBindTexture(3553, 5)",
                                             "glTexParameterf(3553, 10241, 0.25)",
                                             "glTexParameteri(3553, 10240, 7)",
                                             "glBegin(7)",
                                             "glClear(16384)",
                                             "glClearColor(0.5, 0.25, 0.125, 1)",
                                             "glColor4f(0.125, 0.25, 0.5, 1)",
                                             "glEnd()",
                                             "glFinish()",
                                             "glFlush()",
                                             "glTexCoord2f(8, 9)",
                                             "glVertex2f(10, 11)",
                                             "glGetError()",
                                             "glPixelStorei(3333, 1)"};
  EXPECT_EQ(test::TraceText()(trace.calls()), expected);
}

TEST(Dispatch, WithoutAContextNothingHappensAndTheAnswerIsZero) {
  ASSERT_EQ(CGLGetCurrentContext(), nullptr);
  GLuint texture = 77;
  glGenTextures(1, &texture);
  EXPECT_EQ(texture, 77u);
  GLint value = 77;
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &value);
  EXPECT_EQ(value, 77);
  EXPECT_EQ(glGetString(GL_RENDERER), nullptr);
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
  unsigned char pixel[4] = {1, 2, 3, 4};
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
  EXPECT_EQ(pixel[0], 1);
  glFlush();
}

TEST(Dispatch, GoesNowhereAgainAfterTheContextIsLeft) {
  const CGLContextObj context = test::makeContext(kBackendNull);
  CGLSetCurrentContext(context);
  EXPECT_NE(glGetString(GL_RENDERER), nullptr);
  CGLSetCurrentContext(nullptr);
  EXPECT_EQ(glGetString(GL_RENDERER), nullptr);
  CGLDestroyContext(context);
}

}  // namespace
}  // namespace pyrelux::platform
