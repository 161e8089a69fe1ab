#include "SoftContext.h"

#include <utility>

namespace pyrelux::soft {

void TextureObject::bindTo(GLenum newTarget) {
  target = newTarget;
  // Initially, rectangle textures clamp and use no mipmaps; 2-D textures repeat and use mipmaps.
  const bool rectangle = target == GL_TEXTURE_RECTANGLE_EXT;
  constexpr GLenum repeat = 0x2901;
  constexpr GLenum nearestMipmapLinear = 0x2702;
  minFilter = rectangle ? GL_LINEAR : nearestMipmapLinear;
  wrapS = wrapT = rectangle ? GL_CLAMP_TO_EDGE : repeat;
}

void TextureObject::detach() {
  if (surface) surface->attached.erase(this);
  surface = nullptr;
}

SoftSurface::SoftSurface(SoftContext &owner, Samples samples, int width, int height)
    : owner_(owner),
      group_(owner.group()),
      pixels_(std::make_shared<Pixels>(Pixels::Undefined(), samples, width, height)) {}

SoftSurface::~SoftSurface() {
  const std::lock_guard<std::mutex> lock(group_->mutex);
  owner_.forget(*this);
  for (TextureObject *texture : attached) texture->surface = nullptr;
}

void SoftSurface::add(Pass pass) {
  // A flame arrives tongue by tongue. As one pass, its copies are added in one sweep over the surface.
  if (!waiting_.empty() && drawsAlike(waiting_.back(), pass)) {
    auto &quads = waiting_.back().quads;
    quads.insert(quads.end(), pass.quads.begin(), pass.quads.end());
  } else {
    waiting_.push_back(std::move(pass));
  }
}

void SoftSurface::clear(const Colour &colour, const std::array<bool, 4> &mask) {
  Pass pass;
  pass.mask = mask;
  Axis x;
  x.end = width();
  Axis y;
  y.end = height();
  pass.quads.push_back({x, y, colour});
  if (mask == std::array<bool, 4>{true, true, true, true}) waiting_.clear();
  waiting_.push_back(std::move(pass));
}

void SoftSurface::resolve() {
  const std::vector<Pass> passes = std::exchange(waiting_, {});
  draw(passes, pixels_, blank_);
}

std::shared_ptr<const Pixels> SoftSurface::image() {
  resolve();
  materialiseClear(pixels_, blank_);
  return pixels_;
}

}  // namespace pyrelux::soft
