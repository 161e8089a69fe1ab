#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace pyrelux {

/// The meaning of an image's colour where it is not opaque.
enum class Alpha {
  Straight,       ///< colour is not multiplied by alpha
  Premultiplied,  ///< colour is multiplied by alpha; light without alpha, such as a glow, exceeds alpha
};

/// A picture in memory, which it owns: four interleaved channels (red, green, blue, alpha), either 8-bit (0 .. 255) or
/// float (nominally 0 .. 1; other values are allowed). Rows run from the top, without padding. Thread: any may read;
/// nobody reads while one writes.
class Image {
 public:
  using Bytes = std::vector<std::uint8_t>;
  using Floats = std::vector<float>;

  Image() = default;
  /// A transparent black picture of width x height pixels, both at least 1.
  static Image bytes(int width, int height, Alpha alpha);
  static Image floats(int width, int height, Alpha alpha);

  /// Changes size and kind, and keeps the memory where it fits. The samples are undefined afterwards.
  void reshape(int width, int height, Alpha alpha, bool isFloat);

  int width() const { return width_; }
  int height() const { return height_; }
  Alpha alpha() const { return alpha_; }
  bool isFloat() const { return std::holds_alternative<Floats>(samples_); }
  std::size_t sampleCount() const { return static_cast<std::size_t>(width_) * height_ * 4; }

  /// The samples, width * height * 4 of them. Asking for the kind that isFloat() denies throws std::bad_variant_access.
  Bytes &asBytes() { return std::get<Bytes>(samples_); }
  const Bytes &asBytes() const { return std::get<Bytes>(samples_); }
  Floats &asFloats() { return std::get<Floats>(samples_); }
  const Floats &asFloats() const { return std::get<Floats>(samples_); }

 private:
  Image(int width, int height, Alpha alpha, std::variant<Bytes, Floats> samples);

  int width_ = 0;
  int height_ = 0;
  Alpha alpha_ = Alpha::Premultiplied;
  std::variant<Bytes, Floats> samples_;
};

// The conversions below compute in float and round once, at the end, to the nearest 8-bit level.

/// The same picture with float samples; an 8-bit value v becomes v / 255.
Image toFloat(const Image &image);

/// The same picture with 8-bit samples. Values outside 0 .. 1 are clipped; NaN becomes 0.
Image toBytes(const Image &image);

/// Reverses the order of the rows.
void flipRows(Image &image);

/// Sets alpha to 1 everywhere; does not change colour.
void makeOpaque(Image &image);

/// Multiplies the colour of four-byte pixels by alpha, rounded to the nearest level. Both pointers may be the same.
void premultiply(const std::uint8_t *straight, std::uint8_t *premultiplied, std::size_t pixels);

/// The same picture with premultiplied alpha; a copy if it is premultiplied already.
Image premultiplied(const Image &image);

/// The same picture with straight alpha; a copy if it is straight already. Colour above alpha (a glow) exceeds 1
/// afterwards, which 8 bits clip. Where alpha is 0, colour does not change.
Image straightened(const Image &image);

}  // namespace pyrelux
