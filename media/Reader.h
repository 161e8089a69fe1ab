#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FrameRate.h"
#include "FrameTimes.h"
#include "Image.h"

/// Pictures and movies in and out, on FFmpeg's libraries.
namespace pyrelux::media {

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
  /// A movie whose length only reading tells: lastFrame is the largest number there is, and reading on past the end
  /// throws EndOfStream. Its pictures can be read once, forwards.
  bool isStream = false;
  FrameRate frameRate;  ///< of a movie; 24 otherwise
  bool hasAudio = false;
  bool isInterlaced = false;  ///< its pictures are pairs of fields, which are not the same moment
  bool isResampled = false;   ///< it has a variable frame rate; a frame is the picture on the screen at its time
  std::shared_ptr<const FrameTimes> times = {};  ///< where they are not even and kept
  std::vector<std::int64_t> present = {};  ///< the frames of a sequence that there are files for, in ascending order
};

/// Reads a still, a numbered sequence or a movie. A path with "%04d" (any width) or a run of "#" names a sequence, "-"
/// is standard input: a still, or a stream of pictures or a movie.
/// Threads: one reader is used by one thread at a time; different readers are independent.
class Reader {
 public:
  /// Throws InputError: missing, empty, truncated, not an image, too large.
  static std::unique_ptr<Reader> open(const std::string &path, const ReadOptions &options = {});
  static std::unique_ptr<Reader> open(const std::string &path, InputAlpha alpha) {
    return open(path, ReadOptions{alpha});
  }
  /// A still that is in memory already.
  static std::unique_ptr<Reader> of(Image image);
  /// The same, of a picture that was made from these files.
  static std::unique_ptr<Reader> of(Image image, std::vector<std::string> files);
  virtual ~Reader() = default;

  const InputInfo &info() const { return info_; }

  /// The picture of a frame. 8-bit sources come as bytes, deeper ones as floats; without alpha they are opaque. Going
  /// forwards through a movie is cheap, going backwards decodes again. Throws InputError: no such frame, damaged data,
  /// a size that differs from info(), going backwards in a stream; EndOfStream.
  virtual Image read(std::int64_t frame) = 0;
  /// The same for callers that do not change it: of a still it is always the same picture, and no copy.
  virtual std::shared_ptr<const Image> share(std::int64_t frame) { return std::make_shared<const Image>(read(frame)); }

  /// The files that pictures are read from; none for what is in memory.
  virtual std::vector<std::string> files() const = 0;

 protected:
  InputInfo info_;
};

}  // namespace pyrelux::media
