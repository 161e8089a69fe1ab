// The frei0r plug-in in the program that most people have.

#include "CliTest.h"
#include "Composed.h"

namespace pyrelux::cli::test {
namespace {

class FFmpeg : public CliTest {
 protected:
  FFmpeg() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// Frames of the title through the effect, as bytes.
  std::string burnt(const std::string &filters, int frames) const {
    Command command;
    command.words = {PYRELUX_FFMPEG, "-v",        "error", "-loop", "1",         "-framerate",           "25",
                     "-i",           "title.png", "-vf",   filters, "-frames:v", std::to_string(frames), "-f",
                     "rawvideo",     "-pix_fmt",  "rgba",  "-"};
    command.folder = path("").string();
    command.environment = {{"FREI0R_PATH", PYRELUX_FREI0R_FOLDER}};
    const Result result = run(command);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
    return result.out;
  }

  static std::string frame(const std::string &frames, std::size_t number) {
    constexpr std::size_t bytes = testWidth * testHeight * 4;
    return frames.substr(number * bytes, bytes);
  }
};

TEST_F(FFmpeg, ShowsWhatRenderDraws) {
  const std::string frames = burnt("format=rgba,frei0r=pyrelux", 13);
  const Result result = pyrelux({"render", "title.png", "-o", "fire.exr", "--bits", "8", "--frames", "12"});
  expectSuccess(result);
  expectComposed(frame(frames, 12), decoded("fire.exr", "gbrapf32le"), decoded("title.png", "rgba"));
}

TEST_F(FFmpeg, TakesParametersInOrder) {
  // Tongues and their length; without any length nothing rises.
  EXPECT_NE(burnt("format=rgba,frei0r=pyrelux:0|0.3", 1), burnt("format=rgba,frei0r=pyrelux:0.1|0.3", 1));
}

TEST_F(FFmpeg, SeeksToTheSameFrame) {
  const std::string run = burnt("format=rgba,frei0r=pyrelux", 20);
  EXPECT_EQ(burnt("format=rgba,trim=start_frame=19,frei0r=pyrelux", 1), frame(run, 19));
}

TEST_F(FFmpeg, KeepsThePictureWithoutABundle) {
  Command command;
  command.words = {PYRELUX_FFMPEG, "-v",       "error",    "-i",   "title.png", "-vf", "format=rgba,frei0r=pyrelux",
                   "-f",           "rawvideo", "-pix_fmt", "rgba", "-"};
  command.folder = path("").string();
  command.environment = {{"FREI0R_PATH", PYRELUX_FREI0R_FOLDER}, {"PYRELUX_PLUGIN_PATH", "/nowhere"}};
  const Result result = run(command);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, decoded("title.png", "rgba"));
  EXPECT_THAT(result.err, testing::HasSubstr("pyrelux: no filter bundle in /nowhere"));
}

}  // namespace
}  // namespace pyrelux::cli::test
