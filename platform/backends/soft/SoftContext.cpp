#include "SoftContext.h"

#include <new>

#include "SoftLimits.h"

namespace pyrelux::soft {

namespace {

thread_local SoftContext *currentContext = nullptr;

/// A function of the dispatch table: calls the member function of the thread's current context.
template <auto member>
struct Forward;
template <typename Result, typename... Parameters, Result (SoftContext::*member)(Parameters...)>
struct Forward<member> {
  static Result call(Parameters... parameters) { return (currentContext->*member)(parameters...); }
};

constexpr PyreluxGLDispatch table = {
#define PYRELUX_GL(result, name, parameters, arguments) &Forward<&SoftContext::name>::call,
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
};

std::shared_ptr<TextureObject> defaultTexture(GLenum target) {
  auto texture = std::make_shared<TextureObject>();
  texture->bindTo(target);
  return texture;
}

}  // namespace

SoftContext::SoftContext(Samples samples, std::shared_ptr<ShareGroup> group)
    : samples_(samples),
      group_(std::move(group)),
      default2D_(defaultTexture(GL_TEXTURE_2D)),
      defaultRectangle_(defaultTexture(GL_TEXTURE_RECTANGLE_EXT)) {
  bound2D_ = default2D_;
  boundRectangle_ = defaultRectangle_;
}

SoftContext::~SoftContext() {
  {
    const std::lock_guard<std::mutex> lock(group_->mutex);
    bound2D_.reset();
    boundRectangle_.reset();
  }
  if (currentContext == this) currentContext = nullptr;
}

const PyreluxGLDispatch &SoftContext::dispatch() const { return table; }

bool SoftContext::makeCurrent() {
  currentContext = this;
  return true;
}

SoftContext *SoftContext::current() { return currentContext; }
void SoftContext::releaseCurrent() { currentContext = nullptr; }

std::unique_ptr<platform::Surface> SoftContext::createSurface(GLsizei width, GLsizei height) {
  if (width > maxTextureSize || height > maxTextureSize) return nullptr;
  try {
    return std::make_unique<SoftSurface>(*this, samples_, width, height);
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

bool SoftContext::drawInto(platform::Surface &surface) {
  surface_ = static_cast<SoftSurface *>(&surface);
  // Quads of an open primitive were clipped to the previous surface, which may have been larger.
  pass_.quads.clear();
  if (!hadSurface_) viewport_ = {0, 0, surface_->width(), surface_->height()};
  hadSurface_ = true;
  return true;
}

bool SoftContext::attachToBoundTexture(platform::Surface &surface) {
  const std::lock_guard<std::mutex> lock(group_->mutex);
  if (boundRectangle_ == defaultRectangle_) return false;
  boundRectangle_->detach();
  boundRectangle_->image.reset();
  // The insertion comes first because it may throw: a texture must never refer to a surface that does not know it.
  SoftSurface &shown = static_cast<SoftSurface &>(surface);
  shown.attached.insert(boundRectangle_.get());
  boundRectangle_->surface = &shown;
  return true;
}

void SoftContext::forget(const SoftSurface &surface) {
  if (surface_ != &surface) return;
  surface_ = nullptr;
  pass_.quads.clear();
}

void SoftContext::fail(GLenum error) {
  if (error_ == GL_NO_ERROR) error_ = error;
}

bool SoftContext::refusedInside() {
  if (insideBegin_) fail(GL_INVALID_OPERATION);
  return insideBegin_;
}

}  // namespace pyrelux::soft
