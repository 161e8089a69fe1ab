#include <webp/demux.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

OutputFormat formatOfCodec(const Image &image, int bits, const std::string &codec) {
  OutputFormat format = formatFor(image, bits);
  format.codec = codec;
  return format;
}

OutputFormat formatWithAlpha(const Image &image, int bits, AlphaUse alpha) {
  OutputFormat format = formatFor(image, bits);
  format.alpha = alpha;
  return format;
}

/// What straight pictures look like when colour under alpha 0 is not kept.
Image withoutHiddenColour(Image straight) {
  for (std::size_t sample = 0; sample < straight.sampleCount(); sample += 4)
    if (straight.asBytes()[sample + 3] == 0) std::fill_n(&straight.asBytes()[sample], 3, std::uint8_t{0});
  return straight;
}

/// A picture whose left half is one colour and whose right half is another, for codecs that blur a little.
Image halves(int width, int height, const Image &left, const Image &right) {
  Image image = Image::floats(width, height, left.alpha());
  for (std::size_t pixel = 0; pixel < image.sampleCount() / 4; ++pixel) {
    const Image &side = pixel % static_cast<std::size_t>(width) < static_cast<std::size_t>(width) / 2 ? left : right;
    std::copy_n(side.asFloats().begin(), 4, image.asFloats().begin() + static_cast<std::ptrdiff_t>(pixel) * 4);
  }
  return image;
}

class OutputFormatTest : public MediaTest {
 protected:
  /// What the demuxer and the decoder's look at the first pictures tell.
  DemuxerPtr demuxed(const std::string &name) const {
    AVFormatContext *opened = nullptr;
    EXPECT_EQ(avformat_open_input(&opened, path(name).c_str(), nullptr, nullptr), 0);
    EXPECT_GE(avformat_find_stream_info(opened, nullptr), 0);
    return DemuxerPtr(opened);
  }

  void expectTags(const std::string &name) const {
    const DemuxerPtr demuxer = demuxed(name);
    const AVCodecParameters &parameters = *demuxer->streams[0]->codecpar;
    EXPECT_EQ(parameters.color_space, AVCOL_SPC_BT709) << name;
    EXPECT_EQ(parameters.color_primaries, AVCOL_PRI_BT709) << name;
    EXPECT_EQ(parameters.color_trc, AVCOL_TRC_BT709) << name;
    EXPECT_EQ(parameters.color_range, AVCOL_RANGE_MPEG) << name;
  }

  struct Animation {
    std::vector<Image> frames;
    std::vector<int> ends;  ///< milliseconds
    unsigned loops = 1;     ///< 0 for ever
  };

  Animation readWebp(const std::string &name) const {
    const FileBytes bytes = load(path(name));
    const WebPData data = {bytes.data(), bytes.size()};
    WebPAnimDecoder *decoder = WebPAnimDecoderNew(&data, nullptr);
    if (!decoder) throw std::runtime_error("not an animated WebP");
    WebPAnimInfo info;
    WebPAnimDecoderGetInfo(decoder, &info);
    Animation animation;
    animation.loops = info.loop_count;
    std::uint8_t *pixels = nullptr;
    for (int end = 0; WebPAnimDecoderGetNext(decoder, &pixels, &end);) {
      Image image =
          Image::bytes(static_cast<int>(info.canvas_width), static_cast<int>(info.canvas_height), Alpha::Straight);
      std::copy_n(pixels, image.sampleCount(), image.asBytes().begin());
      animation.frames.push_back(image);
      animation.ends.push_back(end);
    }
    WebPAnimDecoderDelete(decoder);
    return animation;
  }
};

// Luma and both colour differences off by one level of 8 bits each: blue 1 / 219 + 1.8556 / 224 = 0.0129, which is 3.3
// levels.
constexpr int yuvTolerance = 4;

TEST_F(OutputFormatTest, TiffIsExact) {
  for (const char *name : {"a.tif", "a.TIFF"}) {
    const Image straight = straightPicture(13, 7);
    write(path(name), formatFor(straight, 8), {straight});
    EXPECT_EQ(Reader::open(path(name))->info().bitsPerComponent, 8);
    expectSame(readStill(path(name)), straight);
    const Image deep = deepStraightPicture(33, 5);
    write(path(name), formatFor(deep, 16), {deep});
    EXPECT_EQ(Reader::open(path(name))->info().bitsPerComponent, 16);
    expectSame(readStill(path(name)), deep);
  }
}

TEST_F(OutputFormatTest, TiffSequence) {
  const auto writer = Writer::open(path("a.##.tif"), {4, 4, 8, {}});
  for (const int frame : {3, 4}) writer->write(frame, flat(4, 4, 1, 0, 0, 1));
  writer->finish();
  EXPECT_EQ(names(), (std::vector<std::string>{"a.03.tif", "a.04.tif"}));
}

TEST_F(OutputFormatTest, TiffSaysWhichAlphaItHolds) {
  // ExtraSamples: 1 for alpha that colour is multiplied by, 2 for straight.
  const auto extraSamples = [](const FileBytes &tiff) {
    const auto number = [&tiff](std::size_t at, int bytes) {
      unsigned value = 0;
      for (int byte = bytes; byte-- > 0;) value = value << 8 | tiff.at(at + static_cast<std::size_t>(byte));
      return value;
    };
    const std::size_t directory = number(4, 4);
    for (std::size_t entry = 0; entry < number(directory, 2); ++entry)
      if (number(directory + 2 + 12 * entry, 2) == 338) return number(directory + 2 + 12 * entry + 8, 2);
    return 0u;
  };
  const Image half = flat(4, 4, 0.4f, 0.2f, 0.1f, 0.5f);
  for (const int bits : {8, 16}) {
    write(path("a.tif"), formatFor(half, bits), {half});
    EXPECT_EQ(extraSamples(load(path("a.tif"))), 2u);
    EXPECT_EQ(toBytes(readStill(path("a.tif"))).asBytes()[0], 204);
    write(path("a.tif"), formatWithAlpha(half, bits, AlphaUse::Premultiplied), {half});
    EXPECT_EQ(extraSamples(load(path("a.tif"))), 1u);
    EXPECT_EQ(toBytes(readStill(path("a.tif"))).asBytes()[0], 102);
  }
}

TEST_F(OutputFormatTest, ExrOfFloatsIsExact) {
  Image image = deepStraightPicture(9, 5);
  image = premultiplied(image);
  image.asFloats()[4] = 1.2345678e7f;
  image.asFloats()[5] = -0.1f;
  write(path("a.exr"), formatOfCodec(image, 16, "float"), {image});
  expectSame(readStill(path("a.exr")), image);
  write(path("a.exr"), formatOfCodec(image, 16, "half"), {image});
  EXPECT_NE(readStill(path("a.exr")).asFloats()[5], -0.1f);
}

TEST_F(OutputFormatTest, AlphaIsStoredAsAsked) {
  const Image half = flat(16, 16, 0.4f, 0.2f, 0.1f, 0.5f);
  for (const char *name : {"a.png", "a.tif", "a.exr", "a.mov", "a.mkv", "a.webm", "a.apng"})
    for (const AlphaUse alpha : {AlphaUse::Straight, AlphaUse::Premultiplied}) {
      SCOPED_TRACE(name);
      write(path(name), formatWithAlpha(half, 8, alpha), {half});
      const Image image = toBytes(Reader::open(path(name))->read(1));
      EXPECT_NEAR(image.asBytes()[0], alpha == AlphaUse::Straight ? 204 : 102, yuvTolerance);
      EXPECT_NEAR(image.asBytes()[3], 128, 2);
    }
}

TEST_F(OutputFormatTest, CustomaryAlpha) {
  const Image half = flat(16, 16, 0.4f, 0.2f, 0.1f, 0.5f);
  for (const char *name : {"a.png", "a.tif", "a.exr", "a.mov", "a.mkv", "a.webm", "a.apng"}) {
    write(path(name), formatFor(half, 8), {half});
    const bool isPremultiplied = std::strcmp(name, "a.exr") == 0;
    EXPECT_NEAR(toBytes(Reader::open(path(name))->read(1)).asBytes()[0], isPremultiplied ? 102 : 204, yuvTolerance)
        << name;
  }
}

TEST_F(OutputFormatTest, H264AndH265InEveryContainer) {
  for (const char *name : {"a.mp4", "a.mov", "a.mkv"})
    for (const char *codec : {"h264", "h265"})
      for (const int bits : {8, 16}) {
        SCOPED_TRACE(std::string(name) + " " + codec + " " + std::to_string(bits));
        const Image image = flat(64, 18, 0.4f, 0.2f, 0.1f, 0.5f);
        write(path(name), formatOfCodec(image, bits, codec), {image, image, image});
        const auto reader = Reader::open(path(name));
        EXPECT_FALSE(reader->info().hasAlpha);
        EXPECT_EQ(reader->info().lastFrame, 3);
        const bool isDeep = bits == 16 && std::strcmp(codec, "h265") == 0;
        EXPECT_EQ(reader->info().bitsPerComponent, isDeep ? 10 : 8);
        const Image read = toBytes(reader->read(3));
        const int expected[] = {102, 51, 26, 255};
        for (std::size_t sample = 0; sample < read.sampleCount(); ++sample)
          ASSERT_NEAR(read.asBytes()[sample], expected[sample % 4], yuvTolerance) << sample;
        expectTags(name);
        const AVCodecID id = demuxed(name)->streams[0]->codecpar->codec_id;
        EXPECT_EQ(id, std::strcmp(codec, "h264") == 0 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC);
      }
}

TEST_F(OutputFormatTest, H265HasTheTagThatPlayersKnow) {
  const Image image = flat(64, 18, 0.4f, 0.2f, 0.1f, 1.0f);
  for (const char *name : {"a.mp4", "a.mov"}) {
    write(path(name), formatOfCodec(image, 8, "h265"), {image});
    EXPECT_EQ(demuxed(name)->streams[0]->codecpar->codec_tag, unsigned{MKTAG('h', 'v', 'c', '1')}) << name;
  }
}

TEST_F(OutputFormatTest, H265RefusesWhatItsLibraryWritesPastItsBuffersFor) {
  OutputFormat format;
  format.codec = "h265";
  for (const auto &[width, height] : {std::pair(48, 36), {50, 14}}) {
    format.width = width;
    format.height = height;
    EXPECT_EQ(writingMessage(path("a.mkv"), format), "cannot write '" + path("a.mkv") + "': pictures of " +
                                                         std::to_string(width) + "x" + std::to_string(height) +
                                                         " pixels cannot be encoded; h265 needs 50x16 pixels at least");
  }
  format.width = 49;  // and a column of padding
  format.height = 15;
  write(path("a.mkv"), format, {flat(49, 15, 1.0f, 1.0f, 1.0f, 1.0f)});
  EXPECT_EQ(Reader::open(path("a.mkv"))->info().width, 50);
  EXPECT_EQ(Reader::open(path("a.mkv"))->info().height, 16);
}

TEST_F(OutputFormatTest, WebmHoldsColourAndAlpha) {
  const Image left = flat(1, 1, 0.4f, 0.2f, 0.1f, 0.5f);
  const Image right = flat(1, 1, 0.0f, 0.5f, 0.0f, 1.0f);
  const Image image = halves(64, 32, left, right);
  write(path("a.webm"), formatFor(image, 8), {image, image, image, flat(64, 32, 0, 0, 0, 0)});
  expectTags("a.webm");
  const auto reader = Reader::open(path("a.webm"));
  ASSERT_TRUE(reader->info().hasAlpha);
  ASSERT_EQ(reader->info().lastFrame, 4);
  const Image read = reader->read(3);
  ASSERT_EQ(read.alpha(), Alpha::Straight);
  const int expected[][4] = {{204, 102, 51, 128}, {0, 128, 0, 255}};
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 64; ++x) {
      if (std::abs(x - 32) < 9) continue;  // Blocks of 8 across the edge ring.
      for (int channel = 0; channel < 4; ++channel)
        // Alpha is stored as luma of full range, so that one level off is one level.
        ASSERT_NEAR(read.asBytes()[static_cast<std::size_t>((y * 64 + x) * 4 + channel)], expected[x >= 32][channel],
                    channel == 3 ? 1 : yuvTolerance)
            << x << " " << y << " " << channel;
    }
  EXPECT_LE(reader->read(4).asBytes()[3], 1);
}

TEST_F(OutputFormatTest, ApngIsLossless) {
  std::vector<Image> frames;
  for (const std::size_t changed : {0, 1, 2, 2}) {
    Image image = straightPicture(24, 10);
    // Frames that differ in a part, so that the encoder stores parts; the last two are the same.
    for (std::size_t sample = 0; sample < 4 * 24 * changed; ++sample)
      image.asBytes()[sample] = static_cast<std::uint8_t>(image.asBytes()[sample] ^ (37 * changed));
    frames.push_back(image);
  }
  for (const int bits : {8, 16}) {
    write(path("a.apng"), formatFor(frames[0], bits), frames);
    const auto reader = Reader::open(path("a.apng"));
    EXPECT_EQ(reader->info().frameRate.perSecond(), 25.0);
    ASSERT_EQ(reader->info().lastFrame, 4);
    for (int frame = 0; frame < 4; ++frame) {
      SCOPED_TRACE(frame);
      expectSame(reader->read(frame + 1), frames[static_cast<std::size_t>(frame)]);
    }
  }
}

TEST_F(OutputFormatTest, ApngPlaysForEver) {
  const Image image = straightPicture(4, 4);
  write(path("a.apng"), formatFor(image, 8), {image, flat(4, 4, 1, 0, 0, 1)});
  const FileBytes bytes = load(path("a.apng"));
  const std::string control = "acTL";
  const auto found = std::search(bytes.begin(), bytes.end(), control.begin(), control.end());
  ASSERT_GE(bytes.end() - found, 12);
  EXPECT_EQ(FileBytes(found + 4, found + 12), (FileBytes{0, 0, 0, 2, 0, 0, 0, 0}));
}

TEST_F(OutputFormatTest, WebpWithoutLoss) {
  std::vector<Image> frames;
  for (int frame = 0; frame < 3; ++frame) {
    Image image = straightPicture(24, 10);
    for (std::size_t row = 0; row < 5; ++row)
      for (std::size_t sample = 0; sample < 12; ++sample)
        image.asBytes()[row * 96 + sample] = static_cast<std::uint8_t>(40 + frame * 70);
    frames.push_back(withoutHiddenColour(image));
  }
  write(path("a.webp"), formatOfCodec(frames[0], 8, "lossless"), frames);
  const Animation animation = readWebp("a.webp");
  EXPECT_EQ(animation.loops, 0u);
  EXPECT_EQ(animation.ends, (std::vector<int>{40, 80, 120}));
  ASSERT_EQ(animation.frames.size(), frames.size());
  for (std::size_t frame = 0; frame < frames.size(); ++frame) {
    SCOPED_TRACE(frame);
    expectSame(withoutHiddenColour(animation.frames[frame]), frames[frame]);
  }
}

TEST_F(OutputFormatTest, WebpWithLoss) {
  const Image first = flat(32, 32, 0.4f, 0.2f, 0.1f, 0.5f);
  const Image second = flat(32, 32, 0.0f, 0.5f, 0.0f, 1.0f);
  write(path("a.webp"), formatFor(first, 8), {first, second});
  const Animation animation = readWebp("a.webp");
  ASSERT_EQ(animation.frames.size(), 2u);
  const int expected[][4] = {{204, 102, 51, 128}, {0, 128, 0, 255}};
  for (std::size_t frame = 0; frame < 2; ++frame)
    for (std::size_t sample = 0; sample < first.sampleCount(); ++sample)
      // Alpha is never lossy, and half of it lies between two levels.
      ASSERT_NEAR(animation.frames[frame].asBytes()[sample], expected[frame][sample % 4],
                  sample % 4 == 3 ? 1 : yuvTolerance)
          << frame << " " << sample;
}

TEST_F(OutputFormatTest, GifShowsThePictureOverBlack) {
  // Few colours are stored as they are, but for the rounding of the palette's gamma.
  const Image left = flat(1, 1, 0.4f, 0.2f, 0.1f, 0.5f);
  const Image right = flat(1, 1, 0.0f, 0.5f, 0.0f, 0.0f);
  const Image image = halves(20, 10, left, right);
  write(path("a.gif"), formatFor(image, 8), {image, flat(20, 10, 1, 1, 1, 1), image});
  const auto reader = Reader::open(path("a.gif"));
  ASSERT_EQ(reader->info().lastFrame, 3);
  EXPECT_EQ(reader->info().frameRate.perSecond(), 25.0);
  const int expected[][4] = {{102, 51, 26, 255}, {0, 128, 0, 255}};
  for (const int frame : {1, 3}) {
    const Image read = reader->read(frame);
    for (std::size_t sample = 0; sample < read.sampleCount(); ++sample)
      ASSERT_NEAR(read.asBytes()[sample], expected[sample / 4 % 20 >= 10][sample % 4], 1) << frame << " " << sample;
  }
  EXPECT_GE(reader->read(2).asBytes()[0], 254);
}

TEST_F(OutputFormatTest, GifPalettesFollowThePictures) {
  // Each picture has 200 colours of its own, which one palette for both could not hold.
  const auto ramp = [](int channel) {
    Image image = Image::bytes(200, 4, Alpha::Premultiplied);
    for (std::size_t pixel = 0; pixel < 800; ++pixel) {
      image.asBytes()[pixel * 4 + static_cast<std::size_t>(channel)] = static_cast<std::uint8_t>(50 + pixel % 200);
      image.asBytes()[pixel * 4 + 3] = 255;
    }
    return image;
  };
  const std::vector<Image> frames = {ramp(0), ramp(1), ramp(2)};
  write(path("a.gif"), formatFor(frames[0], 8), frames);
  const auto reader = Reader::open(path("a.gif"));
  for (std::size_t frame = 0; frame < 3; ++frame) {
    const Image read = reader->read(static_cast<std::int64_t>(frame) + 1);
    for (std::size_t sample = 0; sample < read.sampleCount(); ++sample)
      ASSERT_NEAR(read.asBytes()[sample], frames[frame].asBytes()[sample], 3) << frame << " " << sample;
  }
}

TEST_F(OutputFormatTest, GifHasAHundredFramesPerSecondAtMost) {
  EXPECT_EQ(writingMessage(path("a.gif"), {4, 4, 8, {100, 1}}), "");
  EXPECT_EQ(writingMessage(path("a.gif"), {4, 4, 8, {120, 1}}),
            "cannot write '" + path("a.gif") + "': it can hold no more than 100 frames per second");
}

TEST_F(OutputFormatTest, SmallestSizes) {
  for (const char *name : {"a.tif", "a.webm", "a.apng", "a.gif"}) {
    write(path(name), {1, 1, 8, {}}, {flat(1, 1, 1.0f, 1.0f, 1.0f, 1.0f)});
    EXPECT_NEAR(toBytes(Reader::open(path(name))->read(1)).asBytes()[0], 255, yuvTolerance) << name;
  }
  write(path("a.webp"), {1, 1, 8, {}}, {flat(1, 1, 1.0f, 1.0f, 1.0f, 1.0f), flat(1, 1, 0.0f, 0.0f, 0.0f, 1.0f)});
  EXPECT_EQ(readWebp("a.webp").frames.size(), 2u);
}

}  // namespace
}  // namespace pyrelux::media::test
