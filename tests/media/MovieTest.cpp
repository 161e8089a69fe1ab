#include <algorithm>
#include <cmath>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

class Movie : public MediaTest {
 protected:
  /// Frames told apart by their level of red: 10, 20, 30, ...
  void writeCounted(const std::string &name, int count, FrameRate rate = {25, 1}) {
    const auto writer = Writer::open(path(name), {32, 32, 8, rate});
    for (int frame = 1; frame <= count; ++frame)
      writer->write(frame, flat(32, 32, static_cast<float>(frame * 10) / 255.0f, 0.2f, 0.1f, 1.0f));
    writer->finish();
  }

  /// The number of a counted frame. The lossy formats are off by a few levels of 255, far less than half a step.
  static int counted(const Image &image) {
    const Image bytes = toBytes(image);
    return (bytes.asBytes()[(16 * 32 + 16) * 4] + 5) / 10;
  }
};

TEST_F(Movie, Ffv1IsLosslessAt8Bits) {
  for (const auto &[width, height] : {std::pair{13, 7}, {64, 48}, {2, 2}, {1, 1}}) {
    const Image straight = straightPicture(width, height);
    write(path("a.mkv"), formatFor(straight, 8), {straight});
    const auto reader = Reader::open(path("a.mkv"));
    EXPECT_EQ(reader->info().bitsPerComponent, 8);
    EXPECT_TRUE(reader->info().hasAlpha);
    expectSame(reader->read(1), straight);
  }
}

TEST_F(Movie, Ffv1IsLosslessAt16Bits) {
  for (const auto &[width, height] : {std::pair{13, 7}, {64, 48}, {1, 1}}) {
    const Image straight = deepStraightPicture(width, height);
    write(path("a.mkv"), formatFor(straight, 16), {straight, straight});
    const auto reader = Reader::open(path("a.mkv"));
    EXPECT_EQ(reader->info().bitsPerComponent, 16);
    expectSame(reader->read(2), straight);
  }
}

TEST_F(Movie, ProRes4444KeepsFlatColoursAndAlpha) {
  // The mean of a block is stored with at least 10 bits. With luma and both colour differences off by one level each,
  // blue is off by 1 / 876 + 1.8556 / 896 at most, the others by less.
  constexpr double colourTolerance = 0.0033;
  // Alpha is rounded to 10 bits when written and cut to 12 bits when read.
  constexpr double alphaTolerance = 0.5 / 1023.0 + 1.0 / 4095.0;
  const float colours[][4] = {{1.0f, 0.0f, 0.0f, 1.0f}, {0.1f, 0.8f, 0.3f, 1.0f},  {0.2f, 0.2f, 0.9f, 0.5f},
                              {1.0f, 1.0f, 1.0f, 1.0f}, {0.0f, 0.0f, 0.0f, 0.25f}, {0.5f, 0.25f, 0.125f, 0.0f}};
  std::vector<Image> straight;
  for (const auto &colour : colours) {
    Image image = Image::floats(33, 17, Alpha::Straight);
    for (std::size_t sample = 0; sample < image.sampleCount(); ++sample) image.asFloats()[sample] = colour[sample % 4];
    straight.push_back(image);
  }
  write(path("a.mov"), formatFor(straight[0], 8), straight);
  const auto reader = Reader::open(path("a.mov"));
  EXPECT_EQ(reader->info().width, 33);
  EXPECT_EQ(reader->info().height, 17);
  EXPECT_TRUE(reader->info().hasAlpha);
  EXPECT_EQ(reader->info().bitsPerComponent, 12);
  for (std::size_t frame = 0; frame < straight.size(); ++frame) {
    const Image image = reader->read(static_cast<std::int64_t>(frame) + 1);
    ASSERT_EQ(image.alpha(), Alpha::Straight);
    for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
      ASSERT_NEAR(image.asFloats()[sample], straight[frame].asFloats()[sample],
                  sample % 4 == 3 ? alphaTolerance : colourTolerance)
          << "frame " << frame << " sample " << sample;
    if (colours[frame][3] == 1.0f || colours[frame][3] == 0.0f) {
      ASSERT_EQ(image.asFloats()[3], colours[frame][3]);
    }
  }
}

TEST_F(Movie, ProRes4444HoldsMoreThan8Bits) {
  // A ramp that 8 bits would turn into four steps. It rises by less than one 10-bit level per pixel.
  Image ramp = Image::floats(64, 16, Alpha::Premultiplied);
  for (std::size_t pixel = 0; pixel < ramp.sampleCount() / 4; ++pixel) {
    const float level = 0.5f + static_cast<float>(pixel % 64) / 64.0f * 4.0f / 255.0f;
    for (std::size_t channel = 0; channel < 4; ++channel)
      ramp.asFloats()[pixel * 4 + channel] = channel == 3 ? 1.0f : level;
  }
  write(path("a.mov"), formatFor(ramp, 8), {ramp});
  // One 10-bit level, less than a third of the step of 8 bits.
  expectNear(premultiplied(Reader::open(path("a.mov"))->read(1)), ramp, 1.0 / 876.0);
}

TEST_F(Movie, ProRes4444IsStraight) {
  const Image half = flat(16, 16, 0.4f, 0.2f, 0.1f, 0.5f);
  write(path("a.mov"), formatFor(half, 8), {half});
  const Image read = Reader::open(path("a.mov"))->read(1);
  EXPECT_NEAR(read.asFloats()[0], 0.8f, 0.0033);
}

TEST_F(Movie, Mp4IsOverBlack) {
  // Luma and both colour differences off by one level of 8 bits each: blue 1 / 219 + 1.8556 / 224 = 0.0129, which is
  // 3.3 levels.
  constexpr int tolerance = 4;
  write(path("a.mp4"), {32, 32, 8, {}}, {flat(32, 32, 0.4f, 0.2f, 0.1f, 0.5f), flat(32, 32, 7.0f, 0.2f, 0.1f, 0.0f)});
  const auto reader = Reader::open(path("a.mp4"));
  EXPECT_FALSE(reader->info().hasAlpha);
  const int expected[][4] = {{102, 51, 26, 255}, {255, 51, 26, 255}};
  for (std::size_t frame = 0; frame < 2; ++frame) {
    const Image image = reader->read(static_cast<std::int64_t>(frame) + 1);
    for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
      ASSERT_NEAR(image.asBytes()[sample], expected[frame][sample % 4], tolerance) << "sample " << sample;
  }
}

TEST_F(Movie, Mp4PadsOddSizesWithBlack) {
  write(path("a.mp4"), {31, 17, 8, {}}, {flat(31, 17, 1.0f, 1.0f, 1.0f, 1.0f)});
  const auto reader = Reader::open(path("a.mp4"));
  ASSERT_EQ(reader->info().width, 32);
  ASSERT_EQ(reader->info().height, 18);
  const Image image = reader->read(1);
  const auto red = [&image](int x, int y) { return image.asBytes()[(static_cast<std::size_t>(y) * 32 + x) * 4]; };
  // The quantiser softens the sharp edge between black and white; both sides stay clearly apart.
  EXPECT_GT(red(29, 8), 220);
  EXPECT_LT(red(31, 8), 35);
  EXPECT_GT(red(15, 15), 220);
  EXPECT_LT(red(15, 17), 35);
}

TEST_F(Movie, SmallestSizes) {
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"}) {
    write(path(name), {1, 1, 8, {}}, {flat(1, 1, 1.0f, 1.0f, 1.0f, 1.0f)});
    EXPECT_NEAR(toBytes(Reader::open(path(name))->read(1)).asBytes()[0], 255, 4) << name;
  }
}

TEST_F(Movie, FramesComeInAnyOrder) {
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"}) {
    writeCounted(name, 20);
    const auto reader = Reader::open(path(name));
    EXPECT_EQ(reader->info().kind, InputKind::Movie);
    ASSERT_EQ(reader->info().firstFrame, 1);
    ASSERT_EQ(reader->info().lastFrame, 20) << name;
    for (const int frame : {1, 2, 3, 3, 20, 20, 19, 5, 6, 1, 12})
      EXPECT_EQ(counted(reader->read(frame)), frame) << name;
    for (int frame = 20; frame >= 1; --frame) EXPECT_EQ(counted(reader->read(frame)), frame) << name;
  }
}

TEST_F(Movie, SameFrameIsTheSamePicture) {
  writeCounted("a.mp4", 6);
  const auto reader = Reader::open(path("a.mp4"));
  const Image once = reader->read(4);
  expectSame(reader->read(4), once);
  reader->read(2);
  expectSame(reader->read(4), once);
}

TEST_F(Movie, CountsFramesOfContainersWithoutAnIndex) {
  // Grey, because not all of these containers keep the matrix.
  std::vector<FramePtr> frames;
  for (int frame = 1; frame <= 30; ++frame) {
    const float level = static_cast<float>(frame * 8) / 255.0f;
    frames.push_back(frameOf(flat(32, 32, level, level, level, 1.0f), AV_PIX_FMT_YUV420P));
  }
  // Codecs with reordered pictures, and streams whose packets a parser finds.
  saveMovie(path("a.ts"), "mpegts", "libx264", frames);
  saveMovie(path("a.mkv"), "matroska", "libx264", frames);
  saveMovie(path("a.avi"), "avi", "mpeg4", frames);
  saveMovie(path("a.mpg"), "mpeg", "mpeg2video", frames);
  for (const char *name : {"a.ts", "a.mkv", "a.avi", "a.mpg"}) {
    const auto reader = Reader::open(path(name));
    ASSERT_EQ(reader->info().lastFrame, 30) << name;
    // Less than half a step between frames.
    for (const int frame : {30, 1, 17})
      EXPECT_NEAR(reader->read(frame).asBytes()[0], frame * 8, 3) << name << " frame " << frame;
  }
}

TEST_F(Movie, FramesBeforeTheStartAreNotCounted) {
  // QuickTime stores them and leaves them out by its edit list. Where pictures depend on earlier ones, those left out
  // have to be decoded still.
  for (const auto &[encoder, layout] :
       {std::pair{"prores_ks", AV_PIX_FMT_YUV444P10}, {"libx264", AV_PIX_FMT_YUV420P}}) {
    std::vector<FramePtr> frames;
    for (int frame = 1; frame <= 10; ++frame) {
      const float level = static_cast<float>(frame * 20) / 255.0f;
      frames.push_back(frameOf(flat(32, 32, level, level, level, 1.0f), layout));
    }
    saveMovie(path("a.mov"), "mov", encoder, frames, -3);
    const auto reader = Reader::open(path("a.mov"));
    ASSERT_EQ(reader->info().lastFrame, 7) << encoder;
    EXPECT_NEAR(toBytes(reader->read(1)).asBytes()[0], 4 * 20, 3) << encoder;
    EXPECT_NEAR(toBytes(reader->read(7)).asBytes()[0], 10 * 20, 3) << encoder;
  }
}

TEST_F(Movie, HiddenPicturesAreNotCounted) {
  if (!avcodec_find_encoder_by_name("libvpx")) GTEST_SKIP() << "this FFmpeg cannot write VP8";
  std::vector<FramePtr> frames;
  for (int frame = 1; frame <= 10; ++frame) frames.push_back(frameOf(straightPicture(32, 32), AV_PIX_FMT_YUV420P));
  saveMovie(path("a.ivf"), "ivf", "libvpx", frames);
  // VP8 has pictures that only serve to predict others. Bit 4 of a picture's first byte tells that it is shown; each
  // picture follows its size and time, and the first of them the file's header.
  FileBytes bytes = load(path("a.ivf"));
  constexpr std::size_t fileHeader = 32, pictureHeader = 12;
  const std::size_t firstSize = bytes[fileHeader] | bytes[fileHeader + 1] << 8;
  std::uint8_t &second = bytes[fileHeader + pictureHeader + firstSize + pictureHeader];
  ASSERT_TRUE(second & 0x10);
  second &= 0xEF;
  save(path("a.ivf"), bytes);
  ReadOptions options;
  options.keepTimes = true;
  const auto reader = Reader::open(path("a.ivf"), options);
  EXPECT_EQ(reader->info().lastFrame, 9);
  EXPECT_NO_THROW(reader->read(9));
  // Meanwhile, the one before stays on the screen.
  EXPECT_EQ(Reader::open(path("a.ivf"))->info().lastFrame, 10);
}

TEST_F(Movie, FrameRates) {
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"})
    for (const FrameRate rate : {FrameRate{24, 1}, {30000, 1001}, {24000, 1001}, {25, 1}, {60, 1}, {50, 2}}) {
      writeCounted(name, 5, rate);
      const FrameRate read = Reader::open(path(name))->info().frameRate;
      // The fraction may be reduced.
      EXPECT_EQ(static_cast<std::int64_t>(read.numerator) * rate.denominator,
                static_cast<std::int64_t>(rate.numerator) * read.denominator)
          << name << " " << read.numerator << "/" << read.denominator;
    }
}

TEST_F(Movie, PixelAspect) {
  std::vector<FramePtr> frames;
  frames.push_back(frameOf(straightPicture(16, 16), AV_PIX_FMT_BGRA));
  frames[0]->sample_aspect_ratio = {16, 11};
  saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  // Matroska keeps the size in square pixels, 23.27 here, as a whole number: 23 / 16.
  EXPECT_NEAR(Reader::open(path("a.mkv"))->info().pixelAspect, 16.0 / 11.0, 0.5 / 16.0);
}

TEST_F(Movie, ColourTagsAreWritten) {
  for (const char *name : {"a.mov", "a.mp4"}) {
    writeCounted(name, 2);
    AVFormatContext *opened = nullptr;
    ASSERT_EQ(avformat_open_input(&opened, path(name).c_str(), nullptr, nullptr), 0);
    const DemuxerPtr demuxer(opened);
    ASSERT_GE(avformat_find_stream_info(opened, nullptr), 0);
    const AVCodecParameters &parameters = *opened->streams[0]->codecpar;
    EXPECT_EQ(parameters.color_space, AVCOL_SPC_BT709) << name;
    EXPECT_EQ(parameters.color_primaries, AVCOL_PRI_BT709) << name;
    EXPECT_EQ(parameters.color_trc, AVCOL_TRC_BT709) << name;
    EXPECT_EQ(parameters.color_range, AVCOL_RANGE_MPEG) << name;
  }
}

TEST_F(Movie, Mp4StartsWithItsIndex) {
  writeCounted("a.mp4", 3);
  const FileBytes bytes = load(path("a.mp4"));
  const auto find = [&bytes](const std::string &box) {
    return std::search(bytes.begin(), bytes.end(), box.begin(), box.end()) - bytes.begin();
  };
  EXPECT_LT(find("moov"), find("mdat"));
}

}  // namespace
}  // namespace pyrelux::media::test
