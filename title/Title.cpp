#include "Title.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <sstream>

#include "FontFile.h"
#include "TitleLayout.h"

namespace pyrelux {

namespace {

constexpr double automaticEm = 0.15;     // of the picture's height
constexpr double automaticExtent = 0.9;  // of the room's width and height, at most
constexpr double smallestEm = 1.0;       // pixels

constexpr const char *causeDamagedFont = "it draws nothing of the text; it is damaged or for another writing";

void requireText(const std::string &text) {
  if (text.size() > maxTitleBytes)
    throw TitleError("the text is longer than " + std::to_string(maxTitleBytes) + " bytes");
  if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
    throw TitleError("the text is not UTF-8");
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (line.size() > maxTitleLineBytes)
      throw TitleError("a line of the text is longer than " + std::to_string(maxTitleLineBytes) + " bytes; break it");
}

std::string sizeText(double width, double height) {
  return std::to_string(std::lround(width)) + "x" + std::to_string(std::lround(height)) + " pixels";
}

/// What the text may fill, in pixels: its middle is the room's.
struct Room {
  double middleX;
  double middleY;  ///< from the top
  double width;
  double height;
  std::string name;  ///< for messages

  explicit Room(const Title &title)
      : middleX(title.position.x / 100.0 * title.width),
        middleY((1.0 - title.position.y / 100.0) * title.height),
        width(2.0 * std::min(middleX, title.width - middleX)),
        height(2.0 * std::min(middleY, title.height - middleY)) {
    if (width <= 0.0 || height <= 0.0)
      throw TitleError("the text's position is not within the picture; choose one above 0 and below 100 percent");
    const bool isWhole = title.position.x == 50.0 && title.position.y == 50.0;
    name = isWhole ? "the picture's " + sizeText(width, height)
                   : "the " + sizeText(width, height) + " that the picture has around its position";
  }

  /// The scale at which the ink fills it.
  double fitting(const Box &ink) const { return std::min(width / ink.width(), height / ink.height()); }
};

/// Lets the lines wrap as they do at a scale.
void wrapAt(double scale, const Title &title, TitleLayout &layout) {
  if (title.wrap) layout.wrap(*title.wrap * title.width / scale);
}

void requireFewLines(const TitleLayout &layout) {
  if (layout.hasTooManyLines())
    throw TitleError("the text has more than " + std::to_string(TitleLayout::maxLines) + " lines; draw a part of it");
}

/// The largest scale up to `most` at which the text fits; wraps it so.
double automaticScale(double most, const Title &title, const Room &room, TitleLayout &layout) {
  const auto fits = [&](double scale) {
    wrapAt(scale, title, layout);
    return !layout.hasTooManyLines() && scale <= automaticExtent * room.fitting(layout.ink());
  };
  if (!title.wrap) return std::min(most, automaticExtent * room.fitting(layout.ink()));
  if (fits(most)) return most;
  // Smaller letters wrap elsewhere, so there is no formula.
  constexpr int halvings = 16;
  double least = 0.0;
  for (int i = 0; i < halvings; ++i) (fits((least + most) / 2.0) ? least : most) = (least + most) / 2.0;
  if (least > 0.0) wrapAt(least, title, layout);
  return least;
}

/// The scale from the layout to the picture; wraps the text as it does there.
double scaleFor(const Title &title, const PangoFontDescription &font, const Room &room, TitleLayout &layout) {
  if (!(pango_font_description_get_set_fields(&font) & PANGO_FONT_MASK_SIZE)) {
    const double scale = automaticScale(automaticEm * title.height / TitleLayout::em, title, room, layout);
    if (scale * TitleLayout::em < smallestEm) throw TitleError("the text is too long for " + room.name);
    return scale;
  }
  const double em = pango_units_to_double(pango_font_description_get_size(&font));
  if (em < smallestEm) throw TitleError("the font '" + *title.font + "' has no size that can be drawn");
  const double scale = em / TitleLayout::em;
  wrapAt(scale, title, layout);
  requireFewLines(layout);
  const Box ink = layout.ink();
  if (scale > room.fitting(ink))
    throw TitleError("in the font '" + *title.font + "' the text is " +
                     sizeText(ink.width() * scale, ink.height() * scale) + ", more than " + room.name +
                     "; a font without a size fits itself");
  return scale;
}

/// The text's coverage of each pixel, 0 .. 255.
SurfacePtr drawCoverage(const Title &title, const Room &room, const TitleLayout &layout, double scale) {
  const Box ink = layout.ink();
  SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_A8, title.width, title.height));
  const CairoPtr cairo(cairo_create(surface.get()));
  cairo_translate(cairo.get(), room.middleX, room.middleY);
  cairo_scale(cairo.get(), scale, scale);
  cairo_move_to(cairo.get(), -(ink.left + ink.right) / 2.0, -(ink.top + ink.bottom) / 2.0);
  layout.draw(*cairo);
  if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS) {
    if (title.fontFile) throw FontFileError(causeDamagedFont);
    throw std::bad_alloc();
  }
  cairo_surface_flush(surface.get());
  return surface;
}

/// Calls put(index, colour * coverage) for every sample that the text covers; values are 0 .. 1.
template <typename Put>
void colourCoverage(const Title &title, cairo_surface_t &coverage, Put put) {
  const unsigned char *row = cairo_image_surface_get_data(&coverage);
  const int stride = cairo_image_surface_get_stride(&coverage);
  std::size_t sample = 0;
  for (int y = 0; y < title.height; ++y, row += stride)
    for (int x = 0; x < title.width; ++x, sample += 4) {
      // The picture is transparent already, and most of it stays so.
      if (row[x] == 0) continue;
      const double alpha = row[x] / 255.0;
      for (std::size_t channel = 0; channel < 3; ++channel) put(sample + channel, title.colour[channel] * alpha);
      put(sample + 3, alpha);
    }
}

Image coloured(const Title &title, cairo_surface_t &coverage) {
  if (title.isDeep) {
    Image picture = Image::floats(title.width, title.height, Alpha::Premultiplied);
    colourCoverage(title, coverage, [samples = picture.asFloats().data()](std::size_t sample, double value) {
      samples[sample] = static_cast<float>(value);
    });
    return picture;
  }
  Image picture = Image::bytes(title.width, title.height, Alpha::Premultiplied);
  colourCoverage(title, coverage, [samples = picture.asBytes().data()](std::size_t sample, double value) {
    samples[sample] = static_cast<std::uint8_t>(std::lround(value * 255.0));
  });
  return picture;
}

}  // namespace

DrawnTitle drawTitle(const Title &title) {
  requireText(title.text);
  const Room room(title);
  std::optional<FontFile> file;
  if (title.fontFile) file.emplace(*title.fontFile);
  DescriptionPtr font(pango_font_description_from_string(title.font.value_or("Sans Bold").c_str()));
  const bool isFiles = file && !(title.font && pango_font_description_get_family(font.get()));
  if (isFiles && !title.font) font.reset(pango_font_description_copy(&file->description()));
  if (isFiles) pango_font_description_set_family(font.get(), pango_font_description_get_family(&file->description()));
  TitleLayout layout(title, *font, file ? &*file : nullptr, isFiles);
  requireFewLines(layout);
  if (layout.ink().isEmpty()) {
    if (file && countVisible(title.text) > 0) throw FontFileError(causeDamagedFont);
    throw TitleError("there is nothing to see in the text " + shown(title.text));
  }

  DrawnTitle drawn;
  const char *family = pango_font_description_get_family(font.get());
  if (title.font && family && !isFiles && !layout.knows(family))
    drawn.remarks.push_back("there is no font '" + std::string(family) + "'; '" + layout.family() +
                            "' is used instead");
  // Of an alias such as "Sans", no font's characters are expected.
  const bool isOwnFont = isFiles || (title.font && family && layout.family() == family);
  if (const int count = isOwnFont ? layout.borrowedCharacters() : 0)
    drawn.remarks.push_back("the font '" + layout.family() + "' lacks " + std::to_string(count) +
                            " of the characters in " + shown(title.text) + "; another font draws them");
  if (const int count = layout.unknownCharacters())
    drawn.remarks.push_back("no font that is installed has " + std::to_string(count) + " of the characters in " +
                            shown(title.text));
  const double scale = scaleFor(title, *font, room, layout);
  drawn.picture = coloured(title, *drawCoverage(title, room, layout, scale));
  return drawn;
}

}  // namespace pyrelux
