// What movies say about themselves: rotation, fields, uneven times, a high dynamic range.

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

class MovieInput : public CliTest {
 protected:
  void saveFilm(const std::string &name, const std::string &filters, const Words &more = {"-c:v", "ffv1"}) const {
    saveWithFfmpeg(Words{"-f", "lavfi", "-i", "testsrc=s=64x36:r=50:d=0.4," + filters} + more, name);
  }

  Result resultOf(const std::string &input, const std::string &output, const Words &more = {}) const {
    const Result result = pyrelux(renderWords(input, output, more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result;
  }

  void expectRemark(const std::string &input, const std::string &output, const std::string &remark,
                    const Words &more = {}) const {
    EXPECT_EQ(withoutRemarksOnTests(resultOf(input, output, more).err), "pyrelux: " + remark + "\n");
    EXPECT_EQ(resultOf(input, output, more + Words{"--quiet"}).err, "");
  }
};

TEST_F(MovieInput, ThatLiesIsTurnedUpright) {
  saveFilm("flat.mp4", "format=yuv420p", {"-c:v", "libx264"});
  saveWithFfmpeg({"-i", path("flat.mp4").string(), "-c", "copy", "-metadata:s:v", "rotate=90"}, "phone.mp4");
  render("phone.mp4", "fire.mp4", {"--frames", "1-2"});
  EXPECT_EQ(probe("fire.mp4").at("width"), 36);
  EXPECT_EQ(probe("fire.mp4").at("height"), 64);
  // Behind a title of its upright size.
  render("phone.mp4", "fire.png", {"--frames", "1"});
  render("fire.png", "over.png", {"--frames", "1", "--over", "phone.mp4"});
}

TEST_F(MovieInput, PixelAspectIsThatOfTheOutput) {
  saveFilm("wide.mkv", "setsar=16/11,format=rgba");
  for (const char *output : {"fire.mov", "fire.mp4", "fire.png"}) {
    render("wide.mkv", output, {"--frames", "1"});
    EXPECT_EQ(probe(output).at("sample_aspect_ratio"), "16:11") << output;
  }
}

TEST_F(MovieInput, NeedsTheLibraryThatDeinterlacesOnlyThen) {
  // The dynamic linker prints what the program begins with, instead of running it.
  const Result result = pyrelux({"--version"}, {{"LD_TRACE_LOADED_OBJECTS", "1"}});
  EXPECT_THAT(result.out,
              testing::AllOf(testing::HasSubstr("libavformat"), testing::Not(testing::HasSubstr("libavfilter"))));
}

TEST_F(MovieInput, FieldsAreTold) {
  const std::string remark = "the movie 'fields.mp4' is interlaced; --deinterlace makes whole pictures of its fields";
  saveFilm("fields.mp4", "tinterlace=interleave_top,format=yuv420p",
           {"-c:v", "libx264", "-flags", "+ildct+ilme", "-x264opts", "tff=1"});
  expectRemark("fields.mp4", "fire.mp4", remark);
  render("fields.mp4", "fire.mp4", {"--deinterlace"});
  EXPECT_EQ(probe("fire.mp4").at("nb_read_frames"), "10");
  EXPECT_EQ(probe("fire.mp4").at("r_frame_rate"), "25/1");
  // Behind a picture as well, where the option is for it alone.
  render("fields.mp4", "title.png", {"--frames", "1", "--deinterlace"});
  expectRemark("title.png", "fire.png", remark, {"--over", "fields.mp4"});
  render("title.png", "fire.png", {"--over", "fields.mp4", "--deinterlace"});
}

TEST_F(MovieInput, UnevenTimesAreResampledOrKept) {
  // Ten pictures in the first half, then every fifth.
  saveFilm("film.mkv", "select='lt(n,10)+not(mod(n,5))',format=yuv420p", {"-vsync", "vfr", "-c:v", "libx264"});
  const std::string remark = "the movie 'film.mkv' has a variable frame rate and is resampled to 50 frames per second";
  expectRemark("film.mkv", "fire.mp4", remark + "; --vfr keep keeps the times of its pictures");
  EXPECT_EQ(probe("fire.mp4").at("nb_read_frames"), "16");
  expectRemark("film.mkv", "fire_%02d.png", remark, {"--vfr", "resample"});
  render("film.mkv", "fire.mp4", {"--vfr", "keep"});
  EXPECT_EQ(probe("fire.mp4").at("nb_read_frames"), "12");
  render("film.mkv", "fire.png", {"--frames", "1", "--quiet"});
  expectRemark("fire.png", "over.mp4", remark, {"--over", "film.mkv", "--frames", "1-16"});
}

TEST_F(MovieInput, OfAnEvenRateHasTheSameFramesWithAndWithoutKeeping) {
  saveFilm("film.mkv", "format=rgba");
  render("film.mkv", "one.mkv");
  render("film.mkv", "two.mkv", {"--vfr", "keep"});
  EXPECT_EQ(load(path("one.mkv")).size(), load(path("two.mkv")).size());
  EXPECT_EQ(decoded("one.mkv", "rgba"), decoded("two.mkv", "rgba"));
}

TEST_F(MovieInput, OfAHighRangeIsNotTakenForBt709) {
  const Words tags{"-color_primaries", "bt2020", "-color_trc", "smpte2084", "-colorspace", "bt2020nc"};
  saveWithFfmpeg(Words{"-f", "lavfi", "-i", "color=gray:s=64x36:r=25:d=0.08,format=yuv420p10"} +
                     Words{"-c:v", "libx265", "-x265-params", "log-level=none"} + tags,
                 "pq.mp4");
  render("pq.mp4", "fire.mkv", {"--set", "source-opacity=1", "--codec", "ffv1"});
  const std::string pixels = decoded("fire.mkv", "rgb24");
  // Half of PQ's scale is 92 cd/m2, 0.45 of the reference white. Taken for BT.709, it would be 0.5 itself.
  const int level = static_cast<unsigned char>(pixels.at(0));
  EXPECT_GT(level, 160);
  EXPECT_LT(level, 210);
}

}  // namespace
}  // namespace pyrelux::cli::test
