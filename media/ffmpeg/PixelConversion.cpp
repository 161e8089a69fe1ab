#include "PixelConversion.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "Dither.h"
#include "MediaErrors.h"
#include "Orientation.h"
#include "Palette.h"
#include "StandardRange.h"
#include "YuvMatrix.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

const AVPixFmtDescriptor &layoutOf(const AVFrame &frame) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

bool isGrey(const AVPixFmtDescriptor &layout) { return layout.nb_components <= 2; }

bool isPalette(const AVPixFmtDescriptor &layout) { return layout.flags & AV_PIX_FMT_FLAG_PAL; }

/// Whether red, green and blue have to be computed from luma and two colour differences.
bool isYuv(const AVPixFmtDescriptor &layout) {
  constexpr int others = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BAYER;
  const bool isXyz = std::strncmp(layout.name, "xyz", 3) == 0;
  return !isGrey(layout) && !isXyz && !(layout.flags & others);
}

/// Whether the layout's components are the picture's own: red, green and blue, or grey, as plain numbers. Such a
/// picture needs no scaler, which would round.
bool hasPlainComponents(const AVFrame &frame) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (frame.format == AV_PIX_FMT_MONOWHITE || isPalette(layout) || (layout.flags & AV_PIX_FMT_FLAG_BAYER)) return false;
  if ((layout.flags & AV_PIX_FMT_FLAG_FLOAT) && layout.comp[0].depth != 32) return false;
  return isGrey(layout) || (layout.flags & AV_PIX_FMT_FLAG_RGB);
}

std::uint32_t largestValue(const AVComponentDescriptor &component) { return (1u << component.depth) - 1; }

/// Copies one component of the frame to one channel of an image of the same size.
void readComponent(const AVFrame &frame, int component, Image &image, int channel) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isFloat = layout.flags & AV_PIX_FMT_FLAG_FLOAT;
  const std::uint32_t largest = isFloat ? 0 : largestValue(layout.comp[component]);
  const std::size_t width = static_cast<std::size_t>(image.width());
  std::vector<std::uint32_t> row(width);
  std::size_t sample = static_cast<std::size_t>(channel);
  for (int y = 0; y < image.height(); ++y) {
    av_read_image_line2(row.data(), const_cast<const std::uint8_t **>(frame.data), frame.linesize, &layout, 0, y,
                        component, image.width(), 0, sizeof row[0]);
    for (std::size_t x = 0; x < width; ++x, sample += 4) {
      const std::uint32_t value = row[x];
      if (!image.isFloat())
        image.asBytes()[sample] = static_cast<std::uint8_t>((value * 255 + largest / 2) / largest);
      else if (isFloat)
        std::memcpy(&image.asFloats()[sample], &value, sizeof value);
      else
        image.asFloats()[sample] = static_cast<float>(value) / static_cast<float>(largest);
    }
  }
}

/// Copies one channel of an image to one component of a frame that is zero there. Floats are dithered to 8 bits, and
/// rounded to more.
void writeComponent(AVFrame &frame, int component, const Image &image, int channel) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isFloat = layout.flags & AV_PIX_FMT_FLAG_FLOAT;
  const float largest = isFloat ? 0.0f : static_cast<float>(largestValue(layout.comp[component]));
  const bool dithers = layout.comp[component].depth <= 8;
  const auto threshold = [dithers](std::size_t x, int y) {
    return dithers ? ditherThreshold(static_cast<int>(x), y) : 0.5f;
  };
  const std::size_t width = static_cast<std::size_t>(image.width());
  std::vector<std::uint32_t> row(width);
  std::size_t sample = static_cast<std::size_t>(channel);
  for (int y = 0; y < image.height(); ++y) {
    for (std::size_t x = 0; x < width; ++x, sample += 4) {
      if (!image.isFloat()) {
        row[x] = image.asBytes()[sample];
        continue;
      }
      const float value = image.asFloats()[sample];
      if (isFloat)
        std::memcpy(&row[x], &value, sizeof value);
      else  // NaN fails the comparison and becomes 0.
        row[x] = value > 0.0f ? static_cast<std::uint32_t>(std::min(value, 1.0f) * largest + threshold(x, y)) : 0;
    }
    av_write_image_line2(row.data(), frame.data, frame.linesize, &layout, 0, y, component, image.width(),
                         sizeof row[0]);
  }
}

FramePtr allocateFrame(AVPixelFormat layout, int width, int height) {
  FramePtr frame = newFrame();
  frame->format = layout;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

/// Tells the scaler where in a pixel block the subsampled colour lies. An axis without subsampling is left alone: there
/// the scaler would take any value as a shift.
void setChromaPlace(SwsContext &scaler, const AVFrame &frame, const char *horizontal, const char *vertical) {
  int x = 0;
  int y = 0;
  if (avcodec_enum_to_chroma_pos(&x, &y, frame.chroma_location) < 0) return;
  if (layoutOf(frame).log2_chroma_w == 1) av_opt_set_int(&scaler, horizontal, x, 0);
  if (layoutOf(frame).log2_chroma_h == 1) av_opt_set_int(&scaler, vertical, y, 0);
}

/// Changes the layout of a frame's pixels but not their matrix and range.
void convert(const AVFrame &from, AVFrame &to, const std::string &path) {
  const ScalerPtr scaler = allocated<ScalerPtr>(sws_alloc_context());
  const auto set = [&scaler](const char *name, std::int64_t value) { av_opt_set_int(scaler.get(), name, value, 0); };
  set("srcw", from.width);
  set("srch", from.height);
  set("src_format", from.format);
  set("dstw", to.width);
  set("dsth", to.height);
  set("dst_format", to.format);
  set("sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP);
  setChromaPlace(*scaler, from, "src_h_chr_pos", "src_v_chr_pos");
  setChromaPlace(*scaler, to, "dst_h_chr_pos", "dst_v_chr_pos");
  constexpr int sameRange = 0;
  constexpr int neutral = 1 << 16;  // contrast and saturation in 16.16 fixed point
  const int *sameMatrix = sws_getCoefficients(SWS_CS_DEFAULT);
  sws_setColorspaceDetails(scaler.get(), sameMatrix, sameRange, sameMatrix, sameRange, 0, neutral, neutral);
  if (sws_init_context(scaler.get(), nullptr, nullptr) < 0 ||
      sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize) < 0)
    failReading(path, "its pixels have a layout that cannot be converted");
}

void readAlpha(const AVFrame &frame, Image &image) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (layout.flags & AV_PIX_FMT_FLAG_ALPHA)
    readComponent(frame, layout.nb_components - 1, image, 3);
  else
    makeOpaque(image);
}

void readPlain(const AVFrame &frame, Image &image) {
  for (int channel = 0; channel < 3; ++channel)
    readComponent(frame, isGrey(layoutOf(frame)) ? 0 : channel, image, channel);
  readAlpha(frame, image);
}

/// The plane is not subsampled.
void clearPlane(AVFrame &frame, int plane) {
  std::memset(frame.data[plane], 0, static_cast<std::size_t>(frame.linesize[plane]) * frame.height);
}

/// Sets a layout's components from the channels of the same number. No component may be subsampled.
void writePlain(const Image &image, AVFrame &frame) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  for (int plane = 0; plane < av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format)); ++plane)
    clearPlane(frame, plane);
  for (int component = 0; component < layout.nb_components; ++component)
    writeComponent(frame, component, image, component);
}

/// The scaler serves for colour that is stored for several pixels at once, which it brings to this layout of one for
/// each.
bool isSubsampled(const AVPixFmtDescriptor &layout) { return layout.log2_chroma_w || layout.log2_chroma_h; }

FramePtr allocateUnsampled(const AVFrame &frame) {
  const bool isDeep = layoutOf(frame).comp[0].depth > 8;
  return allocateFrame(isDeep ? AV_PIX_FMT_YUV444P16 : AV_PIX_FMT_YUV444P, frame.width, frame.height);
}

void readYuv(const AVFrame &frame, Image &image, const std::string &path) {
  FramePtr converted;
  if (isSubsampled(layoutOf(frame))) {
    converted = allocateUnsampled(frame);
    convert(frame, *converted, path);
  }
  const AVFrame &unsampled = converted ? *converted : frame;
  for (int channel = 0; channel < 3; ++channel) readComponent(unsampled, channel, image, channel);
  YuvMatrix(frame).toRgb(image, layoutOf(unsampled).comp[0].depth, path);
  readAlpha(frame, image);
}

void writeYuv(Image image, AVFrame &frame, const std::string &path) {
  frame.colorspace = AVCOL_SPC_BT709;
  frame.color_range = AVCOL_RANGE_MPEG;
  frame.chroma_location = AVCHROMA_LOC_LEFT;
  FramePtr converted;
  if (isSubsampled(layoutOf(frame))) converted = allocateUnsampled(frame);
  AVFrame &unsampled = converted ? *converted : frame;
  YuvMatrix(frame).fromRgb(image, layoutOf(unsampled).comp[0].depth);
  writePlain(image, unsampled);
  if (!converted) return;
  convert(unsampled, frame, path);
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (!(layout.flags & AV_PIX_FMT_FLAG_ALPHA)) return;
  const int alpha = layout.nb_components - 1;
  clearPlane(frame, layout.comp[alpha].plane);
  writeComponent(frame, alpha, image, 3);
}

/// The image with transparent black on its right and below it.
Image padded(Image image, int width, int height) {
  if (image.width() == width && image.height() == height) return image;
  const auto copyRows = [&image, width](const auto &from, auto &to) {
    const std::size_t fromRow = static_cast<std::size_t>(image.width()) * 4;
    const std::size_t toRow = static_cast<std::size_t>(width) * 4;
    for (std::size_t y = 0; y < static_cast<std::size_t>(image.height()); ++y)
      std::copy_n(from.begin() + y * fromRow, fromRow, to.begin() + y * toRow);
  };
  Image larger =
      image.isFloat() ? Image::floats(width, height, image.alpha()) : Image::bytes(width, height, image.alpha());
  if (image.isFloat())
    copyRows(image.asFloats(), larger.asFloats());
  else
    copyRows(image.asBytes(), larger.asBytes());
  return larger;
}

/// Floats for luma with differences of colour, whatever their depth.
Image withItsAlpha(const AVFrame &frame, Alpha alpha, const std::string &path) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isDeep = bitsPerComponent(frame) > 8;
  if (isYuv(layout)) {
    Image image = Image::floats(frame.width, frame.height, alpha);
    readYuv(frame, image, path);
    return image;
  }
  Image image =
      isDeep ? Image::floats(frame.width, frame.height, alpha) : Image::bytes(frame.width, frame.height, alpha);
  if (hasPlainComponents(frame)) {
    readPlain(frame, image);
  } else {
    const FramePtr rgb = allocateFrame(isDeep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA, frame.width, frame.height);
    convert(frame, *rgb, path);
    readPlain(*rgb, image);
  }
  return image;
}

}  // namespace

bool hasAlpha(const AVFrame &frame) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (!isPalette(layout)) return layout.flags & AV_PIX_FMT_FLAG_ALPHA;
  constexpr int colours = 256;
  std::uint32_t palette[colours];
  std::memcpy(palette, frame.data[1], sizeof palette);
  return std::any_of(palette, palette + colours, [](std::uint32_t colour) { return colour >> 24 != 0xFF; });
}

int bitsPerComponent(const AVFrame &frame) {
  constexpr int depths[] = {8, 10, 12, 16, 32};
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  int deepest = 0;
  for (int component = 0; component < layout.nb_components; ++component)
    deepest = std::max(deepest, layout.comp[component].depth);
  return *std::lower_bound(std::begin(depths), std::end(depths) - 1, deepest);
}

Image toImage(const AVFrame &frame, std::optional<Alpha> alpha, const std::string &path) {
  Image image = withItsAlpha(frame, alpha.value_or(Alpha::Premultiplied), path);
  if (!alpha) makeOpaque(image);
  image = toStandardRange(std::move(image), frame, path);
  if (image.isFloat() && bitsPerComponent(frame) <= 8) image = toBytes(image);
  return upright(std::move(image), orientationOf(frame));
}

FramePtr toFrame(const Image &image, AVPixelFormat layout, int width, int height, const std::string &path) {
  FramePtr frame = allocateFrame(layout, width, height);
  if (layout == AV_PIX_FMT_PAL8)
    writePalette(padded(toBytes(image), width, height), *frame, path);
  else if (isYuv(layoutOf(*frame)))
    writeYuv(padded(toFloat(image), width, height), *frame, path);
  else
    writePlain(padded(layoutOf(*frame).comp[0].depth == 8 ? image : toFloat(image), width, height), *frame);
  return frame;
}

}  // namespace pyrelux::media
