// AVX2 with fused multiply-add.

#include <immintrin.h>

#include "KernelSets.h"

namespace pyrelux::soft {
namespace {

struct Words {
  __m256i v;
};
struct Floats {
  __m256 v;
};
constexpr int wordLanes = 16;
constexpr int floatLanes = 8;
constexpr int vectorRegisters = 16;

inline Words loadTexels(const std::int8_t *from) {
  return {_mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from)))};
}
inline Words loadWords(const std::uint16_t *from) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from))};
}
inline void storeWords(std::uint16_t *to, Words words) {
  _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), words.v);
}
inline Words broadcastWords(std::int16_t value) { return {_mm256_set1_epi16(value)}; }
inline Words broadcastPairs(std::uint32_t words) { return {_mm256_set1_epi32(static_cast<int>(words))}; }
inline Words operator+(Words a, Words b) { return {_mm256_add_epi16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {_mm256_sub_epi16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {_mm256_and_si256(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {_mm256_adds_epu16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) { return {_mm256_mulhrs_epi16(a.v, b.v)}; }

inline Floats loadFloats(const float *from) { return {_mm256_loadu_ps(from)}; }
inline Floats loadTexels(const float *from) {
  Floats floats = loadFloats(from);
  asm("" : "+x"(floats.v));
  return floats;
}
inline void storeFloats(float *to, Floats floats) { _mm256_storeu_ps(to, floats.v); }
inline void streamFloats(float *to, Floats floats) { _mm256_stream_ps(to, floats.v); }
inline void finishStreams() { _mm_sfence(); }
inline Floats broadcastFloats(float value) { return {_mm256_set1_ps(value)}; }
inline Floats operator-(Floats a, Floats b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {_mm256_fmadd_ps(a.v, b.v, c.v)}; }

constexpr bool shuffles = true;

struct NarrowLevels {
  Words operator()(const std::int8_t *row) const {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + windows[0]));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + windows[1]));
    const __m256i texels = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    // (level - 128) * 256 fits 16 signed bits; 0x8080 adds the 128 again and rounds.
    const __m256i sums = _mm256_maddubs_epi16(weights, _mm256_shuffle_epi8(texels, pairs));
    return {_mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(static_cast<short>(0x8080))), 8)};
  }

  std::ptrdiff_t windows[2];
  __m256i pairs;
  __m256i weights;
};
inline NarrowLevels narrowSampler(const LevelColumnTable &columns, int x) {
  const std::uint16_t low = columns.windows[x / 8], high = columns.windows[x / 8 + 1];
  const __m256i taps = _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.taps + x)),
                                        _mm256_set_m128i(_mm_set1_epi16(high), _mm_set1_epi16(low)));
  const __m256i fractions =
      _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(columns.fractions + x)));
  // A weight of 256 does not fit a byte, so a fraction of 0 takes the same texel twice, by 255 and by 1.
  const __m256i whole = _mm256_cmpeq_epi16(fractions, _mm256_setzero_si256());
  const __m256i next = _mm256_add_epi16(_mm256_add_epi16(taps, _mm256_set1_epi16(1)), whole);
  const __m256i weights = _mm256_sub_epi16(fractions, whole);
  return {{low, high},
          _mm256_or_si256(taps, _mm256_slli_epi16(next, 8)),
          _mm256_or_si256(_mm256_sub_epi16(_mm256_set1_epi16(256), weights), _mm256_slli_epi16(weights, 8))};
}

struct NarrowMixed {
  Floats operator()(const std::uint8_t *row) const {
    const __m256i window = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + first)));
    // Each lane gets a pair of words, the lower texel first.
    return {_mm256_cvtepi32_ps(_mm256_madd_epi16(_mm256_shuffle_epi8(window, pairs), weights))};
  }

  std::ptrdiff_t first;
  __m256i pairs;
  __m256i weights;
};
inline NarrowMixed narrowSampler(const MixedColumnTable &columns, int x) {
  const std::uint16_t first = columns.windows[x / 8];
  const __m128i taps = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(columns.taps + x)),
                                     _mm_set1_epi16(static_cast<short>(first)));
  const __m256i wide = _mm256_cvtepu16_epi32(taps);
  // The bytes of each lane: the tap, zero, the next tap, zero.
  const __m256i pairs = _mm256_add_epi32(_mm256_or_si256(wide, _mm256_slli_epi32(wide, 16)),
                                         _mm256_set1_epi32(static_cast<int>(0x80018000)));
  const __m256i fractions =
      _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(columns.fractions + x)));
  return {first, pairs,
          _mm256_or_si256(_mm256_sub_epi32(_mm256_set1_epi32(mixedUnit), fractions), _mm256_slli_epi32(fractions, 16))};
}

struct NarrowFloats {
  Floats operator()(const float *row) const {
    const __m256 low = _mm256_loadu_ps(row + first), high = _mm256_loadu_ps(row + first + 8);
    // Bit 3 tells low from high; it is shifted into the sign, which selects in blendv.
    const auto pick = [&](__m256i at) {
      return _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, at), _mm256_permutevar8x32_ps(high, at),
                              _mm256_castsi256_ps(_mm256_slli_epi32(at, 28)));
    };
    const Floats a{pick(left)}, b{pick(_mm256_add_epi32(left, _mm256_set1_epi32(1)))};
    return multiplyAdd(b - a, {fractions}, a);
  }

  std::ptrdiff_t first;
  __m256i left;
  __m256 fractions;
};
inline NarrowFloats narrowSampler(const FloatColumnTable &columns, int x) {
  const std::int32_t first = columns.windows[x / 8];
  const __m256i taps = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.taps + x));
  return {first, _mm256_sub_epi32(taps, _mm256_set1_epi32(first)), _mm256_loadu_ps(columns.fractions + x)};
}

#include "KernelLoops.h"

}  // namespace

const Kernels &avx2Kernels() {
  static constexpr Kernels kernels = kernelsNamed("avx2");
  return kernels;
}

}  // namespace pyrelux::soft
