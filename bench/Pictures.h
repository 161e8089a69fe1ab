#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "Image.h"

// The inputs of benchmarks, generated so that every machine has the same.

namespace pyrelux::bench {

enum class Picture { Opaque, Random, Title };

inline const char *pictureName(Picture picture) {
  return picture == Picture::Opaque ? "opaque" : picture == Picture::Random ? "random" : "title";
}

/// A picture of premultiplied bytes. Opaque is a plasma; Random is noise in all channels, with colour up to alpha;
/// Title has white bars like letters on about 6 % of the picture.
inline Image makePicture(Picture picture, int width, int height) {
  Image image = Image::bytes(width, height, Alpha::Premultiplied);
  std::mt19937 random(1);
  std::uint8_t *pixel = image.asBytes().data();
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x, pixel += 4) {
      const double u = static_cast<double>(x) / height, v = static_cast<double>(y) / height;
      switch (picture) {
        case Picture::Opaque:
          for (int c = 0; c < 3; ++c)
            pixel[c] =
                static_cast<std::uint8_t>(127.5 + 127.5 * std::sin(7 * u + (5 + c) * v + 3 * std::sin(4 * v - c)));
          pixel[3] = 255;
          break;
        case Picture::Random:
          pixel[3] = static_cast<std::uint8_t>(random() >> 24);
          for (int c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>(random() % (pixel[3] + 1u));
          break;
        case Picture::Title:
          if (v > 0.55 && v < 0.8 && std::fmod(u, 0.08) < 0.0195) std::fill_n(pixel, 4, std::uint8_t{255});
          break;
      }
    }
  }
  return image;
}

}  // namespace pyrelux::bench
