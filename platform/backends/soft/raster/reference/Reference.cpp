#include "Reference.h"

#include <algorithm>

#include "Arithmetic.h"

namespace pyrelux::soft {

namespace {

int clampTo(std::int64_t texel, int size) { return static_cast<int>(std::clamp<std::int64_t>(texel, 0, size - 1)); }

/// Reads a texture's texels as levels. Floats are rounded to 8 bits, as an 8-bit surface shows them.
class LevelTexture {
 public:
  explicit LevelTexture(const Pixels &pixels) : pixels_(pixels) {}

  int texel(std::int64_t s, std::int64_t t, int channel) const {
    const int x = clampTo(s, pixels_.width());
    const int y = clampTo(t, pixels_.height());
    return pixels_.samples() == Samples::Byte ? pixels_.byteRow(y)[4 * x + channel]
                                              : toLevel(pixels_.floatRow(y)[4 * x + channel]);
  }

  int sample(Filter filter, std::int64_t s, std::int64_t t, int channel) const {
    if (filter == Filter::Nearest) {
      constexpr std::int64_t half = Axis::one / 2;
      return texel((s + half) >> 32, (t + half) >> 32, channel);
    }
    const Tap tapS = tapAt(s);
    const Tap tapT = tapAt(t);
    const int lower =
        lerp(texel(tapS.texel, tapT.texel, channel), texel(tapS.texel + 1, tapT.texel, channel), tapS.fraction);
    const int upper =
        lerp(texel(tapS.texel, tapT.texel + 1, channel), texel(tapS.texel + 1, tapT.texel + 1, channel), tapS.fraction);
    return lerp(lower, upper, tapT.fraction);
  }

 private:
  const Pixels &pixels_;
};

class FloatTexture {
 public:
  explicit FloatTexture(const Pixels &pixels) : pixels_(pixels) {}

  float texel(std::int64_t s, std::int64_t t, int channel) const {
    const int x = clampTo(s, pixels_.width());
    const int y = clampTo(t, pixels_.height());
    return pixels_.samples() == Samples::Byte ? static_cast<float>(pixels_.byteRow(y)[4 * x + channel]) / 255.0f
                                              : pixels_.floatRow(y)[4 * x + channel];
  }

  float sample(Filter filter, std::int64_t s, std::int64_t t, int channel) const {
    if (filter == Filter::Nearest) {
      constexpr std::int64_t half = Axis::one / 2;
      return texel((s + half) >> 32, (t + half) >> 32, channel);
    }
    const std::int64_t i = s >> 32;
    const std::int64_t j = t >> 32;
    const float fs = static_cast<float>(s & (Axis::one - 1)) / static_cast<float>(Axis::one);
    const float ft = static_cast<float>(t & (Axis::one - 1)) / static_cast<float>(Axis::one);
    const float lower = texel(i, j, channel) * (1.0f - fs) + texel(i + 1, j, channel) * fs;
    const float upper = texel(i, j + 1, channel) * (1.0f - fs) + texel(i + 1, j + 1, channel) * fs;
    return lower * (1.0f - ft) + upper * ft;
  }

 private:
  const Pixels &pixels_;
};

void drawQuadOnBytes(const Pass &pass, const Quad &quad, Pixels &target, int x0, int y0, int x1, int y1) {
  for (int y = y0; y < y1; ++y) {
    std::uint8_t *row = target.byteRow(y);
    for (int x = x0; x < x1; ++x) {
      int source[4];
      for (int c = 0; c < 4; ++c) {
        const int level =
            pass.texture ? LevelTexture(*pass.texture).sample(pass.filter, quad.x.position(x), quad.y.position(y), c)
                         : 255;
        source[c] = modulate(level, tintOf(quad.colour[static_cast<std::size_t>(c)]));
      }
      for (int c = 0; c < 4; ++c)
        if (pass.mask[static_cast<std::size_t>(c)])
          row[4 * x + c] = static_cast<std::uint8_t>(blend(pass.blend, source[c], source[3], row[4 * x + c]));
    }
  }
}

void drawQuadOnFloats(const Pass &pass, const Quad &quad, Pixels &target, int x0, int y0, int x1, int y1) {
  for (int y = y0; y < y1; ++y) {
    float *row = target.floatRow(y);
    for (int x = x0; x < x1; ++x) {
      float source[4];
      for (int c = 0; c < 4; ++c) {
        const float texel =
            pass.texture ? FloatTexture(*pass.texture).sample(pass.filter, quad.x.position(x), quad.y.position(y), c)
                         : 1.0f;
        source[c] = texel * quad.colour[static_cast<std::size_t>(c)];
      }
      for (int c = 0; c < 4; ++c)
        if (pass.mask[static_cast<std::size_t>(c)])
          row[4 * x + c] = blend(pass.blend, source[c], source[3], row[4 * x + c]);
    }
  }
}

}  // namespace

void drawByReference(const Pass &pass, Pixels &target) {
  drawByReference(pass, target, 0, 0, target.width(), target.height());
}

void drawByReference(const Pass &pass, Pixels &target, int x0, int y0, int x1, int y1) {
  for (const Quad &quad : pass.quads) {
    const int fromX = std::max(quad.x.first, x0);
    const int toX = std::min(quad.x.end, x1);
    const int fromY = std::max(quad.y.first, y0);
    const int toY = std::min(quad.y.end, y1);
    if (target.samples() == Samples::Byte)
      drawQuadOnBytes(pass, quad, target, fromX, fromY, toX, toY);
    else
      drawQuadOnFloats(pass, quad, target, fromX, fromY, toX, toY);
  }
}

}  // namespace pyrelux::soft
