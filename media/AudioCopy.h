#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "InputFile.h"
#include "Media.h"

namespace pyrelux::media {

/// Takes the audio of one movie over to another, packet by packet and as it is coded.
class AudioCopy {
 public:
  /// `firstFrame` of the movie at `path` is the first of the output; 1 is the movie's first. Throws InputError.
  AudioCopy(const std::string &path, std::int64_t firstFrame, FrameRate rate);

  /// Adds a stream to the muxer for each audio stream that it can hold, before its header is written.
  void addStreams(AVFormatContext &muxer);

  /// Why audio is left out; empty if all is copied.
  const std::string &obstacle() const { return obstacle_; }

  /// Whether some of it is copied.
  bool hasTracks() const { return !tracks_.empty(); }

  /// Writes what begins before a time of the output, given in units of `base`. Times go upwards from call to call.
  /// What is damaged in a way that the output cannot hold becomes an obstacle. Returns a negative code of the libraries
  /// when writing fails.
  int writeUntil(AVFormatContext &muxer, std::int64_t time, AVRational base);

 private:
  struct Track {
    AVStream *from;
    AVStream *to;
    std::int64_t start;     ///< of the output, in units of `from`
    std::int64_t newest;    ///< time that was read, in units of `from` since the start
    std::int64_t earliest;  ///< time that can be written next, in units of `to`
  };

  Track *trackOf(int stream);
  bool place(Track &track);
  bool readPacket();

  InputFile file_;
  DemuxerPtr demuxer_;
  std::int64_t firstFrame_;
  FrameRate rate_;
  std::vector<Track> tracks_;
  std::string obstacle_;
  PacketPtr packet_ = newPacket();
  bool hasPacket_ = false;
  bool hasEnded_ = false;
};

}  // namespace pyrelux::media
