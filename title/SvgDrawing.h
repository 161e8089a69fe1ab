#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "Image.h"

namespace pyrelux {

/// The text is no drawing, or none that can be drawn. what() is one sentence without a full stop.
class SvgError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A drawing in SVG, by librsvg. What it refers to outside of itself is left out: nothing is read but the text. Thread:
/// one at a time.
class SvgDrawing {
 public:
  /// Throws SvgError.
  explicit SvgDrawing(const std::string &text);
  ~SvgDrawing();
  SvgDrawing(SvgDrawing &&) noexcept;

  /// Its natural size in pixels: its width and height at 96 pixels an inch, else its viewBox.
  int width() const { return width_; }
  int height() const { return height_; }

  /// The drawing as large as fits into the size, as it asks for by preserveAspectRatio: bytes, premultiplied. Throws
  /// SvgError.
  Image draw(int width, int height) const;

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace pyrelux
