#include "Encoder.h"

#include "LibraryCause.h"
#include "MediaErrors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

/// Colour subsampled in both directions needs an even width and height.
int paddedSide(int side, int subsampling) { return (side + (1 << subsampling) - 1) >> subsampling << subsampling; }

/// What movies say about their colours.
void tagColours(AVCodecContext &context, const AVPixFmtDescriptor &layout) {
  const bool isYuv = !(layout.flags & AV_PIX_FMT_FLAG_RGB);
  context.color_primaries = AVCOL_PRI_BT709;
  context.color_trc = AVCOL_TRC_BT709;
  context.colorspace = isYuv ? AVCOL_SPC_BT709 : AVCOL_SPC_RGB;
  context.color_range = isYuv ? AVCOL_RANGE_MPEG : AVCOL_RANGE_JPEG;
  if (layout.log2_chroma_w) context.chroma_sample_location = AVCHROMA_LOC_LEFT;
}

}  // namespace

Encoder::Encoder(const std::string &path, const Codec &codec, const OutputFormat &format, Dictionary &options)
    : path_(path), codec_(codec), delivery_(path, codec, format) {
  const AVCodec *encoder = avcodec_find_encoder_by_name(codec.encoder);
  if (!encoder) failEncoding(path, "the installed FFmpeg lacks the encoder '" + std::string(codec.encoder) + "'");
  context_ = allocated<CodecPtr>(avcodec_alloc_context3(encoder));
  context_->pix_fmt = delivery_.layout(encoder->pix_fmts);
  const AVPixFmtDescriptor &layout = *av_pix_fmt_desc_get(context_->pix_fmt);
  context_->width = paddedSide(format.width, layout.log2_chroma_w);
  context_->height = paddedSide(format.height, layout.log2_chroma_h);
  if (context_->width < codec.smallestWidth || context_->height < codec.smallestHeight)
    failEncoding(path, delivery_.refusedSize() + "; " + codec.name + " needs " +
                           sizeText(codec.smallestWidth, codec.smallestHeight) + " at least");
  const FrameRate &rate = format.frameRate;
  const FrameRate &clock = format.times ? format.times->ticksPerSecond : rate;
  context_->time_base = {clock.denominator, clock.numerator};
  context_->framerate = {rate.numerator, rate.denominator};
  // Exact for every ratio that video knows.
  constexpr int largestTerm = 10000;
  if (format.pixelAspect != 1.0) context_->sample_aspect_ratio = av_d2q(format.pixelAspect, largestTerm);
  context_->thread_count = 0;
  context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  tagColours(*context_, layout);
  for (const auto &[name, value] : codec.options) options.set(name, value);
  if (format.crf && codec.crf.option) options.set(codec.crf.option, std::to_string(*format.crf).c_str());
  if (format.quality && codec.quality.option)
    options.set(codec.quality.option, std::to_string(*format.quality).c_str());
  if (codec.prepare) codec.prepare(*context_, options, path);
  if (avcodec_open2(context_.get(), encoder, options.get()) < 0) failEncoding(path, delivery_.refusedSize());
}

void Encoder::encode(const Image &image, std::int64_t time, std::int64_t duration, const Sink &sink) {
  AVFrame &frame = delivery_.frame(image, context_->pix_fmt, context_->width, context_->height);
  frame.color_primaries = context_->color_primaries;
  frame.color_trc = context_->color_trc;
  frame.pts = time;
  durations_[time] = duration;
  ++count_;
  send(&frame, sink);
}

void Encoder::send(const AVFrame *frame, const Sink &sink) {
  const PacketPtr packet = newPacket();
  int result = avcodec_send_frame(context_.get(), frame);
  while (result >= 0 && (result = avcodec_receive_packet(context_.get(), packet.get())) >= 0) {
    const auto duration = durations_.extract(packet->pts);
    packet->duration = duration ? duration.mapped() : 1;
    if (codec_.correct) codec_.correct(*packet, count_, !frame);
    sink(*packet);
    av_packet_unref(packet.get());
  }
  if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) failEncoding(path_, libraryCause(result));
}

}  // namespace pyrelux::media
