#include "WrongTest.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <ostream>
#include <stdexcept>

#include "PngFile.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {

namespace {

std::string title() { return titlePng(testWidth, testHeight); }

/// The bytes with what follows `mark` replaced.
std::string patched(std::string bytes, const std::string &mark, const std::string &replacement) {
  const std::size_t found = bytes.find(mark);
  if (found == std::string::npos) throw std::runtime_error("no " + mark + " to patch");
  return bytes.replace(found + mark.size(), replacement.size(), replacement);
}

std::string littleEndian(std::initializer_list<std::int32_t> numbers) {
  std::string bytes;
  for (const std::int32_t number : numbers)
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

const std::string dataWindow("dataWindow\0box2i\0\x10\0\0\0", 21);
const std::string displayWindow("displayWindow\0box2i\0\x10\0\0\0", 24);
const std::string compression("compression\0compression\0\x01\0\0\0", 28);

void saveSocket(const fs::path &file) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, file.c_str(), sizeof address.sun_path - 1);
  const int number = socket(AF_UNIX, SOCK_STREAM, 0);
  const int result = bind(number, reinterpret_cast<const sockaddr *>(&address), sizeof address);
  close(number);
  if (result != 0) throw std::runtime_error("no socket");
}

}  // namespace

void PrintTo(const WrongRow &row, std::ostream *stream) { *stream << testing::PrintToString(row.arguments); }

std::string nameOf(const testing::TestParamInfo<WrongRow> &row) { return row.param.name; }

Words renderOf(const std::string &input, const std::string &output, const Words &more) {
  return Words{"render", input, "-o", output, "--overwrite"} + quick() + more;
}
Words still(const Words &more) { return renderOf("title.png", "out/fire.png", more); }
Words movie(const Words &more) { return renderOf("title.png", "out/fire.mov", more); }

void WrongTest::saveCut(const std::string &name, const std::string &whole, std::size_t size) const {
  save(path(name), whole.substr(0, size));
}

const WrongTest::Makers &WrongTest::makers() {
  using Test = const WrongTest &;
  using File = const fs::path &;
  static const Makers all{
      {"title.png", [](Test, File file) { save(file, title()); }},
      {"keyed.json",
       [](Test, File file) {
         save(
             file,
             R"({"version": 1, "parameters": {"tongue-length": [{"frame": 1, "value": 5}, {"frame": 9, "value": 9}]}})");
       }},
      {"old.png", [](Test, File file) { save(file, "before"); }},
      {"empty.png", [](Test, File file) { save(file, ""); }},
      {"empty.mov", [](Test, File file) { save(file, ""); }},
      {"notes.png", [](Test, File file) { save(file, "Sets titles on fire.\n"); }},
      {"notes.mov", [](Test, File file) { save(file, "Sets titles on fire.\n"); }},
      {"zeros.exr", [](Test, File file) { save(file, std::string(4096, '\0')); }},
      {"cut8.png", [](Test, File file) { save(file, title().substr(0, 8)); }},
      {"cut20.png", [](Test, File file) { save(file, title().substr(0, 20)); }},
      {"cut45.png", [](Test, File file) { save(file, title().substr(0, 45)); }},
      {"cut50.png", [](Test, File file) { save(file, title().substr(0, title().size() / 2)); }},
      {"cut99.png", [](Test, File file) { save(file, title().substr(0, title().size() - 1)); }},
      {"vast.png", [](Test, File file) { save(file, emptyPromisePng(60000, 60000)); }},
      {"wide.png", [](Test, File file) { save(file, emptyPromisePng(1000000000, 1)); }},
      {"line.png", [](Test, File file) { save(file, titlePng(32768, 1)); }},
      {"column.png", [](Test, File file) { save(file, titlePng(1, 32768)); }},
      {"flat.png", [](Test, File file) { save(file, emptyPromisePng(64, 0)); }},
      {"narrow.png", [](Test, File file) { save(file, emptyPromisePng(0, 64)); }},
      {"promise.png", [](Test, File file) { save(file, emptyPromisePng(4096, 4096)); }},
      {"bits20.png",
       [](Test, File file) {
         save(file, headedPng({20, 6, 0, 0, 0}));
       }},
      {"bits4.png",
       [](Test, File file) {
         save(file, headedPng({4, 6, 0, 0, 0}));
       }},
      {"layout5.png",
       [](Test, File file) {
         save(file, headedPng({8, 5, 0, 0, 0}));
       }},
      {"palette.png",
       [](Test, File file) {
         save(file, headedPng({8, 3, 0, 0, 0}));
       }},
      {"packed9.png",
       [](Test, File file) {
         save(file, headedPng({8, 6, 9, 0, 0}));
       }},
      {"interlaced7.png",
       [](Test, File file) {
         save(file, headedPng({8, 6, 0, 0, 7}));
       }},
      {"folder.png", [](Test, File file) { fs::create_directory(file); }},
      {"folder.mov", [](Test, File file) { fs::create_directory(file); }},
      {"pipe.png", [](Test, File file) { mkfifo(file.c_str(), 0600); }},
      {"pipe.mov", [](Test, File file) { mkfifo(file.c_str(), 0600); }},
      {"socket.png", [](Test, File file) { saveSocket(file); }},
      {"full.png", [](Test, File file) { fs::create_symlink("/dev/full", file); }},
      {"loop.png", [](Test, File file) { fs::create_symlink("loop.png", file); }},
      {"nowhere.png", [](Test, File file) { fs::create_symlink("nothing.png", file); }},
      {"hard.png",
       [](Test test, File file) {
         save(test.path("title.png"), title());
         fs::create_hard_link(test.path("title.png"), file);
       }},
      {"symbolic.png",
       [](Test test, File file) {
         save(test.path("title.png"), title());
         fs::create_symlink("title.png", file);
       }},
      {"gap_",
       [](Test test, File) {
         test.saveSequence("gap", 1, 4);
         fs::remove(test.path("gap_0003.png"));
       }},
      {"size_",
       [](Test test, File) {
         test.saveSequence("size", 1, 2);
         save(test.path("size_0003.png"), titlePng(12, 9));
       }},
      {"in_", [](Test test, File) { test.saveSequence("in", 1, 2); }},
      {"mixed_",
       [](Test test, File) {
         test.saveSequence("mixed", 1, 1);
         save(test.path("mixed_0002.png"), "Sets titles on fire.\n");
       }},
      {"clip.mov", [](Test test, File) { test.saveMovie("clip.mov", 3); }},
      {"clip.mkv", [](Test test, File) { test.saveMovie("clip.mkv", 2); }},
      {"cut.mov",
       [](Test test, File file) {
         test.saveMovie("cut.mov", 3);
         save(file, load(file).substr(0, load(file).size() / 2));
       }},
      {"cut.mkv",
       [](Test test, File file) {
         test.saveMovie("cut.mkv", 3);
         save(file, load(file).substr(0, load(file).size() * 3 / 5));
       }},
      {"cut.mp4",
       [](Test test, File file) {
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc=s=64x36:r=25:d=0.2"}, "cut.mp4");
         save(file, load(file).substr(0, load(file).size() / 2));
       }},
      {"sound.mp4",
       [](Test test, File) {
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "anullsrc", "-t", "0.1"}, "sound.mp4");
       }},
      {"sound.wav",
       [](Test test, File) {
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "anullsrc", "-t", "0.1"}, "sound.wav");
       }},
      {"cover.mp4",
       [](Test test, File) {
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "anullsrc", "-f", "lavfi", "-i", "color=s=16x16", "-frames:v", "1",
                              "-t", "0.1", "-c:v", "mjpeg", "-disposition:v", "attached_pic"},
                             "cover.mp4");
       }},
      {"sizes.mjpeg",
       [](Test test, File file) {
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc=s=48x36", "-frames:v", "2"}, "sizes.mjpeg");
         const std::string narrow = load(file);
         test.saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc=s=64x36", "-frames:v", "2"}, "sizes.mjpeg");
         save(file, load(file) + narrow);
       }},
      {"cut.jpg",
       [](Test test, File file) {
         test.saveAs("cut.jpg", "yuvj420p");
         save(file, load(file).substr(0, load(file).size() * 3 / 4));
       }},
      {"cut.tif",
       [](Test test, File file) {
         test.saveAs("cut.tif", "rgba");
         save(file, load(file).substr(0, load(file).size() * 3 / 4));
       }},
      {"cut.exr",
       [](Test test, File file) {
         test.saveAs("cut.exr", "gbrapf32le");
         save(file, load(file).substr(0, load(file).size() * 3 / 4));
       }},
      {"huge.exr",
       [](Test test, File file) {
         test.saveAs("huge.exr", "gbrapf32le");
         save(file, patched(load(file), dataWindow, littleEndian({0, 0, 1000000, 1000000})));
       }},
      {"negative.exr",
       [](Test test, File file) {
         test.saveAs("negative.exr", "gbrapf32le");
         save(file, patched(load(file), dataWindow, littleEndian({0, 0, -64, -36})));
       }},
      {"overflow.exr",
       [](Test test, File file) {
         test.saveAs("overflow.exr", "gbrapf32le");
         save(file, patched(load(file), dataWindow, littleEndian({INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX})));
       }},
      {"hugeframe.exr",
       [](Test test, File file) {
         test.saveAs("hugeframe.exr", "gbrapf32le");
         save(file, patched(load(file), displayWindow, littleEndian({0, 0, 32767, 0})));
       }},
      {"packing.exr",
       [](Test test, File file) {
         test.saveAs("packing.exr", "gbrapf32le");
         save(file, patched(load(file), compression, "\x63"));
       }},
      {"attribute.exr",
       [](Test test, File file) {
         test.saveAs("attribute.exr", "gbrapf32le");
         save(file, patched(load(file), std::string("channels\0chlist\0", 16), "\xFF\xFF\xFF\x7F"));
       }},
  };
  return all;
}

WrongTest::WrongTest() {
  fs::create_directory(path("out"));
  for (const auto &[name, make] : makers())
    for (const std::string &argument : GetParam().arguments)
      if (argument.find(name) != std::string::npos && !fs::exists(fs::symlink_status(path(name)))) {
        make(*this, path(name));
        break;
      }
}

TEST_P(WrongTest, IsRefusedInOneLineWithoutATrace) {
  const auto before = contentsOf(path(""));
  const Result result = pyrelux(GetParam().arguments, GetParam().environment);
  expectRefusal(result, GetParam().words);
  EXPECT_EQ(result.exitCode, GetParam().exit) << result.err;
  const auto after = contentsOf(path(""));
  for (const auto &[name, bytes] : after) {
    const auto old = before.find(name);
    EXPECT_TRUE(old != before.end() && old->second == bytes) << name << " is new or has changed";
  }
  EXPECT_EQ(after.size(), before.size());
}

}  // namespace pyrelux::cli::test
