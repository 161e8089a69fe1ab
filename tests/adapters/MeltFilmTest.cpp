// Tests the MLT filter in melt: many frames, in several orders, and a film with cuts.

#include <algorithm>
#include <cmath>

#include "MeltRun.h"

namespace pyrelux::cli::test {
namespace {

const Words animated{"turbulence-speed=0=0;10=100;20~=0;39=80", "wiggle-turbulence=0=1;30=90", "glow=0=-30;39=70",
                     "color-center=0=#ff8000;39=#0080ff"};

TEST_F(Melt, SeeksToTheSameFrame) {
  const std::string run = burnt(animated, 40);
  const Result result = melt(Words{"-profile", "small", "title.png", "out=39", "-filter", "pyrelux"} + animated +
                             Words{"-consumer", "xml:film.mlt"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  for (const std::size_t number : {19u, 38u, 3u}) {
    const std::string at = std::to_string(number);
    EXPECT_TRUE(frames("small", {"film.mlt", "in=" + at, "out=" + at}) == frame(run, number)) << number;
  }
}

TEST_F(Melt, FourThreadsGiveWhatOneGives) {
  const std::string one = burnt(animated, 40, {"real_time=-1"});
  EXPECT_EQ(one.size(), 40u * testWidth * testHeight * 4);
  EXPECT_NE(frame(one, 5), frame(one, 30));
  EXPECT_TRUE(burnt(animated, 40, {"real_time=-4"}) == one);
}

TEST_F(Melt, BurnsATitleOverFootage) {
  constexpr int count = 20;
  saveWithFfmpeg({"-f", "lavfi", "-i", "gradients=size=64x36:rate=25:c0=#203040:c1=#405060:speed=0.01", "-frames:v",
                  std::to_string(count), "-pix_fmt", "yuv420p", "-c:v", "ffv1"},
                 "footage.mkv");
  const Words film{"-profile",  "small",  "footage.mkv", "out=19",  "-track",
                   "title.png", "out=19", "-attach",     "pyrelux", "glow=0=0;19=60"};
  const Result result =
      meltInto("film.mkv", film + Words{"-transition", "composite", "in=0", "out=19", "a_track=0", "b_track=1",
                                        "geometry=0/0:64x36:100", "-consumer", "avformat:film.mkv", "vcodec=ffv1",
                                        "pix_fmt=yuv422p", "an=1", "real_time=-1"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(probe("film.mkv").at("nb_read_frames"), std::to_string(count));

  // Luma as the film has it: chroma has fewer samples than the picture has pixels.
  const std::string filmed = decoded("film.mkv", "yuv422p");
  const std::string footage = frames("small", {"footage.mkv", "out=19"});
  const std::string fire = burnt({"glow=0=0;19=60"}, count);
  ASSERT_EQ(filmed.size() * 2, fire.size());
  ASSERT_EQ(footage.size(), fire.size());
  constexpr std::size_t pixels = testWidth * testHeight;
  const auto luma = [](const std::string &rgba, std::size_t pixel) {
    const auto byte = [&](std::size_t channel) { return static_cast<unsigned char>(rgba[pixel * 4 + channel]); };
    return 16.0 + 219.0 / 255.0 * (0.2126 * byte(0) + 0.7152 * byte(1) + 0.0722 * byte(2));
  };
  double maxDifference = 0.0;
  std::size_t burning = 0;
  for (std::size_t pixel = 0; pixel < pixels * count; ++pixel) {
    const double alpha = static_cast<unsigned char>(fire[pixel * 4 + 3]) / 255.0;
    const double below = luma(footage, pixel);
    const double expected = alpha * luma(fire, pixel) + (1.0 - alpha) * below;
    const double shown = static_cast<unsigned char>(filmed[pixel / pixels * 2 * pixels + pixel % pixels]);
    maxDifference = std::max(maxDifference, std::abs(shown - expected));
    burning += shown > below + 50.0;
  }
  EXPECT_LE(maxDifference, 3.0);
  EXPECT_GT(burning, 1000u);
}

}  // namespace
}  // namespace pyrelux::cli::test
