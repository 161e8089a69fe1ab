#pragma once

#include <limits>
#include <optional>
#include <string>

#include "FontFile.h"
#include "PangoPointers.h"
#include "Title.h"

namespace pyrelux {

/// A rectangle, in pixels; initially empty.
struct Box {
  double left = std::numeric_limits<double>::infinity();
  double top = std::numeric_limits<double>::infinity();
  double right = -std::numeric_limits<double>::infinity();
  double bottom = -std::numeric_limits<double>::infinity();
  bool isEmpty() const { return left > right; }
  double width() const { return right - left; }
  double height() const { return bottom - top; }
};

/// As much of a text as messages show, in quotes.
std::string shown(const std::string &text);

/// The characters that leave ink, spaces and the like not among them.
int countVisible(const std::string &text);

/// A laid-out text. It has its own font map, because Pango never frees the shared one.
class TitleLayout {
 public:
  /// The em, in pixels, at which text is laid out. Drawing scales the layout, so even the longest title at the largest
  /// size stays within the range of Pango's numbers.
  static constexpr int em = 64;

  /// `file` may be null; `isFiles`: the font is the file's. Throws std::runtime_error when no font is installed.
  TitleLayout(const Title &title, const PangoFontDescription &font, const FontFile *file, bool isFiles);

  /// Lets lines wrap between words at a width in pixels.
  void wrap(double width);

  /// Pango's numbers have no place for more, with the largest letters and line spacing.
  static constexpr int maxLines = 1000;

  bool hasTooManyLines() const;

  /// The box around everything visible. Pango's own ink box also includes blank lines and runs.
  Box ink() const;

  int unknownCharacters() const;

  /// The visible characters that the font in use lacks and that fonts of other families have.
  int borrowedCharacters() const;

  /// The family of the font in use.
  std::string family() const;

  /// Whether one of the families (separated by commas) is there, or is an alias of one, such as "Sans".
  bool knows(const std::string &names) const;

  void draw(cairo_t &cairo) const;

 private:
  FontMapPtr fonts_;
  ContextPtr context_;
  FontPtr font_;
  LayoutPtr layout_;
};

}  // namespace pyrelux
