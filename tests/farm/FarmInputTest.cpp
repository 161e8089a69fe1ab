// Whatever is read, and whatever belongs to all frames together: a farm gives the bytes of one render, for the same
// words on the command line.

#include <algorithm>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class FarmInputs : public CliTest {
 protected:
  FarmInputs() {
    fs::create_directory(path("one"));
    fs::create_directory(path("many"));
  }

  static Words drawing() { return Words{"--backend", "soft"} + quick(); }

  static void expectDone(const Result &result) { EXPECT_EQ(result.exitCode, 0) << result.out << result.err; }

  /// Renders once as a whole and once in parts. `name` of the output; both outputs are left in folders of their own.
  void expectSame(const std::string &name, const Words &words, const Words &ofPlan = {}) const {
    SCOPED_TRACE(testing::PrintToString(words) + name);
    expectDone(pyrelux(Words{"render", "-o", "one/" + name} + words + drawing()));
    expectDone(pyrelux(Words{"farm", "plan", "-o", "many/" + name, "--folder", "job", "--tasks", "3"} + words +
                       drawing() + ofPlan));
    expectDone(pyrelux({"farm", "run", "job", "--jobs", "2"}));
    expectSameFiles();
    EXPECT_FALSE(names("one").empty());
    for (const char *folder : {"job", "one", "many"}) fs::remove_all(path(folder));
    fs::create_directory(path("one"));
    fs::create_directory(path("many"));
  }

  void expectSameFiles() const {
    ASSERT_EQ(pictures("many"), pictures("one"));
    for (const std::string &file : pictures("one"))
      EXPECT_TRUE(load(path("many/" + file)) == load(path("one/" + file))) << file;
  }

  /// A second of a moving title with a tone.
  void saveTitleWithSound(const std::string &name) const {
    saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc=s=64x36:r=25:d=1,format=rgba,colorkey=black", "-f", "lavfi", "-i",
                    "sine=d=1", "-c:v", "ffv1", "-c:a", "aac"},
                   name);
  }
};

TEST_F(FarmInputs, CopyTheSoundOnce) {
  saveTitleWithSound("title.mkv");
  for (const char *output : {"f.mov", "f.mp4"}) {
    expectSame(output, {"title.mkv"});
    expectSame(output, {"title.mkv", "--frames", "6-17"});
    expectSame(output, {"title.mkv", "--no-audio"});
  }
}

TEST_F(FarmInputs, TakeTheSoundOfABackground) {
  saveTitleWithSound("film.mkv");
  save(path("title.png"), titlePng(testWidth, testHeight));
  expectSame("f.mov", {"title.png", "--over", "film.mkv"});
  expectSame("f.mov", {"title.png", "--over", "film.mkv"}, {"--copy-input"});
}

TEST_F(FarmInputs, BurnOverFiles) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  save(path("back.png"), titlePng(testWidth, testHeight, 5));
  saveSequence("back", 1, 4);
  const Words frames{"--frames", "1-7"};
  // Headers of EXR pictures tell of the background.
  for (const char *output : {"f.%04d.exr", "f.%04d.png", "f.mp4"}) {
    expectSame(output, Words{"title.png", "--over", "back.png"} + frames);
    expectSame(output, Words{"title.png", "--over", "back_%04d.png", "--over-loop"} + frames, {"--copy-input"});
  }
  expectSame("f.%04d.exr", Words{"title.png", "--over", path("back.png").string()} + frames);
}

TEST_F(FarmInputs, ReadSequences) {
  saveSequence("title", 3, 12);
  expectSame("f.%04d.png", {"title_%04d.png"});
  expectSame("f.mov", {"title_0003.png", "--fps", "25"}, {"--copy-input"});
  expectSame("f.gif", {"title_%04d.png", "--frames", "4-10x2"});
}

TEST_F(FarmInputs, KeepTheTimesOfPictures) {
  saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc=s=64x36:r=50:d=0.4,select='lt(n,10)+not(mod(n,5))',format=yuv420p",
                  "-vsync", "vfr", "-c:v", "libx264"},
                 "film.mkv");
  for (const char *output : {"f.mov", "f.mp4"}) expectSame(output, {"film.mkv", "--vfr", "keep"});
}

TEST_F(FarmInputs, TakeTextsAndFontsAlong) {
  fs::create_directory(path("texts"));
  save(path("texts/title.txt"), "FIRE\nfire\n");
  const fs::path font = "/usr/share/fonts/truetype/dejavu/DejaVuSerif-Bold.ttf";
  fs::copy_file(font, path("texts/title.ttf"));
  const Words words =
      Words{"--text-file", "texts/title.txt", "--font-file", "texts/title.ttf", "--size", "64x36", "--frames", "1-5"} +
      drawing();
  expectDone(pyrelux(Words{"render", "-o", "one/f.%04d.png"} + words));
  expectDone(pyrelux(Words{"farm", "plan", "-o", "many/f.%04d.png", "--folder", "job", "--tasks", "2"} + words));
  fs::remove_all(path("texts"));
  fs::rename(path("job"), path("moved"));
  expectDone(pyrelux({"farm", "run", "moved"}));
  expectSameFiles();
  EXPECT_THAT(load(path("moved/README.md")), HasSubstr("Nothing else has to be there"));
}

TEST_F(FarmInputs, TellWhatHasToBeReachable) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  const Words plan = Words{"farm", "plan", "title.png", "-o", "many/f.mp4", "--frames", "1-3"} + drawing();
  expectDone(pyrelux(plan + Words{"--over", "title.png", "--folder", "job"}));
  EXPECT_THAT(load(path("job/README.md")),
              AllOf(HasSubstr("has to be reachable"), HasSubstr(path("title.png").string())));
  expectDone(pyrelux(plan + Words{"--copy-input", "--folder", "copied"}));
  EXPECT_THAT(load(path("copied/README.md")), HasSubstr("Nothing else has to be there"));
  expectDone(pyrelux(Words{"farm", "plan", "--text", "Fire", "--font", "DejaVu Serif", "-o", "many/f.mp4", "--frames",
                           "1-3", "--folder", "text"} +
                     drawing()));
  EXPECT_THAT(load(path("text/README.md")), AllOf(HasSubstr("has to be installed"), HasSubstr("DejaVu Serif")));
}

TEST_F(FarmInputs, LoopAndMakeRoomAsAWhole) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  for (const char *output : {"f.%04d.exr", "f.mov", "f.gif"}) {
    expectSame(output, {"title.png", "--frames", "1-9", "--loop"});
    expectSame(output, {"title.png", "--frames", "1-9", "--pad", "auto"});
  }
  expectSame("f.%04d.png", {"title.png", "--frames", "1-9", "--loop", "--loop-blend", "5", "--pad", "auto"});
}

}  // namespace
}  // namespace pyrelux::cli::test
