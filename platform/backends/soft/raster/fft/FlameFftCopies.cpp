#include "FlameFftCopies.h"

#include <algorithm>

#include "FlameFftPlans.h"

namespace pyrelux::soft {

namespace {

/// The left one of the two texels that pixel 0 samples.
int texelAtPixel0(const Axis &axis) { return static_cast<int>((axis.start - axis.first * Axis::one) >> 32); }

/// Whether the axis covers every pixel between the centres of the end texels, and at most one more at either end.
bool showsAll(const Axis &axis, int texels, int pixels) {
  if (!axis.isUnit() || axis.first >= axis.end) return false;
  // The pixels half inside: at `low` the right one of their two texels is the first, at `high` the left one the last.
  const int low = -1 - texelAtPixel0(axis);
  const int high = low + texels;
  const auto isAt = [&](int pixel, int end) { return pixel == std::clamp(end, 0, pixels); };
  return (isAt(axis.first, low) || isAt(axis.first, low + 1)) && (isAt(axis.end, high) || isAt(axis.end, high + 1));
}

CopyAxis makeCopyAxis(const Axis &axis, int texels, int pixels) {
  CopyAxis copy;
  const auto fraction = static_cast<float>(axis.start & (Axis::one - 1)) / static_cast<float>(Axis::one);
  copy.fraction = fraction;
  copy.offset = -1 - texelAtPixel0(axis);
  const auto isInside = [&](int pixel) { return pixel >= 0 && pixel < pixels; };
  const auto isCovered = [&](int pixel) { return pixel >= axis.first && pixel < axis.end; };
  const int low = copy.offset;
  const int high = low + texels;
  if (isInside(low)) copy.low = {low, isCovered(low) ? 1.0f - fraction : -fraction};
  if (isInside(high)) copy.high = {high, isCovered(high) ? fraction : fraction - 1.0f};
  return copy;
}

void includeOffset(Span &span, int offset) {
  const int end = std::max(span.kernelFirst + span.kernelSize, offset + 2);
  span.kernelFirst = std::min(span.kernelFirst, offset);
  span.kernelSize = end - span.kernelFirst;
}

/// Trims empty cells off both ends of a span's box. `anything(first, last)` tells whether texels may be nonzero.
template <typename Anything>
void trimBox(Span &span, int texels, int cell, Anything anything) {
  int first = 0, end = texels;
  while (first < end && !anything(first, std::min(first + cell, end) - 1)) first += cell;
  while (first < end && !anything((end - 1) / cell * cell, end - 1)) end = (end - 1) / cell * cell;
  span.boxFirst = std::min(first, end);
  span.boxSize = end - span.boxFirst;
}

void fitTransform(Span &span, int pixels) {
  const int length = span.boxSize + span.kernelSize - 1;
  span.outFirst = std::clamp(span.origin(), 0, pixels);
  span.outEnd = std::clamp(span.origin() + length, span.outFirst, pixels);
  // Results wrap around after `size` pixels. Those outside the target may overlap each other, but none on the target.
  const int first = span.outFirst - span.origin();
  const int end = span.outEnd - span.origin();
  span.size = fastTransformSize(std::max({length - first, end, span.boxSize, span.kernelSize}));
}

}  // namespace

bool isWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target) {
  return showsAll(quad.x, planes.width(), target.width()) && showsAll(quad.y, planes.height(), target.height());
}

WholeCopy makeWholeCopy(const Quad &quad, const TexturePlanes &planes, const Pixels &target) {
  return {makeCopyAxis(quad.x, planes.width(), target.width()), makeCopyAxis(quad.y, planes.height(), target.height()),
          quad.colour};
}

Spans spansOf(const std::vector<WholeCopy> &copies, const TexturePlanes &planes, const Pixels &target) {
  Spans spans;
  spans.x.kernelFirst = copies.front().x.offset;
  spans.y.kernelFirst = copies.front().y.offset;
  for (const WholeCopy &copy : copies) {
    includeOffset(spans.x, copy.x.offset);
    includeOffset(spans.y, copy.y.offset);
  }
  const Occupancy &occupancy = planes.occupancy();
  trimBox(spans.x, planes.width(), Occupancy::cellWidth,
          [&](int from, int to) { return occupancy.any(from, 0, to, planes.height() - 1); });
  trimBox(spans.y, planes.height(), Occupancy::cellHeight,
          [&](int from, int to) { return occupancy.any(0, from, planes.width() - 1, to); });
  fitTransform(spans.x, target.width());
  fitTransform(spans.y, target.height());
  return spans;
}

}  // namespace pyrelux::soft
