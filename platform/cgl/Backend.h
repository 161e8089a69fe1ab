#pragma once

#include <OpenGL/OpenGL.h>

#include <memory>
#include <string>
#include <vector>

/// What a backend, an implementation of OpenGL, provides for the contexts and pbuffers of cgl/.
namespace pyrelux::platform {

/// What a pixel format asks for.
struct PixelFormat {
  int colorBits = 32;            ///< bits of a whole pixel
  bool floatComponents = false;  ///< 64 color bits are then half floats
  int depthBits = 0;
  std::int32_t backendId = 0;  ///< 0: any
};

/// The storage behind a pbuffer. Its destructor frees the storage, whatever context is current.
class Surface {
 public:
  virtual ~Surface() = default;
};

/// A context of one backend.
class Context {
 public:
  virtual ~Context() = default;

  virtual const PyreluxGLDispatch &dispatch() const = 0;

  /// Makes this the backend's current context on the thread; false when the backend refuses.
  virtual bool makeCurrent() = 0;

  /// New storage for a pbuffer of width x height pixels, in this context's pixel format; null when it can't be made.
  /// The context is current.
  virtual std::unique_ptr<Surface> createSurface(GLsizei width, GLsizei height) = 0;

  /// Draws into `surface`, which this context made, from now on. The context is current.
  virtual bool drawInto(Surface &surface) = 0;

  /// Gives the surface's image to the bound rectangle texture; false when it can't. The context is current.
  virtual bool attachToBoundTexture(Surface &surface) = 0;
};

/// One implementation of OpenGL.
class Backend {
 public:
  virtual ~Backend() = default;

  /// The name that chooses it on a command line.
  virtual const char *name() const = 0;

  /// Empty when it can draw here; otherwise one sentence that says why not and what to do.
  virtual std::string unavailable() = 0;

  /// A new context, or null when the backend refuses. `share` is a context of the same backend, or null.
  virtual std::unique_ptr<Context> createContext(const PixelFormat &format, Context *share) = 0;

  /// Leaves the thread without a current context of this backend.
  virtual void releaseCurrent() = 0;
};

}  // namespace pyrelux::platform
