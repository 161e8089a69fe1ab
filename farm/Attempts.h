#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FrameList.h"

namespace pyrelux::farm {

/// How a task ended.
struct AttemptEnd {
  int exitCode = 0;                            ///< as the program would end: 0, 1, …, 128 and more for a signal
  std::string cause;                           ///< of a failure; otherwise empty
  double seconds = 0.0;                        ///< since its beginning
  std::map<std::int64_t, std::string> failed;  ///< frames that failed while others did not, with the causes
};

/// A picture, or one frame of a piece, that a task recorded as finished.
struct Finished {
  std::size_t attempt = 0;   ///< its place among the attempts
  std::string file;          ///< its path
  std::uintmax_t bytes = 0;  ///< the file's length
  std::string fingerprint;   ///< of the file's bytes
  std::string origin;        ///< of what a picture was made from; empty for pieces
  std::int64_t index = 0;    ///< of the frame in the file, from 0 on
};

/// One run of one task. It has a folder of its own that nobody else writes into; so tasks that run twice, or at the
/// same time, are in nobody's way.
struct Attempt {
  std::filesystem::path folder;
  int round = 1;
  int chunk = 0;
  std::string node;
  int cores = 1;
  FrameList frames{FrameRange{}};  ///< that it was to render
  double started = 0.0;            ///< seconds since 1970, by the node's clock
  std::optional<AttemptEnd> end;
  std::int64_t finished = 0;  ///< frames
  double lastSign = 0.0;      ///< when the newest of its files was changed, seconds since 1970
};

/// Everything that tasks left, read from the folder.
struct Attempts {
  std::vector<Attempt> all;                              ///< by the names of their folders
  std::map<std::int64_t, std::vector<Finished>> frames;  ///< by frame; those whose files have the recorded length
  int countsFrom = 1;                                    ///< failures of earlier rounds do not count any more

  bool has(std::int64_t frame) const { return frames.count(frame) > 0; }
};

/// Reads the folder anew. Records that are damaged or not there yet count as none.
Attempts readAttempts(const std::filesystem::path &farm);

// What a task writes.

/// Makes the folder of a new attempt. Throws media::OutputError.
Attempt beginAttempt(const std::filesystem::path &farm, int round, int chunk, const FrameList &frames, int cores);

/// Records the end. Throws media::OutputError.
void endAttempt(const Attempt &attempt, const AttemptEnd &end);

/// Records a piece that is finished: the movie `path` in the attempt's folder, with these frames. Throws
/// media::InputError, media::OutputError.
void recordPiece(const std::filesystem::path &path, const FrameList &frames);

/// The name of the pictures of an attempt, as an output. `name`: without folder.
std::string picturesOf(const Attempt &attempt, const std::string &name);

/// The settings that the pictures of an attempt were made with, as its manifest has them. Throws media::InputError.
std::string settingsOf(const Attempt &attempt);

}  // namespace pyrelux::farm
