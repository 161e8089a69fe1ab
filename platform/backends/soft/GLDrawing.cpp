// Clearing and quads.

#include <algorithm>

#include "SoftContext.h"

namespace pyrelux::soft {

namespace {

Colour clamped(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
  Colour colour{red, green, blue, alpha};
  // Written so that NaN becomes 0.
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
  // Another context may refill or drop the texture while quads come in.
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
  // GL leaves open what a vertex does outside a primitive; here it is nothing.
  if (!insideBegin_) return;
  corners_[cornerCount_++] = {x, y, s_, t_, colour_};
  if (cornerCount_ < 4) return;
  cornerCount_ = 0;
  addQuad();
}

TextureObject *SoftContext::activeTexture() {
  // A texture without a complete image is as good as texturing turned off (OpenGL 1.4, section 3.8.10).
  if (rectangleEnabled_ && isComplete(*boundRectangle_)) return boundRectangle_.get();
  if (!rectangleEnabled_ && texture2DEnabled_ && isComplete(*bound2D_)) return bound2D_.get();
  return nullptr;
}

bool SoftContext::isComplete(const TextureObject &texture) {
  const bool plain = texture.minFilter == GL_NEAREST || texture.minFilter == GL_LINEAR;
  return plain && (texture.image || texture.surface);
}

void SoftContext::addQuad() {
  if (!surface_) return;
  const Vertex(&v)[4] = corners_;
  // Upright: two neighbouring corners share x, the others share y, all the way round, and a texture follows.
  const auto upright = [&](int a, int b, int c, int d) {
    const bool rectangle = v[a].x == v[b].x && v[c].x == v[d].x && v[b].y == v[c].y && v[d].y == v[a].y;
    return rectangle && (!textured_ || (v[a].s == v[b].s && v[c].s == v[d].s && v[b].t == v[c].t && v[d].t == v[a].t));
  };
  const bool columnsFirst = upright(0, 1, 2, 3);
  if (!columnsFirst && !upright(1, 2, 3, 0)) {
    badQuads_ = true;
    return;
  }
  // The last corner gives a flat quad its colour (OpenGL 1.4, table 2.9).
  if (shadeModel_ != GL_FLAT)
    for (int i = 0; i < 3; ++i)
      if (v[i].colour != v[3].colour) badQuads_ = true;

  // Corner 2 lies across from corner 0.
  const Vertex &from = v[0];
  const Vertex &to = v[2];
  const auto windowAt = [&](int axis, double value) {
    const double clip = projection_.apply(axis, modelview_.apply(axis, value));
    const auto a = static_cast<std::size_t>(axis);
    return (clip + 1.0) / 2.0 * viewport_[2 + a] + viewport_[a];
  };
  const double depth = projection_.apply(2, modelview_.apply(2, 0.0));
  if (!(depth >= -1.0 && depth <= 1.0)) return;

  const int width = surface_->width();
  const int height = surface_->height();
  Quad quad;
  // Without a texture the coordinates may be anything.
  const auto coordinate = [&](float value, double scale) { return textured_ ? value * scale : 0.0; };
  quad.x = makeAxis(windowAt(0, from.x), windowAt(0, to.x), coordinate(from.s, perS_), coordinate(to.s, perS_), width);
  quad.y = makeAxis(windowAt(1, from.y), windowAt(1, to.y), coordinate(from.t, perT_), coordinate(to.t, perT_), height);
  quad.colour = v[3].colour;
  // The viewport clips as well.
  const auto clip = [](Axis &axis, int low, int size) {
    const int first = std::max(axis.first, low);
    axis.end = static_cast<int>(std::min<std::int64_t>(axis.end, std::int64_t{low} + size));
    // Positions far beyond the quad are none that can be reckoned with.
    if (first >= axis.end) {
      axis.end = axis.first;
      return;
    }
    axis.start = axis.position(first);
    axis.first = first;
  };
  clip(quad.x, viewport_[0], viewport_[2]);
  clip(quad.y, viewport_[1], viewport_[3]);
  if (quad.x.first < quad.x.end && quad.y.first < quad.y.end) pass_.quads.push_back(quad);
}

void SoftContext::End() {
  if (!insideBegin_) return fail(GL_INVALID_OPERATION);
  insideBegin_ = false;
  // Corners of a quad that was not finished are dropped, as GL has it.
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
  // What another surface shows may change, so it is drawn now.
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
