#pragma once

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include <memory>

// Owners of what Pango, Cairo and Fontconfig make.

namespace pyrelux {

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
using FontPtr = std::unique_ptr<PangoFont, Unref>;
using IterPtr = std::unique_ptr<PangoLayoutIter, Destroy<pango_layout_iter_free>>;
using AttributesPtr = std::unique_ptr<PangoAttrList, Destroy<pango_attr_list_unref>>;
using DescriptionPtr = std::unique_ptr<PangoFontDescription, Destroy<pango_font_description_free>>;
using FontOptionsPtr = std::unique_ptr<cairo_font_options_t, Destroy<cairo_font_options_destroy>>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, Destroy<cairo_surface_destroy>>;
using CairoPtr = std::unique_ptr<cairo_t, Destroy<cairo_destroy>>;
using FontConfigPtr = std::unique_ptr<FcConfig, Destroy<FcConfigDestroy>>;

}  // namespace pyrelux
