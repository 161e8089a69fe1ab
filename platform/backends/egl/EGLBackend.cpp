#include "EGLBackend.h"

#include <OpenGL/glext.h>

#include <utility>
#include <vector>

#include "EGLLibrary.h"

// The storage of a pbuffer is a framebuffer object with a rectangle texture, and not one of EGL's pbuffers. Therefore
// its image reaches the filter's texture by a copy inside the driver, and floats are not clamped.

namespace pyrelux::platform {

namespace {

constexpr GLenum GL_TEXTURE_BINDING_RECTANGLE = 0x84F6;
constexpr GLenum GL_FRAMEBUFFER = 0x8D40;
constexpr GLenum GL_COLOR_ATTACHMENT0 = 0x8CE0;
constexpr GLenum GL_FRAMEBUFFER_COMPLETE = 0x8CD5;

/// OpenGL's functions: those of the dispatch table, and those that the backend itself needs.
struct Functions {
  PyreluxGLDispatch dispatch;
  void (*BindFramebuffer)(GLenum target, GLuint framebuffer);
  GLenum (*CheckFramebufferStatus)(GLenum target);
  void (*CopyImageSubData)(GLuint source, GLenum sourceTarget, GLint sourceLevel, GLint sourceX, GLint sourceY,
                           GLint sourceZ, GLuint destination, GLenum destinationTarget, GLint destinationLevel,
                           GLint destinationX, GLint destinationY, GLint destinationZ, GLsizei width, GLsizei height,
                           GLsizei depth);
  void (*DeleteFramebuffers)(GLsizei count, const GLuint *framebuffers);
  void (*FramebufferTexture2D)(GLenum target, GLenum attachment, GLenum textureTarget, GLuint texture, GLint level);
  void (*GenFramebuffers)(GLsizei count, GLuint *framebuffers);
  GLboolean (*IsTexture)(GLuint texture);
  void (*Scissor)(GLint x, GLint y, GLsizei width, GLsizei height);
  bool complete = true;
};

template <typename Function>
void load(Functions &functions, Function &function, const char *name) {
  function = reinterpret_cast<Function>(egl().GetProcAddress(name));
  if (!function) functions.complete = false;
}

Functions loadFunctions() {
  Functions functions;
#define PYRELUX_GL(result, name, parameters, arguments) load(functions, functions.dispatch.name, "gl" #name);
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
  load(functions, functions.BindFramebuffer, "glBindFramebuffer");
  load(functions, functions.CheckFramebufferStatus, "glCheckFramebufferStatus");
  load(functions, functions.CopyImageSubData, "glCopyImageSubData");
  load(functions, functions.DeleteFramebuffers, "glDeleteFramebuffers");
  load(functions, functions.FramebufferTexture2D, "glFramebufferTexture2D");
  load(functions, functions.GenFramebuffers, "glGenFramebuffers");
  load(functions, functions.IsTexture, "glIsTexture");
  load(functions, functions.Scissor, "glScissor");
  return functions;
}

const Functions &gl() {
  static const Functions functions = loadFunctions();
  return functions;
}

/// A context and its display.
struct DisplayContext {
  EGLDisplay display;
  EGLContext context;
};

bool makeEGLCurrent(const DisplayContext &wanted) {
  // The bound API belongs to the thread, and is OpenGL ES when the thread starts.
  return egl().BindAPI(EGL_OPENGL_API) &&
         egl().MakeCurrent(wanted.display, EGL_NO_SURFACE, EGL_NO_SURFACE, wanted.context);
}

/// Makes a context current for a block, then restores the one that was current before.
class CurrentFor {
 public:
  /// The current context, if any, shares with `wanted`, so both have the same display.
  explicit CurrentFor(const DisplayContext &wanted)
      : previous_{wanted.display, egl().GetCurrentContext()}, switched_(previous_.context != wanted.context) {
    if (switched_) makeEGLCurrent(wanted);
  }
  ~CurrentFor() {
    if (switched_) makeEGLCurrent(previous_);
  }
  CurrentFor(const CurrentFor &) = delete;
  CurrentFor &operator=(const CurrentFor &) = delete;

 private:
  DisplayContext previous_;
  bool switched_;
};

void allocate(GLint internalFormat, GLsizei width, GLsizei height) {
  gl().dispatch.TexImage2D(GL_TEXTURE_RECTANGLE_EXT, 0, internalFormat, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                           nullptr);
}

GLuint boundRectangle() {
  GLint name = 0;
  gl().dispatch.GetIntegerv(GL_TEXTURE_BINDING_RECTANGLE, &name);
  return static_cast<GLuint>(name);
}

class EGLSurfaceStorage : public Surface {
 public:
  EGLSurfaceStorage(const DisplayContext &context, GLint internalFormat, GLsizei width, GLsizei height)
      : context_(context), internalFormat_(internalFormat), width_(width), height_(height) {
    const GLuint bound = boundRectangle();
    gl().dispatch.GenTextures(1, &image_);
    gl().dispatch.BindTexture(GL_TEXTURE_RECTANGLE_EXT, image_);
    allocate(internalFormat_, width_, height_);
    gl().dispatch.BindTexture(GL_TEXTURE_RECTANGLE_EXT, bound);
    gl().GenFramebuffers(1, &framebuffer_);
    drawIntoImage();
  }

  ~EGLSurfaceStorage() override {
    const CurrentFor current(context_);
    // The framebuffer goes first, because it would keep the storage of its textures.
    gl().DeleteFramebuffers(1, &framebuffer_);
    if (attached_.empty()) {
      gl().dispatch.DeleteTextures(1, &image_);
      return;
    }
    // The owner of the texture may never delete it, so this frees the texture's storage but not its name.
    const GLuint bound = boundRectangle();
    for (const GLuint texture : attached_) {
      if (!gl().IsTexture(texture)) continue;
      gl().dispatch.BindTexture(GL_TEXTURE_RECTANGLE_EXT, texture);
      allocate(GL_RGBA8, 1, 1);
    }
    gl().dispatch.BindTexture(GL_TEXTURE_RECTANGLE_EXT, bound);
  }

  GLsizei width() const { return width_; }
  GLsizei height() const { return height_; }

  /// Makes it the framebuffer to draw into; false when it is not complete. The context that made it is current.
  bool bind() const {
    gl().BindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    return gl().CheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  }

  /// Moves the image into the rectangle texture that is bound in the current context, and draws there from now on.
  /// False when none is bound.
  bool moveIntoBoundTexture() {
    const GLuint texture = boundRectangle();
    if (texture == 0) return false;
    if (texture == image_) return true;
    allocate(internalFormat_, width_, height_);
    gl().CopyImageSubData(image_, GL_TEXTURE_RECTANGLE_EXT, 0, 0, 0, 0, texture, GL_TEXTURE_RECTANGLE_EXT, 0, 0, 0, 0,
                          width_, height_, 1);
    const GLuint previous = std::exchange(image_, texture);
    {
      const CurrentFor current(context_);
      drawIntoImage();
    }
    if (attached_.empty()) gl().dispatch.DeleteTextures(1, &previous);
    attached_.push_back(texture);
    return true;
  }

 private:
  void drawIntoImage() const {
    gl().BindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    gl().FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_RECTANGLE_EXT, image_, 0);
  }

  DisplayContext context_;
  GLint internalFormat_;
  GLsizei width_;
  GLsizei height_;
  GLuint framebuffer_ = 0;
  GLuint image_ = 0;              ///< the texture to draw into: our own, later the last attached one
  std::vector<GLuint> attached_;  ///< names of others' textures that show the image
};

class EGLContextHandle : public Context {
 public:
  EGLContextHandle(const DisplayContext &context, const PixelFormat &format)
      : context_(context), internalFormat_(static_cast<GLint>(format.floatComponents ? GL_RGBA16F_ARB : GL_RGBA8)) {}
  ~EGLContextHandle() override { egl().DestroyContext(context_.display, context_.context); }

  EGLContext handle() const { return context_.context; }
  const PyreluxGLDispatch &dispatch() const override { return gl().dispatch; }
  bool makeCurrent() override { return makeEGLCurrent(context_); }

  std::unique_ptr<Surface> createSurface(GLsizei width, GLsizei height) override {
    return std::make_unique<EGLSurfaceStorage>(context_, internalFormat_, width, height);
  }

  bool drawInto(Surface &surface) override {
    auto &storage = static_cast<EGLSurfaceStorage &>(surface);
    if (!storage.bind()) return false;
    if (!hadSurface_) {
      // A context that was first current without a surface has an empty viewport and scissor box.
      gl().dispatch.Viewport(0, 0, storage.width(), storage.height());
      gl().Scissor(0, 0, storage.width(), storage.height());
      hadSurface_ = true;
    }
    return true;
  }

  bool attachToBoundTexture(Surface &surface) override {
    return static_cast<EGLSurfaceStorage &>(surface).moveIntoBoundTexture();
  }

 private:
  DisplayContext context_;
  GLint internalFormat_;
  bool hadSurface_ = false;
};

class EGLBackend : public Backend {
 public:
  EGLBackend(const char *name, EGLKind kind) : name_(name), kind_(kind) {}

  const char *name() const override { return name_; }

  std::string unavailable() override {
    if (!chosenDisplay(kind_).problem.empty()) return chosenDisplay(kind_).problem;
    if (!gl().complete) return "the OpenGL driver lacks framebuffer objects or image copies; update it";
    return {};
  }

  std::unique_ptr<Context> createContext(const PixelFormat &format, Context *share) override {
    if (!unavailable().empty() || !egl().BindAPI(EGL_OPENGL_API)) return nullptr;
    const EGLDisplay display = chosenDisplay(kind_).display;
    const EGLContext shareHandle = share ? static_cast<EGLContextHandle *>(share)->handle() : EGL_NO_CONTEXT;
    const EGLContext context = egl().CreateContext(display, EGL_NO_CONFIG_KHR, shareHandle, nullptr);
    if (context == EGL_NO_CONTEXT) return nullptr;
    return std::make_unique<EGLContextHandle>(DisplayContext{display, context}, format);
  }

  void releaseCurrent() override { makeEGLCurrent({chosenDisplay(kind_).display, EGL_NO_CONTEXT}); }

 private:
  const char *name_;
  EGLKind kind_;
};

}  // namespace

Backend &gpuBackend() {
  static EGLBackend backend("gpu", EGLKind::Hardware);
  return backend;
}

Backend &mesaBackend() {
  static EGLBackend backend("mesa", EGLKind::Software);
  return backend;
}

}  // namespace pyrelux::platform
