// What a file behind the fire decides: size, frame rate, length and audio, unless options do.

#include <algorithm>
#include <chrono>
#include <cmath>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

/// A title of 64 x 36 pixels, and films whose grey tells their frame: 4 levels brighter each, 80 at the first.
class BackgroundTest : public CliTest {
 protected:
  BackgroundTest() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// Lossless, of another size than the title, with a tone of 440 Hz if asked for.
  void saveFilm(const std::string &name, int frames, const std::string &rate, bool hasAudio = false,
                const std::string &size = "96x48") const {
    const std::string length = std::to_string(frames);
    Words words{"-f", "lavfi", "-i", "color=black:size=" + size + ":rate=" + rate};
    if (hasAudio) words = words + Words{"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000"};
    words = words + Words{"-vf", "format=gray,geq=lum=76+4*(N+1),format=bgr0", "-frames:v", length, "-c:v", "ffv1"};
    if (hasAudio) words = words + Words{"-c:a", "pcm_s16le", "-t", std::to_string(frames / std::stod(rate))};
    saveWithFfmpeg(words, name);
  }

  /// The number of the background's frame that shows in each frame of a film, at its upper left corner.
  std::vector<int> framesBehind(const std::string &name) const {
    const nlohmann::json stream = probe(name);
    const std::string samples = decoded(name, "rgb24");
    const std::size_t bytes = 3u * stream.at("width").get<std::size_t>() * stream.at("height").get<std::size_t>();
    std::vector<int> frames;
    for (std::size_t at = 0; at < samples.size(); at += bytes)
      frames.push_back(static_cast<int>(std::lround((static_cast<unsigned char>(samples[at]) - 76) / 4.0)));
    return frames;
  }

  std::string sizeOf(const std::string &name) const {
    const nlohmann::json stream = probe(name);
    return std::to_string(stream.at("width").get<int>()) + "x" + std::to_string(stream.at("height").get<int>());
  }

  void expectUsageError(const Words &arguments, const Words &words) const {
    const Words before = names("");
    const Result result = pyrelux(arguments);
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(names(""), before);
  }
};

TEST_F(BackgroundTest, DecidesSizeRateLengthAndAudio) {
  saveFilm("film.mov", 10, "25", true);
  for (const Words &input : {Words{"title.png"}, Words{"--text", "FIRE"}, Words{"--input-test-pattern", "title"}}) {
    expectSuccess(
        pyrelux(Words{"render"} + input + quick() + Words{"-o", "out.mkv", "--overwrite", "--over", "film.mov"}));
    const nlohmann::json stream = probe("out.mkv");
    EXPECT_EQ(sizeOf("out.mkv"), "96x48");
    EXPECT_EQ(stream.at("r_frame_rate"), "25/1");
    EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    // 0.4 s of sound, in packets.
    ASSERT_FALSE(audioOf("out.mkv").empty());
    EXPECT_LT(audioOf("out.mkv").front().time, 0.001);
    EXPECT_NEAR(audioOf("out.mkv").back().time, 0.4, 0.1);
  }
  render("title.png", "still.png", {"--over", "film.mov"});
  EXPECT_EQ(sizeOf("still.png"), "96x48");
  EXPECT_EQ(framesBehind("still.png"), std::vector<int>{1});
}

TEST_F(BackgroundTest, KeepsTheShapeOfItsPixels) {
  // As wide in pixels as it is not on a screen.
  saveWithFfmpeg({"-f", "lavfi", "-i", "color=gray:size=48x48:rate=25,setsar=2/1", "-frames:v", "2", "-c:v", "ffv1"},
                 "wide.mkv");
  const Words still{"--over", "wide.mkv", "--frames", "1", "--set", "length-of-pyrelux=0", "--set", "source-opacity=1"};
  expectSuccess(pyrelux(Words{"render", "--input-test-pattern", "circle", "-o", "wide.png"} + quick() + still));
  EXPECT_EQ(sizeOf("wide.png"), "48x48");
  EXPECT_EQ(probe("wide.png").at("sample_aspect_ratio"), "2:1");
  // The disc is half as high as the picture and, in pixels of double width, a quarter as wide.
  const std::string samples = decoded("wide.png", "rgb24");
  const auto isWhite = [&](int x, int y) {
    return static_cast<unsigned char>(
               samples.at(3 * (static_cast<std::size_t>(y) * 48 + static_cast<std::size_t>(x)))) > 200;
  };
  int wide = 0;
  int high = 0;
  for (int i = 0; i < 48; ++i) {
    wide += isWhite(i, 24);
    high += isWhite(24, i);
  }
  EXPECT_NEAR(high, 24, 1);
  // Copies upon copies fill its soft edges.
  EXPECT_NEAR(wide, 12, 2);
}

TEST_F(BackgroundTest, YieldsToOptions) {
  saveFilm("film.mkv", 10, "25", true);
  render("title.png", "out.mkv", {"--over", "film.mkv", "--frames", "3-5", "--no-audio"});
  EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{3, 4, 5}));
  EXPECT_TRUE(audioOf("out.mkv").empty());
  // Twice the rate for the same time: each of its frames is shown twice.
  render("title.png", "out.mkv", {"--over", "film.mkv", "--fps", "50", "--frames", "1-6"});
  EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{1, 1, 2, 2, 3, 3}));
  EXPECT_FALSE(audioOf("out.mkv").empty());
  render("title.png", "out.mkv", {"--over", "film.mkv", "--fps", "12.5"});
  EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{1, 3, 5, 7, 9}));
  expectSuccess(pyrelux(
      Words{"render", "--text", "FIRE", "--size", "80x40", "--over", "film.mkv", "--frames", "1", "-o", "sized.png"} +
      quick()));
  EXPECT_EQ(sizeOf("sized.png"), "80x40");
}

TEST_F(BackgroundTest, HoldsItsLastFrameOrIsRepeated) {
  saveFilm("film.mkv", 3, "25");
  render("title.png", "out.mkv", {"--over", "film.mkv", "--frames", "2-6"});
  EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{2, 3, 3, 3, 3}));
  render("title.png", "out.mkv", {"--over", "film.mkv", "--frames", "2-8", "--over-loop"});
  EXPECT_EQ(framesBehind("out.mkv"), (std::vector<int>{2, 3, 1, 2, 3, 1, 2}));
}

TEST_F(BackgroundTest, OfASequenceGoesByNumber) {
  saveSequence("back", 3, 5);
  render("title.png", "out_%d.png", {"--over", "back_%04d.png"});
  EXPECT_EQ(pictures(""), (Words{"back_0003.png", "back_0004.png", "back_0005.png", "out_3.png", "out_4.png",
                                 "out_5.png", "title.png"}));
  render("title.png", "held.png", {"--over", "back_0005.png", "--frames", "7"});
  render("title.png", "out_%d.png", {"--over", "back_%04d.png", "--frames", "4-7"});
  EXPECT_TRUE(load(path("out_7.png")) == load(path("held.png")));
  render("title.png", "looped.png", {"--over", "back_0004.png", "--frames", "7"});
  render("title.png", "out_%d.png", {"--over", "back_%04d.png", "--frames", "7", "--over-loop"});
  EXPECT_TRUE(load(path("out_7.png")) == load(path("looped.png")));
  expectUsageError(renderWords("title.png", "out_%d.png", {"--over", "back_%04d.png", "--frames", "9"}),
                   {"'back_%04d.png'", "3-5", "--frames"});
}

TEST_F(BackgroundTest, AMissingFrameFailsAloneInASequence) {
  saveSequence("back", 1, 3);
  std::filesystem::remove(path("back_0002.png"));
  const Result result = pyrelux(renderWords("title.png", "out_%d.png", {"--over", "back_%04d.png"}));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("frame 2"));
  EXPECT_EQ(pictures(""), (Words{"back_0001.png", "back_0003.png", "out_1.png", "out_3.png", "title.png"}));
}

TEST_F(BackgroundTest, PutsASmallerInputInTheMiddleAndShrinksALargerOne) {
  saveFilm("film.mkv", 1, "25");
  // Without length the fire stays on the title.
  const Words look{"--over", "film.mkv", "--frames", "1", "--set", "length-of-pyrelux=0", "--set", "source-opacity=1"};
  render("title.png", "small.png", look);
  save(path("title.png"), titlePng(3 * 96, 3 * 48));
  render("title.png", "large.png", look);
  const std::string small = decoded("small.png", "rgb24");
  const std::string large = decoded("large.png", "rgb24");
  const auto isTitle = [](const std::string &samples, int x, int y) {
    return static_cast<unsigned char>(samples.at(3 * (static_cast<std::size_t>(y) * 96 + x))) > 200;
  };
  // In title.png the letters begin at a tenth of the width and a third of the height or so.
  int smallPixels = 0;
  int largePixels = 0;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 96; ++x) {
      const bool isInside = x >= 16 && x < 80 && y >= 6 && y < 42;
      if (!isInside) {
        EXPECT_FALSE(isTitle(small, x, y)) << x << " " << y;
      }
      smallPixels += isTitle(small, x, y);
      largePixels += isTitle(large, x, y);
    }
  EXPECT_GT(smallPixels, 20);
  EXPECT_GT(largePixels, smallPixels * 3 / 2);
}

TEST_F(BackgroundTest, IsFittedToAnInputThatKeepsItsSize) {
  // Four columns of 8 pixels: black, a third, two thirds, white; the title is twice as high as wide in comparison.
  saveWithFfmpeg(
      {"-f", "lavfi", "-i", "color=black:size=32x8", "-vf", "format=gray,geq=lum=85*floor(X/8)", "-frames:v", "1"},
      "bars.png");
  const auto leftAndRight = [this](const char *fit) {
    render("title.png", "out.png",
           {"--over", "bars.png", "--over-fit", fit, "--frames", "1", "--set", "length-of-pyrelux=0"});
    EXPECT_EQ(sizeOf("out.png"), "64x36");
    const std::string samples = decoded("out.png", "rgb24");
    std::vector<int> levels;
    // Where the title has no letters, away from the columns' edges.
    for (const std::pair<int, int> &place : {std::pair{10, 34}, {53, 34}, {1, 0}})
      levels.push_back(static_cast<unsigned char>(
          samples.at(3 * (static_cast<std::size_t>(place.second) * 64 + static_cast<std::size_t>(place.first)))));
    return levels;
  };
  // Its middle half is seen.
  const std::vector<int> cover = leftAndRight("cover");
  EXPECT_NEAR(cover[0], 85, 2);
  EXPECT_NEAR(cover[1], 170, 2);
  // 64 x 16 in the middle, black above and below.
  const std::vector<int> contain = leftAndRight("contain");
  EXPECT_EQ(contain[0], 0);
  EXPECT_EQ(contain[2], 0);
  const std::vector<int> stretch = leftAndRight("stretch");
  EXPECT_NEAR(stretch[0], 0, 2);
  EXPECT_NEAR(stretch[1], 255, 2);
  const std::vector<int> none = leftAndRight("none");
  EXPECT_EQ(none[0], 0);
  EXPECT_EQ(none[1], 0);
}

TEST_F(BackgroundTest, RunsAlongWithAMovie) {
  saveFilm("film.mkv", 8, "25", false, "64x36");
  saveFilm("long.mkv", 12, "25", false, "64x36");
  saveFilm("half.mkv", 4, "12.5", false, "64x36");
  // The film behind decides the length; after the end of the movie in front nothing burns.
  const Words quiet{"--set", "length-of-pyrelux=0", "--set", "glow=-100", "--set", "source-opacity=1"};
  render("film.mkv", "out.mkv", Words{"--over", "long.mkv"} + quiet);
  EXPECT_EQ(probe("out.mkv").at("nb_read_frames"), "12");
  render("long.mkv", "out.mkv", Words{"--over", "film.mkv"} + quiet);
  EXPECT_EQ(probe("out.mkv").at("nb_read_frames"), "8");
  // In front the opaque film of the same time, each frame twice; then the one behind.
  render("half.mkv", "out.mkv", Words{"--over", "long.mkv"} + quiet);
  const std::vector<int> shown = framesBehind("out.mkv");
  ASSERT_EQ(shown.size(), 12u);
  for (std::size_t frame = 0; frame < 8; ++frame)
    EXPECT_NEAR(shown[frame], 1.0 + static_cast<double>(frame / 2), 0.5) << frame;
  for (std::size_t frame = 8; frame < 12; ++frame) EXPECT_EQ(shown[frame], static_cast<int>(frame) + 1);
  EXPECT_EQ(probe("out.mkv").at("r_frame_rate"), "25/1");
}

TEST_F(BackgroundTest, MakesAnotherRecord) {
  saveSequence("back", 1, 2);
  const auto rendered = [this](const Words &more) {
    const Result result = pyrelux(Words{"render", "title.png", "-o", "out_%d.png", "--resume", "--verbose", "--frames",
                                        "1-2", "--over", "back_%04d.png"} +
                                  quick() + more);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.err.find("2 of 2 frames were there already") == std::string::npos;
  };
  for (const char *name : {"back_0001.png", "back_0002.png"})
    std::filesystem::last_write_time(path(name), std::filesystem::last_write_time(path(name)) - std::chrono::hours(1));
  EXPECT_TRUE(rendered({}));
  EXPECT_FALSE(rendered({}));
  for (const Words &words : {Words{"--over-fit", "contain"}, Words{"--over-loop"}, Words{"--density", "0.5"},
                             Words{"--draw-bits", "8"}, Words{"--alpha", "none"}}) {
    EXPECT_TRUE(rendered(words)) << words[0];
    EXPECT_FALSE(rendered(words)) << words[0];
  }
  // A frame that another one stands for counts, too.
  EXPECT_TRUE(rendered({}));
  std::filesystem::last_write_time(path("back_0002.png"), std::filesystem::file_time_type::clock::now());
  EXPECT_TRUE(rendered({}));
}

}  // namespace
}  // namespace pyrelux::cli::test
