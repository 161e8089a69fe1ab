#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "Filter.h"
#include "FrameRenderer.h"
#include "Image.h"

namespace pyrelux::adapters {

/// What a host gets back.
enum class Composition {
  OverSource,  ///< the fire over the frame that came in, as editors expect of an effect
  FireAlone,   ///< what the filter draws
};

/// Between a host's frames, 8-bit with straight alpha, and the filter's. Thread: one at a time.
class Canvas {
 public:
  /// `input` and `output`: width * height * 4 bytes, red, green, blue, straight alpha, rows from the top without
  /// padding; they may be the same. `draw` makes the second image, premultiplied, from the first; what it throws
  /// leaves `output` as it was.
  void paint(const std::uint8_t *input, std::uint8_t *output, int width, int height, Composition composition,
             const std::function<void(const Image &, Image &)> &draw);

 private:
  Image input_;
  Image fire_;
};

/// The filter for hosts that hand over 8-bit frames with straight alpha, any of them at any time. Each frame is drawn
/// by a filter object that has drawn none before, so that it depends on its time and the parameters alone: constant
/// speeds times the time give the phases. Thread: render() from one thread at a time; different objects are
/// independent, and wait for each other, since the filter draws for one at a time.
class Effect {
 public:
  /// Throws HostError: no bundle, nothing that draws.
  explicit Effect(const host::FilterInfo &filter);

  const host::ParameterSet &parameters() const { return filter_.parameters(); }

  /// A constant that a user chose. Throws HostError for what the parameter can't be.
  void edit(const host::ParameterDeclaration &parameter, const host::ParameterValue &value) {
    filter_.edit(parameter, value);
  }

  /// Draws a frame, between the two pictures of Canvas::paint(). `pixelAspect`: width of a pixel / its height. Throws
  /// HostError, and leaves `output` as it was.
  void render(const std::uint8_t *input, std::uint8_t *output, int width, int height, double timeFrames,
              double pixelAspect, Composition composition);

 private:
  host::Filter filter_;
  host::FrameRenderer renderer_;
  Canvas canvas_;
};

/// The fire (premultiplied, bytes or floats) over a source with straight alpha, or over nothing when `source` is null,
/// as straight alpha that loses no light (AlphaUse::Straight). `source` and `output` have four bytes a pixel in rows
/// without padding, and may be the same. Worked out in float; floats are dithered, bytes rounded, once. Pixels that do
/// not burn keep the source's bytes.
void compose(const Image &fire, const std::uint8_t *source, std::uint8_t *output);

/// The filter's parameters as programs show them: with 16 Bit as the Color Depth's default. Throws HostError.
host::ParameterSet parametersOf(const host::FilterInfo &filter);

/// "pyrelux: …" on standard error. Needs no memory, which may be what is missing.
void complain(const char *message) noexcept;
inline void complain(const std::string &message) noexcept { complain(message.c_str()); }

/// What to complain of. Needs no memory either.
const char *reasonOf(const std::exception &error) noexcept;

}  // namespace pyrelux::adapters
