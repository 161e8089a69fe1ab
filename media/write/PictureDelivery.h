#pragma once

#include <string>
#include <vector>

#include "FileFormat.h"
#include "Image.h"
#include "Writer.h"

namespace pyrelux::media {

/// Brings the pictures of an output to its kind of alpha and to frames of an encoder's layout. Counts what that cuts.
class PictureDelivery {
 public:
  /// Throws OutputError: a size or frame rate that nothing has; EncoderError: a size above what is read.
  PictureDelivery(const std::string &path, const Codec &codec, const OutputFormat &format);

  /// The output's; None where the codec holds no alpha.
  AlphaUse alpha() const { return delivery_.alpha; }

  /// The codec's layout for the bits asked for. Without alpha it is the layout without it, if `taken` has that one: the
  /// layouts that an encoder takes, ended by AV_PIX_FMT_NONE; null for all.
  AVPixelFormat layout(const AVPixelFormat *taken) const;

  /// The picture as a frame, which may be larger: its right and bottom are black then. This object's, valid until the
  /// next call; who keeps it longer takes a reference to its buffers. Throws OutputError: another size than the
  /// output's; EncoderError.
  AVFrame &frame(const Image &image, AVPixelFormat layout, int width, int height);

  /// "pictures of WIDTHxHEIGHT pixels cannot be encoded"
  std::string refusedSize() const;

  const Losses &losses() const { return losses_; }

 private:
  /// Sets the frame to the picture with the file's kind of alpha.
  void store(const Image &image, AVFrame &frame);
  /// A frame to whose buffers nobody else refers.
  AVFrame &freeFrame(AVPixelFormat layout, int width, int height);

  std::string path_;
  const Codec &codec_;
  int width_;
  int height_;
  int bits_;
  Delivery delivery_;
  Losses losses_;
  std::vector<FramePtr> frames_;  // kept, as getting fresh memory takes longer than filling it
};

}  // namespace pyrelux::media
