#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "AudioEncoder.h"
#include "InputFile.h"

namespace pyrelux::media {

/// Takes the audio of one movie over to another: packet by packet and as it is coded, or encoded anew where the other's
/// container does not hold its codec.
class AudioCopy {
 public:
  /// The output begins at `start`, in units of `base` since the first picture of the movie at `path`. Throws
  /// InputError.
  AudioCopy(const std::string &path, std::int64_t start, AVRational base);

  /// Adds a stream to the muxer for each audio stream, before its header is written.
  void addStreams(AVFormatContext &muxer);

  /// Why audio is left out; empty if all is copied.
  const std::string &obstacle() const { return obstacle_; }

  /// Whether some of it is copied.
  bool hasTracks() const { return !tracks_.empty(); }

  /// Writes what begins before a time of the output, given in units of `base`. Times go upwards from call to call.
  /// What is damaged in a way that the output cannot hold becomes an obstacle. Returns a negative code of the libraries
  /// when writing fails.
  int writeUntil(AVFormatContext &muxer, std::int64_t time, AVRational base);

  /// The same as the last call, for the time of the output's end.
  int finish(AVFormatContext &muxer, std::int64_t time, AVRational base);

 private:
  struct Track {
    std::unique_ptr<AudioEncoder> encoder;  ///< null if packets are copied
    AVStream *from;
    AVStream *to;
    std::int64_t start;     ///< of the output, in units of `from`
    std::int64_t newest;    ///< time that was read, in units of `from` since the start
    std::int64_t earliest;  ///< time that can be written next, in units of `to`
  };

  Track *trackOf(int stream);
  bool place(Track &track);
  bool readPacket();
  void write(AVFormatContext &muxer, Track &track, AVPacket &packet);

  InputFile file_;
  DemuxerPtr demuxer_;
  std::int64_t start_;
  AVRational base_;
  std::vector<Track> tracks_;
  std::string obstacle_;
  PacketPtr packet_ = newPacket();
  bool hasPacket_ = false;
  bool hasEnded_ = false;
};

}  // namespace pyrelux::media
