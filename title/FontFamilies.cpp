#include "FontFamilies.h"

#include <algorithm>

#include "PangoPointers.h"

namespace pyrelux {

std::vector<std::string> fontFamilies() {
  const FontMapPtr fonts(pango_cairo_font_map_new());
  PangoFontFamily **list = nullptr;
  int count = 0;
  pango_font_map_list_families(fonts.get(), &list, &count);
  std::vector<std::string> names;
  for (int at = 0; at < count; ++at) names.emplace_back(pango_font_family_get_name(list[at]));
  g_free(list);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace pyrelux
