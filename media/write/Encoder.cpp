#include "Encoder.h"

#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>

#include "ExrHeader.h"
#include "LibraryCause.h"
#include "MediaErrors.h"
#include "PictureSize.h"
#include "PixelConversion.h"
#include "TiffAlpha.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

/// Colour subsampled in both directions needs an even width and height.
int paddedSide(int side, int subsampling) { return (side + (1 << subsampling) - 1) >> subsampling << subsampling; }

Delivery deliveryOf(const Codec &codec, const OutputFormat &format) {
  const bool holdsAlpha = codec.alpha != AlphaUse::None;
  return {holdsAlpha ? format.alpha.value_or(codec.alpha) : AlphaUse::None, format.density};
}

const AVPixFmtDescriptor &layoutOf(const AVCodecContext &codec) { return *av_pix_fmt_desc_get(codec.pix_fmt); }

/// The layout without alpha that the encoder takes instead of one with it; the same if there is none.
AVPixelFormat withoutAlpha(AVPixelFormat layout, const AVCodec &encoder) {
  constexpr std::pair<AVPixelFormat, AVPixelFormat> opaque[] = {
      {AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB24},       {AV_PIX_FMT_RGBA64BE, AV_PIX_FMT_RGB48BE},
      {AV_PIX_FMT_RGBA64LE, AV_PIX_FMT_RGB48LE}, {AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR0},
      {AV_PIX_FMT_GBRAP16, AV_PIX_FMT_GBRP16},   {AV_PIX_FMT_GBRAPF32, AV_PIX_FMT_GBRPF32},
      {AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV420P}, {AV_PIX_FMT_YUVA444P10, AV_PIX_FMT_YUV444P10},
  };
  for (const auto &[from, to] : opaque)
    for (const AVPixelFormat *taken = encoder.pix_fmts; from == layout && *taken != AV_PIX_FMT_NONE; ++taken)
      if (*taken == to) return to;
  return layout;
}

/// Of a channel that is no subsampled colour; 32 for floats.
int bitsOf(const AVPixFmtDescriptor &layout) {
  return layout.flags & AV_PIX_FMT_FLAG_FLOAT ? 32 : layout.comp[0].depth;
}

/// libx265 crashes or waits for ever when it gets no memory. Only a limit on addresses tells beforehand.
void requireMemoryForH265(const std::string &path, const OutputFormat &format) {
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return;
  // Its threads' heaps, and the pictures that it looks ahead.
  constexpr std::size_t megabyte = std::size_t{1} << 20;
  const std::size_t needed =
      384 * megabyte + 300 * static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height);
  void *addresses = mmap(nullptr, needed, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (addresses == MAP_FAILED)
    failEncoding(path, "h265 needs " + std::to_string(needed / megabyte) +
                           " megabytes of memory for this size, and a limit forbids them; raise it (ulimit -v)");
  munmap(addresses, needed);
}

}  // namespace

Encoder::Encoder(const std::string &path, const Codec &codec, bool isMovie, const OutputFormat &format,
                 Dictionary &options)
    : path_(path), format_(format), delivery_(deliveryOf(codec, format)) {
  const std::string refusedSize = "pictures of " + sizeText(format.width, format.height) + " cannot be encoded";
  if (format.width < 1 || format.height < 1) failWriting(path, refusedSize);
  // No larger than what is read. libx264 leaks memory when it refuses a size itself.
  if (format.width > maximumSide || format.height > maximumSide) failEncoding(path, refusedSize);
  const FrameRate rate = format.frameRate;
  if (rate.numerator < 1 || rate.denominator < 1)
    failWriting(path, "a frame rate of " + std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator) +
                          " is not possible");

  const AVCodec *encoder = avcodec_find_encoder_by_name(codec.encoder);
  if (!encoder) failEncoding(path, "the installed FFmpeg lacks the encoder '" + std::string(codec.encoder) + "'");
  codec_ = allocated<CodecPtr>(avcodec_alloc_context3(encoder));
  codec_->pix_fmt = format.bits > 8 ? codec.pixels16 : codec.pixels8;
  if (delivery_.alpha == AlphaUse::None) codec_->pix_fmt = withoutAlpha(codec_->pix_fmt, *encoder);
  const AVPixFmtDescriptor &layout = layoutOf(*codec_);
  codec_->width = paddedSide(format.width, layout.log2_chroma_w);
  codec_->height = paddedSide(format.height, layout.log2_chroma_h);
  if (codec_->width < codec.smallestWidth || codec_->height < codec.smallestHeight)
    failEncoding(path, refusedSize + "; " + codec.name + " needs " +
                           sizeText(codec.smallestWidth, codec.smallestHeight) + " at least");
  if (encoder->id == AV_CODEC_ID_HEVC) requireMemoryForH265(path, format);
  const FrameRate &clock = format.times ? format.times->ticksPerSecond : rate;
  codec_->time_base = {clock.denominator, clock.numerator};
  codec_->framerate = {rate.numerator, rate.denominator};
  // Exact for every ratio that video knows.
  constexpr int largestTerm = 10000;
  if (format.pixelAspect != 1.0) codec_->sample_aspect_ratio = av_d2q(format.pixelAspect, largestTerm);
  if (isMovie) {
    codec_->thread_count = 0;
    codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const bool isYuv = !(layout.flags & AV_PIX_FMT_FLAG_RGB);
    codec_->color_primaries = AVCOL_PRI_BT709;
    codec_->color_trc = AVCOL_TRC_BT709;
    codec_->colorspace = isYuv ? AVCOL_SPC_BT709 : AVCOL_SPC_RGB;
    codec_->color_range = isYuv ? AVCOL_RANGE_MPEG : AVCOL_RANGE_JPEG;
    if (layout.log2_chroma_w) codec_->chroma_sample_location = AVCHROMA_LOC_LEFT;
  }
  // PNG has a word for sRGB but none for BT.709, which would become a gamma that makes pictures lighter.
  if (encoder->id == AV_CODEC_ID_PNG || encoder->id == AV_CODEC_ID_APNG) {
    codec_->color_primaries = AVCOL_PRI_BT709;
    codec_->color_trc = AVCOL_TRC_IEC61966_2_1;
  }
  for (const auto &[name, value] : codec.options) options.set(name, value);
  // FFV1's level 3 divides a picture in slices, 2 x 2 or more, and loses pixels of pictures too small for that.
  constexpr int smallestSliced = 4;
  if (codec_->codec_id == AV_CODEC_ID_FFV1 && std::min(codec_->width, codec_->height) < smallestSliced)
    options.set("level", "1");
  if (avcodec_open2(codec_.get(), encoder, options.get()) < 0) failEncoding(path, refusedSize);
}

void Encoder::encode(const Image &image, std::int64_t time, std::int64_t duration, const Sink &sink) {
  if (image.width() != format_.width || image.height() != format_.height)
    failWriting(path_, "a picture of " + sizeText(image.width(), image.height()) + " was given for one of " +
                           sizeText(format_.width, format_.height));
  const FramePtr frame = toFrame(stored(image), codec_->pix_fmt, codec_->width, codec_->height, path_);
  frame->color_primaries = codec_->color_primaries;
  frame->color_trc = codec_->color_trc;
  frame->pts = time;
  durations_[time] = duration;
  ++count_;
  send(frame.get(), sink);
}

/// The picture with the file's kind of alpha.
Image Encoder::stored(const Image &image) {
  if (image.alpha() == Alpha::Straight && delivery_.alpha == AlphaUse::Straight) return image;
  const Image drawn = premultiplied(image);
  const int bits = bitsOf(layoutOf(*codec_));
  losses_.cutPixels += static_cast<std::int64_t>(countCut(drawn, delivery_, bits));
  losses_.pixels += static_cast<std::int64_t>(drawn.sampleCount() / 4);
  return delivered(drawn, delivery_, bits);
}

void Encoder::send(const AVFrame *frame, const Sink &sink) {
  const PacketPtr packet = newPacket();
  int result = avcodec_send_frame(codec_.get(), frame);
  while (result >= 0 && (result = avcodec_receive_packet(codec_.get(), packet.get())) >= 0) {
    const auto duration = durations_.extract(packet->pts);
    packet->duration = duration ? duration.mapped() : 1;
    // Of fewer frames than it holds back to reorder them, libx265 does not set the decoding time. They are in order.
    if (codec_->codec_id == AV_CODEC_ID_HEVC && !frame && count_ <= 2) packet->dts = packet->pts;
    if (codec_->codec_id == AV_CODEC_ID_TIFF && delivery_.alpha == AlphaUse::Premultiplied)
      declarePremultiplied(*packet);
    if (codec_->codec_id == AV_CODEC_ID_EXR) addText(*packet, "pyrelux", format_.record);
    sink(*packet);
    av_packet_unref(packet.get());
  }
  if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) failEncoding(path_, libraryCause(result));
}

}  // namespace pyrelux::media
