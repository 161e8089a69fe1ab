#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>

#include <algorithm>
#include <atomic>

#include "Backend.h"
#include "BackendRegistry.h"
#include "CurrentContext.h"
#include "Trace.h"

using namespace pyrelux::platform;

struct _CGLPixelFormatObject {
  PixelFormat format;
};

struct _CGLContextObject {
  Backend *backend;
  std::unique_ptr<Context> context;
  std::shared_ptr<int> shareGroup;      ///< the same for all contexts that share objects
  std::vector<CGLPBufferObj> pbuffers;  ///< those that this context owns
  /// Whether it is current on a thread. Shared with the thread's claim, because a thread may outlive the context.
  std::shared_ptr<std::atomic<bool>> isClaimed = std::make_shared<std::atomic<bool>>(false);
};

struct _CGLPBufferObject {
  GLsizei width;
  GLsizei height;
  CGLContextObj owner = nullptr;  ///< the context that first drew into it; null before
  std::unique_ptr<Surface> surface;
};

namespace {

thread_local CGLContextObj currentContext = nullptr;

/// The thread's claim on its current context, so that no other thread makes the same context current. It ends when
/// another context becomes current or the thread ends.
class ContextClaim {
 public:
  ~ContextClaim() {
    if (isClaimed_) backend_->releaseCurrent();
    release();
  }

  /// Makes the context its backend's current one. False when another thread claims it or the backend refuses; then
  /// `before`, the thread's current context (may be null), stays current.
  bool claim(CGLContextObj context, CGLContextObj before) {
    if (isClaimed_ == context->isClaimed) return context->context->makeCurrent();
    if (context->isClaimed->exchange(true)) return false;
    const bool changesBackend = before && before->backend != context->backend;
    // First, because backends may share what is current on a thread.
    if (changesBackend) before->backend->releaseCurrent();
    if (!context->context->makeCurrent()) {
      *context->isClaimed = false;
      if (changesBackend) before->context->makeCurrent();
      return false;
    }
    release();
    isClaimed_ = context->isClaimed;
    backend_ = context->backend;
    return true;
  }
  void release() {
    if (isClaimed_) *isClaimed_ = false;
    isClaimed_.reset();
  }

 private:
  std::shared_ptr<std::atomic<bool>> isClaimed_;  ///< the context's; null without one
  Backend *backend_ = nullptr;
};
thread_local ContextClaim contextClaim;

/// The attribute list as numbers, including its final zero.
std::vector<double> attributeNumbers(const CGLPixelFormatAttribute *attributes) {
  std::vector<double> numbers;
  for (; *attributes; ++attributes) numbers.push_back(*attributes);
  numbers.push_back(0);
  return numbers;
}

CGLError readAttributes(const CGLPixelFormatAttribute *attributes, PixelFormat &format) {
  while (*attributes) {
    switch (*attributes++) {
      // Deliberate: any backend accepts "accelerated", so that a plug-in that insists on it still draws where only the
      // processor can draw.
      case kCGLPFAAccelerated:
      case kCGLPFAWindow:
      case kCGLPFAPBuffer:
      case kCGLPFANoRecovery:
      case kCGLPFAAllowOfflineRenderers:
        break;
      case kCGLPFAColorFloat:
        format.floatComponents = true;
        break;
      case kCGLPFAColorSize:
        format.colorBits = *attributes++;
        break;
      case kCGLPFADepthSize:
        format.depthBits = *attributes++;
        break;
      case kCGLPFARendererID:
        format.backendId = *attributes++;
        break;
      default:
        return kCGLBadAttribute;
    }
  }
  return kCGLNoError;
}

}  // namespace

const char *CGLErrorString(CGLError error) {
  switch (error) {
    case kCGLNoError:
      return "no error";
    case kCGLBadAttribute:
      return "invalid pixel format attribute";
    case kCGLBadPixelFormat:
      return "invalid pixel format";
    case kCGLBadContext:
      return "invalid context";
    case kCGLBadDrawable:
      return "invalid drawable";
    case kCGLBadState:
      return "invalid context state";
    case kCGLBadValue:
      return "invalid numerical value";
    case kCGLBadMatch:
      return "contexts that do not go together";
    case kCGLBadEnumeration:
      return "invalid enumerant";
    case kCGLBadAddress:
      return "invalid pointer";
    case kCGLBadAlloc:
      return "invalid memory allocation";
  }
  return "unknown error";
}

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute *attributes, CGLPixelFormatObj *format, GLint *count) {
  if (!attributes || !format || !count) return kCGLBadAddress;
  trace("cgl", "CGLChoosePixelFormat", attributeNumbers(attributes));
  *format = nullptr;
  *count = 0;
  PixelFormat wanted;
  if (const CGLError error = readAttributes(attributes, wanted)) return error;
  Backend *backend = wanted.backendId ? findBackend(wanted.backendId) : defaultBackend();
  if (!backend) return kCGLNoError;
  if (wanted.backendId && !backend->unavailable().empty()) return kCGLNoError;
  *format = new _CGLPixelFormatObject{wanted};
  *count = 1;
  return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format) {
  trace("cgl", "CGLDestroyPixelFormat", format);
  if (!format) return kCGLBadPixelFormat;
  delete format;
  return kCGLNoError;
}

CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj *context) {
  trace("cgl", "CGLCreateContext", format, share);
  if (!context) return kCGLBadAddress;
  *context = nullptr;
  if (!format) return kCGLBadPixelFormat;
  const std::int32_t backendId = format->format.backendId;
  Backend *backend = share ? share->backend : backendId ? findBackend(backendId) : defaultBackend();
  if (backendId && backend != findBackend(backendId)) return kCGLBadMatch;
  auto made = backend->createContext(format->format, share ? share->context.get() : nullptr);
  if (!made) return kCGLBadAlloc;
  *context = new _CGLContextObject{backend, std::move(made), share ? share->shareGroup : std::make_shared<int>(), {}};
  return kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj context) {
  trace("cgl", "CGLDestroyContext", context);
  if (!context) return kCGLBadContext;
  for (CGLPBufferObj pbuffer : context->pbuffers) {
    pbuffer->surface.reset();
    pbuffer->owner = nullptr;
  }
  if (context == currentContext) {
    context->backend->releaseCurrent();
    currentContext = nullptr;
    contextClaim.release();
    setCurrentDispatch(nullptr);
  }
  delete context;
  return kCGLNoError;
}

CGLContextObj CGLGetCurrentContext() {
  trace("cgl", "CGLGetCurrentContext");
  return currentContext;
}

CGLError CGLSetCurrentContext(CGLContextObj context) {
  trace("cgl", "CGLSetCurrentContext", context);
  if (context) {
    if (!contextClaim.claim(context, currentContext)) return kCGLBadState;
  } else if (currentContext) {
    currentContext->backend->releaseCurrent();
    contextClaim.release();
  }
  currentContext = context;
  setCurrentDispatch(context ? &context->context->dispatch() : nullptr);
  return kCGLNoError;
}

CGLError CGLGetVirtualScreen(CGLContextObj context, GLint *screen) {
  trace("cgl", "CGLGetVirtualScreen", context);
  if (!context) return kCGLBadContext;
  if (!screen) return kCGLBadAddress;
  *screen = 0;
  return kCGLNoError;
}

CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat, GLint maxLevel,
                          CGLPBufferObj *pbuffer) {
  trace("cgl", "CGLCreatePBuffer", width, height, target, internalFormat, maxLevel);
  if (!pbuffer) return kCGLBadAddress;
  *pbuffer = nullptr;
  if (width < 1 || height < 1 || maxLevel != 0) return kCGLBadValue;
  if (target != GL_TEXTURE_RECTANGLE_EXT || internalFormat != GL_RGBA) return kCGLBadEnumeration;
  *pbuffer = new _CGLPBufferObject{width, height, nullptr, nullptr};
  return kCGLNoError;
}

CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer) {
  trace("cgl", "CGLDestroyPBuffer", pbuffer);
  if (!pbuffer) return kCGLBadDrawable;
  if (pbuffer->owner) {
    auto &siblings = pbuffer->owner->pbuffers;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), pbuffer), siblings.end());
  }
  delete pbuffer;
  return kCGLNoError;
}

CGLError CGLSetPBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum face, GLint level, GLint screen) {
  trace("cgl", "CGLSetPBuffer", context, pbuffer, face, level, screen);
  if (!context) return kCGLBadContext;
  if (!pbuffer) return kCGLBadDrawable;
  if (face != 0 || level != 0 || screen != 0) return kCGLBadValue;
  if (context != currentContext) return kCGLBadState;
  if (pbuffer->owner && pbuffer->owner != context) return kCGLBadMatch;
  if (!pbuffer->surface) {
    pbuffer->surface = context->context->createSurface(pbuffer->width, pbuffer->height);
    if (!pbuffer->surface) return kCGLBadAlloc;
    pbuffer->owner = context;
    context->pbuffers.push_back(pbuffer);
  }
  return context->context->drawInto(*pbuffer->surface) ? kCGLNoError : kCGLBadDrawable;
}

CGLError CGLTexImagePBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum source) {
  trace("cgl", "CGLTexImagePBuffer", context, pbuffer, source);
  if (!context) return kCGLBadContext;
  if (!pbuffer || !pbuffer->surface) return kCGLBadDrawable;
  if (source != GL_FRONT_LEFT) return kCGLBadEnumeration;
  if (context != currentContext) return kCGLBadState;
  if (context->shareGroup != pbuffer->owner->shareGroup) return kCGLBadMatch;
  return context->context->attachToBoundTexture(*pbuffer->surface) ? kCGLNoError : kCGLBadState;
}
