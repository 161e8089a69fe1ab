#include "InputFile.h"

#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

#include "LibraryCause.h"
#include "MediaErrors.h"
#include "RegularFile.h"
#include "StandardStream.h"
#include "StillStructure.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace pyrelux::media {

namespace {

/// Scripts and playlists: nothing but the names of other files.
constexpr const char *playlists = "concat,dash,hls,imf,sdp";

constexpr const char *causeEmpty = "it is empty";

}  // namespace

bool isForPictures(const AVInputFormat &demuxer) {
  constexpr std::string_view end = "_pipe";
  const std::string_view name = demuxer.name;
  return name.size() >= end.size() && name.substr(name.size() - end.size()) == end;
}

InputFile::InputFile(const std::string &path) : path_(path) {
  std::string url = "file:" + path;
  if (path == standardInput) {
    takeStandardInput();
    url = "pipe:0";
  } else {
    requireRegularFile(path);
    std::error_code error;
    if (std::filesystem::file_size(path, error) == 0) failReading(path, causeEmpty);
  }
  AVIOContext *io = nullptr;
  const int result = avio_open2(&io, url.c_str(), AVIO_FLAG_READ, nullptr, nullptr);
  if (result < 0) failReading(path, libraryCause(result));
  io_.reset(io);
}

const AVInputFormat *InputFile::probe() {
  const AVInputFormat *demuxer = nullptr;
  const int result = av_probe_input_buffer2(io_.get(), &demuxer, "", nullptr, 0, 0);
  if (result < 0 || !demuxer) {
    // It is at its first byte again.
    avio_r8(io_.get());
    failReading(path_, avio_feof(io_.get()) ? causeEmpty : causeNotDecodable);
  }
  if (av_match_name(demuxer->name, playlists)) failReading(path_, causeNotDecodable);
  return demuxer;
}

Content InputFile::identify() {
  // Targa is the one picture format without a signature at its start, so here the name has to tell.
  if (av_match_ext(path_.c_str(), "tga")) return {nullptr, AV_CODEC_ID_TARGA};

  const AVInputFormat *demuxer = probe();
  if (std::string_view(demuxer->name) == "gif") {
    const PacketPtr bytes = readAll();
    const bool isAnimation = countGifPictures(bytes->data, bytes->size).value_or(1) > 1;
    return {demuxer, isAnimation ? AV_CODEC_ID_NONE : AV_CODEC_ID_GIF};
  }
  if (isForPictures(*demuxer)) {
    const DemuxerPtr opened = demux(demuxer);
    return {demuxer, opened->streams[0]->codecpar->codec_id};
  }
  return {demuxer, AV_CODEC_ID_NONE};
}

DemuxerPtr InputFile::demux(const AVInputFormat *demuxer) {
  if (path_ != standardInput && avio_seek(io_.get(), 0, SEEK_SET) < 0) failReading(path_, causeCutOff);
  // On failure the libraries free what they were given, so that there is nothing to own before.
  AVFormatContext *context = avformat_alloc_context();
  if (!context) throw std::bad_alloc();
  context->pb = io_.get();
  Dictionary options;
  // Keeps demuxers from opening other files, since no protocol has this name.
  options.set("protocol_whitelist", "none");
  // Of pictures without a known size, so much at a time.
  if (path_ == standardInput) options.set("frame_size", "65536");
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
