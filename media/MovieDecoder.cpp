#include "MovieDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "Errors.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace pyrelux::media {

namespace {

/// Whether every packet of the codec decodes to exactly one picture: it neither reorders pictures (which allows for
/// fields, packed pairs and leading pictures that cannot be decoded) nor has hidden ones.
bool packetsArePictures(AVCodecID codec) {
  constexpr AVCodecID withHiddenPictures[] = {AV_CODEC_ID_VP7, AV_CODEC_ID_VP8, AV_CODEC_ID_VP9, AV_CODEC_ID_AV1};
  const AVCodecDescriptor *descriptor = avcodec_descriptor_get(codec);
  return descriptor && !(descriptor->props & AV_CODEC_PROP_REORDER) &&
         std::count(std::begin(withHiddenPictures), std::end(withHiddenPictures), codec) == 0;
}

}  // namespace

void findStreams(AVFormatContext &demuxer) {
  std::vector<Dictionary> limits(demuxer.nb_streams);
  std::vector<AVDictionary *> options;
  for (Dictionary &limit : limits) {
    limit.set("max_pixels", std::to_string(maximumPixels).c_str());
    options.push_back(*limit.get());
  }
  // What it cannot find out shows when decoding.
  avformat_find_stream_info(&demuxer, options.data());
  for (std::size_t index = 0; index < limits.size(); ++index) *limits[index].get() = options[index];
}

AVStream *findVideo(const AVFormatContext &demuxer) {
  const auto end = demuxer.streams + demuxer.nb_streams;
  const auto found = std::find_if(demuxer.streams, end, [](const AVStream *stream) {
    return stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC);
  });
  return found == end ? nullptr : *found;
}

MovieDecoder::MovieDecoder(const std::string &path, const AVInputFormat *demuxer)
    : file_(path), demuxer_(file_.demux(demuxer)) {
  findStreams(*demuxer_);
  stream_ = findVideo(*demuxer_);
  if (!stream_) failReading(path, causeNotDecodable);
  for (unsigned index = 0; index < demuxer_->nb_streams; ++index)
    if (demuxer_->streams[index] != stream_) demuxer_->streams[index]->discard = AVDISCARD_ALL;
  requireReadableSize({stream_->codecpar->width, stream_->codecpar->height}, path);
  decoder_.emplace(*stream_, path);
}

bool MovieDecoder::readPacket() {
  for (;;) {
    av_packet_unref(packet_.get());
    const int result = av_read_frame(demuxer_.get(), packet_.get());
    if (result == AVERROR_EOF) return false;
    if (result < 0 || (packet_->flags & AV_PKT_FLAG_CORRUPT)) failReading(file_.path(), causeCutOff);
    if (packet_->stream_index == stream_->index) return true;
  }
}

const AVFrame *MovieDecoder::next() {
  for (;;) {
    if (AVFrame *frame = decoder_->receive()) {
      frame->sample_aspect_ratio = av_guess_sample_aspect_ratio(demuxer_.get(), stream_, frame);
      orient(*frame);
      return frame;
    }
    if (decoder_->isAtEnd()) return nullptr;
    decoder_->send(readPacket() ? packet_.get() : nullptr);
  }
}

/// A picture that says nothing itself has the container's display matrix.
void MovieDecoder::orient(AVFrame &frame) const {
  std::size_t size = 0;
  const std::uint8_t *matrix = av_stream_get_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (!matrix || av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX)) return;
  AVFrameSideData *data = av_frame_new_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX, size);
  if (!data) throw std::bad_alloc();
  std::memcpy(data->data, matrix, size);
}

/// The pictures in the index of a QuickTime or MP4 file, which is complete once the file is open; 0 if the file is
/// written in fragments or is another container. Pictures that the file's edit list leaves out are not decoded.
std::int64_t MovieDecoder::countIndex() const {
  if (!av_match_name("mov", demuxer_->iformat->name) || stream_->nb_frames == 0) return 0;
  std::int64_t count = 0;
  for (int index = 0; index < avformat_index_get_entries_count(stream_); ++index)
    if (!(avformat_index_get_entry(stream_, index)->flags & AVINDEX_DISCARD_FRAME)) ++count;
  return count;
}

std::int64_t MovieDecoder::countPictures() {
  if (const std::int64_t indexed = countIndex()) return indexed;
  std::int64_t count = 0;
  if (packetsArePictures(decoder_->codec()))
    while (readPacket()) count += (packet_->flags & AV_PKT_FLAG_DISCARD) ? 0 : 1;
  else
    while (next()) ++count;
  return count;
}

bool MovieDecoder::hasAudio() const {
  return std::any_of(demuxer_->streams, demuxer_->streams + demuxer_->nb_streams,
                     [](const AVStream *stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; });
}

FrameRate MovieDecoder::frameRate() const {
  for (const AVRational rate : {stream_->avg_frame_rate, stream_->r_frame_rate})
    if (rate.num > 0 && rate.den > 0) return {rate.num, rate.den};
  return {};
}

}  // namespace pyrelux::media
