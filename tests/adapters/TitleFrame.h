#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pyrelux::adapters::test {

/// Pixels in the form that hosts use: straight alpha, rows from the top, 4 bytes each.
using Frame = std::vector<std::uint8_t>;

constexpr int width = 64;
constexpr int height = 36;

/// A white rectangle with soft edges in the middle of a transparent picture.
inline Frame title(int pictureWidth = width, int pictureHeight = height) {
  Frame frame(static_cast<std::size_t>(pictureWidth) * pictureHeight * 4, 0);
  for (int y = pictureHeight / 2; y < pictureHeight * 3 / 4; ++y)
    for (int x = pictureWidth / 4; x < pictureWidth * 3 / 4; ++x) {
      std::uint8_t *pixel = &frame[(static_cast<std::size_t>(y) * pictureWidth + x) * 4];
      pixel[0] = pixel[1] = 255;
      pixel[2] = 200;
      pixel[3] = x % 8 == 0 ? 100 : 255;
    }
  return frame;
}

}  // namespace pyrelux::adapters::test
