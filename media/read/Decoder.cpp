#include "Decoder.h"

#include <cstring>
#include <vector>

#include "MediaErrors.h"
#include "Orientation.h"
#include "PictureSize.h"
#include "PixelConversion.h"

namespace pyrelux::media {

namespace {

/// Decoders that tell of damage in their log only. TIFF's reports it when asked to be strict, but then takes tags that
/// it does not know for damage too, which nearly every file has.
bool reportsInLogOnly(AVCodecID codec) { return codec == AV_CODEC_ID_TIFF || codec == AV_CODEC_ID_FFV1; }

/// A file may hold any number in place of a tag, which is none of the tag's type then.
template <typename Tag>
void clearUnknown(Tag &tag, int count, Tag unspecified) {
  static_assert(sizeof(Tag) == sizeof(int));
  int value;
  std::memcpy(&value, &tag, sizeof value);
  if (value < 0 || value >= count) tag = unspecified;
}

/// The usual one, but for VP8 and VP9 with alpha, which lies beside the pictures where only libvpx looks for it.
const AVCodec *decoderFor(const AVStream &stream) {
  const AVCodecID codec = stream.codecpar->codec_id;
  const AVDictionaryEntry *alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
  const AVCodec *decoder = nullptr;
  if (alpha && std::strcmp(alpha->value, "1") == 0) {
    if (codec == AV_CODEC_ID_VP8) decoder = avcodec_find_decoder_by_name("libvpx");
    if (codec == AV_CODEC_ID_VP9) decoder = avcodec_find_decoder_by_name("libvpx-vp9");
  }
  return decoder ? decoder : avcodec_find_decoder(codec);
}

}  // namespace

Decoder::Decoder(const AVStream &stream, const std::string &path)
    : Decoder(decoderFor(stream), stream.codecpar, path) {}

Decoder::Decoder(const AVCodec *decoder, const AVCodecParameters *parameters, const std::string &path) : path_(path) {
  if (!decoder) failReading(path, causeNotDecodable);
  context_ = allocated<CodecPtr>(avcodec_alloc_context3(decoder));
  log_.emplace(*context_);
  if (parameters && avcodec_parameters_to_context(context_.get(), parameters) < 0) failReading(path, causeCutOff);
  context_->opaque = this;
  context_->get_buffer2 = allocatePicture;
  context_->max_pixels = maximumPixels;
  context_->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER;
  if (decoder->id != AV_CODEC_ID_TIFF) context_->err_recognition |= AV_EF_EXPLODE;
  // Several pictures at a time would leave it open which of them an error belongs to.
  context_->thread_type = FF_THREAD_SLICE;
  context_->thread_count = 0;
  if (avcodec_open2(context_.get(), nullptr, nullptr) < 0) failDecoding();
  execute_ = context_->execute2;
  context_->execute2 = runParts;
}

/// Runs the parts of a picture like the library does and keeps their results. Decoders of pictures in independent
/// parts (EXR) drop them and would deliver a picture with holes.
int Decoder::runParts(AVCodecContext *context, int (*part)(AVCodecContext *, void *, int, int), void *argument,
                      int *results, int count) {
  Decoder &self = *static_cast<Decoder *>(context->opaque);
  std::vector<int> own;
  if (!results) {
    own.resize(static_cast<std::size_t>(count));
    results = own.data();
  }
  const int result = self.execute_(context, part, argument, results, count);
  for (int index = 0; index < count; ++index) self.partFailed_ |= results[index] < 0;
  return result;
}

/// Called when the size of a picture is known and its pixels are not yet decoded.
int Decoder::allocatePicture(AVCodecContext *context, AVFrame *frame, int flags) {
  if (frame->width > maximumSide || frame->height > maximumSide) {
    static_cast<Decoder *>(context->opaque)->refusedSize_ = PictureSize{frame->width, frame->height};
    return AVERROR(EINVAL);
  }
  return avcodec_default_get_buffer2(context, frame, flags);
}

void Decoder::failDecoding() const {
  if (refusedSize_) requireReadableSize(*refusedSize_, path_);
  if (const auto size = log_->complaints().refusedSize) requireReadableSize(*size, path_);
  failReading(path_, causeCutOff);
}

std::unique_ptr<CapturedErrors> Decoder::quiet() const {
  std::unique_ptr<CapturedErrors> lines;
  if (codec() == AV_CODEC_ID_JPEGXL) lines = std::make_unique<CapturedErrors>("./lib/jxl/");
  return lines;
}

void Decoder::send(const AVPacket *packet) {
  const auto lines = quiet();
  if (avcodec_send_packet(context_.get(), packet) < 0) failDecoding();
}

AVFrame *Decoder::receive() {
  const auto lines = quiet();
  const int result = avcodec_receive_frame(context_.get(), frame_.get());
  isAtEnd_ = result == AVERROR_EOF;
  if (isAtEnd_ || result == AVERROR(EAGAIN)) return nullptr;
  if (result < 0 || partFailed_ || frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT) ||
      (reportsInLogOnly(codec()) && log_->complaints().hasErrors))
    failDecoding();
  requireReadableSize({frame_->width, frame_->height}, path_);
  clearUnknown(frame_->colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED);
  clearUnknown(frame_->color_range, AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED);
  clearUnknown(frame_->color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED);
  clearUnknown(frame_->color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED);
  clearUnknown(frame_->chroma_location, AVCHROMA_LOC_NB, AVCHROMA_LOC_UNSPECIFIED);
  return frame_.get();
}

void requireReadableSize(const PictureSize &size, const std::string &path) {
  const std::string tooLarge = "it is " + sizeText(size.width, size.height) + "; the largest that can be read is ";
  if (size.width > maximumSide || size.height > maximumSide)
    failReading(path, tooLarge + std::to_string(maximumSide) + " on a side");
  if (static_cast<std::int64_t>(size.width) * size.height > maximumPixels)
    failReading(path, tooLarge + std::to_string(maximumPixels) + " in all");
}

void requireFrame(const InputInfo &info, std::int64_t frame, const std::string &path) {
  if (frame < info.firstFrame || frame > info.lastFrame)
    failReading(path, "it has no frame " + std::to_string(frame) + "; its frames are " +
                          std::to_string(info.firstFrame) + " to " + std::to_string(info.lastFrame));
}

Alpha alphaKindOf(AVCodecID codec) { return codec == AV_CODEC_ID_EXR ? Alpha::Premultiplied : Alpha::Straight; }

std::optional<Alpha> chooseAlpha(InputAlpha asked, Alpha own) {
  switch (asked) {
    case InputAlpha::Straight:
      return Alpha::Straight;
    case InputAlpha::Premultiplied:
      return Alpha::Premultiplied;
    case InputAlpha::None:
      return std::nullopt;
    default:
      return own;
  }
}

InputInfo describe(const AVFrame &frame, InputAlpha alpha) {
  InputInfo info;
  const bool isTransposed = orientationOf(frame).isTransposed;
  info.width = isTransposed ? frame.height : frame.width;
  info.height = isTransposed ? frame.width : frame.height;
  info.hasAlpha = alpha != InputAlpha::None && hasAlpha(frame);
  info.bitsPerComponent = bitsPerComponent(frame);
  const AVRational aspect = frame.sample_aspect_ratio;
  if (aspect.num > 0 && aspect.den > 0) info.pixelAspect = av_q2d(isTransposed ? av_inv_q(aspect) : aspect);
  return info;
}

}  // namespace pyrelux::media
