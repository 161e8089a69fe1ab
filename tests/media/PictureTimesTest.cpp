// Movies whose pictures do not follow each other evenly.

#include <algorithm>
#include <cmath>

#include "PictureTimes.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

constexpr AVRational milliseconds = {1, 1000};

PictureTimes timesOf(std::vector<std::int64_t> times, std::int64_t end, AVRational base = milliseconds) {
  PictureTimes pictures;
  pictures.count = static_cast<std::int64_t>(times.size());
  pictures.times = std::move(times);
  pictures.end = end;
  pictures.base = base;
  return pictures;
}

std::vector<std::int64_t> picturesOf(const PictureTimes &pictures, const FrameRate &rate) {
  std::vector<std::int64_t> numbers;
  for (std::int64_t frame = 1; frame <= countFrames(pictures, rate); ++frame)
    numbers.push_back(pictureAt(pictures, rate, frame));
  return numbers;
}

using Numbers = std::vector<std::int64_t>;

TEST(PictureTimes, AreEvenWithinHalfAFrame) {
  EXPECT_TRUE(isEven(timesOf({0, 33, 67, 100, 133}, 167), {30000, 1001}));
  EXPECT_TRUE(isEven(timesOf({5, 64, 66, 125}, 165), {25, 1}));
  EXPECT_FALSE(isEven(timesOf({5, 66, 66, 125}, 165), {25, 1}));
  EXPECT_FALSE(isEven(timesOf({0, 40, 120, 160}, 200), {25, 1}));
  EXPECT_FALSE(isEven(timesOf({0, 40, 80, 120}, 160), {50, 1}));
}

TEST(PictureTimes, ThatAreNoneAreEven) {
  EXPECT_TRUE(isEven(timesOf({}, 0), {25, 1}));
  EXPECT_TRUE(isEven(timesOf({0, 400, 40, 800}, 900), {25, 1}));
  EXPECT_TRUE(isEven(timesOf({0, 40, 25 * 3600 * 1000}, 0), {25, 1}));
  EXPECT_TRUE(isEven(timesOf({INT64_MIN + 1, 0, INT64_MAX}, INT64_MAX), {25, 1}));
}

TEST(PictureTimes, NominalRateIsThatOfTheFastPictures) {
  const auto rateOf = [](const std::vector<std::int64_t> &lengths, const std::vector<AVRational> &known = {}) {
    std::vector<std::int64_t> times = {0};
    for (int round = 0; round < 10; ++round)
      for (const std::int64_t length : lengths) times.push_back(times.back() + length);
    const auto rate = nominalRate(timesOf(times, times.back()), known);
    return rate ? rate->perSecond() : 0.0;
  };
  EXPECT_EQ(rateOf({40, 40, 40, 200}), 25.0);
  EXPECT_EQ(rateOf({40, 20}), 50.0);
  EXPECT_EQ(rateOf({32, 33, 34, 35, 66}), 30.0);
  // What the container says counts, where it is the rate.
  EXPECT_EQ(rateOf({33, 33, 67}, {{24, 1}, {0, 0}, {30000, 1001}}), 30000.0 / 1001.0);
  // A stray pair does not.
  EXPECT_EQ(rateOf({40, 40, 40, 40, 40, 40, 40, 40, 40, 40, 40, 40, 40, 1}), 25.0);
  EXPECT_EQ(rateOf({10000, 25000}), 0.1);
  EXPECT_NEAR(rateOf({70, 140}), 1000.0 / 70.0, 1e-9);
  EXPECT_EQ(rateOf({0, 0}), 0.0);
  EXPECT_EQ(rateOf({2'000'000}), 0.0);
  EXPECT_FALSE(nominalRate(timesOf({0, 1, 2, 3}, 4, {1, 90000}), {}));
}

TEST(PictureTimes, AFrameShowsThePictureOfItsTime) {
  EXPECT_EQ(picturesOf(timesOf({0, 40, 120, 160}, 200), {25, 1}), (Numbers{1, 2, 2, 3, 4}));
  EXPECT_EQ(picturesOf(timesOf({1000, 1040, 1050, 1060, 1120}, 1160), {25, 1}), (Numbers{1, 2, 4, 5}));
  // The last is held as long as it says, and shown in any case.
  EXPECT_EQ(picturesOf(timesOf({0, 40}, 160), {25, 1}), (Numbers{1, 2, 2, 2}));
  EXPECT_EQ(picturesOf(timesOf({0, 80}, 80), {25, 1}), (Numbers{1, 1, 2}));
  // Times that the container rounds, to milliseconds or to whole frames.
  EXPECT_EQ(picturesOf(timesOf({0, 33, 67, 100, 167}, 200), {30, 1}), (Numbers{1, 2, 3, 4, 4, 5}));
  EXPECT_EQ(picturesOf(timesOf({0, 1, 3}, 4, {1, 25}), {25, 1}), (Numbers{1, 2, 2, 3}));
}

class VariableRate : public MediaTest {
 protected:
  /// Pictures told apart by their grey, 20, 40, 60, …, at these times in 1/25 s.
  void saveTimed(const std::string &name, const char *muxer, const char *encoder, AVPixelFormat layout) {
    std::vector<FramePtr> frames;
    for (std::size_t index = 1; index <= times.size(); ++index) {
      const float level = static_cast<float>(index * 20) / 255.0f;
      frames.push_back(frameOf(flat(32, 32, level, level, level, 1.0f), layout));
    }
    saveMovie(path(name), muxer, encoder, frames, 0, times);
  }

  static int numberOf(const Image &image) { return (toBytes(image).asBytes()[0] + 10) / 20; }

  const std::vector<std::int64_t> times = {0, 1, 2, 3, 4, 7, 8, 10, 11};
  const std::vector<int> shown = {1, 2, 3, 4, 5, 5, 5, 6, 7, 7, 8, 9};
  const struct {
    const char *name;
    const char *muxer;
    const char *encoder;
    AVPixelFormat layout;
  } kinds[3] = {{"a.mkv", "matroska", "ffv1", AV_PIX_FMT_BGRA},
                {"a.mov", "mov", "prores_ks", AV_PIX_FMT_YUV444P10},
                {"a.mp4", "mp4", "libx264", AV_PIX_FMT_YUV420P}};
};

TEST_F(VariableRate, IsResampled) {
  for (const auto &kind : kinds) {
    SCOPED_TRACE(kind.name);
    saveTimed(kind.name, kind.muxer, kind.encoder, kind.layout);
    const auto reader = Reader::open(path(kind.name));
    EXPECT_TRUE(reader->info().isResampled);
    EXPECT_FALSE(reader->info().times);
    EXPECT_EQ(reader->info().frameRate.perSecond(), 25.0);
    ASSERT_EQ(reader->info().lastFrame, 12);
    for (const int frame : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 7, 6, 12, 1})
      EXPECT_EQ(numberOf(reader->read(frame)), shown[static_cast<std::size_t>(frame) - 1]) << frame;
  }
}

TEST_F(VariableRate, IsKept) {
  for (const auto &kind : kinds) {
    SCOPED_TRACE(kind.name);
    saveTimed(kind.name, kind.muxer, kind.encoder, kind.layout);
    ReadOptions options;
    options.keepTimes = true;
    const auto reader = Reader::open(path(kind.name), options);
    EXPECT_FALSE(reader->info().isResampled);
    ASSERT_EQ(reader->info().lastFrame, 9);
    ASSERT_TRUE(reader->info().times);
    const FrameTimes &kept = *reader->info().times;
    ASSERT_EQ(kept.ticks.size(), times.size() + 1);
    for (std::size_t index = 0; index < times.size(); ++index) {
      EXPECT_NEAR(static_cast<double>(kept.ticks[index] - kept.ticks[0]) / kept.ticksPerSecond.perSecond(),
                  static_cast<double>(times[index]) / 25.0, 1e-9);
      EXPECT_EQ(numberOf(reader->read(static_cast<std::int64_t>(index) + 1)), static_cast<int>(index) + 1);
    }
    EXPECT_GT(kept.ticks.back(), kept.ticks[times.size() - 1]);
  }
}

TEST_F(VariableRate, TimesAreWritten) {
  saveTimed("a.mkv", "matroska", "ffv1", AV_PIX_FMT_BGRA);
  ReadOptions options;
  options.keepTimes = true;
  const auto reader = Reader::open(path("a.mkv"), options);
  for (const char *name : {"b.mov", "b.mkv", "b.mp4", "b.webm"})
    for (const std::int64_t first : {1, 3}) {
      SCOPED_TRACE(std::string(name) + " from " + std::to_string(first));
      OutputFormat format{32, 32, 8, reader->info().frameRate};
      format.times = reader->info().times;
      const auto writer = Writer::open(path(name), format);
      for (std::int64_t frame = first; frame <= 9; ++frame) writer->write(frame, reader->read(frame));
      writer->finish();
      const auto again = Reader::open(path(name), options);
      ASSERT_TRUE(again->info().times);
      const FrameTimes &kept = *again->info().times;
      ASSERT_EQ(kept.ticks.size(), static_cast<std::size_t>(11 - first));
      for (std::size_t index = 0; index + 1 < kept.ticks.size(); ++index)
        EXPECT_NEAR(static_cast<double>(kept.ticks[index] - kept.ticks[0]) / kept.ticksPerSecond.perSecond(),
                    static_cast<double>(times[index + first - 1] - times[first - 1]) / 25.0, 1e-3);
    }
}

TEST_F(VariableRate, EvenMoviesHaveNoTimesToKeep) {
  std::vector<FramePtr> frames;
  for (int frame = 0; frame < 5; ++frame) frames.push_back(frameOf(straightPicture(16, 16), AV_PIX_FMT_BGRA));
  saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  ReadOptions options;
  options.keepTimes = true;
  EXPECT_FALSE(Reader::open(path("a.mkv"), options)->info().times);
}

TEST_F(VariableRate, CountsWhatIsDecoded) {
  // An edit list leaves pictures out, which this decoder delivers all the same.
  std::vector<FramePtr> frames;
  for (int frame = 1; frame <= 10; ++frame) {
    const float level = static_cast<float>(frame * 20) / 255.0f;
    frames.push_back(frameOf(flat(32, 32, level, level, level, 1.0f), AV_PIX_FMT_YUV444P));
  }
  saveMovie(path("a.mov"), "mov", "mjpeg", frames, -3);
  const auto reader = Reader::open(path("a.mov"));
  EXPECT_EQ(numberOf(reader->read(reader->info().lastFrame)), 10);
  EXPECT_EQ(numberOf(reader->read(1)), 11 - reader->info().lastFrame);

  // One of length 0 leaves out all.
  FileBytes bytes = load(path("a.mov"));
  const std::string box = "elst";
  const auto list = std::search(bytes.begin(), bytes.end(), box.begin(), box.end());
  ASSERT_NE(list, bytes.end());
  // Behind the name: version and flags, the number of edits, and the first one's length.
  std::fill_n(list + 12, 4, std::uint8_t{0});
  save(path("b.mov"), bytes);
  const auto empty = Reader::open(path("b.mov"));
  ASSERT_GE(empty->info().lastFrame, 1);
  EXPECT_NO_THROW(empty->read(empty->info().lastFrame));
}

}  // namespace
}  // namespace pyrelux::media::test
