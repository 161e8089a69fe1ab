// SSE2, which every 64-bit x86 has.

#include <emmintrin.h>

#include "KernelSets.h"

namespace pyrelux::soft {
namespace {

struct Words {
  __m128i v;
};
struct Floats {
  __m128 v;
};
constexpr int wordLanes = 8;
constexpr int floatLanes = 4;
constexpr int vectorRegisters = 16;

inline Words loadTexels(const std::int8_t *from) {
  const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(from));
  // Each byte goes into the upper half of a word; the shift extends its sign.
  return {_mm_srai_epi16(_mm_unpacklo_epi8(bytes, bytes), 8)};
}
inline Words loadWords(const std::uint16_t *from) { return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(from))}; }
inline void storeWords(std::uint16_t *to, Words words) { _mm_storeu_si128(reinterpret_cast<__m128i *>(to), words.v); }
inline Words broadcastWords(std::int16_t value) { return {_mm_set1_epi16(value)}; }
inline Words broadcastPairs(std::uint32_t words) { return {_mm_set1_epi32(static_cast<int>(words))}; }
inline Words operator+(Words a, Words b) { return {_mm_add_epi16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {_mm_sub_epi16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {_mm_and_si128(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {_mm_adds_epu16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) {
  // The upper half of the product, doubled, plus the rounded carry from its lower half.
  const __m128i upper = _mm_slli_epi16(_mm_mulhi_epi16(a.v, b.v), 1);
  const __m128i lower = _mm_srli_epi16(_mm_mullo_epi16(a.v, b.v), 14);
  return {_mm_add_epi16(upper, _mm_srli_epi16(_mm_add_epi16(lower, _mm_set1_epi16(1)), 1))};
}

inline Floats loadFloats(const float *from) { return {_mm_loadu_ps(from)}; }
inline Floats loadTexels(const float *from) {
  Floats floats = loadFloats(from);
  asm("" : "+x"(floats.v));
  return floats;
}
inline void storeFloats(float *to, Floats floats) { _mm_storeu_ps(to, floats.v); }
inline void streamFloats(float *to, Floats floats) { _mm_stream_ps(to, floats.v); }
inline void finishStreams() { _mm_sfence(); }
inline Floats broadcastFloats(float value) { return {_mm_set1_ps(value)}; }
inline Floats operator-(Floats a, Floats b) { return {_mm_sub_ps(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {_mm_mul_ps(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {_mm_add_ps(_mm_mul_ps(a.v, b.v), c.v)}; }

constexpr bool shuffles = false;

#include "KernelLoops.h"

}  // namespace

const Kernels &sse2Kernels() {
  static constexpr Kernels kernels = kernelsNamed("sse2");
  return kernels;
}

}  // namespace pyrelux::soft
