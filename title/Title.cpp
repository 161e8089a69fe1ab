#include "Title.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <sstream>

namespace pyrelux {

namespace {

/// The em, in pixels, at which text is laid out. Drawing scales the layout, so even the longest title at the largest
/// size stays within the range of Pango's numbers.
constexpr int layoutEm = 64;

constexpr double automaticEm = 0.15;     // of the picture's height
constexpr double automaticExtent = 0.9;  // of the picture's width and height, at most
constexpr double smallestEm = 1.0;       // pixels

struct Unref {
  void operator()(void *object) const { g_object_unref(object); }
};
template <auto function>
struct Destroy {
  template <typename Object>
  void operator()(Object *object) const {
    function(object);
  }
};
using FontMapPtr = std::unique_ptr<PangoFontMap, Unref>;
using ContextPtr = std::unique_ptr<PangoContext, Unref>;
using LayoutPtr = std::unique_ptr<PangoLayout, Unref>;
using IterPtr = std::unique_ptr<PangoLayoutIter, Destroy<pango_layout_iter_free>>;
using FontPtr = std::unique_ptr<PangoFont, Unref>;
using DescriptionPtr = std::unique_ptr<PangoFontDescription, Destroy<pango_font_description_free>>;
using FontOptionsPtr = std::unique_ptr<cairo_font_options_t, Destroy<cairo_font_options_destroy>>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, Destroy<cairo_surface_destroy>>;
using CairoPtr = std::unique_ptr<cairo_t, Destroy<cairo_destroy>>;

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

/// A laid-out text. It has its own font map, because Pango never frees the shared one.
class TitleLayout {
 public:
  TitleLayout(const std::string &text, const PangoFontDescription &font)
      : fonts_(pango_cairo_font_map_new()), context_(pango_font_map_create_context(fonts_.get())) {
    // No hinting: the outlines are the same at every scale and on every machine.
    const FontOptionsPtr options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context_.get(), options.get());
    pango_context_set_round_glyph_positions(context_.get(), FALSE);

    const DescriptionPtr sized(pango_font_description_copy(&font));
    pango_font_description_set_absolute_size(sized.get(), layoutEm * PANGO_SCALE);
    font_.reset(pango_font_map_load_font(fonts_.get(), context_.get(), sized.get()));
    if (!font_)
      throw std::runtime_error("cannot draw '" + text +
                               "': no font is installed; install one, for example the package fonts-dejavu-core");
    layout_.reset(pango_layout_new(context_.get()));
    pango_layout_set_font_description(layout_.get(), sized.get());
    pango_layout_set_alignment(layout_.get(), PANGO_ALIGN_CENTER);
    pango_layout_set_text(layout_.get(), text.data(), static_cast<int>(text.size()));
  }

  /// The box around everything visible. Pango's own ink box also includes blank lines and runs.
  Box ink() const {
    Box box;
    const IterPtr iter(pango_layout_get_iter(layout_.get()));
    do {
      PangoRectangle run;
      pango_layout_iter_get_run_extents(iter.get(), &run, nullptr);
      if (run.width <= 0 || run.height <= 0) continue;
      const double left = pango_units_to_double(run.x);
      const double top = pango_units_to_double(run.y);
      box.left = std::min(box.left, left);
      box.top = std::min(box.top, top);
      box.right = std::max(box.right, left + pango_units_to_double(run.width));
      box.bottom = std::max(box.bottom, top + pango_units_to_double(run.height));
    } while (pango_layout_iter_next_run(iter.get()));
    return box;
  }

  int unknownCharacters() const { return pango_layout_get_unknown_glyphs_count(layout_.get()); }

  /// The family of the font in use.
  std::string family() const {
    const DescriptionPtr description(pango_font_describe(font_.get()));
    return pango_font_description_get_family(description.get());
  }

  /// Whether one of the families (separated by commas) is installed, or is an alias of one, such as "Sans".
  bool knows(const std::string &names) const {
    PangoFontFamily **families = nullptr;
    int count = 0;
    pango_font_map_list_families(fonts_.get(), &families, &count);
    std::istringstream list(names);
    bool found = false;
    for (std::string name; !found && std::getline(list, name, ',');)
      found = std::any_of(families, families + count, [&name](PangoFontFamily *family) {
        return g_ascii_strcasecmp(pango_font_family_get_name(family), name.c_str()) == 0;
      });
    g_free(families);
    return found;
  }

  void draw(cairo_t &cairo) const { pango_cairo_show_layout(&cairo, layout_.get()); }

 private:
  FontMapPtr fonts_;
  ContextPtr context_;
  FontPtr font_;
  LayoutPtr layout_;
};

std::string sizeText(double width, double height) {
  return std::to_string(std::lround(width)) + "x" + std::to_string(std::lround(height)) + " pixels";
}

/// The scale from the layout to the picture.
double scaleFor(const Title &title, const PangoFontDescription &font, const Box &ink) {
  const double fitting = std::min(title.width / ink.width(), title.height / ink.height());
  if (!(pango_font_description_get_set_fields(&font) & PANGO_FONT_MASK_SIZE)) {
    const double scale = std::min(automaticEm * title.height / layoutEm, automaticExtent * fitting);
    if (scale * layoutEm < smallestEm)
      throw TitleError("the text is too long for a picture of " + sizeText(title.width, title.height));
    return scale;
  }
  const double em = pango_units_to_double(pango_font_description_get_size(&font));
  if (em < smallestEm) throw TitleError("the font '" + *title.font + "' has no size that can be drawn");
  const double scale = em / layoutEm;
  if (scale > fitting)
    throw TitleError("in the font '" + *title.font + "' the text is " +
                     sizeText(ink.width() * scale, ink.height() * scale) + ", more than the picture's " +
                     sizeText(title.width, title.height) + "; a font without a size fits itself");
  return scale;
}

/// The text's coverage of each pixel, 0 .. 255.
SurfacePtr drawCoverage(const Title &title, const TitleLayout &layout, const Box &ink, double scale) {
  SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_A8, title.width, title.height));
  const CairoPtr cairo(cairo_create(surface.get()));
  cairo_translate(cairo.get(), title.width / 2.0, title.height / 2.0);
  cairo_scale(cairo.get(), scale, scale);
  cairo_move_to(cairo.get(), -(ink.left + ink.right) / 2.0, -(ink.top + ink.bottom) / 2.0);
  layout.draw(*cairo);
  if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();
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
  if (title.text.size() > maxTitleBytes)
    throw TitleError("the text is longer than " + std::to_string(maxTitleBytes) + " bytes");
  if (!g_utf8_validate(title.text.data(), static_cast<gssize>(title.text.size()), nullptr))
    throw TitleError("the text is not UTF-8");

  const DescriptionPtr font(pango_font_description_from_string(title.font.value_or("Sans Bold").c_str()));
  const TitleLayout layout(title.text, *font);
  const Box ink = layout.ink();
  if (ink.isEmpty()) throw TitleError("there is nothing to see in the text '" + title.text + "'");

  DrawnTitle drawn;
  const char *family = pango_font_description_get_family(font.get());
  if (title.font && family && !layout.knows(family))
    drawn.remarks.push_back("there is no font '" + std::string(family) + "'; '" + layout.family() +
                            "' is used instead");
  if (const int count = layout.unknownCharacters())
    drawn.remarks.push_back("no font that is installed has " + std::to_string(count) + " of the characters in '" +
                            title.text + "'");
  drawn.picture = coloured(title, *drawCoverage(title, layout, ink, scaleFor(title, *font, ink)));
  return drawn;
}

}  // namespace pyrelux
