#include "Pass.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace pyrelux::soft {

namespace {

constexpr double gridPerPixel = 256.0;

/// The first pixel whose centre lies on or above the edge.
std::int64_t firstAbove(double edge) {
  const double grid = std::floor(edge * gridPerPixel + 0.5);
  return static_cast<std::int64_t>(std::ceil((grid - gridPerPixel / 2) / gridPerPixel));
}

}  // namespace

Axis makeAxis(double from, double to, double textureFrom, double textureTo, int size) {
  if (from > to) {
    std::swap(from, to);
    std::swap(textureFrom, textureTo);
  }
  Axis axis;
  // The comparisons also refuse NaN and infinity.
  constexpr double maxCoordinate = 1 << 24;
  if (!(from < to) || !(from > -maxCoordinate) || !(to < maxCoordinate)) return axis;
  if (!(std::abs(textureFrom) < maxCoordinate) || !(std::abs(textureTo) < maxCoordinate)) return axis;
  axis.first = static_cast<int>(std::clamp<std::int64_t>(firstAbove(from), 0, size));
  axis.end = static_cast<int>(std::clamp<std::int64_t>(firstAbove(to), 0, size));
  if (axis.first >= axis.end) return axis;

  double scale = (textureTo - textureFrom) / (to - from);
  // Vertices are in single precision, so the scale of a copy at its own size is not quite 1. It counts as 1 if the
  // error over the copy's whole extent stays below the rounding of texture positions.
  constexpr double smallestShift = 1.0 / 512;
  const int pixels = axis.end - axis.first;
  if (std::abs(scale - 1.0) * pixels < smallestShift) scale = 1.0;
  constexpr double maxScale = 1 << 20;
  scale = std::clamp(scale, -maxScale, maxScale);
  const double position = textureFrom + (axis.first + 0.5 - from) * scale - 0.5;
  axis.step = std::llround(scale * static_cast<double>(Axis::one));
  // Any position far outside the texture samples the texture's edge.
  axis.start = std::llround(std::clamp(position, -maxCoordinate, maxCoordinate) * static_cast<double>(Axis::one));
  return axis;
}

bool drawsAlike(const Pass &a, const Pass &b) {
  return a.texture == b.texture && a.filter == b.filter && a.blend == b.blend && a.mask == b.mask;
}

}  // namespace pyrelux::soft
