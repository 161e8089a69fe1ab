#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Image.h"

/// Text as a picture, on Pango and Cairo.
namespace pyrelux {

/// The title can't be drawn as requested. what() is one sentence without a full stop.
class TitleError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Title {
  std::string text;                             ///< UTF-8, lines separated by line feeds; no markup
  std::optional<std::string> font;              ///< a Pango description such as "Serif Italic 200"; default "Sans Bold"
  std::array<double, 3> colour{1.0, 1.0, 1.0};  ///< red, green, blue, 0 .. 1
  int width = 1920;                             ///< of the picture, in pixels
  int height = 1080;                            ///< of the picture, in pixels
  bool isDeep = false;                          ///< the picture has float samples instead of bytes
};

struct DrawnTitle {
  Image picture;                     ///< premultiplied, transparent around the text
  std::vector<std::string> remarks;  ///< deviations from the request, in the form of an error's what()
};

/// The maximum length of a text, in bytes.
constexpr std::size_t maxTitleBytes = 2000;

/// Draws the text with the middle of its ink in the middle of the picture; lines are centred. A size in the font's
/// description is the em in pixels, and the text must fit into the picture. Without a size, the em is 15 % of the
/// picture's height, or smaller if the text would exceed 90 % of its width or height.
///
/// Errors: throws TitleError when the text is not UTF-8, is too long, has nothing visible or does not fit, and
/// std::runtime_error when no font is installed. If a font is missing, another one replaces it; characters that no font
/// has become boxes. Both give a remark. Thread: any.
DrawnTitle drawTitle(const Title &title);

}  // namespace pyrelux
