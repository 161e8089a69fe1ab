#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <set>
#include <vector>

#include "Encoder.h"
#include "FileFormat.h"
#include "TestFiles.h"
#include "Unprivileged.h"

namespace pyrelux::media::test {
namespace {

using std::filesystem::perms;

class WriterTest : public MediaTest {
 protected:
  void expectCause(const std::string &name, const std::string &cause, const OutputFormat &format = {4, 4, 8, {}}) {
    EXPECT_EQ(writingMessage(path(name), format), "cannot write '" + path(name) + "': " + cause);
  }

  /// What the action throws; empty if nothing.
  static std::string messageOf(const std::function<void()> &action) {
    try {
      action();
      return {};
    } catch (const MediaError &error) {
      return error.what();
    }
  }
};

const Image &picture() {
  static const Image image = flat(4, 4, 0.5f, 0.25f, 0.125f, 1.0f);
  return image;
}

/// Lets no file grow beyond a size, as a full disk would, while it lives.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit limit = {bytes, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, oldHandler_);
  }
  FullDisk(const FullDisk &) = delete;
  FullDisk &operator=(const FullDisk &) = delete;

 private:
  void (*oldHandler_)(int);
  rlimit old_{};
};

TEST_F(WriterTest, KnowsWhatExtensionsMean) {
  for (const char *many : {"a.mov", "a.mkv", "a.MP4", "a.webm", "a.apng", "a.webp", "a.gif", "a.%d.png", "a.##.exr"})
    EXPECT_TRUE(Writer::holdsManyFrames(many)) << many;
  for (const char *one : {"a.png", "a.EXR", "100%.png", "a%%d.png", "a%d/b.png"})
    EXPECT_FALSE(Writer::holdsManyFrames(one)) << one;
  for (const char *deep : {"a.exr", "a.tif", "a.##.TIFF", "a.mov", "a.##.exr"})
    EXPECT_TRUE(Writer::isDeep(deep)) << deep;
  for (const char *shallow : {"a.png", "a.mkv", "a.mp4"}) EXPECT_FALSE(Writer::isDeep(shallow)) << shallow;
}

TEST_F(WriterTest, UnknownExtension) {
  const std::string known = ".png .tif .tiff .exr .mov .mkv .mp4 .webm .apng .webp .gif";
  expectCause("x.jpg", "the extension '.jpg' is not one of " + known);
  expectCause("x", "it has no extension; it needs one of " + known);
  const std::string message = "cannot write 'x.jpg': the extension '.jpg' is not one of " + known;
  EXPECT_EQ(messageOf([] { Writer::isDeep("x.jpg"); }), message);
  EXPECT_EQ(messageOf([] { Writer::holdsAlpha("x.jpg"); }), message);
  EXPECT_EQ(messageOf([] { Writer::holdsManyFrames("x.jpg"); }), message);
}

TEST_F(WriterTest, UnknownCodec) {
  const auto expect = [this](const char *name, const char *codec, const std::string &cause) {
    OutputFormat format{4, 4, 8, {}};
    format.codec = codec;
    expectCause(name, cause, format);
    EXPECT_EQ(messageOf([&] { Writer::isDeep(path(name), codec); }), "cannot write '" + path(name) + "': " + cause);
  };
  expect("x.mp4", "prores", "the codec 'prores' is not one that .mp4 holds: h264 h265");
  expect("x.MOV", "ffv1", "the codec 'ffv1' is not one that .mov holds: prores h264 h265");
  expect("x.exr", "Half", "the codec 'Half' is not one that .exr holds: half float");
  expect("x.png", "h264", "the codec 'h264' is not one that .png holds: png");
  EXPECT_TRUE(names().empty());
}

TEST_F(WriterTest, KnowsWhatCodecsHold) {
  EXPECT_TRUE(Writer::holdsAlpha("a.mov"));
  EXPECT_FALSE(Writer::holdsAlpha("a.mov", "h265"));
  EXPECT_FALSE(Writer::holdsAlpha("a.gif"));
  EXPECT_TRUE(Writer::isDeep("a.exr", "float"));
  EXPECT_FALSE(Writer::isDeep("a.mov", "h264"));
}

TEST_F(WriterTest, MissingEncoder) {
  Codec codec = formatOf("a.mkv").codec("", "a.mkv");
  codec.encoder = "none";
  Dictionary options;
  EXPECT_THROW(Encoder("a.mkv", codec, {4, 4, 8, {}}, options), EncoderError);
  EXPECT_EQ(messageOf([&] {
              Encoder("a.mkv", codec, {4, 4, 8, {}}, options);
            }),
            "cannot write 'a.mkv': the installed FFmpeg lacks the encoder 'none'");
}

TEST_F(WriterTest, WhatItWritesIsNotLeftOver) {
  for (const char *name : {"fire.mov", "fire_%d.png"}) {
    SCOPED_TRACE(name);
    {
      OutputFormat format{4, 4, 8, {24, 1}};
      // A picture that is complete waits for its name.
      format.publish = [&](const NewPicture &) {
        for (const auto &entry : std::filesystem::directory_iterator(path("")))
          std::filesystem::last_write_time(entry.path(),
                                           std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        EXPECT_TRUE(Writer::removeLeftovers(path(name)).empty());
      };
      const auto writer = Writer::open(path(name), format);
      for (const auto &entry : std::filesystem::directory_iterator(path("")))
        std::filesystem::last_write_time(entry.path(),
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
      EXPECT_TRUE(Writer::removeLeftovers(path(name)).empty());
      writer->write(1, picture());
    }
    EXPECT_TRUE(std::filesystem::is_empty(path("")));
  }
}

TEST_F(WriterTest, NoSuchFolder) {
  for (const char *name : {"a/b.png", "a/b.%d.png", "a/b.mov"})
    expectCause(name, "the folder '" + path("a") + "' does not exist");
  save(path("file"), "x");
  expectCause("file/b.png", "'" + path("file") + "' is not a folder");
}

TEST_F(WriterTest, FolderOfThatName) {
  for (const char *name : {"dir", "dir.png", "dir.mov"}) {
    std::filesystem::create_directory(path(name));
    expectCause(name, "it is a folder");
  }
  std::filesystem::create_directory(path("a.7.png"));
  const auto writer = Writer::open(path("a.%d.png"), {4, 4, 8, {}});
  EXPECT_EQ(messageOf([&] { writer->write(7, picture()); }), "cannot write '" + path("a.7.png") + "': it is a folder");
}

TEST_F(WriterTest, NotPermitted) {
  std::filesystem::create_directory(path("locked"));
  std::filesystem::permissions(path("locked"),
                               perms::owner_read | perms::owner_exec | perms::others_read | perms::others_exec);
  {
    const Unprivileged unprivileged(folder());
    for (const char *name : {"locked/x.png", "locked/x.%d.png", "locked/x.mov"}) expectCause(name, "permission denied");
  }
  std::filesystem::permissions(path("locked"), perms::owner_all);
}

TEST_F(WriterTest, ImpossibleSizesAndRates) {
  for (const char *name :
       {"x.png", "x.tiff", "x.exr", "x.mov", "x.mkv", "x.mp4", "x.webm", "x.apng", "x.webp", "x.gif"}) {
    expectCause(name, "pictures of 0x5 pixels cannot be encoded", {0, 5, 8, {}});
    expectCause(name, "pictures of 5x-1 pixels cannot be encoded", {5, -1, 8, {}});
    expectCause(name, "pictures of 1000000x1000000 pixels cannot be encoded", {1000000, 1000000, 8, {}});
    expectCause(name, "a frame rate of 0/1 is not possible", {4, 4, 8, {0, 1}});
    expectCause(name, "a frame rate of 24/0 is not possible", {4, 4, 8, {24, 0}});
  }
  EXPECT_TRUE(names().empty());
}

TEST_F(WriterTest, WhatFailsIsToldApart) {
  OutputFormat format;
  format.width = 2;
  format.height = 2;
  EXPECT_THROW(Writer::open(path("none/a.png"), format), OutputError);
  EXPECT_THROW(Writer::open(path("a.none"), format), OutputError);
  EXPECT_THROW(Reader::open(path("none.png")), InputError);
  // More than H.264 can have.
  format.width = 40000;
  EXPECT_THROW(Writer::open(path("a.mp4"), format), EncoderError);
  EXPECT_TRUE(names().empty());
}

TEST_F(WriterTest, PictureOfAnotherSize) {
  for (const char *name :
       {"x.png", "x.tiff", "x.%d.exr", "x.mov", "x.mkv", "x.mp4", "x.webm", "x.apng", "x.webp", "x.gif"}) {
    const auto writer = Writer::open(path(name), {4, 5, 8, {}});
    EXPECT_EQ(messageOf([&] { writer->write(1, picture()); }),
              "cannot write '" + path(name) + "': a picture of 4x4 pixels was given for one of 4x5 pixels");
  }
  EXPECT_TRUE(names().empty());
}

TEST_F(WriterTest, OneFrameToAStill) {
  const auto writer = Writer::open(path("x.png"), {4, 4, 8, {}});
  writer->write(1, picture());
  EXPECT_EQ(messageOf([&] { writer->write(2, picture()); }),
            "cannot write '" + path("x.png") + "': it can hold one frame only");
}

TEST_F(WriterTest, NoFrames) {
  for (const char *name : {"x.png", "x.%d.png", "x.mov"}) {
    const auto writer = Writer::open(path(name), {4, 4, 8, {}});
    EXPECT_EQ(messageOf([&] { writer->finish(); }), "cannot write '" + path(name) + "': it was given no frame");
  }
  EXPECT_TRUE(names().empty());
}

TEST_F(WriterTest, FinalNameAppearsWithFinish) {
  for (const char *name :
       {"x.png", "x.tiff", "x.exr", "x.mov", "x.mkv", "x.mp4", "x.webm", "x.apng", "x.webp", "x.gif"}) {
    const auto writer = Writer::open(path(name), {4, 4, 8, {}});
    writer->write(1, picture());
    EXPECT_FALSE(std::filesystem::exists(path(name)));
    ASSERT_EQ(names().size(), 1u);
    // Hidden, so that nothing takes it for a result.
    EXPECT_EQ(names()[0].rfind("." + std::string(name) + ".partial-", 0), 0u) << names()[0];
    writer->finish();
    EXPECT_EQ(names(), std::vector<std::string>{name});
    std::filesystem::remove(path(name));
  }
}

TEST_F(WriterTest, UnfinishedLeavesNothing) {
  for (const char *name :
       {"x.png", "x.tiff", "x.exr", "x.mov", "x.mkv", "x.mp4", "x.webm", "x.apng", "x.webp", "x.gif"}) {
    Writer::open(path(name), {4, 4, 8, {}});
    Writer::open(path(name), {4, 4, 8, {}})->write(1, picture());
    EXPECT_TRUE(names().empty()) << name;
  }
}

TEST_F(WriterTest, UnfinishedKeepsWhatWasThere) {
  for (const char *name : {"x.png", "x.mov"}) {
    save(path(name), "old");
    Writer::open(path(name), {4, 4, 8, {}})->write(1, picture());
    EXPECT_EQ(load(path(name)), (FileBytes{'o', 'l', 'd'}));
    write(path(name), {4, 4, 8, {}}, {picture()});
    EXPECT_GT(load(path(name)).size(), 3u);
  }
}

TEST_F(WriterTest, TwoWritersOfOneNameDoNotMix) {
  const auto first = Writer::open(path("x.mkv"), {4, 4, 8, {}});
  const auto second = Writer::open(path("x.mkv"), {4, 4, 8, {}});
  for (int frame = 1; frame <= 3; ++frame) {
    first->write(frame, flat(4, 4, 1, 0, 0, 1));
    second->write(frame, flat(4, 4, 0, 1, 0, 1));
  }
  second->finish();
  first->finish();
  expectSame(Reader::open(path("x.mkv"))->read(3), toBytes(delivered(flat(4, 4, 1, 0, 0, 1), {}, 32)));
  EXPECT_EQ(names(), std::vector<std::string>{"x.mkv"});
}

TEST_F(WriterTest, SequencesAreEncodedBySeveralThreadsAndWrittenInTurn) {
  constexpr int frames = 24;
  const auto pictureOf = [](int frame) { return flat(64, 48, static_cast<float>(frame) / frames, 0.5f, 0, 0.5f); };
  for (const char *name : {"f_%d.png", "f_%d.tif", "f_%d.exr"}) {
    std::vector<Image> pictures;
    for (int frame = 0; frame < frames; ++frame) pictures.push_back(pictureOf(frame));
    const auto alone = Writer::open(path(std::string("one_") + name), {64, 48, 8, {}});
    const auto writer = Writer::open(path(std::string("many_") + name), {64, 48, 8, {}});
    std::vector<std::future<std::function<void()>>> rests;
    for (int frame = 0; frame < frames; ++frame)
      rests.push_back(std::async(std::launch::async, [&, frame] {
        return writer->prepare(frame, pictures[static_cast<std::size_t>(frame)]);
      }));
    for (int frame = 0; frame < frames; ++frame) {
      alone->write(frame, pictures[static_cast<std::size_t>(frame)]);
      const std::string expected = Writer::pathOf(path(std::string("many_") + name), frame);
      EXPECT_FALSE(std::filesystem::exists(expected));
      rests[static_cast<std::size_t>(frame)].get()();
      EXPECT_EQ(load(expected), load(Writer::pathOf(path(std::string("one_") + name), frame))) << expected;
    }
    EXPECT_EQ(writer->losses().pixels, frames * 64 * 48);
    EXPECT_EQ(writer->losses().cutPixels, alone->losses().cutPixels);
  }
}

TEST_F(WriterTest, TheTemporaryNameCannotBeGuessed) {
  // A number of the process and a count: whoever lays a link there would get the picture.
  for (int count = 0; count < 20; ++count)
    std::filesystem::create_symlink(path("elsewhere"),
                                    path(".out.png.partial-" + std::to_string(getpid()) + "-" + std::to_string(count)));
  std::set<std::string> temporary;
  for (int i = 0; i < 10; ++i) {
    const auto writer = Writer::open(path("out.png"), {4, 4, 8, {}});
    writer->write(1, picture());
    for (const auto &entry : std::filesystem::directory_iterator(path("")))
      if (!entry.is_symlink() && entry.path().filename() != "out.png") temporary.insert(entry.path().string());
    writer->finish();
  }
  EXPECT_EQ(temporary.size(), 10u);
  EXPECT_FALSE(std::filesystem::exists(path("elsewhere")));
}

TEST_F(WriterTest, FullDiskIsNoticedAndLeavesNothing) {
  // Noise that no encoder makes small.
  const Image noise = deepStraightPicture(200, 200);
  for (const char *name :
       {"x.png", "x.tiff", "x.%d.png", "x.exr", "x.mov", "x.mkv", "x.mp4", "x.webm", "x.apng", "x.webp", "x.gif"}) {
    const std::string message = messageOf([&] {
      const FullDisk fullDisk(4096);
      write(path(name), formatFor(noise, 16), {noise, noise, noise});
    });
    const std::string named = std::string(name) == "x.%d.png" ? "x.1.png" : name;
    EXPECT_EQ(message, "cannot write '" + path(named) + "': file too large");
    EXPECT_TRUE(names().empty()) << name;
  }
}

TEST_F(WriterTest, MovieNamesAreTakenAsTheyStand) {
  write(path("take#2 100%%.mkv"), {4, 4, 8, {}}, {picture()});
  EXPECT_EQ(names(), std::vector<std::string>{"take#2 100%%.mkv"});
  EXPECT_EQ(readingMessage(path("take#2 100%%.mkv")), "");
}

}  // namespace
}  // namespace pyrelux::media::test
