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
inline Words operator+(Words a, Words b) { return {_mm256_add_epi16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {_mm256_sub_epi16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {_mm256_and_si256(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {_mm256_adds_epu16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) { return {_mm256_mulhrs_epi16(a.v, b.v)}; }

inline Words sampleNarrow(const std::int8_t *row, const LevelColumnTable &columns, int x) {
  const auto window = [&](int group) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + columns.windows[x / 8 + group]));
  };
  const __m256i texels = _mm256_inserti128_si256(_mm256_castsi128_si256(window(0)), window(1), 1);
  const __m256i pairs = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.pairs + 2 * x));
  const __m256i weights = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.weights + 2 * x));
  // (level - 128) * 256 fits 16 signed bits; 0x8080 adds the 128 again and rounds.
  const __m256i sums = _mm256_maddubs_epi16(weights, _mm256_shuffle_epi8(texels, pairs));
  return {_mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(static_cast<short>(0x8080))), 8)};
}

inline Floats loadFloats(const float *from) { return {_mm256_loadu_ps(from)}; }
inline Floats loadTexels(const float *from) {
  Floats floats = loadFloats(from);
  asm("" : "+x"(floats.v));
  return floats;
}
inline void storeFloats(float *to, Floats floats) { _mm256_storeu_ps(to, floats.v); }
inline Floats broadcastFloats(float value) { return {_mm256_set1_ps(value)}; }
inline Floats operator-(Floats a, Floats b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {_mm256_fmadd_ps(a.v, b.v, c.v)}; }
inline Floats gatherFloats(const float *row, const std::int32_t *taps) {
  return {_mm256_i32gather_ps(row, _mm256_loadu_si256(reinterpret_cast<const __m256i *>(taps)), 4)};
}

inline Floats sampleNarrow(const float *row, const FloatColumnTable &columns, int x) {
  const std::int32_t first = columns.windows[x / 8];
  const __m256 low = _mm256_loadu_ps(row + first), high = _mm256_loadu_ps(row + first + 8);
  // Bit 3 tells low from high; it is shifted into the sign, which selects in blendv.
  const auto pick = [&](__m256i at) {
    return _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, at), _mm256_permutevar8x32_ps(high, at),
                            _mm256_castsi256_ps(_mm256_slli_epi32(at, 28)));
  };
  const __m256i left = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.taps + x)),
                                        _mm256_set1_epi32(first));
  const Floats a{pick(left)}, b{pick(_mm256_add_epi32(left, _mm256_set1_epi32(1)))};
  return multiplyAdd(b - a, loadFloats(columns.fractions + x), a);
}

#include "KernelLoops.h"

}  // namespace

const Kernels &avx2Kernels() {
  static constexpr Kernels kernels = kernelsNamed("avx2");
  return kernels;
}

}  // namespace pyrelux::soft
