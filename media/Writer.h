#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Delivery.h"
#include "FrameRate.h"
#include "FrameTimes.h"
#include "Image.h"

namespace pyrelux::media {

/// A picture of a sequence that is written and has no name yet.
struct NewPicture {
  std::int64_t frame = 0;
  std::string path;                ///< the name that it is to have
  std::string temporaryPath;       ///< where it is, complete
  std::function<void()> giveName;  ///< to be called once; throws OutputError
};

struct OutputFormat {
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  int bits = 8;    ///< 8 or 16 per component asked for; some codecs follow it, the others have a depth of their own
  FrameRate frameRate;     ///< of a movie
  std::string codec = {};  ///< as docs/formats.md names it; otherwise the extension's usual one
  /// What becomes of alpha; otherwise the codec's custom. A file that holds no alpha gets AlphaUse::None in any case.
  std::optional<AlphaUse> alpha = {};
  float density = 0.0f;  ///< see Delivery
  /// The encoder's constant rate factor and quality, in the ranges that crfRange() and qualityRange() tell; otherwise
  /// what suits it.
  std::optional<int> crf = {};
  std::optional<int> quality = {};
  int plays = 0;  ///< how often an animation plays, 0 for ever
  /// A movie whose audio is copied as it is coded, into a movie of the same frame rate; otherwise there is none. Its
  /// frame `audioFirstFrame` is the output's first, and its audio ends with the output's last.
  std::string audioFrom = {};
  std::int64_t audioFirstFrame = 1;
  /// When the frames of a movie are shown, by their numbers; otherwise one after the other at the frame rate.
  std::shared_ptr<const FrameTimes> times = {};
  double pixelAspect = 1.0;  ///< width of a pixel / its height; WebP does not keep it
  /// A text of ASCII that EXR files carry in their headers, as the attributes "pyrelux.001" and so on.
  std::string record = {};
  /// Gives every picture of a sequence its name, in the order of the frames; otherwise the writer does.
  std::function<void(const NewPicture &)> publish = {};
};

/// Whole numbers, both ends among them.
struct NumberRange {
  int least = 0;
  int most = 0;
};

/// What a file does not keep of what it was given.
struct Losses {
  /// Pixels that AlphaUse::Exact cuts, counted in all frames: their colour, limited to 1, exceeds their alpha by half a
  /// level of the file or more.
  std::int64_t cutPixels = 0;
  std::int64_t pixels = 0;         ///< of all frames
  std::string audioObstacle = {};  ///< why audio is left out; empty if all of it was copied, or none was asked for
  bool hasAudio = false;           ///< some was copied
};

/// Writes a still, a numbered sequence or a movie, chosen by the path's extension; docs/formats.md lists them all with
/// their codecs, alpha and depth. Everything is written beside the final name and renamed when it is complete, so that
/// a partial file never carries the final name. To standard output (see StandardStream.h), every frame goes as soon as
/// the encoder lets it. Threads: one writer is used by one thread at a time, but for prepare(); different writers are
/// independent.
class Writer {
 public:
  /// Throws InputError: audioFrom cannot be read; OutputError: unknown extension or codec, unwritable folder, a folder
  /// or device of that name; EncoderError: no such encoder, a size that it refuses.
  static std::unique_ptr<Writer> open(const std::string &path, const OutputFormat &format);

  /// Throws OutputError if a file could not be made at the path, without making one.
  static void requireWritable(const std::string &path);

  /// Removes what runs for this output left in its folder when they were killed, and nobody writes any more. Returns
  /// the names of the hidden files, without folder.
  static std::vector<std::string> removeLeftovers(const std::string &path);

  /// Whether the path can hold more than one frame: a movie, or a still's extension with a frame pattern in its name.
  /// Throws OutputError for an unknown extension.
  static bool holdsManyFrames(const std::string &path);

  /// Whether each frame gets a file of its own, which the name has a place for a number for. Names of movies are taken
  /// as they stand. Throws MediaError: unknown extension, two places for a number.
  static bool isSequence(const std::string &path);

  /// The file that a frame goes into: not always the path, in which "%%" stands for a percent sign. Throws as above.
  static std::string pathOf(const std::string &path, std::int64_t frame);

  /// Every codec of some extension, by name.
  static std::vector<std::string> codecNames();

  /// The formats that standard output can have: "png", "mov".
  static std::vector<std::string> streamFormats();

  /// Whether the codec is there for more than 8 bits (TIFF, EXR, ProRes 4444). Throws OutputError: unknown extension or
  /// codec.
  static bool isDeep(const std::string &path, const std::string &codec = {});

  /// Whether the codec holds alpha; otherwise pictures are stored as they look over black. Throws OutputError as
  /// above.
  static bool holdsAlpha(const std::string &path, const std::string &codec = {});

  /// The range of OutputFormat::crf or quality; nothing where the codec has none. Throws OutputError as above.
  static std::optional<NumberRange> crfRange(const std::string &path, const std::string &codec = {});
  static std::optional<NumberRange> qualityRange(const std::string &path, const std::string &codec = {});

  /// Whether files of the path's kind are animations that say how often they play. Throws OutputError for an unknown
  /// extension.
  static bool countsPlays(const std::string &path);

  /// Whether files of the path's kind hold audio, and frames of any length. Throws OutputError for an unknown
  /// extension.
  static bool holdsAudio(const std::string &path);

  /// Discards what is not finished.
  virtual ~Writer() = default;

  /// Adds a frame. `image` is premultiplied, bytes or floats, of the size given to open(). The frame number fills the
  /// pattern of a sequence and finds the frame's time in OutputFormat::times; movies take frames in ascending order.
  /// Throws OutputError and EncoderError.
  virtual void write(std::int64_t frame, const Image &image) = 0;

  /// Does what of write() needs no other frame, and returns the rest, to be called in the frames' order while `image`
  /// is there. Threads: several at once, also while the rest of other frames is done. Throws as write() does.
  virtual std::function<void()> prepare(std::int64_t frame, const Image &image);

  /// Completes the output and gives it its final name. Throws OutputError: disk full; EncoderError.
  virtual void finish() = 0;

  /// Of the frames written so far.
  virtual Losses losses() const = 0;
};

}  // namespace pyrelux::media
