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

// The OpenGL side of the soft backend: objects, state and errors as in OpenGL 1.x, for the calls in GLFunctions.inc. It
// hands the drawing to the rasteriser as passes (Pass.h).
//
// A call that this backend does not support has no effect and sets GL_INVALID_ENUM (an unknown name), GL_INVALID_VALUE
// (an unsupported value) or GL_INVALID_OPERATION (quads that are not axis-aligned rectangles with a texture upright on
// them). The backend never draws an approximation.

namespace pyrelux::soft {

class SoftContext;
struct TextureObject;

/// The objects that a group of contexts shares. The mutex protects them and the surfaces of the group's contexts.
struct ShareGroup {
  std::mutex mutex;
  GLuint lastName = 0;
  std::map<GLuint, std::shared_ptr<TextureObject>> textures;  ///< by name
};

/// A surface: its image and the passes that are still to be drawn into it. The caller holds the group's mutex, except
/// for constructor and destructor.
class SoftSurface : public platform::Surface {
 public:
  SoftSurface(SoftContext &owner, Samples samples, int width, int height);
  /// Textures that show the image lose it, and the context that draws into the surface has none afterwards.
  ~SoftSurface() override;

  /// Queues the pass; resolve() draws it.
  void add(Pass pass);
  /// Queues a clear of the channels in `mask` (red, green, blue, alpha).
  void clear(const Colour &colour, const std::array<bool, 4> &mask);
  /// Draws the queued passes.
  void resolve();

  int width() const { return pixels_->width(); }
  int height() const { return pixels_->height(); }
  /// The image, after all queued passes are drawn.
  std::shared_ptr<const Pixels> image();

  /// The textures that show this surface's image.
  std::set<TextureObject *> attached;

 private:
  SoftContext &owner_;
  std::shared_ptr<ShareGroup> group_;
  std::shared_ptr<Pixels> pixels_;
  std::vector<Pass> waiting_;
  bool blank_ = true;  ///< the image is transparent black, whatever the pixels contain
};

struct TextureObject {
  GLenum target = 0;  ///< 0 until the texture is first bound
  GLenum minFilter = 0;
  GLenum magFilter = GL_LINEAR;
  GLenum wrapS = 0;
  GLenum wrapT = 0;
  std::shared_ptr<const Pixels> image;  ///< its own image; null without one
  SoftSurface *surface = nullptr;       ///< the surface whose image it shows instead of its own; not owned

  ~TextureObject() { detach(); }
  void bindTo(GLenum newTarget);
  void detach();
};

/// The top of a matrix stack. It is a scale and an offset along each axis, because GL's calls here multiply only
/// identities and orthographic projections.
struct AxisTransform {
  std::array<double, 3> scale{1.0, 1.0, 1.0};
  std::array<double, 3> offset{0.0, 0.0, 0.0};

  double apply(std::size_t axis, double value) const { return value * scale[axis] + offset[axis]; }
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
  /// Stops drawing into the surface, which is about to be destroyed.
  void forget(const SoftSurface &surface);

  const std::shared_ptr<ShareGroup> &group() const { return group_; }

  /// The thread's current context, or null.
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

  /// Sets the error, unless one is set already.
  void fail(GLenum error);
  /// Fails and returns true between glBegin and glEnd, where most calls are errors.
  bool refusedInside();
  /// The flag that glEnable sets for `name`, or null.
  bool *capability(GLenum name);
  TextureObject *boundTexture(GLenum target);
  /// The texture that quads are drawn with, or null. Rectangle textures take precedence over 2-D ones.
  TextureObject *activeTexture();
  static bool isComplete(const TextureObject &texture);
  /// Whether the four corners form an axis-aligned rectangle with the texture, if any, upright on it.
  bool isUpright() const;
  bool hasOneColour() const;
  /// The window coordinate (pixels from the surface's lower left) of an object coordinate along an axis.
  double windowAt(std::size_t axis, double value) const;
  /// One direction of a quad, clipped to the surface's `size` pixels and to the viewport. The object coordinates `from`
  /// and `to` have the texture coordinates `textureFrom` and `textureTo`, in texels.
  Axis makeWindowAxis(std::size_t axis, double from, double to, double textureFrom, double textureTo, int size) const;
  /// Adds the quad with the four corners to the pass.
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
  bool unpackInverted_ = false;
  GLenum shadeModel_ = 0x1D01;  ///< GL_SMOOTH
  std::shared_ptr<TextureObject> bound2D_;
  std::shared_ptr<TextureObject> boundRectangle_;
  std::shared_ptr<TextureObject> default2D_;
  std::shared_ptr<TextureObject> defaultRectangle_;

  bool insideBegin_ = false;
  bool badQuads_ = false;
  bool textured_ = false;  ///< whether the primitive's quads have a texture
  double perS_ = 1.0;      ///< texels for each unit of the texture coordinates
  double perT_ = 1.0;
  Vertex corners_[4];
  int cornerCount_ = 0;
  Pass pass_;
};

}  // namespace pyrelux::soft
