#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <gtest/gtest.h>

#include "Backends.h"
#include "HostContext.h"

namespace pyrelux::platform {
namespace {

using test::HostContext;

void drawVertices(int count) {
  glBegin(GL_QUADS);
  for (int i = 0; i < count; ++i) glVertex2f(0.0f, 0.0f);
  glEnd();
}

TEST(NullBackend, IsThereEverywhere) { EXPECT_TRUE(backendUnavailable(kBackendNull).empty()); }

TEST(NullBackend, CountsWholeQuads) {
  const HostContext host(kBackendNull);
  const std::uint64_t before = nullBackendQuads();
  drawVertices(8);
  EXPECT_EQ(nullBackendQuads() - before, 2u);
  drawVertices(7);
  EXPECT_EQ(nullBackendQuads() - before, 3u);
  drawVertices(0);
  EXPECT_EQ(nullBackendQuads() - before, 3u);
}

TEST(NullBackend, GivesEachTextureANameOfItsOwn) {
  const HostContext host(kBackendNull);
  GLuint names[3] = {};
  glGenTextures(3, names);
  EXPECT_NE(names[0], 0u);
  EXPECT_NE(names[0], names[1]);
  EXPECT_NE(names[1], names[2]);
}

TEST(NullBackend, ReadsBackNothing) {
  const HostContext host(kBackendNull);
  unsigned char bytes[2 * 3 * 4 + 1];
  for (unsigned char &byte : bytes) byte = 9;
  glReadPixels(0, 0, 2, 3, GL_RGBA, GL_UNSIGNED_BYTE, bytes);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(bytes[i], 0);
  EXPECT_EQ(bytes[24], 9) << "written past the picture";
  for (const auto &[width, height] : {std::pair(-1, 3), std::pair(2, -1), std::pair(0, 0)})
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bytes + 24);
  EXPECT_EQ(bytes[24], 9) << "there is nothing to be written";
  float floats[5] = {9, 9, 9, 9, 9};
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, floats);
  EXPECT_EQ(floats[3], 0.0f);
  EXPECT_EQ(floats[4], 9.0f);
}

TEST(NullBackend, AnswersWhatAHostHasToKnow) {
  const HostContext host(kBackendNull);
  GLint largest = 0;
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &largest);
  EXPECT_GE(largest, 4096);
  EXPECT_NE(glGetString(GL_RENDERER), nullptr);
}

}  // namespace
}  // namespace pyrelux::platform
