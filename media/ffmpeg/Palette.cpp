#include "Palette.h"

#include <libimagequant.h>

#include <cstring>
#include <vector>

#include "MediaErrors.h"

namespace pyrelux::media {

namespace {

using AttributesPtr = std::unique_ptr<liq_attr, Deleter<liq_attr_destroy>>;
using PicturePtr = std::unique_ptr<liq_image, Deleter<liq_image_destroy>>;
using ResultPtr = std::unique_ptr<liq_result, Deleter<liq_result_destroy>>;

}  // namespace

void writePalette(const Image &image, AVFrame &frame, const std::string &path) {
  Image opaque = image;
  for (std::size_t alpha = 3; alpha < opaque.sampleCount(); alpha += 4) opaque.asBytes()[alpha] = 255;

  const auto require = [&path](liq_error error) {
    if (error == LIQ_OUT_OF_MEMORY) throw std::bad_alloc();
    if (error != LIQ_OK) failEncoding(path, "no palette was found for a picture");
  };
  const AttributesPtr attributes = allocated<AttributesPtr>(liq_attr_create());
  constexpr double sRgbGamma = 0.0;  // the library's word for it
  const PicturePtr picture = allocated<PicturePtr>(
      liq_image_create_rgba(attributes.get(), opaque.asBytes().data(), image.width(), image.height(), sRgbGamma));
  liq_result *quantized = nullptr;
  require(liq_image_quantize(picture.get(), attributes.get(), &quantized));
  const ResultPtr result(quantized);
  constexpr float fullDithering = 1.0f;
  require(liq_set_dithering_level(result.get(), fullDithering));

  std::vector<unsigned char *> rows;
  for (int y = 0; y < image.height(); ++y)
    rows.push_back(frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0]);
  require(liq_write_remapped_image_rows(result.get(), picture.get(), rows.data()));

  std::uint32_t colours[AVPALETTE_COUNT] = {};
  const liq_palette &palette = *liq_get_palette(result.get());
  for (unsigned index = 0; index < palette.count; ++index) {
    const liq_color &colour = palette.entries[index];
    colours[index] = 0xFFu << 24 | std::uint32_t{colour.r} << 16 | std::uint32_t{colour.g} << 8 | colour.b;
  }
  std::memcpy(frame.data[1], colours, sizeof colours);
}

}  // namespace pyrelux::media
