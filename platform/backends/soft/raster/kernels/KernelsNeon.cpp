// NEON, which every 64-bit ARM has.

#include <arm_neon.h>

#include "KernelSets.h"

namespace pyrelux::soft {
namespace {

struct Words {
  uint16x8_t v;
};
struct Floats {
  float32x4_t v;
};
constexpr int wordLanes = 8;
constexpr int floatLanes = 4;
constexpr int vectorRegisters = 32;

inline Words loadTexels(const std::int8_t *from) { return {vreinterpretq_u16_s16(vmovl_s8(vld1_s8(from)))}; }
inline Words loadWords(const std::uint16_t *from) { return {vld1q_u16(from)}; }
inline void storeWords(std::uint16_t *to, Words words) { vst1q_u16(to, words.v); }
inline Words broadcastWords(std::int16_t value) { return {vdupq_n_u16(static_cast<std::uint16_t>(value))}; }
inline Words broadcastPairs(std::uint32_t words) { return {vreinterpretq_u16_u32(vdupq_n_u32(words))}; }
inline Words operator+(Words a, Words b) { return {vaddq_u16(a.v, b.v)}; }
inline Words operator-(Words a, Words b) { return {vsubq_u16(a.v, b.v)}; }
inline Words operator&(Words a, Words b) { return {vandq_u16(a.v, b.v)}; }
inline Words addSaturated(Words a, Words b) { return {vqaddq_u16(a.v, b.v)}; }
inline Words multiplyRounded(Words a, Words b) {
  return {vreinterpretq_u16_s16(vqrdmulhq_s16(vreinterpretq_s16_u16(a.v), vreinterpretq_s16_u16(b.v)))};
}

inline Floats loadFloats(const float *from) { return {vld1q_f32(from)}; }
inline Floats loadTexels(const float *from) {
  Floats floats = loadFloats(from);
  asm("" : "+w"(floats.v));
  return floats;
}
inline void storeFloats(float *to, Floats floats) { vst1q_f32(to, floats.v); }
inline void streamFloats(float *to, Floats floats) { storeFloats(to, floats); }
inline void finishStreams() {}
inline Floats broadcastFloats(float value) { return {vdupq_n_f32(value)}; }
inline Floats operator-(Floats a, Floats b) { return {vsubq_f32(a.v, b.v)}; }
inline Floats operator*(Floats a, Floats b) { return {vmulq_f32(a.v, b.v)}; }
inline Floats multiplyAdd(Floats a, Floats b, Floats c) { return {vfmaq_f32(c.v, a.v, b.v)}; }

constexpr bool shuffles = false;

#include "KernelLoops.h"

}  // namespace

const Kernels &neonKernels() {
  static constexpr Kernels kernels = kernelsNamed("neon");
  return kernels;
}

}  // namespace pyrelux::soft
