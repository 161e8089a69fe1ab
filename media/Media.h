#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Delivery.h"
#include "FrameRate.h"
#include "Image.h"

/// Pictures and movies in and out, on FFmpeg's libraries. Thread: one object from one thread at a time; different
/// objects are independent.
namespace pyrelux::media {

/// A file cannot be read or written. what() is one sentence without a final stop that names the file and the cause,
/// fit to be shown to a user as it stands: "cannot read 'title.png': no such file".
class MediaError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// What is read is not there, not permitted, damaged or too large.
class InputError : public MediaError {
  using MediaError::MediaError;
};
/// What is written has no place, no room or no format.
class OutputError : public MediaError {
  using MediaError::MediaError;
};
/// The encoder is missing, or refuses the pictures.
class EncoderError : public MediaError {
  using MediaError::MediaError;
};

/// The number, counted from 0, of the frame that a film of the rate `to` shows when one of the rate `from` begins to
/// show its frame `index`, which is 0 or more.
std::int64_t frameAtSameTime(std::int64_t index, const FrameRate &from, const FrameRate &to);

/// What the colour of an input means where it is not opaque.
enum class InputAlpha {
  Auto,           ///< as its format has it: EXR premultiplied, TIFF as the file says, everything else straight
  Straight,       ///< not multiplied by alpha
  Premultiplied,  ///< multiplied by alpha
  None,           ///< alpha is ignored and the picture opaque
};

/// How an input is read.
struct ReadOptions {
  InputAlpha alpha = InputAlpha::Auto;
  bool deinterlace = false;  ///< makes whole pictures of a movie's fields
  /// Takes each picture of a movie of variable frame rate for a frame, whose time is in InputInfo::times; otherwise
  /// such a movie is resampled to an even rate.
  bool keepTimes = false;
};

/// When frames are shown.
struct FrameTimes {
  std::vector<std::int64_t> ticks;  ///< of frame 1, of frame 2 …, and the end of the last one; they go upwards
  FrameRate ticksPerSecond;
};

enum class InputKind { Still, Sequence, Movie };

struct InputInfo {
  InputKind kind = InputKind::Still;
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  bool hasAlpha = false;
  int bitsPerComponent = 8;  ///< of the file: 8, 10, 12, 16 or 32
  double pixelAspect = 1.0;  ///< width of a pixel / its height
  /// Frame numbers, inclusive. A still answers every frame number (both 0 here); a sequence has its files' own
  /// numbers; a movie counts from 1.
  std::int64_t firstFrame = 0;
  std::int64_t lastFrame = 0;
  FrameRate frameRate;  ///< of a movie; 24 otherwise
  bool hasAudio = false;
  bool isInterlaced = false;  ///< its pictures are pairs of fields, which are not the same moment
  bool isResampled = false;   ///< it has a variable frame rate; a frame is the picture on the screen at its time
  std::shared_ptr<const FrameTimes> times = {};  ///< where they are not even and kept
  std::vector<std::int64_t> present = {};  ///< the frames of a sequence that there are files for, in ascending order
};

/// Reads a still, a numbered sequence or a movie. A path with "%04d" (any width) or a run of "#" names a sequence.
class Reader {
 public:
  /// Throws InputError: missing, empty, truncated, not an image, too large.
  static std::unique_ptr<Reader> open(const std::string &path, const ReadOptions &options = {});
  static std::unique_ptr<Reader> open(const std::string &path, InputAlpha alpha) {
    return open(path, ReadOptions{alpha});
  }
  /// A still that is in memory already.
  static std::unique_ptr<Reader> of(Image image);
  virtual ~Reader() = default;

  const InputInfo &info() const { return info_; }

  /// The picture of a frame. 8-bit sources come as bytes, deeper ones as floats; without alpha they are
  /// opaque. Going forwards through a movie is cheap, going
  /// backwards decodes again. Throws InputError: no such frame, damaged data, a size that differs from info().
  virtual Image read(std::int64_t frame) = 0;

  /// The files that pictures are read from; none for what is in memory.
  virtual std::vector<std::string> files() const = 0;

 protected:
  InputInfo info_;
};

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
/// a partial file never carries the final name.
class Writer {
 public:
  /// Throws InputError: audioFrom cannot be read; OutputError: unknown extension or codec, unwritable folder, a folder
  /// or device of that name; EncoderError: no such encoder, a size that it refuses.
  static std::unique_ptr<Writer> open(const std::string &path, const OutputFormat &format);

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

  /// Whether the codec is there for more than 8 bits (TIFF, EXR, ProRes 4444). Throws OutputError: unknown extension or
  /// codec.
  static bool isDeep(const std::string &path, const std::string &codec = {});

  /// Whether the codec holds alpha; otherwise pictures are stored as they look over black. Throws OutputError as
  /// above.
  static bool holdsAlpha(const std::string &path, const std::string &codec = {});

  /// Whether files of the path's kind hold audio, and frames of any length. Throws OutputError for an unknown
  /// extension.
  static bool holdsAudio(const std::string &path);

  /// Discards what is not finished.
  virtual ~Writer() = default;

  /// Adds a frame. `image` is premultiplied, bytes or floats, of the size given to open(). The frame number fills the
  /// pattern of a sequence and finds the frame's time in OutputFormat::times; movies take frames in ascending order.
  /// Throws OutputError and EncoderError.
  virtual void write(std::int64_t frame, const Image &image) = 0;

  /// Completes the output and gives it its final name. Throws OutputError: disk full; EncoderError.
  virtual void finish() = 0;

  /// Of the frames written so far.
  virtual Losses losses() const = 0;
};

}  // namespace pyrelux::media
