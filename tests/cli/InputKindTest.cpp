#include <set>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// What each kind of input means for the frames of the output.
class InputKind : public CliTest {
 protected:
  InputKind() {
    save(path("title.png"), titlePng(testWidth, testHeight));
    fs::create_directory(path("out"));
  }

  /// An opaque picture of 1024 by 2 pixels whose 16-bit levels rise evenly from the left to the right.
  static std::string rampPpm() {
    std::string file = "P6 1024 2 65535\n";
    for (int pixel = 0; pixel < 2048; ++pixel)
      for (int channel = 0; channel < 3; ++channel) {
        const int level = pixel % 1024 * 65535 / 1023;
        file += static_cast<char>(level >> 8);
        file += static_cast<char>(level & 0xFF);
      }
    return file;
  }

  std::string loadOut(const std::string &name) const { return load(path("out") / name); }
};

TEST_F(InputKind, APictureBecomesOneFrameOfAPicture) {
  render("title.png", "out/fire.png");
  EXPECT_EQ(names("out"), Words{"fire.png"});
  render("title.png", "out/frame.png", {"--frames", "1"});
  EXPECT_EQ(loadOut("frame.png"), loadOut("fire.png"));
}

TEST_F(InputKind, APictureBecomesFortyEightFramesOfAMovie) {
  render("title.png", "out/fire.mkv");
  EXPECT_EQ(pictures("out"), Words{"fire.mkv"});
  EXPECT_EQ(probe("out/fire.mkv").at("nb_read_frames"), "48");
  EXPECT_EQ(probe("out/fire.mkv").at("r_frame_rate"), "24/1");
}

TEST_F(InputKind, APictureBecomesFortyEightFramesOfASequence) {
  render("title.png", "out/fire_%04d.png");
  const Words all = pictures("out");
  ASSERT_EQ(all.size(), 48u);
  EXPECT_EQ(all.front(), "fire_0001.png");
  EXPECT_EQ(all.back(), "fire_0048.png");
}

TEST_F(InputKind, APictureHasAnyFrame) {
  render("title.png", "out/fire_####.png", {"--frames", "0-1"});
  render("title.png", "out/fire_####.png", {"--frames", "12345"});
  EXPECT_EQ(pictures("out"), (Words{"fire_0000.png", "fire_0001.png", "fire_12345.png"}));
}

TEST_F(InputKind, FramesAreTheSameHoweverTheyAreReached) {
  render("title.png", "out/all_%02d.png", {"--frames", "1-12"});
  EXPECT_NE(loadOut("all_03.png"), loadOut("all_10.png"));
  for (const char *frames : {"9", "4-6", "1-12x5", "2,6-7,11"}) {
    SCOPED_TRACE(frames);
    render("title.png", "out/some_%02d.png", {"--frames", frames});
    int compared = 0;
    for (const std::string &name : names("out")) {
      if (name.rfind("some_", 0) != 0) continue;
      EXPECT_EQ(loadOut(name), loadOut("all_" + name.substr(5))) << name;
      fs::remove(path("out/" + name));
      ++compared;
    }
    EXPECT_EQ(compared, std::string(frames) == "9" ? 1 : std::string(frames) == "2,6-7,11" ? 4 : 3);
  }
}

TEST_F(InputKind, FramesThatAreLeftOutOfAMovieTakeNoTime) {
  render("title.png", "out/fire.mkv", {"--frames", "1-9x4"});
  EXPECT_EQ(probe("out/fire.mkv").at("nb_read_frames"), "3");
}

TEST_F(InputKind, FramesOfASequenceKeepTheirNumbers) {
  saveSequence("in", 5, 8);
  render("in_%04d.png", "out/fire_%03d.png");
  EXPECT_EQ(pictures("out"), (Words{"fire_005.png", "fire_006.png", "fire_007.png", "fire_008.png"}));
  render("in_####.png", "out/some_#.png", {"--frames", "6-7"});
  EXPECT_EQ(loadOut("some_6.png"), loadOut("fire_006.png"));
  EXPECT_EQ(loadOut("some_7.png"), loadOut("fire_007.png"));
  EXPECT_EQ(pictures("out").size(), 6u);
}

TEST_F(InputKind, ASequenceBecomesAMovie) {
  saveSequence("in", 5, 8);
  render("in_%04d.png", "out/fire.mkv");
  EXPECT_EQ(probe("out/fire.mkv").at("nb_read_frames"), "4");
  EXPECT_EQ(probe("out/fire.mkv").at("r_frame_rate"), "24/1");
}

TEST_F(InputKind, FramesOfAMovieCountFromOne) {
  for (const char *movie : {"clip.mov", "clip.mkv"}) {
    SCOPED_TRACE(movie);
    saveMovie(movie, 3);
    render(movie, "out/fire_%04d.png");
    EXPECT_EQ(pictures("out"), (Words{"fire_0001.png", "fire_0002.png", "fire_0003.png"}));
  }
}

TEST_F(InputKind, AMovieKeepsItsFrameRate) {
  saveMovie("clip.mov", 3);
  for (const char *output : {"out/fire.mov", "out/fire.mkv", "out/fire.mp4"}) {
    render("clip.mov", output);
    EXPECT_EQ(probe(output).at("nb_read_frames"), "3") << output;
    EXPECT_EQ(probe(output).at("r_frame_rate"), "25/1") << output;
  }
}

TEST_F(InputKind, OneFrameOfAMovieOrSequenceGoesIntoAPicture) {
  saveSequence("in", 5, 6);
  render("in_%04d.png", "out/fire.png", {"--frames", "6"});
  EXPECT_EQ(names("out"), Words{"fire.png"});
}

TEST_F(InputKind, AFrameAloneIsTheSameAsAmongOthers) {
  saveSequence("in", 1, 4);
  saveMovie("clip.mkv", 4);
  for (const char *input : {"title.png", "in_%04d.png", "clip.mkv"}) {
    SCOPED_TRACE(input);
    render(input, "out/fire_%04d.png", {"--frames", "2-4"});
    render(input, "out/alone.png", {"--frames", "3"});
    EXPECT_EQ(loadOut("alone.png"), loadOut("fire_0003.png"));
    render(input, "out/alone.png", {"--frames", "4"});
    EXPECT_EQ(loadOut("alone.png"), loadOut("fire_0004.png"));
  }
}

TEST_F(InputKind, TheFireOfAPictureMovesWithTime) {
  render("title.png", "out/fire_%d.png", {"--frames", "1-3"});
  EXPECT_NE(loadOut("fire_1.png"), loadOut("fire_2.png"));
  EXPECT_NE(loadOut("fire_2.png"), loadOut("fire_3.png"));
  EXPECT_NE(loadOut("fire_1.png"), loadOut("fire_3.png"));
}

TEST_F(InputKind, TheFireOfASequenceFollowsItsFrames) {
  saveSequence("in", 1, 2);
  fs::create_directory(path("same"));
  for (const char *name : {"same/in_0001.png", "same/in_0002.png"}) fs::copy(path("in_0001.png"), path(name));
  render("in_%04d.png", "out/moving_%d.png");
  render("same/in_%04d.png", "out/still_%d.png");
  EXPECT_EQ(loadOut("moving_1.png"), loadOut("still_1.png"));
  EXPECT_NE(loadOut("moving_2.png"), loadOut("still_2.png"));
}

TEST_F(InputKind, TheSameCommandGivesTheSameFrames) {
  saveMovie("clip.mov", 2);
  for (const char *output : {"out/fire.mov", "out/fire.mkv", "out/fire.mp4"}) {
    render("clip.mov", output);
    const std::string first = decoded(output, "rgba64be");
    render("clip.mov", output);
    EXPECT_EQ(decoded(output, "rgba64be"), first) << output;
  }
}

TEST_F(InputKind, AFrameThatFailsLeavesTheOthersAsTheyAre) {
  saveSequence("gap", 1, 4);
  render("gap_%04d.png", "out/whole_%04d.png");
  fs::remove(path("gap_0003.png"));
  const Result result = pyrelux(renderWords("gap_%04d.png", "out/fire_%04d.png"));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("frame 3 of 'gap_%04d.png' is missing"));
  EXPECT_EQ(pictures("out"), (Words{"fire_0001.png", "fire_0002.png", "fire_0004.png", "whole_0001.png",
                                    "whole_0002.png", "whole_0003.png", "whole_0004.png"}));
  for (const char *number : {"1", "2", "4"})
    EXPECT_EQ(loadOut(std::string("fire_000") + number + ".png"), loadOut(std::string("whole_000") + number + ".png"));
}

TEST_F(InputKind, PicturesComeInManyFormatsAndLayouts) {
  const struct {
    const char *name;
    const char *pixelFormat;
  } rows[] = {{"palette.png", "pal8"}, {"grey.png", "gray"},      {"opaque.png", "rgb24"}, {"deep.png", "rgba64be"},
              {"bits.png", "monob"},   {"photo.jpg", "yuvj420p"}, {"scan.tif", "rgba"},    {"film.exr", "gbrapf32le"},
              {"windows.bmp", "bgra"}, {"targa.tga", "bgra"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    saveAs(row.name, row.pixelFormat);
    render(row.name, "out/fire.png");
    EXPECT_EQ(probe("out/fire.png").at("width"), testWidth);
    EXPECT_EQ(probe("out/fire.png").at("height"), testHeight);
    fs::remove(path("out/fire.png"));
  }
}

TEST_F(InputKind, APictureMayBeOnePixel) {
  save(path("dot.png"), titlePng(1, 1));
  for (const char *output : {"out/fire.png", "out/fire.exr", "out/fire.mov", "out/fire.mkv"}) {
    render("dot.png", output, {"--frames", "1"});
    EXPECT_EQ(probe(output).at("width"), 1) << output;
    EXPECT_EQ(probe(output).at("height"), 1) << output;
  }
  // Its colour is for 2 x 2 pixels each.
  render("dot.png", "out/fire.mp4", {"--frames", "1"});
  EXPECT_EQ(probe("out/fire.mp4").at("width"), 2);
}

TEST_F(InputKind, AlphaMeansWhatWasAskedFor) {
  render("title.png", "half.png", {"--set", "source-opacity=1"});
  const auto burn = [&](const Words &more) {
    render("half.png", "out/fire.png", Words{"--set", "source-opacity=1"} + more);
    return decoded("out/fire.png", "rgba");
  };
  const std::string automatic = burn({});
  EXPECT_EQ(burn({"--input-alpha", "auto"}), automatic);
  EXPECT_EQ(burn({"--input-alpha", "straight"}), automatic);
  EXPECT_NE(burn({"--input-alpha", "premultiplied"}), automatic);
  const std::string opaque = burn({"--input-alpha", "none"});
  for (std::size_t at = 3; at < opaque.size(); at += 4) ASSERT_EQ(opaque[at], '\xFF');
}

TEST_F(InputKind, DeepPicturesStayDeep) {
  // Levels that 8 bits would make one, through drawing with half floats, which step by less than one in 2048.
  const auto levelsOf = [&](const std::string &name) {
    const std::string pixels = decoded(name, "rgb48be");
    std::set<std::string> levels;
    for (std::size_t at = 0; at < pixels.size(); at += 6) levels.insert(pixels.substr(at, 2));
    return levels.size();
  };
  save(path("ramp.ppm"), rampPpm());
  for (const char *name : {"ramp.png", "ramp.tif", "ramp.mkv"}) {
    convertTo(name, "ramp.ppm", std::string(name) == "ramp.mkv" ? "gbrp12le" : "rgb48");
    render(name, "out/deep.png", {"--bits", "16", "--frames", "1", "--set", "source-opacity=1"});
    EXPECT_GT(levelsOf("out/deep.png"), 500u) << name;
    render(name, "out/flat.png", {"--frames", "1", "--set", "source-opacity=1"});
    EXPECT_LE(levelsOf("out/flat.png"), 256u) << name;
  }
}

TEST_F(InputKind, NamesMayHoldWhatShellsAndPatternsTakeApart) {
  for (const char *text : {"f\xC3\xA9u", "with space", "-dash", "a'b\"c", "50%"}) {
    const std::string name = text;
    SCOPED_TRACE(name);
    fs::copy(path("title.png"), path("in-" + name + ".png"));
    render("./in-" + name + ".png", "out/" + name + ".png");
    EXPECT_TRUE(fs::exists(path("out/" + name + ".png")));
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
