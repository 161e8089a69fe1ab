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
inline void streamFloats(float *to, Floats floats) { _mm512_stream_ps(to, floats.v); }
inline void finishStreams() { _mm_sfence(); }
inline Floats broadcastFloats(float value) { return {_mm512_set1_ps(value)}; }
inline Floats operator-(Floats a, Floats b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {_mm512_mul_ps(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }

constexpr bool shuffles = true;

template <typename Texel>
inline __m128i windowAt(const Texel *texel) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(texel));
}

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
  const std::uint16_t *const windows = columns.windows;
  std::uint64_t four;
  __builtin_memcpy(&four, windows, sizeof four);
  // Each group of eight lanes gets its window.
  const __m512i groups = _mm512_set_epi64(0x0003000300030003, 0x0003000300030003, 0x0002000200020002,
                                          0x0002000200020002, 0x0001000100010001, 0x0001000100010001, 0, 0);
  const __m512i taps =
      _mm512_sub_epi16(_mm512_loadu_si512(columns.taps),
                       _mm512_permutexvar_epi16(groups, _mm512_set1_epi64(static_cast<long long>(four))));
  const __m512i fractions =
      _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.fractions)));
  // A weight of 256 does not fit a byte, so a fraction of 0 takes the same texel twice, by 255 and by 1.
  const __m512i whole = _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(fractions, _mm512_setzero_si512()));
  const __m512i next = _mm512_add_epi16(_mm512_add_epi16(taps, _mm512_set1_epi16(1)), whole);
  const __m512i weights = _mm512_sub_epi16(fractions, whole);
  return {{windows[0], windows[1], windows[2], windows[3]},
          _mm512_or_si512(taps, _mm512_slli_epi16(next, 8)),
          _mm512_or_si512(_mm512_sub_epi16(_mm512_set1_epi16(256), weights), _mm512_slli_epi16(weights, 8))};
}

struct NarrowMixed {
  Floats operator()(const std::uint8_t *row) const {
    const __m512i low = _mm512_castsi256_si512(_mm256_broadcastsi128_si256(windowAt(row + windows[0])));
    const __m256i high = _mm256_broadcastsi128_si256(windowAt(row + windows[1]));
    const __m512i window = _mm512_maskz_inserti64x4(0xFF, low, high, 1);
    // Each lane gets a pair of words, the lower texel first. Masked, because the unmasked form makes g++ 12 warn about
    // its own header.
    const __m512i samples = _mm512_madd_epi16(_mm512_shuffle_epi8(window, pairs), weights);
    return {_mm512_maskz_cvtepi32_ps(0xFFFF, samples)};
  }

  std::ptrdiff_t windows[2];
  __m512i pairs;
  __m512i weights;
};
inline NarrowMixed narrowSampler(const MixedColumnTable &columns, int x) {
  const std::uint16_t low = columns.windows[x / 8], high = columns.windows[x / 8 + 1];
  const __m256i taps = _mm256_sub_epi16(
      _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.taps + x)),
      _mm256_set_m128i(_mm_set1_epi16(static_cast<short>(high)), _mm_set1_epi16(static_cast<short>(low))));
  const __m512i wide = _mm512_maskz_cvtepu16_epi32(0xFFFF, taps);
  // The bytes of each lane: the tap, zero, the next tap, zero.
  const __m512i pairs = _mm512_add_epi32(_mm512_or_si512(wide, _mm512_maskz_slli_epi32(0xFFFF, wide, 16)),
                                         _mm512_set1_epi32(static_cast<int>(0x80018000)));
  const __m512i fractions =
      _mm512_maskz_cvtepu16_epi32(0xFFFF, _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.fractions + x)));
  return {{low, high},
          pairs,
          _mm512_or_si512(_mm512_sub_epi32(_mm512_set1_epi32(mixedUnit), fractions),
                          _mm512_maskz_slli_epi32(0xFFFF, fractions, 16))};
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
