#include "NullBackend.h"

#include <atomic>
#include <cstring>
#include <utility>

#include <OpenGL/glext.h>

#include "Backends.h"
#include "CurrentContext.h"

namespace pyrelux::platform {

namespace {

constexpr GLint maxTextureSize = 16384;

std::atomic<GLuint> lastTextureName{0};
std::atomic<std::uint64_t> quads{0};
thread_local std::uint64_t verticesSinceBegin = 0;

/// Corners are kept for a listener alone.
struct Told {
  QuadListener listener;
  std::vector<QuadCorner> corners;
  float s = 0.0f;
  float t = 0.0f;
};
thread_local Told told;

void genTextures(GLsizei count, GLuint *textures) {
  for (GLsizei i = 0; i < count; ++i) textures[i] = ++lastTextureName;
}

void getIntegerv(GLenum name, GLint *values) {
  if (name == GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT) *values = maxTextureSize;
}

const GLubyte *getString(GLenum) { return reinterpret_cast<const GLubyte *>("nothing drawn"); }

void readPixels(GLint, GLint, GLsizei width, GLsizei height, GLenum, GLenum type, GLvoid *pixels) {
  if (width <= 0 || height <= 0) return;
  const std::size_t component = type == GL_FLOAT ? sizeof(float) : 1;
  std::memset(pixels, 0, static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4 * component);
}

void begin(GLenum) {
  verticesSinceBegin = 0;
  told.corners.clear();
}

void texCoord2f(GLfloat s, GLfloat t) {
  told.s = s;
  told.t = t;
}

void vertex2f(GLfloat x, GLfloat y) {
  ++verticesSinceBegin;
  if (told.listener) told.corners.push_back({told.s, told.t, x, y});
}

void end() {
  quads += verticesSinceBegin / 4;
  if (told.listener) told.listener(told.corners);
}

PyreluxGLDispatch makeDispatch() {
  PyreluxGLDispatch dispatch = inertDispatch();
  dispatch.GenTextures = genTextures;
  dispatch.GetIntegerv = getIntegerv;
  dispatch.GetString = getString;
  dispatch.ReadPixels = readPixels;
  dispatch.Begin = begin;
  dispatch.TexCoord2f = texCoord2f;
  dispatch.Vertex2f = vertex2f;
  dispatch.End = end;
  return dispatch;
}

class HollowContext : public Context {
 public:
  explicit HollowContext(const PyreluxGLDispatch &dispatch) : dispatch_(dispatch) {}
  const PyreluxGLDispatch &dispatch() const override { return dispatch_; }
  bool makeCurrent() override { return true; }
  std::unique_ptr<Surface> createSurface(GLsizei, GLsizei) override { return std::make_unique<Surface>(); }
  bool drawInto(Surface &) override { return true; }
  bool attachToBoundTexture(Surface &) override { return true; }

 private:
  const PyreluxGLDispatch &dispatch_;
};

class NullBackend : public Backend {
 public:
  const char *name() const override { return "null"; }
  std::string unavailable() override { return {}; }
  std::unique_ptr<Context> createContext(const PixelFormat &, Context *) override {
    return makeHollowContext(nullDispatch());
  }
  void releaseCurrent() override {}
};

}  // namespace

std::unique_ptr<Context> makeHollowContext(const PyreluxGLDispatch &dispatch) {
  return std::make_unique<HollowContext>(dispatch);
}

const PyreluxGLDispatch &nullDispatch() {
  static const PyreluxGLDispatch dispatch = makeDispatch();
  return dispatch;
}

Backend &nullBackend() {
  static NullBackend backend;
  return backend;
}

std::uint64_t nullBackendQuads() { return quads; }

void listenToNullBackend(QuadListener listener) { told = {std::move(listener), {}}; }

}  // namespace pyrelux::platform
