// How outputs are stored, and where.

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class OutputChoice : public CliTest {
 protected:
  OutputChoice() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  std::uintmax_t sizeWith(const std::string &name, const Words &more) const {
    render("title.png", name, Words{"--frames", "1-4"} + more);
    return fs::file_size(path(name));
  }

  /// The 16 bits, low byte first, that come so many bytes after a mark in the file.
  int numberAfter(const std::string &name, const std::string &mark, std::size_t distance) const {
    const std::string bytes = load(path(name));
    const std::size_t at = bytes.find(mark);
    EXPECT_NE(at, std::string::npos) << name;
    const auto byte = [&](std::size_t place) { return static_cast<unsigned char>(bytes.at(at + distance + place)); };
    return byte(0) + 256 * byte(1);
  }
};

TEST_F(OutputChoice, IsHowWellAnEncoderStores) {
  for (const char *name : {"fire.mp4", "fire.webm"})
    EXPECT_GT(sizeWith(name, {"--crf", "5"}), sizeWith(name, {"--crf", "45"})) << name;
  EXPECT_GT(sizeWith("h265.mkv", {"--codec", "h265", "--crf", "5"}),
            sizeWith("h265.mkv", {"--codec", "h265", "--crf", "45"}));
  EXPECT_GT(sizeWith("fire.webp", {"--quality", "100"}), sizeWith("fire.webp", {"--quality", "10"}));
  render("title.png", "usual.mp4", {"--frames", "1-4"});
  render("title.png", "same.mp4", {"--frames", "1-4", "--crf", "16"});
  EXPECT_TRUE(load(path("usual.mp4")) == load(path("same.mp4"))) << "the default is as help says";
}

TEST_F(OutputChoice, IsRefusedWhereThereIsNone) {
  const auto refused = [&](const Words &more, const Words &words) {
    const Result result = pyrelux(Words{"render", "title.png"} + more);
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, 2);
  };
  refused({"-o", "fire.mov", "--crf", "20"}, {"'--crf' is of no use for 'fire.mov'", "h264"});
  refused({"-o", "fire.mp4", "--crf", "52"}, {"'--crf' can't be 52", "0..51"});
  refused({"-o", "fire.mp4", "--quality", "50"}, {"'--quality' is of no use", ".webp"});
  refused({"-o", "fire.webp", "--codec", "lossless", "--quality", "50"}, {"'--quality' is of no use"});
  refused({"-o", "fire.mp4", "--loop-count", "2"}, {"'--loop-count' is of no use", ".gif"});
  refused({"-o", "fire.mp4", "--crf", "1.5"}, {"--crf", "'1.5' is no whole number in 0..63"});
}

TEST_F(OutputChoice, IsHowOftenAnAnimationPlays) {
  for (const auto &[count, inGif] : std::map<std::string, int>{{"0", 0}, {"2", 1}, {"7", 6}}) {
    const Words more{"--frames", "1-3", "--loop-count", count};
    render("title.png", "fire.gif", more);
    EXPECT_EQ(numberAfter("fire.gif", "NETSCAPE2.0", 13), inGif) << "GIF counts repetitions";
    render("title.png", "fire.webp", more);
    EXPECT_EQ(numberAfter("fire.webp", "ANIM", 12), std::stoi(count));
    render("title.png", "fire.apng", more);
    EXPECT_EQ(numberAfter("fire.apng", "acTL", 10) / 256, std::stoi(count)) << "high byte first";
  }
  render("title.png", "once.gif", {"--frames", "1-3", "--loop-count", "1"});
  EXPECT_EQ(load(path("once.gif")).find("NETSCAPE2.0"), std::string::npos) << "played once";
}

TEST_F(OutputChoice, IsAFolderThatIsMade) {
  expectRefusal(pyrelux(renderWords("title.png", "a/b/fire.png")), {"the folder 'a/b' does not exist"});
  render("title.png", "a/b/fire.png", {"--make-folders"});
  EXPECT_TRUE(fs::exists(path("a/b/fire.png")));
  render("title.png", "a/b/fire.png", {"--make-folders"});
  save(path("file"), "");
  const Result result = pyrelux(renderWords("title.png", "file/fire.png", {"--make-folders"}));
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.err, HasSubstr("the folder 'file' can't be made"));
}

class Leftovers : public OutputChoice {
 protected:
  void leave(const std::string &name) const {
    save(path(name), "half");
    fs::last_write_time(path(name), fs::file_time_type::clock::now() - std::chrono::seconds(10));
  }
};

TEST_F(Leftovers, OfTheSameOutputAreRemovedAndNamed) {
  leave(".fire.mov.partial-0123456789abcdef");
  leave(".other.mov.partial-0123456789abcdef");
  leave(".fire.mov.partial-0123");
  leave("fire.mov.partial-0123456789abcdef");
  const Result result = pyrelux(renderWords("title.png", "fire.mov", {"--frames", "1"}));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("removed '.fire.mov.partial-0123456789abcdef', which a run for 'fire.mov' left"));
  EXPECT_THAT(names(""), ElementsAre(".fire.mov.partial-0123", ".other.mov.partial-0123456789abcdef", "fire.mov",
                                     "fire.mov.partial-0123456789abcdef", "title.png"));
}

TEST_F(Leftovers, OfSequencesAreThoseOfTheirNames) {
  leave(".fire_0007.png.partial-0123456789abcdef");
  leave(".fire_x.png.partial-0123456789abcdef");
  const Result result = pyrelux(renderWords("title.png", "fire_%04d.png", {"--frames", "1"}));
  EXPECT_THAT(result.err, HasSubstr("'.fire_0007.png.partial-0123456789abcdef'"));
  EXPECT_FALSE(fs::exists(path(".fire_0007.png.partial-0123456789abcdef")));
  EXPECT_TRUE(fs::exists(path(".fire_x.png.partial-0123456789abcdef")));
}

TEST_F(Leftovers, AreNotWhatSomebodyWritesOrHasJustBegun) {
  leave(".fire.png.partial-0123456789abcdef");
  const int held = ::open(path(".fire.png.partial-0123456789abcdef").c_str(), O_RDONLY);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  save(path(".fire.png.partial-fedcba9876543210"), "just begun");
  render("title.png", "fire.png");
  EXPECT_TRUE(fs::exists(path(".fire.png.partial-0123456789abcdef")));
  EXPECT_TRUE(fs::exists(path(".fire.png.partial-fedcba9876543210")));
  ::close(held);
  render("title.png", "fire.png", {"--quiet"});
  EXPECT_FALSE(fs::exists(path(".fire.png.partial-0123456789abcdef")));
}

TEST_F(Leftovers, OfAKilledRenderAreGoneAfterTheNext) {
  Command render = commandOf({"render", "title.png", "-o", "fire.mkv", "--frames", "1-100000", "--progress", "json"});
  render.signalAfter = "\"frame\":3";
  render.signal = SIGKILL;
  EXPECT_EQ(run(render).signal, SIGKILL);
  const Words left = names("");
  ASSERT_THAT(left, ElementsAre(testing::StartsWith(".fire.mkv.partial-"), "title.png"));
  fs::last_write_time(path(left[0]), fs::file_time_type::clock::now() - std::chrono::seconds(10));
  EXPECT_THAT(pyrelux(renderWords("title.png", "fire.mkv", {"--frames", "1"})).err, HasSubstr("removed '" + left[0]));
  EXPECT_THAT(names(""), ElementsAre("fire.mkv", "title.png"));
}

}  // namespace
}  // namespace pyrelux::cli::test
