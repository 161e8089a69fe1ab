#include "PictureDelivery.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "MediaErrors.h"
#include "PictureSize.h"
#include "PixelConversion.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

Delivery deliveryOf(const Codec &codec, const OutputFormat &format) {
  const bool holdsAlpha = codec.alpha != AlphaUse::None;
  return {holdsAlpha ? format.alpha.value_or(codec.alpha) : AlphaUse::None, format.density};
}

bool isTaken(AVPixelFormat layout, const AVPixelFormat *taken) {
  if (!taken) return true;
  for (; *taken != AV_PIX_FMT_NONE; ++taken)
    if (*taken == layout) return true;
  return false;
}

/// Of a channel that is no subsampled colour; 32 for floats.
int bitsOf(const AVPixFmtDescriptor &layout) {
  return layout.flags & AV_PIX_FMT_FLAG_FLOAT ? 32 : layout.comp[0].depth;
}

}  // namespace

PictureDelivery::PictureDelivery(const std::string &path, const Codec &codec, const OutputFormat &format)
    : path_(path),
      codec_(codec),
      width_(format.width),
      height_(format.height),
      bits_(format.bits),
      delivery_(deliveryOf(codec, format)) {
  if (width_ < 1 || height_ < 1) failWriting(path, refusedSize());
  // No larger than what is read. libx264 leaks memory when it refuses a size itself.
  if (width_ > maximumSide || height_ > maximumSide) failEncoding(path, refusedSize());
  const FrameRate rate = format.frameRate;
  if (rate.numerator < 1 || rate.denominator < 1)
    failWriting(path, "a frame rate of " + std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator) +
                          " is not possible");
}

std::string PictureDelivery::refusedSize() const {
  return "pictures of " + sizeText(width_, height_) + " cannot be encoded";
}

AVPixelFormat PictureDelivery::layout(const AVPixelFormat *taken) const {
  constexpr std::pair<AVPixelFormat, AVPixelFormat> opaque[] = {
      {AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB24},       {AV_PIX_FMT_RGBA64BE, AV_PIX_FMT_RGB48BE},
      {AV_PIX_FMT_RGBA64LE, AV_PIX_FMT_RGB48LE}, {AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR0},
      {AV_PIX_FMT_GBRAP16, AV_PIX_FMT_GBRP16},   {AV_PIX_FMT_GBRAPF32, AV_PIX_FMT_GBRPF32},
      {AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV420P}, {AV_PIX_FMT_YUVA444P10, AV_PIX_FMT_YUV444P10},
  };
  const AVPixelFormat layout = bits_ > 8 ? codec_.layout16 : codec_.layout8;
  if (delivery_.alpha != AlphaUse::None) return layout;
  for (const auto &[from, to] : opaque)
    if (from == layout && isTaken(to, taken)) return to;
  return layout;
}

AVFrame &PictureDelivery::frame(const Image &image, AVPixelFormat layout, int width, int height) {
  if (image.width() != width_ || image.height() != height_)
    failWriting(path_, "a picture of " + sizeText(image.width(), image.height()) + " was given for one of " +
                           sizeText(width_, height_));
  AVFrame &frame = freeFrame(layout, width, height);
  store(image, frame);
  return frame;
}

AVFrame &PictureDelivery::freeFrame(AVPixelFormat layout, int width, int height) {
  for (const FramePtr &frame : frames_)
    if (av_frame_is_writable(frame.get()) && frame->format == layout && frame->width == width &&
        frame->height == height)
      return *frame;
  frames_.push_back(allocateFrame(layout, width, height));
  return *frames_.back();
}

void PictureDelivery::store(const Image &image, AVFrame &frame) {
  if (image.alpha() == Alpha::Straight && delivery_.alpha == AlphaUse::Straight) return setFrame(frame, image, path_);
  const bool isDrawn = image.alpha() == Alpha::Premultiplied;
  const Image made = isDrawn ? Image() : premultiplied(image);
  const Image &drawn = isDrawn ? image : made;
  const int bits = bitsOf(*av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format)));
  losses_.cutPixels += static_cast<std::int64_t>(countCut(drawn, delivery_, bits));
  losses_.pixels += static_cast<std::int64_t>(drawn.sampleCount() / 4);
  if (!drawn.isFloat()) return setFrame(frame, delivered(drawn, delivery_, bits), path_);
  const auto fill = [&](int y, float *row) {
    const float *from = drawn.asFloats().data() + std::ptrdiff_t{4} * drawn.width() * y;
    deliverRow(from, delivery_, bits, y, drawn.width(), row);
  };
  setFrame(frame, {drawn.width(), drawn.height(), fill}, path_);
}

}  // namespace pyrelux::media
