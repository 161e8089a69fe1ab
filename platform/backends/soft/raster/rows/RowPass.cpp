#include "RowPass.h"

#include <algorithm>
#include <cstring>

#include "Arithmetic.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

constexpr int rowsAtOnce = 16;
constexpr std::array<bool, 4> allChannels{true, true, true, true};

bool isOneForOne(const Axis &axis, int size) {
  if (!axis.isUnit()) return false;
  const Tap tap = tapAt(axis.start);
  return axis.start % Axis::one == 0 && tap.texel >= 0 && tap.texel + (axis.end - axis.first) <= size;
}

/// Tints and blends `count` levels of a row. The loops suit the compiler's vectoriser.
template <Blend how, bool tinted>
void blendLevels(const std::uint8_t *texels, std::uint8_t *pixels, int count, const int (&tints)[4]) {
  for (int i = 0; i < count; i += 4) {
    int source[4];
    for (int c = 0; c < 4; ++c) source[c] = tinted ? modulate(texels[i + c], tints[c]) : texels[i + c];
    for (int c = 0; c < 4; ++c)
      pixels[i + c] = static_cast<std::uint8_t>(blend(how, source[c], source[3], pixels[i + c]));
  }
}

float asFloat(float value) { return value; }
float asFloat(std::uint8_t level) { return static_cast<float>(level) / 255.0f; }

template <Blend how, typename Texel>
void blendFloats(const Texel *texels, float *pixels, int count, const Colour &tints) {
  for (int i = 0; i < count; i += 4) {
    const float alpha = asFloat(texels[i + 3]) * tints[3];
    for (std::size_t c = 0; c < 4; ++c) {
      float *pixel = pixels + i + c;
      *pixel = blend(how, asFloat(texels[static_cast<std::size_t>(i) + c]) * tints[c], alpha, *pixel);
    }
  }
}

bool isTinted(const Colour &colour, Samples samples) {
  return std::any_of(colour.begin(), colour.end(), [&](float channel) {
    return samples == Samples::Byte ? tintOf(channel) != 32767 : channel != 1.0f;
  });
}

void drawRow(Blend how, const std::uint8_t *texels, std::uint8_t *pixels, int count, const Colour &colour) {
  const bool tinted = isTinted(colour, Samples::Byte);
  int tints[4];
  for (std::size_t c = 0; c < 4; ++c) tints[c] = tintOf(colour[c]);
  switch (how) {
    case Blend::Replace:
      if (!tinted) {
        std::memcpy(pixels, texels, static_cast<std::size_t>(count));
        return;
      }
      return blendLevels<Blend::Replace, true>(texels, pixels, count, tints);
    case Blend::Add:
      return tinted ? blendLevels<Blend::Add, true>(texels, pixels, count, tints)
                    : blendLevels<Blend::Add, false>(texels, pixels, count, tints);
    case Blend::Over:
      return blendLevels<Blend::Over, true>(texels, pixels, count, tints);
  }
}

template <typename Texel>
void drawRow(Blend how, const Texel *texels, float *pixels, int count, const Colour &colour) {
  switch (how) {
    case Blend::Replace:
      return blendFloats<Blend::Replace>(texels, pixels, count, colour);
    case Blend::Add:
      return blendFloats<Blend::Add>(texels, pixels, count, colour);
    case Blend::Over:
      return blendFloats<Blend::Over>(texels, pixels, count, colour);
  }
}

/// Fills a row with one pixel's samples.
template <typename Sample>
void fillRow(Sample *pixels, int count, const Sample (&pixel)[4]) {
  for (int i = 0; i < count; i += 4)
    for (int c = 0; c < 4; ++c) pixels[i + c] = pixel[c];
}

template <typename Sample>
void clearRow(Sample *row, int from, int to) {
  std::fill(row + 4 * from, row + 4 * to, Sample(0));
}

/// Draws the quad on all threads. `targetRow(y)` and `textureRow(y)` return rows of samples.
template <typename TargetRow, typename TextureRow>
void drawAllRows(const Pass &pass, const Quad &quad, int width, int height, bool blank, TargetRow targetRow,
                 TextureRow textureRow) {
  using Sample = std::remove_pointer_t<decltype(targetRow(0))>;
  const int x0 = quad.x.first, x1 = quad.x.end;
  // On transparent black, every blend gives the source.
  const Blend how = blank ? Blend::Replace : pass.blend;
  Sample colour[4];
  for (std::size_t c = 0; c < 4; ++c) {
    if constexpr (std::is_same_v<Sample, float>)
      colour[c] = quad.colour[c];
    else
      colour[c] = static_cast<Sample>(modulate(255, tintOf(quad.colour[c])));
  }
  const int first = blank ? 0 : quad.y.first;
  const int end = blank ? height : quad.y.end;
  parallelFor((end - first + rowsAtOnce - 1) / rowsAtOnce, [&](int piece) {
    for (int y = first + piece * rowsAtOnce; y < std::min(first + (piece + 1) * rowsAtOnce, end); ++y) {
      auto *row = targetRow(y);
      if (y < quad.y.first || y >= quad.y.end) {
        clearRow(row, 0, width);
        continue;
      }
      if (blank) {
        clearRow(row, 0, x0);
        clearRow(row, x1, width);
      }
      if (pass.texture)
        drawRow(how, textureRow(tapAt(quad.y.position(y)).texel) + 4 * tapAt(quad.x.start).texel, row + 4 * x0,
                4 * (x1 - x0), quad.colour);
      else
        fillRow(row + 4 * x0, 4 * (x1 - x0), colour);
    }
  });
}

}  // namespace

bool isRowQuad(const Pass &pass, const Quad &quad, const Pixels &target) {
  if (pass.mask != allChannels) return false;
  if (!pass.texture) return pass.blend == Blend::Replace;
  const bool canConvert = target.samples() == Samples::Float || pass.texture->samples() == Samples::Byte;
  return canConvert && isOneForOne(quad.x, pass.texture->width()) && isOneForOne(quad.y, pass.texture->height());
}

bool isPlainCopy(const Pass &pass, const Quad &quad, const Pixels &target, bool blank) {
  return pass.texture && pass.texture->samples() == target.samples() && (blank || pass.blend == Blend::Replace) &&
         !isTinted(quad.colour, target.samples());
}

void drawRows(const Pass &pass, const Quad &quad, Pixels &target, bool blank) {
  const Pixels *texture = pass.texture.get();
  const auto draw = [&](auto targetRow, auto textureRow) {
    drawAllRows(pass, quad, target.width(), target.height(), blank, targetRow, textureRow);
  };
  const auto bytes = [&](int y) { return texture->byteRow(y); };
  if (target.samples() == Samples::Byte)
    draw([&](int y) { return target.byteRow(y); }, bytes);
  else if (texture && texture->samples() == Samples::Byte)
    draw([&](int y) { return target.floatRow(y); }, bytes);
  else
    draw([&](int y) { return target.floatRow(y); }, [&](int y) { return texture->floatRow(y); });
}

}  // namespace pyrelux::soft
