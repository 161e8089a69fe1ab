#include "MovieDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "MediaErrors.h"
#include "PictureSize.h"

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

/// Whether pictures that an edit list leaves out are decoded and not delivered. Decoders that hand out pictures at
/// their own pace deliver them.
bool leavesOutDiscarded(AVCodecID codec) {
  constexpr AVCodecID others[] = {AV_CODEC_ID_MJPEG, AV_CODEC_ID_SMVJPEG, AV_CODEC_ID_AV1};
  return std::count(std::begin(others), std::end(others), codec) == 0;
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

MovieDecoder::MovieDecoder(InputFile file, const AVInputFormat *demuxer, bool deinterlace)
    : file_(std::move(file)), demuxer_(file_.demux(demuxer)) {
  const std::string &path = file_.path();
  findStreams(*demuxer_);
  stream_ = findVideo(*demuxer_);
  if (!stream_) failReading(path, causeNotDecodable);
  for (unsigned index = 0; index < demuxer_->nb_streams; ++index)
    if (demuxer_->streams[index] != stream_) demuxer_->streams[index]->discard = AVDISCARD_ALL;
  requireReadableSize({stream_->codecpar->width, stream_->codecpar->height}, path);
  decoder_.emplace(*stream_, path);
  if (deinterlace) deinterlacer_.emplace(path, stream_->codecpar->field_order);
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

AVFrame *MovieDecoder::decode() {
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

const AVFrame *MovieDecoder::next() {
  if (!deinterlacer_) return decode();
  for (;;) {
    if (const AVFrame *frame = deinterlacer_->receive()) return frame;
    if (decoder_->isAtEnd()) return nullptr;
    deinterlacer_->send(decode());
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

/// By the index of a QuickTime or MP4 file, which is complete once the file is open. Nothing if the file is written in
/// fragments, is another container, or has an edit list that leaves out what the decoder delivers, or all there is. The
/// times are those of decoding, which is an even row where the pictures are one.
std::optional<PictureTimes> MovieDecoder::measureIndex() const {
  if (!av_match_name("mov", demuxer_->iformat->name) || stream_->nb_frames == 0) return std::nullopt;
  PictureTimes pictures;
  pictures.base = stream_->time_base;
  for (int index = 0; index < avformat_index_get_entries_count(stream_); ++index) {
    const AVIndexEntry *entry = avformat_index_get_entry(stream_, index);
    const bool isLeftOut = entry->flags & AVINDEX_DISCARD_FRAME;
    if (isLeftOut && !leavesOutDiscarded(decoder_->codec())) return std::nullopt;
    if (!isLeftOut) pictures.times.push_back(entry->timestamp);
  }
  pictures.count = static_cast<std::int64_t>(pictures.times.size());
  if (pictures.count == 0) return std::nullopt;
  pictures.end = pictures.times.back();
  return pictures;
}

std::optional<PictureTimes> MovieDecoder::measurePackets() {
  std::optional<PictureTimes> indexed = measureIndex();
  if (indexed && isEven(*indexed, frameRate())) return indexed;
  if (!indexed && !packetsArePictures(decoder_->codec())) return std::nullopt;
  PictureTimes pictures;
  pictures.base = stream_->time_base;
  bool areTimesKnown = true;
  while (readPacket()) {
    if (packet_->flags & AV_PKT_FLAG_DISCARD) {
      if (!leavesOutDiscarded(decoder_->codec())) return std::nullopt;
      continue;
    }
    ++pictures.count;
    const std::int64_t time = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
    areTimesKnown &= time != AV_NOPTS_VALUE;
    pictures.times.push_back(time);
    pictures.end = std::max(pictures.end, av_sat_add64(time, packet_->duration));
  }
  if (!areTimesKnown) pictures.times.clear();
  // Packets come in the order of decoding.
  if (indexed) std::sort(pictures.times.begin(), pictures.times.end());
  if (pictures.count == 0) return std::nullopt;
  return pictures;
}

PictureTimes MovieDecoder::measurePictures() {
  PictureTimes pictures;
  pictures.base = stream_->time_base;
  bool areTimesKnown = true;
  while (const AVFrame *frame = decode()) {
    ++pictures.count;
    const std::int64_t time = frame->best_effort_timestamp;
    areTimesKnown &= time != AV_NOPTS_VALUE;
    pictures.times.push_back(time);
    pictures.end = std::max(pictures.end, av_sat_add64(time, frame->pkt_duration));
  }
  if (!areTimesKnown) pictures.times.clear();
  return pictures;
}

bool MovieDecoder::hasAudio() const {
  return std::any_of(demuxer_->streams, demuxer_->streams + demuxer_->nb_streams,
                     [](const AVStream *stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; });
}

FrameRate MovieDecoder::frameRate() const {
  for (const AVRational &rate : frameRates())
    if (rate.num > 0 && rate.den > 0) return {rate.num, rate.den};
  return {};
}

}  // namespace pyrelux::media
