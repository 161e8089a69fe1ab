// Tests the frei0r plug-in in GStreamer.

#include "ProgramTest.h"

namespace pyrelux::adapters::test {
namespace {

using cli::test::Result;

class GStreamer : public ProgramTest {
 protected:
  /// The frames that a pipeline writes to "frames.raw".
  std::string framesOf(const std::string &pipeline) const {
    const Result result =
        withPlugIn({"/bin/sh", "-c", PYRELUX_GSTREAMER " -q " + pipeline + " ! filesink location=frames.raw"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return cli::test::load(path("frames.raw"));
  }
};

TEST_F(GStreamer, ShowsWhatRenderDraws) { expectRendered(byGstreamer(12), 12); }

TEST_F(GStreamer, ShowsWhatFfmpegShows) { EXPECT_EQ(byGstreamer(19), byFfmpeg(19)); }

class GStreamerSizes : public ProgramTest, public testing::WithParamInterface<Size> {
 protected:
  GStreamerSizes() : ProgramTest(GetParam()) {}
};

TEST_P(GStreamerSizes, ShowWhatRenderDraws) { expectRendered(byGstreamer(2), 2); }

INSTANTIATE_TEST_SUITE_P(All, GStreamerSizes,
                         testing::Values(Size{61, 45}, Size{720, 576}, Size{1920, 1080}, Size{4096, 304}));

TEST_F(GStreamer, TakesParametersAsProperties) {
  EXPECT_EQ(byGstreamer(3, "frame-rate=50"), byGstreamer(6));
  EXPECT_EQ(byGstreamer(3, "tongue-length=0.6 color-outer-b=1 output=fire"),
            byFfmpeg(3,
                     "25|fire|auto|none|0|0.1020408163|0.6|0.06|0.75|0.2|0.2|0.1414141414|0.6|0.5|0.1666666667|"
                     "0.1034482759|0.5|1/1/0|1/0.5/0|1/0/1"));
}

TEST_F(GStreamer, TakesAPresetAndASeed) {
  EXPECT_EQ(byGstreamer(3, "preset=torch seed=7"), byFfmpeg(3, "25|over|auto|torch|7"));
}

TEST_F(GStreamer, SeeksToTheSameFrame) {
  // A movie that begins where a seek would have led to.
  saveWithFfmpeg({"-loop", "1", "-framerate", "25", "-i", path("title.png").string(), "-frames:v", "3", "-c:v", "png",
                  "-output_ts_offset", "0.76"},
                 "late.mkv");
  const std::string frames = framesOf(
      "filesrc location=late.mkv ! matroskademux ! pngdec ! videoconvert ! video/x-raw,format=RGBA ! "
      "frei0r-filter-pyrelux");
  ASSERT_EQ(frames.size(), 3 * frameBytes());
  EXPECT_EQ(frames.substr(0, frameBytes()), byGstreamer(19));
}

TEST_F(GStreamer, GivesThePictureOfAFrameInEveryThread) {
  // Both branches in threads of their own; the lower one draws all frames, too.
  const std::string frames = framesOf(
      "filesrc location=title.png ! pngdec ! videoconvert ! imagefreeze num-buffers=10 ! "
      "video/x-raw,format=RGBA,framerate=25/1 ! tee name=both "
      "both. ! queue ! frei0r-filter-pyrelux ! filesink location=other.raw "
      "both. ! queue ! frei0r-filter-pyrelux");
  ASSERT_EQ(frames.size(), 10 * frameBytes());
  EXPECT_EQ(cli::test::load(path("other.raw")), frames);
  EXPECT_EQ(frames.substr(9 * frameBytes()), byGstreamer(9));
}

TEST_F(GStreamer, KeepsThePictureWithoutABundle) {
  const Result result = withPlugIn(
      {"/bin/sh", "-c",
       PYRELUX_GSTREAMER " -q filesrc location=title.png ! pngdec ! videoconvert ! video/x-raw,format=RGBA ! "
                         "frei0r-filter-pyrelux ! filesink location=frames.raw"},
      PYRELUX_FREI0R_FOLDER, {{"PYRELUX_PLUGIN_PATH", "/nowhere"}});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(cli::test::load(path("frames.raw")), decoded("title.png", "rgba"));
  EXPECT_THAT(result.err, testing::HasSubstr("pyrelux: no filter bundle in /nowhere"));
}

}  // namespace
}  // namespace pyrelux::adapters::test
