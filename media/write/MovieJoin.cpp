#include "MovieJoin.h"

#include <algorithm>
#include <cstring>
#include <list>
#include <memory>

#include "InputFile.h"
#include "LibraryCause.h"
#include "LibraryLog.h"
#include "MediaErrors.h"
#include "MovieDecoder.h"
#include "MovieWriter.h"
#include "OutputFile.h"

namespace pyrelux::media {

/// A movie whose pictures are taken over.
class MovieJoiner::Piece {
 public:
  Piece(const std::string &path, const AVCodecContext &wanted) : file_(path) {
    demuxer_ = file_.demux(file_.identify().demuxer);
    findStreams(*demuxer_);
    stream_ = findVideo(*demuxer_);
    if (!stream_) failReading(path, "it has no pictures");
    const AVCodecParameters &found = *stream_->codecpar;
    const bool isSame =
        found.codec_id == wanted.codec_id && found.width == wanted.width && found.height == wanted.height &&
        found.extradata_size == wanted.extradata_size &&
        (wanted.extradata_size == 0 ||
         std::memcmp(found.extradata, wanted.extradata, static_cast<std::size_t>(wanted.extradata_size)) == 0);
    if (!isSame) failReading(path, "its pictures are encoded in another way than those of the output");
  }

  const std::string &path() const { return file_.path(); }
  std::int64_t next() const { return next_; }

  /// The packet of the picture `index`, which is not before next().
  AVPacket &read(std::int64_t index) {
    for (; next_ <= index; ++next_) {
      do {
        av_packet_unref(packet_.get());
        const int result = av_read_frame(demuxer_.get(), packet_.get());
        if (result < 0) failReading(path(), result == AVERROR_EOF ? causeCutOff : libraryCause(result));
      } while (packet_->stream_index != stream_->index);
    }
    return *packet_;
  }

 private:
  InputFile file_;
  DemuxerPtr demuxer_;
  AVStream *stream_ = nullptr;
  std::int64_t next_ = 0;
  PacketPtr packet_ = newPacket();
};

struct MovieJoiner::State {
  State(const std::string &path, const OutputFormat &format) : writer(path, formatOf(path), format) {}

  MovieWriter writer;
  std::list<Piece> pieces;  ///< that are open, the one that was used last in front
};

bool standsAlone(const std::string &path, const std::string &codec) {
  const FileFormat &file = formatOf(path);
  return file.isMovie() && file.codec(codec, path).standsAlone;
}

MovieJoiner::MovieJoiner(const std::string &path, const OutputFormat &format) {
  silenceLibraries();
  OutputFile::requireWritable(path);
  state_ = std::make_unique<State>(path, format);
}

MovieJoiner::~MovieJoiner() = default;

void MovieJoiner::add(std::int64_t frame, const EncodedFrame &encoded) {
  // Frames that lie between each other, every tenth here and the rest there, come from few movies at a time.
  constexpr std::size_t mostOpen = 8;
  std::list<Piece> &pieces = state_->pieces;
  auto piece = std::find_if(pieces.begin(), pieces.end(), [&](const Piece &open) {
    return open.path() == encoded.path && open.next() <= encoded.index;
  });
  if (piece == pieces.end()) {
    if (pieces.size() == mostOpen) pieces.pop_back();
    pieces.emplace_front(encoded.path, state_->writer.encoder());
  } else {
    pieces.splice(pieces.begin(), pieces, piece);
  }
  state_->writer.append(frame, pieces.front().read(encoded.index));
}

void MovieJoiner::finish() { state_->writer.finish(); }

Losses MovieJoiner::losses() const { return state_->writer.losses(); }

}  // namespace pyrelux::media
