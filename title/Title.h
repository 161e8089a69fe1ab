#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Image.h"

/// Text as a picture, on Pango and Cairo.
namespace pyrelux {

/// What was asked for cannot be drawn. what() is one sentence without a final stop.
class TitleError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Title {
  std::string text;                             ///< UTF-8, lines parted by line feeds; no markup
  std::optional<std::string> font;              ///< a Pango description, "Serif Italic 200"; otherwise "Sans Bold"
  std::array<double, 3> colour{1.0, 1.0, 1.0};  ///< red, green, blue, 0 .. 1
  int width = 1920;                             ///< of the picture, pixels
  int height = 1080;                            ///< of the picture, pixels
  bool isDeep = false;                          ///< whether the picture has float samples, else bytes
};

struct DrawnTitle {
  Image picture;                     ///< premultiplied, transparent around the text
  std::vector<std::string> remarks;  ///< what came out otherwise than asked for, each like an error's what()
};

/// The longest text, in bytes.
constexpr std::size_t maxTitleBytes = 2000;

/// Draws the text with the middle of its ink in the middle of the picture; lines are centred below each other. A size
/// in the font's description is the letters' em in pixels, and the text has to fit into the picture. Without one, the
/// em is 15 % of the picture's height, or as much less as makes the text fit into 90 % of its width and height.
///
/// Throws TitleError: not UTF-8, too long, nothing visible, does not fit; std::runtime_error: no font is installed.
/// A font that is not installed is replaced and characters that no font has are drawn as boxes, with a remark.
DrawnTitle drawTitle(const Title &title);

}  // namespace pyrelux
