#pragma once

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "Backend.h"
#include "Pass.h"
#include "Rasteriser.h"

// The OpenGL side of the soft backend: objects, state and errors, as OpenGL 1.x has them, for the calls in
// GLFunctions.inc. What is to be drawn leaves here as Pass.h's types.
//
// One rule for everything that this backend does not do: the call has no effect and leaves GL_INVALID_ENUM (a name it
// does not know), GL_INVALID_VALUE (a value it does not take) or GL_INVALID_OPERATION (quads that are not axis-aligned
// rectangles with a texture upright on them). Nothing is drawn approximately.

namespace pyrelux::soft {

class SoftContext;
struct TextureObject;

/// What contexts that share objects share. The lock covers the objects in it and the surfaces drawn through its
/// contexts.
struct ShareGroup {
  std::mutex mutex;
  GLuint lastName = 0;
  std::map<GLuint, std::shared_ptr<TextureObject>> textures;  ///< with target 0 while a name was only generated
};

/// A surface's image with the drawing that it still waits for.
class SoftSurface : public platform::Surface {
 public:
  SoftSurface(SoftContext &owner, Samples samples, int width, int height);
  /// Textures that were given the image lose it, and the context that draws into it has no surface.
  ~SoftSurface() override;

  /// Remembers the pass; it is drawn when somebody looks.
  void add(Pass pass);
  void clear(const Colour &colour, const std::array<bool, 4> &mask);
  /// Draws what waits.
  void resolve();

  int width() const { return pixels_->width(); }
  int height() const { return pixels_->height(); }
  /// The image, with all that waited drawn.
  std::shared_ptr<const Pixels> image();

  /// The textures whose image this is.
  std::set<TextureObject *> attached;

 private:
  SoftContext &owner_;
  std::shared_ptr<ShareGroup> group_;
  std::shared_ptr<Pixels> pixels_;
  std::vector<Pass> waiting_;
  bool blank_ = true;  ///< transparent black, whatever the pixels hold
};

struct TextureObject {
  GLenum target = 0;  ///< 0 until it is first bound
  GLenum minFilter = 0;
  GLenum magFilter = GL_LINEAR;
  GLenum wrapS = 0;
  GLenum wrapT = 0;
  std::shared_ptr<const Pixels> image;  ///< of its own; null without one
  SoftSurface *surface = nullptr;       ///< whose image it shows instead

  ~TextureObject() { detach(); }
  void bindTo(GLenum newTarget);
  void detach();
};

/// A matrix stack's top. Only identities and orthographic projections are ever multiplied, so it is a scale and an
/// offset along each axis.
struct AxisTransform {
  std::array<double, 3> scale{1.0, 1.0, 1.0};
  std::array<double, 3> offset{0.0, 0.0, 0.0};

  double apply(int axis, double value) const {
    const auto a = static_cast<std::size_t>(axis);
    return value * scale[a] + offset[a];
  }
};

class SoftContext : public platform::Context {
 public:
  SoftContext(Samples samples, std::shared_ptr<ShareGroup> group);
  ~SoftContext() override;

  const PyreluxGLDispatch &dispatch() const override;
  bool makeCurrent() override;
  std::unique_ptr<platform::Surface> createSurface(GLsizei width, GLsizei height) override;
  bool drawInto(platform::Surface &surface) override;
  bool attachToBoundTexture(platform::Surface &surface) override;
  /// The surface is going away.
  void forget(const SoftSurface &surface);

  const std::shared_ptr<ShareGroup> &group() const { return group_; }

  /// The thread's.
  static SoftContext *current();
  static void releaseCurrent();

  // OpenGL's functions, one for each in GLFunctions.inc.
#define PYRELUX_GL(result, name, parameters, arguments) result name parameters;
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL

 private:
  struct Vertex {
    float x;
    float y;
    float s;
    float t;
    Colour colour;
  };

  /// Keeps the first error; later ones are lost until it is asked for.
  void fail(GLenum error);
  /// Between glBegin and glEnd most calls are errors; true when this one is.
  bool refusedInside();
  bool *capability(GLenum name);
  TextureObject *boundTexture(GLenum target);
  /// The texture that quads are drawn with, or null; rectangles go before 2-D textures.
  TextureObject *activeTexture();
  static bool isComplete(const TextureObject &texture);
  /// Turns four corners into a quad of the pass.
  void addQuad();
  /// Hands the pass to the surface.
  void emitPass();

  Samples samples_;
  std::shared_ptr<ShareGroup> group_;
  GLenum error_ = GL_NO_ERROR;
  SoftSurface *surface_ = nullptr;
  bool hadSurface_ = false;

  AxisTransform projection_;
  AxisTransform modelview_;
  GLenum matrixMode_ = GL_MODELVIEW;
  std::array<GLint, 4> viewport_{};
  bool blendEnabled_ = false;
  bool texture2DEnabled_ = false;
  bool rectangleEnabled_ = false;
  bool alphaTestEnabled_ = false;
  Blend blend_ = Blend::Replace;
  std::array<bool, 4> mask_{true, true, true, true};
  Colour clearColour_{};
  Colour colour_{1.0f, 1.0f, 1.0f, 1.0f};
  float s_ = 0.0f;
  float t_ = 0.0f;
  GLint packAlignment_ = 4;
  GLint unpackAlignment_ = 4;
  bool packInverted_ = false;
  GLenum shadeModel_ = 0x1D01;  ///< GL_SMOOTH
  std::shared_ptr<TextureObject> bound2D_;
  std::shared_ptr<TextureObject> boundRectangle_;
  std::shared_ptr<TextureObject> default2D_;
  std::shared_ptr<TextureObject> defaultRectangle_;

  bool insideBegin_ = false;
  bool badQuads_ = false;
  bool textured_ = false;  ///< whether the primitive's quads have a texture
  double perS_ = 1.0;      ///< texels of its texture coordinates' unit
  double perT_ = 1.0;
  Vertex corners_[4];
  int cornerCount_ = 0;
  Pass pass_;
};

}  // namespace pyrelux::soft
