// Tests the frei0r plug-in in ffmpeg.

#include "ProgramTest.h"

namespace pyrelux::adapters::test {
namespace {

using cli::test::Result;
using cli::test::Words;

class FFmpeg : public ProgramTest {
 protected:
  Result ffmpeg(const Words &words) const {
    using cli::test::operator+;
    return withPlugIn(Words{PYRELUX_FFMPEG, "-v", "error"} + words + Words{"-f", "rawvideo", "-pix_fmt", "rgba", "-"});
  }
};

TEST_F(FFmpeg, ShowsWhatRenderDraws) { expectRendered(byFfmpeg(12), 12); }

class FFmpegSizes : public ProgramTest, public testing::WithParamInterface<Size> {
 protected:
  FFmpegSizes() : ProgramTest(GetParam()) {}
};

TEST_P(FFmpegSizes, ShowWhatRenderDraws) { expectRendered(byFfmpeg(2), 2); }

INSTANTIATE_TEST_SUITE_P(All, FFmpegSizes,
                         testing::Values(Size{61, 45}, Size{62, 45}, Size{63, 45}, Size{720, 576}, Size{1920, 1080},
                                         Size{4096, 304},
                                         // FFmpeg's rows may be longer than the next multiple of 4 pixels.
                                         Size{65, 45}, Size{641, 36}, Size{854, 36}, Size{1000, 36}, Size{1080, 36},
                                         Size{1366, 36}));

TEST_F(FFmpeg, KeepsPicturesThatItCannotDrawWhole) {
  for (const int width : {64, 65, 70, 75, 79}) {
    cli::test::save(path("title.png"), cli::test::titlePng(width, 20));
    const Result result = withPlugIn({PYRELUX_FFMPEG, "-v", "error", "-i", "title.png", "-vf",
                                      "format=rgba,frei0r=pyrelux", "-f", "rawvideo", "-pix_fmt", "rgba", "-"},
                                     PYRELUX_FREI0R_FOLDER, {{"PYRELUX_PLUGIN_PATH", "/nowhere"}});
    EXPECT_EQ(result.out, decoded("title.png", "rgba")) << width;
  }
}

TEST_F(FFmpeg, BurnsFramesWhoseTimeItLost) {
  // It copies frames whose rows are longer than the plug-in's, and not their times. Which widths those are depends on
  // the processor.
  for (const int width : {656, 720, 848, 1072}) {
    cli::test::save(path("title.png"), cli::test::titlePng(width, 16));
    saveWithFfmpeg({"-loop", "1", "-framerate", "25", "-i", path("title.png").string(), "-frames:v", "3", "-pix_fmt",
                    "yuv420p", "-c:v", "ffv1"},
                   "yuv.mkv");
    saveWithFfmpeg({"-i", path("yuv.mkv").string(), "-pix_fmt", "rgba", "-c:v", "png"}, "rgba.mov");
    const Result lost = ffmpeg({"-i", "yuv.mkv", "-vf", "frei0r=pyrelux:25|fire"});
    const Result kept = ffmpeg({"-i", "rgba.mov", "-vf", "frei0r=pyrelux:25|fire"});
    EXPECT_EQ(lost.err, "");
    EXPECT_EQ(lost.out.size(), static_cast<std::size_t>(width) * 16 * 4 * 3);
    EXPECT_TRUE(lost.out == kept.out) << width;
  }
}

TEST_F(FFmpeg, TakesParametersInOrder) {
  const std::string frame = byFfmpeg(3);
  EXPECT_EQ(byFfmpeg(3, "25|over|milliseconds|none|0|0.1020408163|0.3"), frame);
  EXPECT_NE(byFfmpeg(3, "25|over|auto|none|0|0.5|0.3"), frame);
  EXPECT_NE(byFfmpeg(3, "25|over|auto|none|0|0.1020408163|0.6"), frame);
  EXPECT_NE(byFfmpeg(3, "25|fire"), frame);
  EXPECT_EQ(byFfmpeg(3, "50"), byFfmpeg(6));
}

TEST_F(FFmpeg, TakesAPresetAndASeed) {
  const std::string frame = byFfmpeg(3, "25|over|auto|torch|7");
  expectRendered(frame, 3, {"--preset", "torch", "--seed", "7"});
  EXPECT_NE(byFfmpeg(3, "25|over|auto|torch"), frame);
  EXPECT_NE(byFfmpeg(3, "25|over|auto|none|7"), frame);
  // Numbers that are the default leave the preset's, others do not.
  EXPECT_EQ(byFfmpeg(3, "25|over|auto|torch|7|0.1020408163|0.3"), frame);
  expectRendered(byFfmpeg(3, "25|over|auto|torch|7|0.1020408163|0.6"), 3,
                 {"--preset", "torch", "--seed", "7", "--set", "tongue-length=60"});
}

TEST_F(FFmpeg, SeeksToTheSameFrame) {
  saveWithFfmpeg({"-loop", "1", "-framerate", "25", "-i", path("title.png").string(), "-frames:v", "30", "-c:v", "png"},
                 "title.mov");
  const Result result =
      ffmpeg({"-ss", "0.76", "-copyts", "-i", "title.mov", "-vf", "format=rgba,frei0r=pyrelux", "-frames:v", "1"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, byFfmpeg(19));
  EXPECT_NE(result.out, byFfmpeg(0));
}

TEST_F(FFmpeg, GivesThePictureOfAFrameWhicheverThreadDrawsIt) {
  // Two filters in one graph, each of which gets every second frame, and the frames in the opposite order.
  const Result result =
      ffmpeg({"-loop", "1", "-framerate", "25", "-i", "title.png", "-filter_complex",
              "format=rgba,trim=end_frame=6,split[a][b];"
              "[a]select='not(mod(n,2))',frei0r=pyrelux[even];[b]select='mod(n,2)',frei0r=pyrelux[odd];"
              "[even][odd]interleave,reverse",
              "-vsync", "passthrough"});
  EXPECT_EQ(result.err, "");
  ASSERT_EQ(result.out.size(), 6 * frameBytes());
  for (int number = 0; number < 6; ++number)
    EXPECT_EQ(result.out.substr(static_cast<std::size_t>(5 - number) * frameBytes(), frameBytes()), byFfmpeg(number))
        << number;
}

TEST_F(FFmpeg, KeepsThePictureWithoutABundle) {
  const Result result = withPlugIn({PYRELUX_FFMPEG, "-v", "error", "-i", "title.png", "-vf",
                                    "format=rgba,frei0r=pyrelux", "-f", "rawvideo", "-pix_fmt", "rgba", "-"},
                                   PYRELUX_FREI0R_FOLDER, {{"PYRELUX_PLUGIN_PATH", "/nowhere"}});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, decoded("title.png", "rgba"));
  EXPECT_THAT(result.err, testing::HasSubstr("pyrelux: no filter bundle in /nowhere"));
}

}  // namespace
}  // namespace pyrelux::adapters::test
