#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <variant>

#include "RecycledArray.h"

namespace pyrelux::soft {

enum class Samples {
  Byte,   ///< 0 .. 255 for 0 .. 1; every store rounds and saturates
  Float,  ///< single precision; keeps values outside 0 .. 1
};

/// The pixels of a surface or texture: red, green, blue and alpha interleaved, premultiplied, rows from the bottom up.
/// Thread: any may read; nobody reads while one writes.
class Pixels {
 public:
  struct Undefined {};

  /// Undefined samples, for a caller that writes every sample before it reads any.
  Pixels(Undefined, Samples samples, int width, int height) : width_(width), height_(height) {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    if (samples == Samples::Byte)
      values_ = RecycledArray<std::uint8_t>(count);
    else
      values_ = RecycledArray<float>(count);
  }
  /// Transparent black.
  Pixels(Samples samples, int width, int height) : Pixels(Undefined(), samples, width, height) {
    std::visit([](auto &values) { std::fill_n(values.data(), values.size(), 0); }, values_);
  }
  Pixels(const Pixels &other) : Pixels(Undefined(), other.samples(), other.width_, other.height_) {
    if (samples() == Samples::Byte)
      std::copy_n(other.byteRow(0), std::get<0>(values_).size(), byteRow(0));
    else
      std::copy_n(other.floatRow(0), std::get<1>(values_).size(), floatRow(0));
  }
  Pixels &operator=(const Pixels &) = delete;

  int width() const { return width_; }
  int height() const { return height_; }
  Samples samples() const { return values_.index() == 0 ? Samples::Byte : Samples::Float; }

  /// The first sample of a row. Asking for the other kind of samples throws std::bad_variant_access.
  std::uint8_t *byteRow(int y) { return std::get<0>(values_).data() + offset(y); }
  const std::uint8_t *byteRow(int y) const { return std::get<0>(values_).data() + offset(y); }
  float *floatRow(int y) { return std::get<1>(values_).data() + offset(y); }
  const float *floatRow(int y) const { return std::get<1>(values_).data() + offset(y); }

 private:
  std::size_t offset(int y) const { return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) * 4; }

  int width_;
  int height_;
  std::variant<RecycledArray<std::uint8_t>, RecycledArray<float>> values_;
};

}  // namespace pyrelux::soft
