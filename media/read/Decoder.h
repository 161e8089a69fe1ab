#pragma once

#include <memory>
#include <optional>
#include <string>

#include "AvPtr.h"
#include "CapturedErrors.h"
#include "LibraryLog.h"
#include "Reader.h"

namespace pyrelux::media {

/// A decoder that delivers whole pictures of a readable size only. FFmpeg hides damage: it fills in what is missing.
/// This throws then.
class Decoder {
 public:
  /// For a codec without parameters from a container. `path` is for messages. Throws MediaError if there is no decoder.
  Decoder(AVCodecID codec, const std::string &path) : Decoder(avcodec_find_decoder(codec), nullptr, path) {}
  /// For a stream of a container.
  Decoder(const AVStream &stream, const std::string &path);
  Decoder(const Decoder &) = delete;
  Decoder &operator=(const Decoder &) = delete;

  AVCodecID codec() const { return context_->codec_id; }
  bool isAtEnd() const { return isAtEnd_; }

  /// Hands in coded data; null once at the end. Throws MediaError.
  void send(const AVPacket *packet);

  /// The next picture, valid until the next call; null if it needs more data or is at the end. Throws MediaError.
  AVFrame *receive();

 private:
  Decoder(const AVCodec *decoder, const AVCodecParameters *parameters, const std::string &path);

  /// Of libjxl, which writes to standard error what is wrong with a picture, besides failing.
  std::unique_ptr<CapturedErrors> quiet() const;

  static int runParts(AVCodecContext *context, int (*part)(AVCodecContext *, void *, int, int), void *argument,
                      int *results, int count);
  static int allocatePicture(AVCodecContext *context, AVFrame *frame, int flags);

  [[noreturn]] void failDecoding() const;

  std::string path_;
  CodecPtr context_;
  std::optional<DecoderLog> log_;
  FramePtr frame_ = newFrame();
  decltype(AVCodecContext::execute2) execute_ = nullptr;
  std::optional<PictureSize> refusedSize_;
  bool partFailed_ = false;
  bool isAtEnd_ = false;
};

/// Throws MediaError if the size is above what is read.
void requireReadableSize(const PictureSize &size, const std::string &path);

/// Throws MediaError if the input has no such frame.
void requireFrame(const InputInfo &info, std::int64_t frame, const std::string &path);

/// EXR is premultiplied by definition; elsewhere straight is the custom, where a file does not tell.
Alpha alphaKindOf(AVCodecID codec);

/// What a picture's colour is taken for; nothing if its alpha is ignored. `own`: what its format says.
std::optional<Alpha> chooseAlpha(InputAlpha asked, Alpha own);

/// Size, alpha, depth and pixel aspect of a picture that is upright; the rest as for a still.
InputInfo describe(const AVFrame &frame, InputAlpha alpha);

}  // namespace pyrelux::media
