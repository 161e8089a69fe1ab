#include "FlameScene.h"

#include <algorithm>
#include <cmath>

namespace pyrelux::soft::testing {

namespace {

double single(double value) { return static_cast<double>(static_cast<float>(value)); }

struct Span {
  double from, to, textureFrom, textureTo;
};

Span makeSpan(Random &random, int texels, int pixels) {
  const double ratio = static_cast<double>(pixels) / texels;
  const double low = between(random, 0, 3) ? 0.0 : between(random, 0.0, 0.4);
  const double high = between(random, 0, 3) ? 1.0 : between(random, 0.6, 1.0);
  const double shift = between(random, 0, 9) == 0 ? between(random, -3.0, 3.0) : between(random, -0.4, 0.4);
  const double about = between(random, -0.5, 1.5);
  // A surface of the picture's size shows copies at their own size, at least half of the time.
  const double scale = between(random, 0, 1) ? 1.0 : between(random, 0.0, 2.0);
  Span span{};
  span.from = ((low + shift - about) * scale + about) * texels * ratio;
  span.to = ((high + shift - about) * scale + about) * texels * ratio;
  if (between(random, 0, 15) == 0) span.to = span.from + 1;
  span.textureFrom = low * texels;
  span.textureTo = high * texels;
  if (between(random, 0, 15) == 0) std::swap(span.textureFrom, span.textureTo);
  return {single(span.from), single(span.to), single(span.textureFrom), single(span.textureTo)};
}

void drawOn(const Screen &, const FlameScene &scene) {
  bindNewTexture(GL_TEXTURE_RECTANGLE_EXT, GL_LINEAR);
  upload(GL_TEXTURE_RECTANGLE_EXT, scene.textureWidth, scene.textureHeight, scene.texels);
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  glBegin(GL_QUADS);
  for (const auto &copy : scene.copies) {
    glColor4f(copy.colour[0], copy.colour[1], copy.colour[2], copy.colour[3]);
    corners(copy.place, copy.texture);
  }
  glEnd();
  EXPECT_EQ(glGetError(), GL_NO_ERROR);
}

/// The part of a pixel's sample that one direction of a copy determines.
struct Taps {
  bool covered;
  bool atAnEdge;
  bool beyondSingles;
  int low, high;
  double fraction;
  double vertexError;  ///< in texels
};

/// The error of a position, in texels, from which it counts as unknown: a step of 8-bit filtering.
constexpr double singlesSlack = 1.0 / 256;

/// How far a filtered 8-bit texel may be off, in levels. Two interpolations in turn round to whole levels, half a level
/// each; the positions are rounded to 1/256 texel, off by half of that and by the error that counts as known, and
/// between neighbours lie 255 levels at most, along both axes.
constexpr double texelSlack = 0.5 + 0.5 + 2 * (0.5 / 256 + singlesSlack) * 255;

/// And the tinted texel, before it is rounded: tints have 15 fractional bits.
constexpr double tintSlack = 255.0 / (1 << 15);

std::vector<Taps> tapsAlong(double from, double to, double textureFrom, double textureTo, int pixels, int texels) {
  // Rasterisers place vertices on a grid of 1/256 pixel.
  constexpr double edgeSlack = 1.0 / 128;
  const double step = (textureTo - textureFrom) / (to - from);
  // A rasteriser in floats finds the position as origin + pixel * step, off by a few roundings of the larger of the
  // two.
  const double origin = textureFrom - from * step;
  const double vertexError = std::max(std::abs(from), std::abs(to)) / (1 << 23) * std::abs(step);
  const double error = (std::abs(origin) + std::abs(step) * pixels) * 4 / (1 << 24);
  std::vector<Taps> taps;
  for (int pixel = 0; pixel < pixels; ++pixel) {
    const double centre = pixel + 0.5;
    const double position = origin + centre * step - 0.5;
    const double whole = std::floor(position);
    const auto texel = [&](double index) {
      return static_cast<int>(std::clamp(index, 0.0, static_cast<double>(texels - 1)));
    };
    taps.push_back(
        {centre >= from &&
             centre<to, std::min(std::abs(centre - from), std::abs(centre - to)) < edgeSlack, error> singlesSlack,
         texel(whole), texel(whole + 1), position - whole, vertexError});
  }
  return taps;
}

}  // namespace

FlameScene makeScene(Random &random, Picture picture, int width, int height, int copies) {
  FlameScene scene;
  scene.width = scene.textureWidth = width;
  scene.height = scene.textureHeight = height;
  const Pixels pixels = makePicture(random, picture, Samples::Byte, width, height);
  scene.texels.assign(pixels.byteRow(0), pixels.byteRow(0) + std::size_t{4} * width * height);
  for (int i = 0; i < copies; ++i) {
    const Span x = makeSpan(random, width, width), y = makeSpan(random, height, height);
    scene.copies.push_back(
        {{x.from, y.from, x.to, y.to}, {x.textureFrom, y.textureFrom, x.textureTo, y.textureTo}, makeColour(random)});
  }
  return scene;
}

std::vector<std::uint8_t> drawLevels(const FlameScene &scene, std::int32_t backend) {
  const Screen screen(scene.width, scene.height, {false, nullptr, backend});
  drawOn(screen, scene);
  return screen.bytes();
}

std::vector<float> drawFloats(const FlameScene &scene, std::int32_t backend) {
  const Screen screen(scene.width, scene.height, {true, nullptr, backend});
  drawOn(screen, scene);
  return screen.floats();
}

std::vector<Exact> exactSums(const FlameScene &scene) {
  std::vector<Exact> sums(static_cast<std::size_t>(scene.width) * scene.height * 4);
  const auto texel = [&](int s, int t, std::size_t channel) {
    return scene.texels[(static_cast<std::size_t>(t) * scene.textureWidth + s) * 4 + channel] / 255.0;
  };
  for (const auto &copy : scene.copies) {
    const auto columns =
        tapsAlong(copy.place.x0, copy.place.x1, copy.texture.x0, copy.texture.x1, scene.width, scene.textureWidth);
    const auto rows =
        tapsAlong(copy.place.y0, copy.place.y1, copy.texture.y0, copy.texture.y1, scene.height, scene.textureHeight);
    for (int y = 0; y < scene.height; ++y)
      for (int x = 0; x < scene.width; ++x) {
        const Taps &s = columns[static_cast<std::size_t>(x)], &t = rows[static_cast<std::size_t>(y)];
        Exact *const pixel = &sums[(static_cast<std::size_t>(y) * scene.width + x) * 4];
        // Near one of its edges, and within or near the other two.
        const bool atAnEdge = (s.atAnEdge && (t.covered || t.atAnEdge)) || (t.atAnEdge && s.covered);
        for (std::size_t c = 0; c < 4; ++c) {
          Exact &sum = pixel[c];
          sum.atAnEdge = sum.atAnEdge || atAnEdge;
          if (!s.covered || !t.covered) continue;
          sum.beyondSingles = sum.beyondSingles || s.beyondSingles || t.beyondSingles;
          const double lower = texel(s.low, t.low, c) * (1 - s.fraction) + texel(s.high, t.low, c) * s.fraction;
          const double upper = texel(s.low, t.high, c) * (1 - s.fraction) + texel(s.high, t.high, c) * s.fraction;
          const auto [least, most] = std::minmax(
              {texel(s.low, t.low, c), texel(s.high, t.low, c), texel(s.low, t.high, c), texel(s.high, t.high, c)});
          const double value = (lower * (1 - t.fraction) + upper * t.fraction) * static_cast<double>(copy.colour[c]);
          const double slack = texelSlack * static_cast<double>(copy.colour[c]) + tintSlack;
          sum.sum += value;
          sum.vertexSlack += (most - least) * (s.vertexError + t.vertexError) * static_cast<double>(copy.colour[c]);
          sum.lowest = std::min(255.0, sum.lowest + std::round(std::max(0.0, value * 255 - slack)));
          sum.highest = std::min(255.0, sum.highest + std::round(value * 255 + slack));
        }
      }
  }
  return sums;
}

}  // namespace pyrelux::soft::testing
