#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Writer.h"

namespace pyrelux::media {

/// Where the encoded picture of a frame is: in a movie without audio that Writer wrote with the same format.
struct EncodedFrame {
  std::string path;        ///< of the movie
  std::int64_t index = 0;  ///< of the frame in it, from 0 on
};

/// Whether the frames of such a movie stand alone, so that movies can be joined without encoding again. Throws
/// OutputError: unknown extension or codec.
bool standsAlone(const std::string &path, const std::string &codec = {});

/// Joins movies into one, as Writer would write it, audio included. Thread: one at a time.
class MovieJoiner {
 public:
  /// Throws what Writer::open() throws.
  MovieJoiner(const std::string &path, const OutputFormat &format);
  ~MovieJoiner();

  /// Adds a frame, in ascending order. Of a movie, going forwards is cheap. Throws InputError: the frame can't be read,
  /// or was encoded with another format; OutputError.
  void add(std::int64_t frame, const EncodedFrame &encoded);

  /// Completes the output and gives it its name. Throws OutputError.
  void finish();

  Losses losses() const;

 private:
  class Piece;
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace pyrelux::media
