#include "CopyPlaces.h"

#include <algorithm>
#include <vector>

#include "Backends.h"
#include "FrameRenderer.h"

namespace pyrelux::host {

namespace {

/// While it lives, the null backend tells this thread's quads.
class Listening {
 public:
  explicit Listening(platform::QuadListener listener) { platform::listenToNullBackend(std::move(listener)); }
  ~Listening() { platform::listenToNullBackend({}); }
  Listening(const Listening &) = delete;
  Listening &operator=(const Listening &) = delete;
};

/// One direction of a copy: the line through two opposite corners.
struct Line {
  double scale;
  double offset;

  Line(double texture, double place, double otherTexture, double otherPlace)
      : scale((place - otherPlace) / (texture - otherTexture)), offset(place - scale * texture) {}
};

/// `corners`: of a frame and input of one pixel, so that texture coordinates and places are shares.
void visitQuads(const std::vector<platform::QuadCorner> &corners, const std::function<void(const CopyPlace &)> &visit) {
  constexpr std::size_t perQuad = 4;
  if (corners.size() <= perQuad) return;
  for (std::size_t quad = 0; quad + perQuad <= corners.size(); quad += perQuad) {
    const platform::QuadCorner &a = corners[quad];
    const platform::QuadCorner &b = corners[quad + 2];
    if (a.s == b.s || a.t == b.t) continue;
    const Line across(a.s, a.x, b.s, b.x);
    const Line up(a.t, a.y, b.t, b.y);
    visit({across.scale, up.scale, across.offset, up.offset, std::min(a.s, b.s), std::min(a.t, b.t), std::max(a.s, b.s),
           std::max(a.t, b.t)});
  }
}

}  // namespace

void visitCopies(Filter &filter, std::int64_t firstFrame, const FrameList &frames, const FilterTime &time,
                 const std::function<void(const CopyPlace &)> &visit, const std::function<bool()> &goesOn) {
  FrameRenderer nothing(platform::kBackendNull);
  const Image dot = Image::bytes(1, 1, Alpha::Premultiplied);
  Image result;
  bool isWanted = false;
  const Listening listening([&](const std::vector<platform::QuadCorner> &corners) {
    if (isWanted) visitQuads(corners, visit);
  });
  filter.restart();
  for (std::int64_t frame = std::min(firstFrame, frames.first()); frame <= frames.last() && goesOn(); ++frame) {
    isWanted = frames.contains(frame);
    nothing.render(filter, dot, time.at(frame), {}, result);
  }
  filter.restart();
}

}  // namespace pyrelux::host
