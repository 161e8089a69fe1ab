#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace pyrelux {

/// Four neighbouring pixels' values of a channel. Compilers have such vectors on every processor; each lane gets what
/// the same operations on a float give, to the bit.
using FourFloats = float __attribute__((vector_size(16)));
using FourIntegers = std::int32_t __attribute__((vector_size(16)));

inline FourFloats allOf(float value) { return FourFloats{value, value, value, value}; }
inline FourFloats larger(FourFloats a, FourFloats b) { return a < b ? b : a; }
/// Limits values to 0 .. 1; NaN gives 0.
inline FourFloats limited(FourFloats values) {
  const FourFloats positive = values > allOf(0.0f) ? values : allOf(0.0f);
  return positive < allOf(1.0f) ? positive : allOf(1.0f);
}

/// Four neighbouring pixels, channel by channel.
struct FourPixels {
  FourFloats red;
  FourFloats green;
  FourFloats blue;
  FourFloats alpha;

  /// From interleaved samples, four for each pixel.
  explicit FourPixels(const float *samples) {
    FourFloats pixels[4];
    std::memcpy(pixels, samples, sizeof pixels);
    transpose(pixels);
  }

  void store(float *samples) const {
    FourPixels copy = *this;
    FourFloats pixels[4] = {copy.red, copy.green, copy.blue, copy.alpha};
    copy.transpose(pixels);
    const FourFloats rows[4] = {copy.red, copy.green, copy.blue, copy.alpha};
    std::memcpy(samples, rows, sizeof rows);
  }

 private:
  void transpose(const FourFloats (&rows)[4]) {
    const FourFloats low01 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
    const FourFloats low23 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
    const FourFloats high01 = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
    const FourFloats high23 = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
    red = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    green = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    blue = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    alpha = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
  }
};

/// Whether the samples of four pixels are all 0, and none is -0.
inline bool areZero(const float *samples) {
  FourIntegers pixels[4];
  std::memcpy(pixels, samples, sizeof pixels);
  const FourIntegers any = pixels[0] | pixels[1] | pixels[2] | pixels[3];
  std::uint64_t halves[2];
  std::memcpy(halves, &any, sizeof halves);
  return (halves[0] | halves[1]) == 0;
}

/// Calls `convert(FourPixels &, x)` for all pixels of a row, four by four, and stores what it makes of them. `from` and
/// `to` may be the same. With `keepsZero`, `convert` would make nothing but zeros of zeros and need not see them, which
/// are most of a title's pixels.
template <bool keepsZero = false, typename Convert>
void convertRow(const float *from, int width, float *to, Convert convert) {
  int x = 0;
  for (; x + 4 <= width; x += 4) {
    if (keepsZero && areZero(from + 4 * x)) {
      std::memset(to + 4 * x, 0, 16 * sizeof *to);
      continue;
    }
    FourPixels pixels(from + 4 * x);
    convert(pixels, x);
    pixels.store(to + 4 * x);
  }
  if (x == width) return;
  float last[16] = {};
  const std::size_t bytes = sizeof(float) * 4 * static_cast<std::size_t>(width - x);
  std::memcpy(last, from + 4 * x, bytes);
  FourPixels pixels(last);
  convert(pixels, x);
  pixels.store(last);
  std::memcpy(to + 4 * x, last, bytes);
}

}  // namespace pyrelux
