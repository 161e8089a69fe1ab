#include <filesystem>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

class Sequence : public MediaTest {
 protected:
  /// The picture of a frame: its number is in its red.
  static Image numbered(std::int64_t frame) {
    return flat(5, 3, static_cast<float>(frame % 256) / 255.0f, 0.0f, 0.0f, 1.0f);
  }

  void writeFrames(const std::string &pattern, std::int64_t first, std::int64_t last) {
    const auto writer = Writer::open(path(pattern), {5, 3, 8, {}});
    for (std::int64_t frame = first; frame <= last; ++frame) writer->write(frame, numbered(frame));
    writer->finish();
  }

  static int redOf(const Image &image) { return image.asBytes()[0]; }
};

TEST_F(Sequence, WritesAndReadsEveryStyleOfPattern) {
  for (const char *pattern : {"a.%04d.png", "b.####.png", "c%d.png", "d#.png"}) {
    writeFrames(pattern, 8, 11);
    const auto reader = Reader::open(path(pattern));
    EXPECT_EQ(reader->info().kind, InputKind::Sequence);
    EXPECT_EQ(reader->info().firstFrame, 8);
    EXPECT_EQ(reader->info().lastFrame, 11);
    EXPECT_EQ(reader->info().width, 5);
    EXPECT_EQ(reader->info().height, 3);
    EXPECT_EQ(reader->info().frameRate.perSecond(), 24.0);
    for (const int frame : {8, 9, 10, 11, 11, 8}) EXPECT_EQ(redOf(reader->read(frame)), frame) << pattern;
  }
  EXPECT_EQ(names(), (std::vector<std::string>{"a.0008.png", "a.0009.png", "a.0010.png", "a.0011.png",  //
                                               "b.0008.png", "b.0009.png", "b.0010.png", "b.0011.png",  //
                                               "c10.png", "c11.png", "c8.png", "c9.png",                //
                                               "d10.png", "d11.png", "d8.png", "d9.png"}));
}

TEST_F(Sequence, SharesThePictureOfEachFrameAndAStillItsOnly) {
  writeFrames("a.%d.png", 8, 9);
  const auto sequence = Reader::open(path("a.%d.png"));
  for (const int frame : {8, 9, 8}) EXPECT_EQ(redOf(*sequence->share(frame)), frame);
  const auto still = Reader::open(path("a.8.png"));
  const auto shared = still->share(0);
  EXPECT_EQ(redOf(*shared), 8);
  EXPECT_EQ(still->share(5), shared) << "no copy";
  still->read(0).asBytes()[0] = 1;
  EXPECT_EQ(redOf(*shared), 8) << "what is read is one";
}

TEST_F(Sequence, OfExr) {
  const auto writer = Writer::open(path("a.%d.exr"), {5, 3, 16, {}});
  for (int frame = 0; frame < 3; ++frame) writer->write(frame, flat(5, 3, static_cast<float>(frame) * 2.0f, 0, 0, 0));
  writer->finish();
  EXPECT_EQ(Reader::open(path("a.%d.exr"))->read(2).asFloats()[0], 4.0f);
}

TEST_F(Sequence, EachFrameIsCompleteAtOnce) {
  const auto writer = Writer::open(path("a.%d.png"), {5, 3, 8, {}});
  writer->write(1, numbered(1));
  EXPECT_EQ(names(), std::vector<std::string>{"a.1.png"});
  EXPECT_EQ(redOf(readStill(path("a.1.png"))), 1);
}

TEST_F(Sequence, TwoWritersShareAFolder) {
  const auto even = Writer::open(path("a.%d.png"), {5, 3, 8, {}});
  const auto odd = Writer::open(path("a.%d.png"), {5, 3, 8, {}});
  for (int frame = 0; frame < 6; ++frame) (frame % 2 ? odd : even)->write(frame, numbered(frame));
  even->finish();
  odd->finish();
  const auto reader = Reader::open(path("a.%d.png"));
  for (int frame = 0; frame < 6; ++frame) EXPECT_EQ(redOf(reader->read(frame)), frame);
}

TEST_F(Sequence, GapIsFoundWhenItIsRead) {
  writeFrames("a.%04d.png", 1, 4);
  std::filesystem::remove(path("a.0003.png"));
  const auto reader = Reader::open(path("a.%04d.png"));
  EXPECT_EQ(reader->info().lastFrame, 4);
  EXPECT_EQ(redOf(reader->read(2)), 2);
  EXPECT_EQ(readingMessage(path("a.%04d.png"), 3),
            "cannot read '" + path("a.0003.png") + "': frame 3 of '" + path("a.%04d.png") + "' is missing");
  EXPECT_EQ(redOf(reader->read(4)), 4);
}

TEST_F(Sequence, FramesOutsideTheRange) {
  writeFrames("a.%04d.png", 3, 4);
  for (const std::int64_t frame : {2, 5, -3})
    EXPECT_EQ(readingMessage(path("a.%04d.png"), frame), "cannot read '" + path("a.%04d.png") + "': it has no frame " +
                                                             std::to_string(frame) + "; its frames are 3 to 4");
}

TEST_F(Sequence, OtherNamesDoNotBelongToIt) {
  writeFrames("a.%04d.png", 5, 6);
  for (const char *name : {"a.1.png", "a.0001.exr", "b.0001.png", "a.00x1.png", "a.0001.png.txt"})
    save(path(name), "x");
  const auto reader = Reader::open(path("a.%04d.png"));
  EXPECT_EQ(reader->info().firstFrame, 5);
  EXPECT_EQ(reader->info().lastFrame, 6);
}

TEST_F(Sequence, WithoutAnyFile) {
  EXPECT_EQ(readingMessage(path("a.%04d.png")), "cannot read '" + path("a.%04d.png") + "': no such file");
  EXPECT_EQ(readingMessage(path("none/a.##.png")), "cannot read '" + path("none/a.##.png") + "': no such file");
}

TEST_F(Sequence, FrameOfAnotherSize) {
  writeFrames("a.%d.png", 1, 2);
  write(path("a.2.png"), {4, 3, 8, {}}, {flat(4, 3, 0, 0, 0, 0)});
  EXPECT_EQ(readingMessage(path("a.%d.png"), 2), "cannot read '" + path("a.2.png") +
                                                     "': it is 4x3 pixels, not 5x3 pixels like the first of the "
                                                     "sequence");
}

TEST_F(Sequence, MovieAsAFrame) {
  write(path("a.1.mkv"), {4, 4, 8, {}}, {flat(4, 4, 0, 0, 0, 0)});
  EXPECT_EQ(readingMessage(path("a.%d.mkv")),
            "cannot read '" + path("a.1.mkv") + "': a movie cannot be a frame of a sequence");
}

TEST_F(Sequence, TwoPatterns) {
  const std::string message = "'" + path("a%d_##.png") + "' has more than one place for a frame number";
  EXPECT_EQ(readingMessage(path("a%d_##.png")), message);
  EXPECT_EQ(writingMessage(path("a%d_##.png"), {4, 4, 8, {}}), message);
}

TEST_F(Sequence, NegativeNumbersAreNotWritten) {
  const auto writer = Writer::open(path("a.%d.png"), {5, 3, 8, {}});
  try {
    writer->write(-1, numbered(0));
    FAIL();
  } catch (const MediaError &error) {
    EXPECT_EQ(error.what(), "cannot write '" + path("a.%d.png") + "': the frame number -1 is negative");
  }
  EXPECT_TRUE(names().empty());
}

}  // namespace
}  // namespace pyrelux::media::test
