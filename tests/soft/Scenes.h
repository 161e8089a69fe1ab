#pragma once

#include <cmath>
#include <random>
#include <utility>

#include "Pass.h"

// Random textures, targets and passes. The same seed gives the same scene.

namespace pyrelux::soft::testing {

using Random = std::mt19937;

inline int between(Random &random, int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
inline double between(Random &random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

enum class Picture { Empty, Opaque, Grey, Premultiplied, Noise, Title };

/// `Noise` has four unrelated channels; `Title` is white shapes on nothing.
inline Pixels makePicture(Random &random, Picture picture, Samples samples, int width, int height) {
  Pixels pixels(samples, width, height);
  const int left = between(random, 0, width - 1), bottom = between(random, 0, height - 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int value[4] = {};
      const int noise = between(random, 0, 255);
      switch (picture) {
        case Picture::Empty:
          break;
        case Picture::Opaque:
          for (int c = 0; c < 3; ++c) value[c] = between(random, 0, 255);
          value[3] = 255;
          break;
        case Picture::Grey:
          for (int &v : value) v = noise;
          value[3] = 200;
          break;
        case Picture::Premultiplied:
          value[3] = noise;
          for (int c = 0; c < 3; ++c) value[c] = between(random, 0, noise);
          break;
        case Picture::Noise:
          for (int &v : value) v = between(random, 0, 255);
          break;
        case Picture::Title:
          if (x >= left && x < left + width / 8 + 1 && y >= bottom && y < bottom + height / 8 + 1)
            for (int &v : value) v = 255;
          break;
      }
      for (int c = 0; c < 4; ++c) {
        if (samples == Samples::Byte)
          pixels.byteRow(y)[4 * x + c] = static_cast<std::uint8_t>(value[c]);
        else
          pixels.floatRow(y)[4 * x + c] = static_cast<float>(value[c]) / 255.0f;
      }
    }
  }
  return pixels;
}

inline Colour makeColour(Random &random) {
  Colour colour;
  for (float &channel : colour) {
    const int kind = between(random, 0, 9);
    channel = kind == 0 ? 0.0f : kind == 1 ? 1.0f : static_cast<float>(std::pow(10.0, between(random, -5.0, 0.0)));
  }
  return colour;
}

/// A copy of the whole texture, cut, shifted, scaled 0 .. 2 about any point, sometimes mirrored or far off.
inline Quad makeQuad(Random &random, const Pixels &texture, const Pixels &target) {
  Quad quad;
  const auto axis = [&](int texels, int pixels) {
    const double low = between(random, 0, 3) ? 0.0 : between(random, 0.0, 0.4);
    const double high = between(random, 0, 3) ? 1.0 : between(random, 0.6, 1.0);
    const bool unit = between(random, 0, 1) == 1;
    const double scale = unit ? 1.0 : between(random, 0.0, 2.0);
    const double shift = between(random, 0, 9) == 0 ? between(random, -3.0, 3.0) : between(random, -0.4, 0.4);
    const double about = between(random, -0.5, 1.5);
    const bool whole = between(random, 0, 7) == 0;
    double from = ((low + shift - about) * scale + about) * texels;
    if (whole) from = std::floor(from);
    double to = from + (high - low) * scale * texels;
    double textureFrom = low * texels, textureTo = high * texels;
    if (between(random, 0, 15) == 0) std::swap(textureFrom, textureTo);
    // Rounded to single precision, like vertices.
    return makeAxis(static_cast<float>(from), static_cast<float>(to), static_cast<float>(textureFrom),
                    static_cast<float>(textureTo), pixels);
  };
  quad.x = axis(texture.width(), target.width());
  quad.y = axis(texture.height(), target.height());
  quad.colour = makeColour(random);
  return quad;
}

}  // namespace pyrelux::soft::testing
