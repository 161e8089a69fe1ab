#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Image.h"

namespace pyrelux::adapters {

/// The picture that a host gets back.
enum class Composition {
  OverSource,  ///< the fire over the host's frame, as editors expect from an effect
  FireAlone,   ///< what the filter draws
};

/// The composition that a user's text names, "over" or "fire"; nothing for any other text.
std::optional<Composition> readComposition(const std::string &text);

/// Converts between a host's frames, 8-bit with straight alpha, and the filter's. Thread: one at a time.
class Canvas {
 public:
  /// Premultiplies `input`, calls `draw`, and composes the result into `output`. `draw` makes its second image,
  /// premultiplied, from the first. `input` and `output` have width * height * 4 bytes: red, green, blue and straight
  /// alpha, rows from the top without padding; they may be the same. Throws HostError for an empty picture, and what
  /// `draw` throws; then `output` stays as it was.
  void paint(const std::uint8_t *input, std::uint8_t *output, int width, int height, Composition composition,
             const std::function<void(const Image &, Image &)> &draw);

 private:
  Image input_;
  Image fire_;
};

/// Composes the fire (premultiplied, bytes or floats) over a source with straight alpha, or over nothing when `source`
/// is null. The result has straight alpha that loses no light (AlphaUse::Straight). `source` and `output` have four
/// bytes for each pixel, in rows without padding, and may be the same. The arithmetic is in float; the result is
/// rounded once, and dithered if the fire is in floats. Pixels that do not burn keep the source's bytes. Thread: any.
void compose(const Image &fire, const std::uint8_t *source, std::uint8_t *output);

}  // namespace pyrelux::adapters
