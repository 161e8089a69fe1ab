#include "FontFile.h"

#include <pango/pangofc-fontmap.h>

#include <filesystem>
#include <new>
#include <utility>

#include "TitleError.h"

namespace pyrelux {

namespace {

const FcChar8 *fontconfigText(const std::string &text) { return reinterpret_cast<const FcChar8 *>(text.c_str()); }

/// Whether Pango draws with such fonts: bitmaps and Type 1 are none.
bool isDrawable(const FcPattern &font) {
  FcChar8 *text = nullptr;
  FcBool hasOutlines = FcFalse;
  if (FcPatternGetString(&font, FC_FAMILY, 0, &text) != FcResultMatch) return false;
  if (FcPatternGetBool(&font, FC_OUTLINE, 0, &hasOutlines) != FcResultMatch || !hasOutlines) return false;
  if (FcPatternGetString(&font, FC_FONTFORMAT, 0, &text) != FcResultMatch) return false;
  const std::string format = reinterpret_cast<const char *>(text);
  return format == "TrueType" || format == "CFF";
}

FcPattern *firstDrawable(FcConfig &config) {
  const FcFontSet *const fonts = FcConfigGetFonts(&config, FcSetApplication);
  for (int i = 0; fonts && i < fonts->nfont; ++i)
    if (isDrawable(*fonts->fonts[i])) return fonts->fonts[i];
  return nullptr;
}

}  // namespace

FontFile::FontFile(std::string path) : path_(std::move(path)), config_(FcInitLoadConfigAndFonts()) {
  if (!config_) throw std::bad_alloc();
  std::error_code error;
  // Of a folder Fontconfig would take all fonts, and for a pipe it would wait.
  if (!std::filesystem::is_regular_file(path_, error))
    throw FontFileError(std::filesystem::exists(path_, error) ? "it is not a regular file" : "no such file");
  FcConfigAppFontAddFile(config_.get(), fontconfigText(path_));
  FcPattern *const font = firstDrawable(*config_);
  if (!font) throw FontFileError("it is not a TrueType or OpenType font");
  description_.reset(pango_fc_font_description_from_pattern(font, FALSE));
}

void FontFile::addTo(PangoFontMap &fonts, bool isFirst) const {
  pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(&fonts), config_.get());
  if (!isFirst) return;
  const auto askForFile = [](FcPattern *pattern, void *path) {
    FcPatternAddString(pattern, FC_FILE, fontconfigText(*static_cast<const std::string *>(path)));
  };
  pango_fc_font_map_set_default_substitute(PANGO_FC_FONT_MAP(&fonts), askForFile, const_cast<std::string *>(&path_),
                                           nullptr);
}

}  // namespace pyrelux
