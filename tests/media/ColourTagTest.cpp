// What files say of their colours, and whether it is true: they are decoded by FFmpeg as their tags ask for.

#include <algorithm>
#include <array>
#include <cstring>

#include "FileFormat.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

using Bytes = std::array<std::uint8_t, 3>;

// What the matrices of high and standard definition differ in most.
constexpr std::array<Bytes, 6> bars = {
    {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {0, 255, 255}, {255, 0, 255}}};
constexpr int barWidth = 32;
constexpr int width = barWidth * static_cast<int>(bars.size());
constexpr int height = 32;

Image barPicture() {
  Image image = Image::bytes(width, height, Alpha::Premultiplied);
  for (std::size_t pixel = 0; pixel < image.sampleCount() / 4; ++pixel) {
    std::copy_n(bars[pixel % width / barWidth].begin(), 3, &image.asBytes()[pixel * 4]);
    image.asBytes()[pixel * 4 + 3] = 255;
  }
  return image;
}

/// The tags of a movie and its first frame.
struct Decoded {
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  FramePtr frame = newFrame();
};

Decoded decode(const std::string &path) {
  AVFormatContext *opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) throw std::runtime_error("can't open " + path);
  const DemuxerPtr demuxer(opened);
  avformat_find_stream_info(opened, nullptr);
  const AVCodecParameters &parameters = *demuxer->streams[0]->codecpar;
  Decoded decoded;
  decoded.matrix = parameters.color_space;
  decoded.primaries = parameters.color_primaries;
  decoded.transfer = parameters.color_trc;
  decoded.range = parameters.color_range;
  const AVCodec *codec = avcodec_find_decoder(parameters.codec_id);
  const CodecPtr decoder(avcodec_alloc_context3(codec));
  avcodec_parameters_to_context(decoder.get(), &parameters);
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0) throw std::runtime_error("can't decode " + path);
  const PacketPtr packet = newPacket();
  while (avcodec_receive_frame(decoder.get(), decoded.frame.get()) < 0) {
    av_packet_unref(packet.get());
    const bool hasPacket = av_read_frame(demuxer.get(), packet.get()) >= 0;
    if (avcodec_send_packet(decoder.get(), hasPacket ? packet.get() : nullptr) < 0 && !hasPacket)
      throw std::runtime_error("no frame in " + path);
  }
  return decoded;
}

/// Red, green and blue of the pixel in the middle of each bar, by FFmpeg's scaler and the matrix of the tag.
std::vector<Bytes> middles(const Decoded &decoded) {
  const AVFrame &frame = *decoded.frame;
  const ScalerPtr scaler(sws_getContext(
      frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, AV_PIX_FMT_RGB24,
      SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
  constexpr int neutral = 1 << 16;
  sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(decoded.matrix), decoded.range == AVCOL_RANGE_JPEG,
                           sws_getCoefficients(AVCOL_SPC_BT709), 1, 0, neutral, neutral);
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(frame.width) * 3 * static_cast<std::size_t>(frame.height));
  std::uint8_t *const planes[] = {pixels.data()};
  const int strides[] = {frame.width * 3};
  sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
  std::vector<Bytes> colours(bars.size());
  for (std::size_t bar = 0; bar < bars.size(); ++bar)
    std::copy_n(&pixels[static_cast<std::size_t>(height / 2 * width) * 3 + (bar * barWidth + barWidth / 2) * 3], 3,
                colours[bar].begin());
  return colours;
}

class ColourTagTest : public MediaTest {
 protected:
  /// Calls `check` with what each codec of each kind of movie makes of the bars, in 8 and 16 bits.
  template <typename Check>
  void forEachMovie(Check check) {
    const Image image = barPicture();
    for (const FileFormat &file : fileFormats()) {
      // Animated WebP, which has no tags and a matrix of its own, is nothing that FFmpeg decodes.
      if (!file.isFile || !file.isMovie() || std::strcmp(file.extension, ".webp") == 0) continue;
      for (const Codec &codec : file.codecs)
        for (const int bits : {8, 16}) {
          const std::string name = std::string("a") + file.extension;
          SCOPED_TRACE(name + " " + codec.name + " " + std::to_string(bits));
          OutputFormat format = formatFor(image, bits);
          format.codec = codec.name;
          write(path(name), format, {image, image, image});
          check(codec.name, decode(path(name)));
        }
    }
  }
};

TEST_F(ColourTagTest, MoviesSayBt709) {
  int count = 0;
  forEachMovie([&](const std::string &codec, const Decoded &decoded) {
    if (codec == "gif" || codec == "apng") return;
    const bool isRgb = codec == "ffv1";
    EXPECT_EQ(decoded.matrix, isRgb ? AVCOL_SPC_RGB : AVCOL_SPC_BT709);
    EXPECT_EQ(decoded.primaries, AVCOL_PRI_BT709);
    EXPECT_EQ(decoded.transfer, AVCOL_TRC_BT709);
    EXPECT_EQ(decoded.range, isRgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG);
    ++count;
  });
  EXPECT_GE(count, 18);  // 9 of container and codec
}

TEST_F(ColourTagTest, TheMatrixIsTheOneThatTheTagNames) {
  // Both differences of colour off by one level, and the scaler's own rounding.
  constexpr int tolerance = 6;
  forEachMovie([&](const std::string &, const Decoded &decoded) {
    const std::vector<Bytes> colours = middles(decoded);
    for (std::size_t bar = 0; bar < bars.size(); ++bar)
      for (std::size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(colours[bar][channel], bars[bar][channel], tolerance) << "bar " << bar << " channel " << channel;
  });
}

TEST_F(ColourTagTest, PngSaysSrgb) {
  const std::string chunk("\0\0\0\1sRGB", 8);
  for (const char *name : {"a.png", "a.apng"})
    for (const int bits : {8, 16}) {
      SCOPED_TRACE(name);
      const Image image = barPicture();
      write(path(name), formatFor(image, bits), {image});
      const FileBytes bytes = load(path(name));
      EXPECT_NE(std::search(bytes.begin(), bytes.end(), chunk.begin(), chunk.end()), bytes.end());
    }
}

}  // namespace
}  // namespace pyrelux::media::test
