#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "Image.h"
#include "Placement.h"
#include "TextAlign.h"
#include "TitleError.h"

/// Text as a picture, on Pango and Cairo.
namespace pyrelux {

struct Title {
  std::string text;                             ///< UTF-8, lines separated by line feeds; no markup
  std::optional<std::string> font;              ///< a Pango description such as "Serif Italic 200"; default "Sans Bold"
  std::optional<std::string> fontFile;          ///< a file whose fonts are used beside those that are installed
  std::array<double, 3> colour{1.0, 1.0, 1.0};  ///< red, green, blue, 0 .. 1
  int width = 1920;                             ///< of the picture, in pixels
  int height = 1080;                            ///< of the picture, in pixels
  bool isDeep = false;                          ///< the picture has float samples instead of bytes

  Placement position;                   ///< of the middle of the text's ink, in the picture
  TextAlign align = TextAlign::Center;  ///< of the lines; those that run from the right lie the other way round
  std::optional<double> lineSpacing;    ///< from line to line, 0.1 .. 10; 1, and what is not set, is the font's
  double letterSpacing = 0.0;           ///< added between letters, in ems, -0.5 .. 5
  std::optional<double> wrap;           ///< where lines wrap between words, a share of the picture's width, 0 .. 1
};

struct DrawnTitle {
  Image picture;                     ///< premultiplied, transparent around the text
  std::vector<std::string> remarks;  ///< fonts and characters that are missing, in the form of an error's what()
};

/// The maximum length of a text, in bytes.
constexpr std::size_t maxTitleBytes = 64u << 10;

/// The maximum length of each line of a text, in bytes, before it wraps.
constexpr std::size_t maxTitleLineBytes = 2000;

/// Draws the text with the middle of its ink at its position. A size in the font's description is the em in pixels, and
/// the text must fit into the picture. Without a size, the em is 15 % of the picture's height, or smaller if the text
/// would exceed 90 % of the room around its position. With a font file, a font without a family is the file's; without
/// a font it is the file's first.
///
/// Errors: throws TitleError when the text is not UTF-8, is too long, has nothing visible or does not fit;
/// FontFileError when the font file is none or draws nothing; std::runtime_error when no font is installed. If a font
/// that is named, or a character of it, is missing, another font replaces it; characters that no font has become boxes.
/// All give a remark. Thread: any.
DrawnTitle drawTitle(const Title &title);

}  // namespace pyrelux
