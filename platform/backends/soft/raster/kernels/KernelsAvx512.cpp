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
inline Words broadcastPairs(std::uint32_t words) { return {_mm512_set1_epi32(static_cast<int>(words))}; }
inline Words operator+(Words a, Words b) { return {_mm512_add_epi16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {_mm512_sub_epi16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {_mm512_and_si512(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {_mm512_adds_epu16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) { return {_mm512_mulhrs_epi16(a.v, b.v)}; }

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

constexpr bool shuffles = true;

inline __m128i windowAt(const std::int8_t *texel) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(texel)); }

struct NarrowLevels {
  Words operator()(const std::int8_t *row) const {
    __m512i texels = _mm512_castsi128_si512(windowAt(row + windows[0]));
    texels = _mm512_inserti32x4(texels, windowAt(row + windows[1]), 1);
    texels = _mm512_inserti32x4(texels, windowAt(row + windows[2]), 2);
    texels = _mm512_inserti32x4(texels, windowAt(row + windows[3]), 3);
    // (level - 128) * 256 fits 16 signed bits; 0x8080 adds the 128 again and rounds.
    const __m512i sums = _mm512_maddubs_epi16(weights, _mm512_shuffle_epi8(texels, pairs));
    return {_mm512_srli_epi16(_mm512_add_epi16(sums, _mm512_set1_epi16(static_cast<short>(0x8080))), 8)};
  }

  std::ptrdiff_t windows[4];
  __m512i pairs;
  __m512i weights;
};
inline NarrowLevels narrowSampler(const LevelColumnTable &columns, int) {
  return {{columns.windows[0], columns.windows[1], columns.windows[2], columns.windows[3]},
          _mm512_loadu_si512(columns.pairs),
          _mm512_loadu_si512(columns.weights)};
}

// Masked, because the unmasked forms make g++ 12 warn about its own header.
inline Floats floatsOf(__m512i integers) { return {_mm512_maskz_cvtepi32_ps(0xFFFF, integers)}; }

struct NarrowMixed {
  Floats operator()(const std::int8_t *row) const {
    const __m512i low = _mm512_castsi256_si512(_mm256_broadcastsi128_si256(windowAt(row + windows[0])));
    const __m256i high = _mm256_broadcastsi128_si256(windowAt(row + windows[1]));
    const __m512i window = _mm512_maskz_inserti64x4(0xFF, low, high, 1);
    // The other sign bit adds the 128 again. Each lane gets a pair of words, the lower texel first.
    const __m512i levels = _mm512_shuffle_epi8(_mm512_xor_si512(window, _mm512_set1_epi8(-128)), pairs);
    const __m512i lower = _mm512_and_si512(levels, _mm512_set1_epi32(0xFFFF));
    const __m512i step = _mm512_madd_epi16(levels, _mm512_set1_epi32(0x0001FFFF));
    return multiplyAdd(floatsOf(step), {fractions}, floatsOf(lower));
  }

  std::ptrdiff_t windows[2];
  __m512i pairs;
  __m512 fractions;
};
inline NarrowMixed narrowSampler(const MixedColumnTable &columns, int x) {
  return {{columns.windows[x / 8], columns.windows[x / 8 + 1]},
          _mm512_loadu_si512(columns.pairs + 4 * x),
          _mm512_loadu_ps(columns.fractions + x)};
}

struct NarrowFloats {
  Floats operator()(const float *row) const {
    const __m512 low = _mm512_loadu_ps(row + first), high = _mm512_loadu_ps(row + first + 16);
    const __m512i right = _mm512_add_epi32(left, _mm512_set1_epi32(1));
    const Floats a{_mm512_permutex2var_ps(low, left, high)}, b{_mm512_permutex2var_ps(low, right, high)};
    return multiplyAdd(b - a, {fractions}, a);
  }

  std::ptrdiff_t first;
  __m512i left;
  __m512 fractions;
};
inline NarrowFloats narrowSampler(const FloatColumnTable &columns, int x) {
  const std::int32_t *windows = columns.windows + x / 8;
  const std::int32_t first = windows[0] < windows[1] ? windows[0] : windows[1];
  return {first, _mm512_sub_epi32(_mm512_loadu_si512(columns.taps + x), _mm512_set1_epi32(first)),
          _mm512_loadu_ps(columns.fractions + x)};
}

#include "KernelLoops.h"

}  // namespace

const Kernels &avx512Kernels() {
  static constexpr Kernels kernels = kernelsNamed("avx512");
  return kernels;
}

}  // namespace pyrelux::soft
