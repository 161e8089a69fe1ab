#pragma once

#include <algorithm>
#include <cstdint>

#include "Arithmetic.h"
#include "Kernels.h"
#include "TexturePlanes.h"

// The types and functions in which adding up copies differs between 8-bit and float surfaces. FlameCopies and FlameTile
// are templates over one of these traits.

namespace pyrelux::soft {

/// For 8-bit surfaces: sums of levels that saturate.
struct ByteAccumulator {
  using Sum = std::uint16_t;
  using WideSum = std::int64_t;  ///< exact for sums and differences of any number of constants
  using Tint = std::int16_t;
  using Fraction = std::int16_t;  ///< in 1/32768
  using Target = LevelTarget;
  using UnitCopy = UnitLevels;
  using ScaledCopy = ScaledLevels;
  using ColumnTable = LevelColumnTable;
  static constexpr unsigned unitPlanes = TexturePlanes::Levels;    ///< what copies at their own size are drawn from
  static constexpr unsigned scaledPlanes = TexturePlanes::Levels;  ///< what other copies are drawn from
  static constexpr Sum maskOn = 0xFFFF;

  static Tint tint(float colour) { return static_cast<Tint>(tintOf(colour)); }
  /// What a copy adds to each pixel from a uniform plane.
  static Sum constant(const TexturePlanes &from, int plane, Tint tint) {
    return static_cast<Sum>(modulate(from.largestLevel(plane), tint));
  }
  /// Whether a copy adds nothing from the plane.
  static bool vanishes(const TexturePlanes &from, int plane, Tint tint) {
    return modulate(from.largestLevel(plane), tint) == 0;
  }
  static Sum plus(Sum a, WideSum b) { return static_cast<Sum>(std::min<WideSum>(a + b, 0xFFFF)); }
  /// Whether adding more does not change the pixel.
  static bool isFull(Sum sum) { return sum >= 255; }

  static Tint scaledTint(Tint tint) { return tint; }

  static int texel(std::int64_t position) { return tapAt(position).texel; }
  static Fraction fraction(std::int64_t position) { return static_cast<Fraction>(tapAt(position).fraction << 7); }
  static const std::int8_t *texels(const TexturePlanes &from, int plane, int x, int y) {
    return from.levels(plane, x, y);
  }
  static const std::int8_t *texels(const TexturePlanes &from, int plane, const LevelColumnTable &table) {
    return from.levels(plane, table.base, 0);
  }

  static void add(const UnitLevels *copies, int count, std::ptrdiff_t stride, const LevelTarget &target) {
    kernels().unitLevels(copies, count, stride, target);
  }
  static void add(const ScaledLevels *copies, int count, std::ptrdiff_t stride, const LevelTarget &target) {
    kernels().scaledLevels(copies, count, stride, target);
  }
  /// The columns of a strip's part.
  static int partColumns() { return kernels().levelColumns; }
  static bool isSaturated(const LevelTarget &target) { return kernels().isSaturated(target); }
  static void put(const Sum *const sums[4], const Sum constants[4], int width, bool blank, std::uint8_t *pixels) {
    kernels().putLevels(sums, constants, width, blank, pixels);
  }
  static void clear(std::uint8_t *pixels, int width, int rows, std::ptrdiff_t stride) {
    for (int y = 0; y < rows; ++y) std::fill_n(pixels + y * stride, 4 * width, std::uint8_t{0});
  }
  static std::uint8_t *row(Pixels &target, int y) { return target.byteRow(y); }
};

/// For float surfaces: sums that do not saturate.
struct FloatAccumulator {
  using Sum = float;
  using WideSum = double;
  using Tint = float;
  using Fraction = float;
  using Target = FloatTarget;
  using UnitCopy = UnitFloats;
  using ScaledCopy = ScaledFloats;
  using ColumnTable = FloatColumnTable;
  static constexpr unsigned unitPlanes = TexturePlanes::Floats;
  static constexpr unsigned scaledPlanes = TexturePlanes::Floats;
  static constexpr Sum maskOn = 1.0f;

  static Tint tint(float colour) { return colour; }
  static Sum constant(const TexturePlanes &from, int plane, Tint tint) { return from.largestFloat(plane) * tint; }
  static bool vanishes(const TexturePlanes &, int, Tint tint) { return tint == 0.0f; }
  static Sum plus(Sum a, WideSum b) { return static_cast<Sum>(a + b); }
  static bool isFull(Sum) { return false; }

  /// The tint of a scaled copy's samples.
  static Tint scaledTint(Tint tint) { return tint; }

  static int texel(std::int64_t position) { return static_cast<int>(position >> 32); }
  static Fraction fraction(std::int64_t position) {
    return static_cast<float>(position & (Axis::one - 1)) / static_cast<float>(Axis::one);
  }
  static const float *texels(const TexturePlanes &from, int plane, int x, int y) { return from.floats(plane, x, y); }
  static const float *texels(const TexturePlanes &from, int plane, const FloatColumnTable &) {
    return from.floats(plane, 0, 0);
  }

  static void add(const UnitFloats *copies, int count, std::ptrdiff_t stride, const FloatTarget &target) {
    kernels().unitFloats(copies, count, stride, target);
  }
  static void add(const ScaledFloats *copies, int count, std::ptrdiff_t stride, const FloatTarget &target) {
    kernels().scaledFloats(copies, count, stride, target);
  }
  static int partColumns() { return halfStrip; }
  static bool isSaturated(const FloatTarget &) { return false; }
  static void put(const Sum *const sums[4], const Sum constants[4], int width, bool blank, float *pixels) {
    kernels().putFloats(sums, constants, width, blank, pixels);
  }
  static void clear(float *pixels, int width, int rows, std::ptrdiff_t stride) {
    kernels().clearFloats(pixels, width, rows, stride);
  }
  static float *row(Pixels &target, int y) { return target.floatRow(y); }
};

/// For float surfaces and wide textures of bytes: copies at another size sample levels, of which a vector holds more.
/// Along a row they sample in steps of 1/mixedUnit texel, so a position is off by 2^-16 texel at most. On the widths
/// that it suits, that is half of what rounding corners to single precision costs, 2^-24 of the width, or less.
struct MixedAccumulator : FloatAccumulator {
  static bool suits(const Pixels &texture) { return texture.samples() == Samples::Byte && texture.width() >= 512; }

  using ScaledCopy = ScaledMixed;
  using ColumnTable = MixedColumnTable;
  static constexpr unsigned scaledPlanes = TexturePlanes::Bytes;

  static Tint scaledTint(Tint tint) { return tint / (255.0f * mixedUnit); }

  using FloatAccumulator::texels;
  static const std::uint8_t *texels(const TexturePlanes &from, int plane, const MixedColumnTable &table) {
    return from.bytes(plane, table.base, 0);
  }

  using FloatAccumulator::add;
  static void add(const ScaledMixed *copies, int count, std::ptrdiff_t stride, const FloatTarget &target) {
    kernels().scaledMixed(copies, count, stride, target);
  }
};

}  // namespace pyrelux::soft
