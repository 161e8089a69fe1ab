// AVX-512 with byte and word instructions.

#include <immintrin.h>

#include "KernelSets.h"

namespace pyrelux::soft {
namespace {

struct Words {
  __m512i v;
};
struct Floats {
  __m512 v;
};
constexpr int wordLanes = 32;
constexpr int floatLanes = 16;
constexpr int vectorRegisters = 32;

inline Words loadTexels(const std::int8_t *from) {
  return {_mm512_cvtepi8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from)))};
}
inline Words loadWords(const std::uint16_t *from) { return {_mm512_loadu_si512(from)}; }
inline void storeWords(std::uint16_t *to, Words words) { _mm512_storeu_si512(to, words.v); }
inline Words broadcastWords(std::int16_t value) { return {_mm512_set1_epi16(value)}; }
inline Words operator+(Words a, Words b) { return {_mm512_add_epi16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {_mm512_sub_epi16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {_mm512_and_si512(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {_mm512_adds_epu16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) { return {_mm512_mulhrs_epi16(a.v, b.v)}; }

inline Words sampleNarrow(const std::int8_t *row, const LevelColumnTable &columns, int) {
  const auto window = [&](int group) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + columns.windows[group]));
  };
  __m512i texels = _mm512_castsi128_si512(window(0));
  texels = _mm512_inserti32x4(texels, window(1), 1);
  texels = _mm512_inserti32x4(texels, window(2), 2);
  texels = _mm512_inserti32x4(texels, window(3), 3);
  const __m512i pairs = _mm512_loadu_si512(columns.pairs);
  const __m512i weights = _mm512_loadu_si512(columns.weights);
  // (level - 128) * 256 fits 16 signed bits; 0x8080 adds the 128 again and rounds.
  const __m512i sums = _mm512_maddubs_epi16(weights, _mm512_shuffle_epi8(texels, pairs));
  return {_mm512_srli_epi16(_mm512_add_epi16(sums, _mm512_set1_epi16(static_cast<short>(0x8080))), 8)};
}

inline Floats loadFloats(const float *from) { return {_mm512_loadu_ps(from)}; }
inline Floats loadTexels(const float *from) {
  Floats floats = loadFloats(from);
  asm("" : "+v"(floats.v));
  return floats;
}
inline void storeFloats(float *to, Floats floats) { _mm512_storeu_ps(to, floats.v); }
inline Floats broadcastFloats(float value) { return {_mm512_set1_ps(value)}; }
inline Floats operator-(Floats a, Floats b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {_mm512_mul_ps(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }
inline Floats gatherFloats(const float *row, const std::int32_t *taps) {
  // Masked, because the unmasked form makes g++ 12 warn about its own header.
  return {_mm512_mask_i32gather_ps(_mm512_setzero_ps(), 0xFFFF, _mm512_loadu_si512(taps), row, 4)};
}

inline Floats sampleNarrow(const float *row, const FloatColumnTable &columns, int x) {
  const std::int32_t *windows = columns.windows + x / 8;
  const std::int32_t first = windows[0] < windows[1] ? windows[0] : windows[1];
  const __m512 low = _mm512_loadu_ps(row + first), high = _mm512_loadu_ps(row + first + 16);
  const __m512i left = _mm512_sub_epi32(_mm512_loadu_si512(columns.taps + x), _mm512_set1_epi32(first));
  const __m512i right = _mm512_add_epi32(left, _mm512_set1_epi32(1));
  const Floats a{_mm512_permutex2var_ps(low, left, high)}, b{_mm512_permutex2var_ps(low, right, high)};
  return multiplyAdd(b - a, loadFloats(columns.fractions + x), a);
}

#include "KernelLoops.h"

}  // namespace

const Kernels &avx512Kernels() {
  static constexpr Kernels kernels = kernelsNamed("avx512");
  return kernels;
}

}  // namespace pyrelux::soft
