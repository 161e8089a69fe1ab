// Clearing and quads.

#include <algorithm>

#include "SoftContext.h"

namespace pyrelux::soft {

namespace {

Colour clamped(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
  Colour colour{red, green, blue, alpha};
  // The comparison turns NaN into 0.
  for (float &channel : colour) channel = channel > 0.0f ? std::min(channel, 1.0f) : 0.0f;
  return colour;
}

}  // namespace

void SoftContext::ClearColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha) {
  if (refusedInside()) return;
  clearColour_ = clamped(red, green, blue, alpha);
}

void SoftContext::Clear(GLbitfield mask) {
  if (refusedInside()) return;
  if (mask & ~(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)) return fail(GL_INVALID_VALUE);
  if (!surface_ || !(mask & GL_COLOR_BUFFER_BIT)) return;
  const std::lock_guard<std::mutex> lock(group_->mutex);
  surface_->clear(clearColour_, mask_);
}

void SoftContext::Begin(GLenum mode) {
  if (refusedInside()) return;
  if (mode != GL_QUADS) return fail(GL_INVALID_ENUM);
  insideBegin_ = true;
  badQuads_ = false;
  cornerCount_ = 0;
  pass_ = Pass{};
  // Another context may change or delete the texture between glBegin and glEnd.
  const std::lock_guard<std::mutex> lock(group_->mutex);
  const TextureObject *texture = activeTexture();
  textured_ = texture != nullptr;
  perS_ = perT_ = 1.0;
  if (texture && texture->target == GL_TEXTURE_2D && texture->image) {
    perS_ = texture->image->width();
    perT_ = texture->image->height();
  }
}

void SoftContext::Color4f(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
  colour_ = clamped(red, green, blue, alpha);
}

void SoftContext::TexCoord2f(GLfloat s, GLfloat t) {
  s_ = s;
  t_ = t;
}

void SoftContext::Vertex2f(GLfloat x, GLfloat y) {
  // GL does not define a vertex outside a primitive; here it does nothing.
  if (!insideBegin_) return;
  corners_[cornerCount_++] = {x, y, s_, t_, colour_};
  if (cornerCount_ < 4) return;
  cornerCount_ = 0;
  addQuad();
}

TextureObject *SoftContext::activeTexture() {
  // A texture without a complete image counts as disabled (OpenGL 1.4, section 3.8.10).
  if (rectangleEnabled_ && isComplete(*boundRectangle_)) return boundRectangle_.get();
  if (!rectangleEnabled_ && texture2DEnabled_ && isComplete(*bound2D_)) return bound2D_.get();
  return nullptr;
}

bool SoftContext::isComplete(const TextureObject &texture) {
  const bool plain = texture.minFilter == GL_NEAREST || texture.minFilter == GL_LINEAR;
  return plain && (texture.image || texture.surface);
}

bool SoftContext::isUpright() const {
  // Two neighbouring corners share x, the others share y, all the way round, and a texture follows.
  const auto isUprightFrom = [&](std::size_t first) {
    const Vertex &a = corners_[first], &b = corners_[first + 1], &c = corners_[first + 2],
                 &d = corners_[(first + 3) % 4];
    const bool isRectangle = a.x == b.x && c.x == d.x && b.y == c.y && d.y == a.y;
    return isRectangle && (!textured_ || (a.s == b.s && c.s == d.s && b.t == c.t && d.t == a.t));
  };
  return isUprightFrom(0) || isUprightFrom(1);
}

bool SoftContext::hasOneColour() const {
  // The last corner gives a flat quad its colour (OpenGL 1.4, table 2.9).
  if (shadeModel_ == GL_FLAT) return true;
  return std::all_of(corners_, corners_ + 3, [&](const Vertex &corner) { return corner.colour == corners_[3].colour; });
}

double SoftContext::windowAt(std::size_t axis, double value) const {
  const double clip = projection_.apply(axis, modelview_.apply(axis, value));
  return (clip + 1.0) / 2.0 * viewport_[2 + axis] + viewport_[axis];
}

Axis SoftContext::makeWindowAxis(std::size_t axis, double from, double to, double textureFrom, double textureTo,
                                 int size) const {
  // Without a texture the coordinates may be anything.
  if (!textured_) textureFrom = textureTo = 0.0;
  Axis made = makeAxis(windowAt(axis, from), windowAt(axis, to), textureFrom, textureTo, size);
  const int first = std::max(made.first, viewport_[axis]);
  made.end = static_cast<int>(std::min<std::int64_t>(made.end, std::int64_t{viewport_[axis]} + viewport_[2 + axis]));
  // An empty axis stays where it is: positions far beyond the quad could overflow.
  if (first >= made.end) {
    made.end = made.first;
    return made;
  }
  made.start = made.position(first);
  made.first = first;
  return made;
}

void SoftContext::addQuad() {
  if (!surface_) return;
  if (!isUpright()) {
    badQuads_ = true;
    return;
  }
  if (!hasOneColour()) badQuads_ = true;
  const double depth = projection_.apply(2, modelview_.apply(2, 0.0));
  if (!(depth >= -1.0 && depth <= 1.0)) return;
  // Corner 2 lies across from corner 0.
  const Vertex &from = corners_[0], &to = corners_[2];
  const Axis x = makeWindowAxis(0, from.x, to.x, from.s * perS_, to.s * perS_, surface_->width());
  const Axis y = makeWindowAxis(1, from.y, to.y, from.t * perT_, to.t * perT_, surface_->height());
  if (x.first < x.end && y.first < y.end) pass_.quads.push_back({x, y, corners_[3].colour});
}

void SoftContext::End() {
  if (!insideBegin_) return fail(GL_INVALID_OPERATION);
  insideBegin_ = false;
  // The corners of an unfinished quad are dropped, as in GL.
  if (badQuads_) fail(GL_INVALID_OPERATION);
  if (surface_ && !badQuads_ && !pass_.quads.empty()) emitPass();
  pass_ = Pass{};
}

void SoftContext::emitPass() {
  const std::lock_guard<std::mutex> lock(group_->mutex);
  pass_.blend = blendEnabled_ ? blend_ : Blend::Replace;
  pass_.mask = mask_;
  TextureObject *texture = activeTexture();
  if (texture) {
    if (texture->surface == surface_) return fail(GL_INVALID_OPERATION);
    const bool repeats = texture->wrapS != GL_CLAMP_TO_EDGE || texture->wrapT != GL_CLAMP_TO_EDGE;
    const bool mixedFilters = texture->minFilter != texture->magFilter;
    if (repeats || mixedFilters) return fail(GL_INVALID_OPERATION);
    pass_.filter = texture->magFilter == GL_NEAREST ? Filter::Nearest : Filter::Linear;
    pass_.texture = texture->surface ? texture->surface->image() : texture->image;
  }
  const bool live = texture && texture->surface;
  surface_->add(std::move(pass_));
  // The texture's surface may change later, so the pass is drawn now.
  if (live) surface_->resolve();
}

void SoftContext::Flush() {
  if (refusedInside()) return;
  if (!surface_) return;
  const std::lock_guard<std::mutex> lock(group_->mutex);
  surface_->resolve();
}

void SoftContext::Finish() { Flush(); }

}  // namespace pyrelux::soft
