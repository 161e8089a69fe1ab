#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "AvPtr.h"
#include "Delivery.h"

namespace pyrelux::media {

/// Names of FFmpeg's options with their values.
using Options = std::vector<std::pair<const char *, const char *>>;

/// What a still's file says besides its pixels.
struct StillNotes {
  std::string path;                 ///< for messages
  AlphaUse alpha = AlphaUse::None;  ///< as it is stored
  double pixelAspect = 1.0;         ///< width of a pixel / its height
  std::string record = {};          ///< see OutputFormat
};

/// A number that says how well an encoder stores, by its name among FFmpeg's options.
struct Knob {
  const char *option = nullptr;  ///< null where there is none
  int least = 0;
  int most = 0;
};

/// A way to store pictures.
struct Codec {
  const char *name = nullptr;                ///< as a user calls it
  const char *encoder = nullptr;             ///< as FFmpeg calls it; null where `encodeStill` does the work
  AVPixelFormat layout8 = AV_PIX_FMT_NONE;   ///< of pixels, when 8 bits are asked for
  AVPixelFormat layout16 = AV_PIX_FMT_NONE;  ///< of pixels, when 16 bits are asked for
  AlphaUse alpha = AlphaUse::None;           ///< its custom; where it is not None, all others are possible
  bool standsAlone = false;                  ///< in a movie, no frame depends on another
  bool isDeep = false;                       ///< drawn with 16 bits unless 8 are asked for
  Options options = {};                      ///< of FFmpeg's encoder
  Knob crf = {};                             ///< constant rate factor: less is better and larger
  Knob quality = {};                         ///< more is better and larger
  int smallestWidth = 1;                     ///< pixels; the encoder fails with less
  int smallestHeight = 1;                    ///< pixels; the encoder fails with less

  /// What its encoder needs besides; null for nothing. Called before the encoder is opened, with its size, its layout
  /// and its options set. Throws EncoderError, naming `path`.
  void (*prepare)(AVCodecContext &encoder, Dictionary &options, const std::string &path) = nullptr;
  /// Corrects a packet of the encoder, which has been given `pictures` in all; null where they are right.
  /// `isFlushing`: it will be given no more.
  void (*correct)(AVPacket &packet, std::int64_t pictures, bool isFlushing) = nullptr;
  /// The bytes of a still's file that holds a frame of the layout, by a library other than FFmpeg; null for FFmpeg's
  /// encoder. Thread: any, several at once. Throws EncoderError.
  std::vector<std::uint8_t> (*encodeStill)(const AVFrame &frame, const StillNotes &notes) = nullptr;
};

/// What standard output can hold of a format, where nothing that is written can be changed.
enum class Stream {
  None,      ///< nothing
  OneFrame,  ///< a still
  Frames,    ///< a movie, or stills one after the other
};

/// A kind of file that can be written.
struct FileFormat {
  const char *extension;
  const char *muxer;          ///< null for a still: the encoded picture is the file
  std::vector<Codec> codecs;  ///< those that it holds; the first unless another is asked for
  Options options = {};       ///< of the muxer
  /// The muxer's option for how often an animation plays; null where it is shown once.
  const char *playsOption = nullptr;
  /// The option's value for so many times; 0 is for ever.
  std::string (*playsValue)(int plays) = nullptr;
  Stream stream = Stream::None;
  Options streamOptions = {};  ///< of the muxer, instead of `options` on standard output
  bool isFile = true;          ///< otherwise only for standard output

  bool isMovie() const { return muxer != nullptr; }

  /// By its name; the first if that is empty. Throws OutputError, naming `path`, if it is none of them.
  const Codec &codec(const std::string &name, const std::string &path) const;
};

/// All that can be written. Valid as long as the program runs.
const std::vector<FileFormat> &fileFormats();

/// The formats that standard output can have: "png", "mov".
std::vector<std::string> streamFormats();

/// By the path's extension, in upper or lower case, or as standard output is named. Throws OutputError if there is none
/// of it.
const FileFormat &formatOf(const std::string &path);

}  // namespace pyrelux::media
