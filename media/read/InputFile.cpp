#include "InputFile.h"

#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

#include "LibraryCause.h"
#include "MediaErrors.h"
#include "RegularFile.h"
#include "StillStructure.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace pyrelux::media {

namespace {

/// Scripts and playlists: nothing but the names of other files.
constexpr const char *playlists = "concat,dash,hls,imf,sdp";

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

InputFile::InputFile(const std::string &path) : path_(path) {
  requireRegularFile(path);
  std::error_code error;
  if (std::filesystem::file_size(path, error) == 0) failReading(path, "it is empty");
  AVIOContext *io = nullptr;
  const int result = avio_open2(&io, ("file:" + path).c_str(), AVIO_FLAG_READ, nullptr, nullptr);
  if (result < 0) failReading(path, libraryCause(result));
  io_.reset(io);
}

Content InputFile::identify() {
  // Targa is the one picture format without a signature at its start, so here the name has to tell.
  if (av_match_ext(path_.c_str(), "tga")) return {nullptr, AV_CODEC_ID_TARGA};

  const AVInputFormat *demuxer = nullptr;
  if (av_probe_input_buffer2(io_.get(), &demuxer, "", nullptr, 0, 0) < 0 || !demuxer)
    failReading(path_, causeNotDecodable);
  const std::string_view name = demuxer->name;
  if (av_match_name(demuxer->name, playlists)) failReading(path_, causeNotDecodable);

  if (name == "gif") {
    const PacketPtr bytes = readAll();
    const bool isAnimation = countGifPictures(bytes->data, bytes->size).value_or(1) > 1;
    return {demuxer, isAnimation ? AV_CODEC_ID_NONE : AV_CODEC_ID_GIF};
  }
  if (endsWith(name, "_pipe")) {
    const DemuxerPtr opened = demux(demuxer);
    return {demuxer, opened->streams[0]->codecpar->codec_id};
  }
  return {demuxer, AV_CODEC_ID_NONE};
}

DemuxerPtr InputFile::demux(const AVInputFormat *demuxer) {
  if (avio_seek(io_.get(), 0, SEEK_SET) < 0) failReading(path_, causeCutOff);
  // On failure the libraries free what they were given, so that there is nothing to own before.
  AVFormatContext *context = avformat_alloc_context();
  if (!context) throw std::bad_alloc();
  context->pb = io_.get();
  Dictionary options;
  // Keeps demuxers from opening other files, since no protocol has this name.
  options.set("protocol_whitelist", "none");
  const int result = avformat_open_input(&context, "", demuxer, options.get());
  if (result < 0) failReading(path_, causeCutOff);
  return DemuxerPtr(context);
}

PacketPtr InputFile::readAll() {
  const std::int64_t size = avio_size(io_.get());
  if (size > std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE)
    failReading(path_, "it is larger than 2 gigabytes");
  PacketPtr packet = newPacket();
  if (size < 0 || avio_seek(io_.get(), 0, SEEK_SET) < 0) failReading(path_, causeCutOff);
  if (av_new_packet(packet.get(), static_cast<int>(size)) < 0) throw std::bad_alloc();
  const int count = avio_read(io_.get(), packet->data, packet->size);
  if (count < 0) failReading(path_, libraryCause(count));
  if (count != packet->size) failReading(path_, causeCutOff);
  return packet;
}

}  // namespace pyrelux::media
