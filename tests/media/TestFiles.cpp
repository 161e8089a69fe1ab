#include "TestFiles.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "LibraryLog.h"
#include "PixelConversion.h"

namespace pyrelux::media::test {

namespace {

void require(int result, const char *what) {
  if (result < 0) throw std::runtime_error(what);
}

CodecPtr openEncoder(const std::string &name, const AVFrame &frame, AVRational timeBase, int flags,
                     const std::string &option) {
  const AVCodec *encoder = avcodec_find_encoder_by_name(name.c_str());
  if (!encoder) throw std::runtime_error("no encoder " + name);
  CodecPtr context = allocated<CodecPtr>(avcodec_alloc_context3(encoder));
  context->width = frame.width;
  context->height = frame.height;
  context->pix_fmt = static_cast<AVPixelFormat>(frame.format);
  context->time_base = timeBase;
  context->colorspace = frame.colorspace;
  context->color_range = frame.color_range;
  context->color_trc = frame.color_trc;
  context->color_primaries = frame.color_primaries;
  context->sample_aspect_ratio = frame.sample_aspect_ratio;
  context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
  context->flags |= flags;
  Dictionary options;
  if (const std::size_t equals = option.find('='); equals != std::string::npos)
    options.set(option.substr(0, equals).c_str(), option.substr(equals + 1).c_str());
  require(avcodec_open2(context.get(), encoder, options.get()), "cannot open the encoder");
  return context;
}

template <typename Sink>
void encode(AVCodecContext &encoder, const AVFrame *frame, Sink sink) {
  require(avcodec_send_frame(&encoder, frame), "cannot encode");
  const PacketPtr packet = newPacket();
  while (avcodec_receive_packet(&encoder, packet.get()) >= 0) sink(*packet);
}

template <typename Samples>
void expectSamplesNear(const Samples &actual, const Samples &expected, double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t index = 0; index < actual.size(); ++index)
    ASSERT_LE(std::fabs(static_cast<double>(actual[index]) - static_cast<double>(expected[index])), tolerance)
        << "pixel " << index / 4 << " channel " << index % 4 << ": " << +actual[index] << " instead of "
        << +expected[index];
}

}  // namespace

MediaTest::MediaTest() {
  silenceLibraries();
  std::string name = (std::filesystem::temp_directory_path() / "pyrelux-media-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a temporary folder");
  folder_ = name;
}

MediaTest::~MediaTest() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::vector<std::string> MediaTest::names() const {
  std::vector<std::string> found;
  for (const auto &entry : std::filesystem::directory_iterator(folder_))
    found.push_back(entry.path().filename().string());
  std::sort(found.begin(), found.end());
  return found;
}

FileBytes load(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return FileBytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void save(const std::string &path, const FileBytes &bytes) { save(path, std::string(bytes.begin(), bytes.end())); }

void save(const std::string &path, const std::string &text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error("cannot save " + path);
}

Image straightPicture(int width, int height) {
  Image image = Image::bytes(width, height, Alpha::Straight);
  std::uint8_t *sample = image.asBytes().data();
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x, sample += 4) {
      sample[0] = static_cast<std::uint8_t>(7 + x * 31);
      sample[1] = static_cast<std::uint8_t>(200 - y * 23);
      sample[2] = static_cast<std::uint8_t>(x * y * 5 + 90);
      sample[3] = static_cast<std::uint8_t>(x == 0 ? 255 : (x == 1 ? 0 : 40 + x * 13 + y * 7));
    }
  return image;
}

Image deepStraightPicture(int width, int height) {
  Image image = Image::floats(width, height, Alpha::Straight);
  std::vector<float> &samples = image.asFloats();
  std::uint32_t value = 1;
  for (std::size_t index = 0; index < samples.size(); ++index) {
    value = value * 1664525u + 1013904223u;
    samples[index] = static_cast<float>(value >> 16) / 65535.0f;
  }
  samples[0] = 1.0f;
  samples[1] = 0.0f;
  return image;
}

Image flat(int width, int height, float red, float green, float blue, float alpha) {
  Image image = Image::floats(width, height, Alpha::Premultiplied);
  const float colour[] = {red, green, blue, alpha};
  for (std::size_t index = 0; index < image.sampleCount(); ++index) image.asFloats()[index] = colour[index % 4];
  return image;
}

void write(const std::string &path, const OutputFormat &format, const std::vector<Image> &images) {
  const auto writer = Writer::open(path, format);
  for (std::size_t index = 0; index < images.size(); ++index)
    writer->write(static_cast<std::int64_t>(index) + 1, images[index]);
  writer->finish();
}

OutputFormat formatFor(const Image &image, int bits) { return {image.width(), image.height(), bits, {25, 1}}; }

Image readStill(const std::string &path) { return Reader::open(path)->read(0); }

std::string readingMessage(const std::string &path, std::int64_t frame) {
  try {
    Reader::open(path)->read(frame);
    return {};
  } catch (const MediaError &error) {
    return error.what();
  }
}

std::string writingMessage(const std::string &path, const OutputFormat &format) {
  try {
    Writer::open(path, format);
    return {};
  } catch (const MediaError &error) {
    return error.what();
  }
}

FramePtr blankFrame(AVPixelFormat layout, int width, int height) {
  FramePtr frame = newFrame();
  frame->format = layout;
  frame->width = width;
  frame->height = height;
  require(av_frame_get_buffer(frame.get(), 0), "cannot allocate a frame");
  std::memset(frame->buf[0]->data, 0, frame->buf[0]->size);
  return frame;
}

FramePtr frameOf(const Image &image, AVPixelFormat layout) {
  FramePtr frame = allocateFrame(layout, image.width(), image.height());
  setFrame(*frame, image, "test");
  return frame;
}

FileBytes encodeStill(const std::string &encoder, const AVFrame &frame, const std::string &option) {
  const CodecPtr context = openEncoder(encoder, frame, {1, 25}, 0, option);
  FileBytes bytes;
  const auto append = [&bytes](const AVPacket &packet) {
    bytes.insert(bytes.end(), packet.data, packet.data + packet.size);
  };
  encode(*context, &frame, append);
  encode(*context, nullptr, append);
  return bytes;
}

void saveMovie(const std::string &path, const std::string &muxer, const std::string &encoder,
               const std::vector<FramePtr> &frames, std::int64_t firstTime, const std::vector<std::int64_t> &times) {
  AVFormatContext *allocatedMuxer = nullptr;
  require(avformat_alloc_output_context2(&allocatedMuxer, nullptr, muxer.c_str(), nullptr), "no such muxer");
  const MuxerPtr output(allocatedMuxer);
  const int flags = (output->oformat->flags & AVFMT_GLOBALHEADER) ? AV_CODEC_FLAG_GLOBAL_HEADER : 0;
  const CodecPtr context = openEncoder(encoder, *frames.at(0), {1, 25}, flags, "");
  AVIOContext *io = nullptr;
  require(avio_open(&io, path.c_str(), AVIO_FLAG_WRITE), "cannot open the movie");
  const IoPtr file(io);
  output->pb = io;
  AVStream *stream = avformat_new_stream(output.get(), nullptr);
  require(avcodec_parameters_from_context(stream->codecpar, context.get()), "cannot describe the stream");
  stream->time_base = context->time_base;
  stream->sample_aspect_ratio = context->sample_aspect_ratio;
  if (const AVFrameSideData *matrix = av_frame_get_side_data(frames[0].get(), AV_FRAME_DATA_DISPLAYMATRIX)) {
    std::uint8_t *copy = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, matrix->size);
    std::memcpy(copy, matrix->data, matrix->size);
  }
  if (frames[0]->interlaced_frame)
    stream->codecpar->field_order = frames[0]->top_field_first ? AV_FIELD_TT : AV_FIELD_BB;
  require(avformat_write_header(output.get(), nullptr), "cannot begin the movie");
  const auto store = [&](AVPacket &packet) {
    packet.duration = 1;
    av_packet_rescale_ts(&packet, context->time_base, stream->time_base);
    require(av_interleaved_write_frame(output.get(), &packet), "cannot write a packet");
  };
  for (std::size_t index = 0; index < frames.size(); ++index) {
    frames[index]->pts = times.empty() ? firstTime + static_cast<std::int64_t>(index) : times[index];
    encode(*context, frames[index].get(), store);
  }
  encode(*context, nullptr, store);
  require(av_write_trailer(output.get()), "cannot end the movie");
}

void expectSame(const Image &actual, const Image &expected) { expectNear(actual, expected, 0.0); }

void expectNear(const Image &actual, const Image &expected, double tolerance) {
  ASSERT_EQ(actual.width(), expected.width());
  ASSERT_EQ(actual.height(), expected.height());
  ASSERT_EQ(actual.alpha(), expected.alpha());
  ASSERT_EQ(actual.isFloat(), expected.isFloat());
  if (actual.isFloat())
    expectSamplesNear(actual.asFloats(), expected.asFloats(), tolerance);
  else
    expectSamplesNear(actual.asBytes(), expected.asBytes(), tolerance);
}

}  // namespace pyrelux::media::test
