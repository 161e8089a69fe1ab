#include "SvgDrawing.h"

#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include "PangoPointers.h"

namespace pyrelux {

namespace {

using RsvgPtr = std::unique_ptr<RsvgHandle, Unref>;

/// The library's reason in one line. Takes the error.
std::string reasonOf(GError *error) {
  std::string reason = error && error->message ? error->message : "it is no SVG";
  g_clear_error(&error);
  return reason.substr(0, reason.find('\n'));
}

/// In pixels; nothing for a drawing that only has its contents.
bool naturalSize(RsvgHandle &handle, double &width, double &height) {
  if (rsvg_handle_get_intrinsic_size_in_pixels(&handle, &width, &height)) return true;
  gboolean hasWidth = FALSE;
  gboolean hasHeight = FALSE;
  gboolean hasBox = FALSE;
  RsvgLength ignored = {};
  RsvgRectangle box = {};
  rsvg_handle_get_intrinsic_dimensions(&handle, &hasWidth, &ignored, &hasHeight, &ignored, &hasBox, &box);
  width = box.width;
  height = box.height;
  return hasBox;
}

int sideOf(double length) {
  // Pictures may be no larger.
  constexpr double most = 16384.0;
  if (!(length > 0.0 && length <= most))
    throw SvgError("its size is not above 0 and up to 16384 pixels; give it a width, a height and a viewBox");
  return std::max(1, static_cast<int>(std::lround(length)));
}

/// Cairo's pixels are 32-bit numbers: alpha, red, green, blue from the highest byte on.
Image imageOf(cairo_surface_t &surface, int width, int height) {
  Image image = Image::bytes(width, height, Alpha::Premultiplied);
  std::uint8_t *sample = image.asBytes().data();
  const unsigned char *row = cairo_image_surface_get_data(&surface);
  for (int y = 0; y < height; ++y, row += cairo_image_surface_get_stride(&surface))
    for (int x = 0; x < width; ++x, sample += 4) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, row + 4 * x, sizeof pixel);
      for (int channel = 0; channel < 3; ++channel)
        sample[channel] = static_cast<std::uint8_t>(pixel >> (16 - 8 * channel));
      sample[3] = static_cast<std::uint8_t>(pixel >> 24);
    }
  return image;
}

}  // namespace

struct SvgDrawing::Handle {
  RsvgPtr rsvg;
};

SvgDrawing::SvgDrawing(const std::string &text) : handle_(std::make_unique<Handle>()) {
  GError *error = nullptr;
  handle_->rsvg.reset(rsvg_handle_new_from_data(reinterpret_cast<const guint8 *>(text.data()), text.size(), &error));
  if (!handle_->rsvg) throw SvgError(reasonOf(error));
  constexpr double pixelsPerInch = 96.0;
  rsvg_handle_set_dpi(handle_->rsvg.get(), pixelsPerInch);
  double width = 0.0;
  double height = 0.0;
  if (!naturalSize(*handle_->rsvg, width, height))
    throw SvgError("it has no size; give it a width and a height, or a viewBox");
  width_ = sideOf(width);
  height_ = sideOf(height);
}

SvgDrawing::~SvgDrawing() = default;
SvgDrawing::SvgDrawing(SvgDrawing &&) noexcept = default;

Image SvgDrawing::draw(int width, int height) const {
  const SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
  const CairoPtr cairo(cairo_create(surface.get()));
  const RsvgRectangle viewport = {0.0, 0.0, static_cast<double>(width), static_cast<double>(height)};
  GError *error = nullptr;
  if (!rsvg_handle_render_document(handle_->rsvg.get(), cairo.get(), &viewport, &error))
    throw SvgError(reasonOf(error));
  if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();
  cairo_surface_flush(surface.get());
  return imageOf(*surface, width, height);
}

}  // namespace pyrelux
