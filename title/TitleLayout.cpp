#include "TitleLayout.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace pyrelux {

namespace {

PangoAlignment alignmentOf(TextAlign align) {
  switch (align) {
    case TextAlign::Left:
      return PANGO_ALIGN_LEFT;
    case TextAlign::Right:
      return PANGO_ALIGN_RIGHT;
    case TextAlign::Center:
      break;
  }
  return PANGO_ALIGN_CENTER;
}

std::string familyOf(PangoFont *font) {
  const DescriptionPtr description(pango_font_describe(font));
  return pango_font_description_get_family(description.get());
}

int pangoUnits(double pixels) { return static_cast<int>(std::lround(pixels * PANGO_SCALE)); }

}  // namespace

std::string shown(const std::string &text) {
  constexpr glong maxCharacters = 60;
  if (g_utf8_strlen(text.data(), static_cast<gssize>(text.size())) <= maxCharacters) return "'" + text + "'";
  const char *const end = g_utf8_offset_to_pointer(text.data(), maxCharacters);
  return "'" + std::string(text.data(), end) + "...'";
}

int countVisible(const std::string &text) {
  int count = 0;
  for (const char *at = text.data(); at != text.data() + text.size(); at = g_utf8_next_char(at))
    count += g_unichar_isgraph(g_utf8_get_char(at)) != 0;
  return count;
}

TitleLayout::TitleLayout(const Title &title, const PangoFontDescription &font, const FontFile *file, bool isFiles)
    : fonts_(pango_cairo_font_map_new()) {
  if (file) file->addTo(*fonts_, isFiles);
  context_.reset(pango_font_map_create_context(fonts_.get()));
  // No hinting: the outlines are the same at every scale and on every machine.
  const FontOptionsPtr options(cairo_font_options_create());
  cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context_.get(), options.get());
  pango_context_set_round_glyph_positions(context_.get(), FALSE);

  const DescriptionPtr sized(pango_font_description_copy(&font));
  pango_font_description_set_absolute_size(sized.get(), em * PANGO_SCALE);
  font_.reset(pango_font_map_load_font(fonts_.get(), context_.get(), sized.get()));
  if (!font_)
    throw std::runtime_error("cannot draw " + shown(title.text) +
                             ": no font is installed; install one, for example the package fonts-dejavu-core");
  layout_.reset(pango_layout_new(context_.get()));
  pango_layout_set_font_description(layout_.get(), sized.get());
  pango_layout_set_alignment(layout_.get(), alignmentOf(title.align));
  if (title.lineSpacing) pango_layout_set_line_spacing(layout_.get(), static_cast<float>(*title.lineSpacing));
  if (title.letterSpacing != 0.0) {
    const AttributesPtr attributes(pango_attr_list_new());
    pango_attr_list_insert(attributes.get(), pango_attr_letter_spacing_new(pangoUnits(title.letterSpacing * em)));
    pango_layout_set_attributes(layout_.get(), attributes.get());
  }
  pango_layout_set_text(layout_.get(), title.text.data(), static_cast<int>(title.text.size()));
}

void TitleLayout::wrap(double width) {
  pango_layout_set_wrap(layout_.get(), PANGO_WRAP_WORD);
  pango_layout_set_width(layout_.get(), pangoUnits(width));
}

bool TitleLayout::hasTooManyLines() const { return pango_layout_get_line_count(layout_.get()) > maxLines; }

Box TitleLayout::ink() const {
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

int TitleLayout::unknownCharacters() const { return pango_layout_get_unknown_glyphs_count(layout_.get()); }

int TitleLayout::borrowedCharacters() const {
  const char *const text = pango_layout_get_text(layout_.get());
  const std::string own = family();
  int count = 0;
  const IterPtr iter(pango_layout_get_iter(layout_.get()));
  do {
    const PangoLayoutRun *const run = pango_layout_iter_get_run_readonly(iter.get());
    if (run && familyOf(run->item->analysis.font) != own)
      count += countVisible({text + run->item->offset, static_cast<std::size_t>(run->item->length)});
  } while (pango_layout_iter_next_run(iter.get()));
  return count;
}

std::string TitleLayout::family() const { return familyOf(font_.get()); }

bool TitleLayout::knows(const std::string &names) const {
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

void TitleLayout::draw(cairo_t &cairo) const { pango_cairo_show_layout(&cairo, layout_.get()); }

}  // namespace pyrelux
