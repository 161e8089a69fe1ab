#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace pyrelux {

/// What the colour channels of an image mean where it is not opaque.
enum class Alpha {
  Straight,       ///< colour as if opaque; alpha says how much of it counts
  Premultiplied,  ///< colour already multiplied by alpha; may exceed alpha, which is how a glow is held
};

/// A picture in memory: four interleaved channels (red, green, blue, alpha), either 8-bit (0 .. 255) or float
/// (nominally 0 .. 1; values outside are kept). Rows run from the top, without padding.
class Image {
 public:
  using Bytes = std::vector<std::uint8_t>;
  using Floats = std::vector<float>;

  Image() = default;
  /// A transparent black picture of width x height pixels, both at least 1.
  static Image bytes(int width, int height, Alpha alpha);
  static Image floats(int width, int height, Alpha alpha);

  /// Makes it a picture of that kind, keeping its memory where it fits; what the samples hold then is not defined.
  void reshape(int width, int height, Alpha alpha, bool isFloat);

  int width() const { return width_; }
  int height() const { return height_; }
  Alpha alpha() const { return alpha_; }
  bool isFloat() const { return std::holds_alternative<Floats>(samples_); }
  std::size_t sampleCount() const { return static_cast<std::size_t>(width_) * height_ * 4; }

  /// The samples, width * height * 4 of them. Asking for the other kind than isFloat() tells is a bug (throws
  /// std::bad_variant_access).
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

/// The conversions below work in float and round to the nearest 8-bit level once, at the end.

/// The same picture with float samples (8-bit value v becomes v / 255).
Image toFloat(const Image &image);

/// The same picture with 8-bit samples; values outside 0 .. 1 clip, NaN becomes 0.
Image toBytes(const Image &image);

/// Turns a picture upside down.
void flipRows(Image &image);

/// Sets alpha to 1 everywhere and leaves colour as it stands.
void makeOpaque(Image &image);

/// Pixels of four bytes with colour multiplied by alpha, rounded to the nearest level. Both may be the same.
void premultiply(const std::uint8_t *straight, std::uint8_t *premultiplied, std::size_t pixels);

/// The same picture with colour multiplied by alpha; unchanged when it already is.
Image premultiplied(const Image &image);

/// The same picture with colour divided by alpha; unchanged when it already is. Colour above alpha (a glow) ends up
/// above 1 and clips at 8 bit; where alpha is 0 there is nothing to divide by and the colour is kept as it stands.
Image straightened(const Image &image);

}  // namespace pyrelux
