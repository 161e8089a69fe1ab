// One lane: for processors without kernels of their own, and to check the others.

#include "KernelSets.h"

namespace pyrelux::soft {
namespace {

struct Words {
  std::uint16_t value;
};
using Floats = float;
constexpr int wordLanes = 1;
constexpr int floatLanes = 1;
constexpr int vectorRegisters = 16;

inline Words word(int value) { return {static_cast<std::uint16_t>(value)}; }
inline int asSigned(Words words) { return static_cast<std::int16_t>(words.value); }

inline Words loadTexels(const std::int8_t *from) { return word(*from); }
inline Words loadWords(const std::uint16_t *from) { return {*from}; }
inline void storeWords(std::uint16_t *to, Words words) { *to = words.value; }
inline Words broadcastWords(std::int16_t value) { return word(value); }
inline Words broadcastPairs(std::uint32_t words) { return word(static_cast<std::uint16_t>(words)); }
inline Words operator+(Words a, Words b) { return word(a.value + b.value); }
inline Words operator-(Words a, Words b) { return word(a.value - b.value); }
inline Words operator&(Words a, Words b) { return word(a.value & b.value); }
inline Words addSaturated(Words a, Words b) { return word(a.value + b.value > 0xFFFF ? 0xFFFF : a.value + b.value); }
inline Words multiplyRounded(Words a, Words b) { return word((asSigned(a) * asSigned(b) + 16384) >> 15); }

inline float loadFloats(const float *from) { return *from; }
inline float loadTexels(const float *from) { return *from; }
inline void storeFloats(float *to, float value) { *to = value; }
inline void streamFloats(float *to, float value) { *to = value; }
inline void finishStreams() {}
inline float broadcastFloats(float value) { return value; }
inline float multiplyAdd(float a, float b, float c) { return a * b + c; }

constexpr bool shuffles = false;

#include "KernelLoops.h"

}  // namespace

const Kernels &scalarKernels() {
  static constexpr Kernels kernels = kernelsNamed("scalar");
  return kernels;
}

}  // namespace pyrelux::soft
