#include "Orientation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace pyrelux::media {

namespace {

template <typename Samples>
void place(const Image &stored, const Samples &from, const Orientation &orientation, Image &image, Samples &to) {
  std::size_t sample = 0;
  for (int storedY = 0; storedY < stored.height(); ++storedY)
    for (int storedX = 0; storedX < stored.width(); ++storedX, sample += 4) {
      int x = orientation.isTransposed ? storedY : storedX;
      int y = orientation.isTransposed ? storedX : storedY;
      if (orientation.isMirrored) x = image.width() - 1 - x;
      if (orientation.isUpsideDown) y = image.height() - 1 - y;
      std::copy_n(&from[sample], 4, &to[(static_cast<std::size_t>(y) * image.width() + x) * 4]);
    }
}

}  // namespace

Orientation orientationOf(const AVFrame &frame) {
  const AVFrameSideData *data = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
  std::int32_t matrix[9];
  if (!data || data->size < sizeof matrix) return {};
  std::memcpy(matrix, data->data, sizeof matrix);
  // x' = a x + c y, y' = b x + d y; in floating point, where the least integer has a magnitude.
  const double a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
  const bool isTransposed = std::abs(b) + std::abs(c) > std::abs(a) + std::abs(d);
  return {isTransposed, (isTransposed ? c : a) < 0.0, (isTransposed ? b : d) < 0.0};
}

Image upright(Image stored, const Orientation &orientation) {
  const auto [isTransposed, isMirrored, isUpsideDown] = orientation;
  if (!isTransposed && !isMirrored && !isUpsideDown) return stored;
  Image image;
  image.reshape(isTransposed ? stored.height() : stored.width(), isTransposed ? stored.width() : stored.height(),
                stored.alpha(), stored.isFloat());
  if (stored.isFloat())
    place(stored, stored.asFloats(), orientation, image, image.asFloats());
  else
    place(stored, stored.asBytes(), orientation, image, image.asBytes());
  return image;
}

}  // namespace pyrelux::media
