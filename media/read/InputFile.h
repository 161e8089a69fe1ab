#pragma once

#include <string>

#include "AvPtr.h"

namespace pyrelux::media {

/// What a file's first bytes tell about it.
struct Content {
  const AVInputFormat *demuxer = nullptr;   ///< null for a still without a signature
  AVCodecID stillCodec = AV_CODEC_ID_NONE;  ///< of a single picture; none for a movie
};

/// Whether the demuxer is for files of one picture.
bool isForPictures(const AVInputFormat &demuxer);

/// A regular file or standard input, open for reading. The libraries get its bytes only, never its name: they would
/// read meaning into a name ("%", "http:", an extension), and would let one file send them to others.
class InputFile {
 public:
  /// "-" takes standard input, which can be read once, forwards. Throws MediaError: no such file, a folder, not a
  /// regular file, empty, not readable.
  explicit InputFile(const std::string &path);

  const std::string &path() const { return path_; }

  /// The demuxer that the first bytes ask for. Throws MediaError if there is none.
  const AVInputFormat *probe();

  /// Throws MediaError if the file is nothing that could be decoded.
  Content identify();

  /// The opened demuxer, which must not outlive this file; of standard input only once. Throws MediaError: damaged.
  DemuxerPtr demux(const AVInputFormat *demuxer);

  /// The whole file; not of standard input.
  PacketPtr readAll();

 private:
  std::string path_;
  IoPtr io_;
};

}  // namespace pyrelux::media
