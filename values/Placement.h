#pragma once

#include <array>
#include <optional>
#include <string>

// Where a picture lies on a canvas, and how large it is there.

namespace pyrelux {

/// Where a picture's middle is on a canvas: percent of the canvas's width from the left and of its height from the
/// bottom. Outside 0 .. 100 it is beside the canvas.
struct Placement {
  double x = 50.0;
  double y = 50.0;
};

/// "center" or "X,Y", each in -1000 .. 1000. Throws ValueError.
Placement parsePlacement(const std::string &text);
std::string formatPlacement(const Placement &placement);

/// How large a picture is on a canvas.
struct CanvasFit {
  /// As large as fits into this much of the canvas's width and height, in percent, above 0; nothing: as many pixels as
  /// it has.
  std::optional<double> percent;
};

/// "none", "contain" (100 percent) or "NN%", up to 1000. Throws ValueError.
CanvasFit parseCanvasFit(const std::string &text);
std::string formatCanvasFit(const CanvasFit &fit);

/// A length in pixels, or in percent of something.
struct Length {
  double amount = 0.0;
  bool isPercent = false;

  /// In pixels, rounded. `whole`: what the percents are of, in pixels.
  int pixels(int whole) const;
};

/// The room around a picture.
struct Padding {
  bool isAuto = false;               ///< as much as is needed
  std::array<Length, 4> sides = {};  ///< top, right, bottom, left
};

/// "auto", or one to four lengths, "40", "40px" or "10%", with commas between: all sides; top and bottom, left and
/// right; top, left and right, bottom; top, right, bottom, left. Throws ValueError.
Padding parsePadding(const std::string &text);
std::string formatPadding(const Padding &padding);

}  // namespace pyrelux
