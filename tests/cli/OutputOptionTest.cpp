#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// --codec, --alpha and --over.
class OutputOption : public CliTest {
 protected:
  OutputOption() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  void expectUsageError(const Words &arguments, const Words &words) const {
    const Result result = pyrelux(arguments);
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(names(""), (Words{"title.png"}));
  }

  /// The text in an EXR's header.
  std::string recordIn(const std::string &name) const {
    std::string text;
    const nlohmann::json tags = frameTags(name);
    for (const auto &[tag, part] : tags.items())
      if (tag.rfind("pyrelux.", 0) == 0) text += part.get<std::string>();
    return text;
  }
};

std::vector<int> levelsOf(const std::string &bytes) {
  std::vector<int> levels;
  for (const char byte : bytes) levels.push_back(static_cast<unsigned char>(byte));
  return levels;
}

TEST_F(OutputOption, CodecChoosesWhatTheMovieHolds) {
  const struct {
    const char *output;
    const char *codec;
    const char *name;
    const char *pixels;
  } rows[] = {{"fire.mov", "prores", "prores", "yuva444p12le"}, {"fire.mov", "h264", "h264", "yuv420p"},
              {"fire.mkv", "h265", "hevc", "yuv420p"},          {"fire.mp4", "h265", "hevc", "yuv420p"},
              {"fire.webm", "vp9", "vp9", "yuv420p"},           {"fire.mkv", "ffv1", "ffv1", "bgra"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.output) + " " + row.codec);
    render("title.png", row.output, {"--frames", "1-2", "--codec", row.codec});
    const nlohmann::json stream = probe(row.output);
    EXPECT_EQ(stream.at("codec_name"), row.name);
    EXPECT_EQ(stream.at("pix_fmt"), row.pixels);
    EXPECT_EQ(stream.at("nb_read_frames"), "2");
    if (std::string(row.codec) == "ffv1") continue;  // holds RGB
    EXPECT_EQ(stream.at("color_space"), "bt709");
    EXPECT_EQ(stream.at("color_primaries"), "bt709");
    EXPECT_EQ(stream.at("color_transfer"), "bt709");
    // ProRes has one range and no word for it.
    if (std::string(row.codec) != "prores") {
      EXPECT_EQ(stream.at("color_range"), "tv");
    }
  }
}

TEST_F(OutputOption, DepthFollowsTheCodec) {
  render("title.png", "fire.mov", {"--frames", "1", "--codec", "h264"});
  render("title.png", "shallow.mov", {"--frames", "1", "--codec", "h264", "--bits", "8"});
  EXPECT_EQ(load(path("fire.mov")), load(path("shallow.mov")));
  render("title.png", "fire.mp4", {"--frames", "1", "--codec", "h265", "--bits", "16"});
  EXPECT_EQ(probe("fire.mp4").at("pix_fmt"), "yuv420p10le");
  render("title.png", "fire.tif");
  EXPECT_EQ(probe("fire.tif").at("pix_fmt"), "rgba64le");
  render("title.png", "fire.tif", {"--bits", "8"});
  EXPECT_EQ(probe("fire.tif").at("pix_fmt"), "rgba");
}

TEST_F(OutputOption, AnUnknownCodecIsAnOutputsFault) {
  const Result result = pyrelux(renderWords("title.png", "fire.mp4", {"--codec", "prores"}));
  expectRefusal(result, {"cannot write 'fire.mp4'", "'prores'", ".mp4", "h264 h265"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(names(""), (Words{"title.png"}));
}

TEST_F(OutputOption, PremultipliedKeepsTheGlow) {
  render("title.png", "fire.exr", {"--codec", "float", "--draw-bits", "8"});
  render("title.png", "premultiplied.png", {"--alpha", "premultiplied", "--draw-bits", "8"});
  const std::vector<int> levels = levelsOf(decoded("premultiplied.png", "rgba"));
  const std::vector<float> exact = samplesOf("fire.exr");
  ASSERT_EQ(exact.size(), levels.size());
  for (std::size_t sample = 0; sample < levels.size(); ++sample)
    ASSERT_EQ(levels[sample], std::lround(exact[sample] * 255.0f)) << sample;
}

TEST_F(OutputOption, WhatIsDrawnIsWhatIsDelivered) {
  // Many bright tongues: on float surfaces alpha goes far beyond 1.
  const Words look{"--set", "pyrelux=24",           "--set", "steps=60",         "--set",    "glow=80",
                   "--set", "length-of-pyrelux=50", "--set", "source-opacity=1", "--frames", "9"};
  render("title.png", "fire.exr", Words{"--codec", "float"} + look);
  const std::vector<float> exact = samplesOf("fire.exr");
  float alpha = 0.0f;
  for (std::size_t sample = 3; sample < exact.size(); sample += 4) alpha = std::max(alpha, exact[sample]);
  EXPECT_EQ(alpha, 1.0f);
  const struct {
    const char *output;
    const char *bits;
    double level;  ///< the largest error over black, of 8-bit levels
    double mean;
  } rows[] = {{"fire.png", "8", 1.0, 0.34},
              {"fire.png", "16", 0.01, 0.002},
              {"fire.tif", "8", 1.0, 0.34},
              {"fire.tif", "16", 0.01, 0.002},
              {"fire.mkv", "8", 1.0, 0.34},
              {"fire.mkv", "16", 0.01, 0.002},
              {"fire.apng", "8", 1.0, 0.34},
              // ProRes loses some itself, most at the edges of a picture as small as this.
              {"fire.mov", "16", 7.0, 0.25}};
  for (const auto &row : rows)
    for (const char *kind : {"straight", "premultiplied", "none"}) {
      SCOPED_TRACE(std::string(row.output) + " " + row.bits + " " + kind);
      render("title.png", row.output, look + Words{"--bits", row.bits, "--alpha", kind});
      const std::vector<float> stored = samplesOf(row.output);
      ASSERT_EQ(stored.size(), exact.size());
      double farthest = 0.0;
      double sum = 0.0;
      for (std::size_t sample = 0; sample < exact.size(); ++sample)
        if (sample % 4 != 3) {
          const double coverage = std::string(kind) == "straight" ? stored[sample | 3] : 1.0;
          const double shown = stored[sample] * coverage;
          const double error = 255.0 * std::abs(shown - std::min(exact[sample], 1.0f));
          farthest = std::max(farthest, error);
          sum += error;
        }
      EXPECT_LE(farthest, row.level);
      EXPECT_LE(sum / static_cast<double>(exact.size() / 4 * 3), row.mean);
    }
}

TEST_F(OutputOption, AlphaNoneLeavesTheChannelOut) {
  const std::pair<const char *, const char *> rows[] = {
      {"fire.png", "rgb24"}, {"fire.tif", "rgb48le"},  {"fire.exr", "gbrpf32le"}, {"fire.mov", "yuv444p12le"},
      {"fire.mkv", "bgr0"},  {"fire.webm", "yuv420p"}, {"fire.apng", "rgb24"}};
  for (const auto &[output, pixels] : rows) {
    render("title.png", output, {"--frames", "1", "--alpha", "none"});
    EXPECT_EQ(probe(output).at("pix_fmt"), pixels) << output;
  }
  render("title.png", "fire.mp4", {"--frames", "1"});
  render("title.png", "none.mp4", {"--frames", "1", "--alpha", "none"});
  EXPECT_EQ(load(path("none.mp4")), load(path("fire.mp4")));
}

TEST_F(OutputOption, DrawBitsAreTheFiltersColorDepth) {
  render("title.png", "deep.png");
  render("title.png", "same.png", {"--set", "color-depth=16 Bit"});
  EXPECT_TRUE(load(path("same.png")) == load(path("deep.png")));
  render("title.png", "same.png", {"--draw-bits", "16", "--bits", "8"});
  EXPECT_TRUE(load(path("same.png")) == load(path("deep.png")));
  render("title.png", "shallow.png", {"--draw-bits", "8"});
  EXPECT_FALSE(load(path("shallow.png")) == load(path("deep.png")));
  render("title.png", "same.png", {"--set", "color-depth=8 Bit"});
  EXPECT_TRUE(load(path("same.png")) == load(path("shallow.png")));
  save(path("shallow.json"), R"({"version": 1, "parameters": {"color-depth": "8 Bit"}})");
  render("title.png", "same.png", {"--project", "shallow.json"});
  EXPECT_TRUE(load(path("same.png")) == load(path("shallow.png")));
  render("title.png", "same.png", {"--project", "shallow.json", "--draw-bits", "16"});
  EXPECT_TRUE(load(path("same.png")) == load(path("deep.png")));
}

TEST_F(OutputOption, DensityCoversWhatIsBright) {
  render("title.png", "thin.png", {"--over", "#ffffff", "--alpha", "none", "--bits", "16"});
  render("title.png", "dense.png", {"--over", "#ffffff", "--alpha", "none", "--bits", "16", "--density", "1"});
  const std::vector<float> thin = samplesOf("thin.png");
  const std::vector<float> dense = samplesOf("dense.png");
  double darker = 0.0;
  for (std::size_t i = 0; i < thin.size(); ++i) {
    EXPECT_LE(dense[i], thin[i]);
    darker = std::max<double>(darker, thin[i] - dense[i]);
  }
  EXPECT_GT(darker, 0.1);
  // Over black it loses no light.
  render("title.png", "dense.png", {"--bits", "16", "--density", "1"});
  render("title.png", "thin.png", {"--bits", "16"});
  const std::vector<float> above = samplesOf("dense.png");
  const std::vector<float> below = samplesOf("thin.png");
  bool isDenser = false;
  for (std::size_t sample = 0; sample < above.size(); ++sample) {
    const float more = above[sample | 3];
    const float less = below[sample | 3];
    EXPECT_GE(more, less);
    isDenser |= more > less;
    if (sample % 4 != 3) {
      EXPECT_NEAR(above[sample] * more, below[sample] * less, 2.0 / 65535.0);
    }
  }
  EXPECT_TRUE(isDenser);
}

TEST_F(OutputOption, WhatExactAlphaCutsIsToldOnceInPercent) {
  const Words exact{"--frames", "1-2", "--alpha", "exact"};
  const Result result = pyrelux(renderWords("title.png", "out_%d.png", exact));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err,
              testing::MatchesRegex("pyrelux: [0-9]+[.][0-9] % of the pixels are brighter than their alpha and "
                                    "were cut by --alpha exact; --alpha straight or premultiplied keeps "
                                    "their light\n"));
  render("title.png", "drawn_%d.exr", {"--frames", "1-2", "--codec", "float"});
  std::size_t cut = 0;
  std::size_t pixels = 0;
  for (const char *name : {"drawn_1.exr", "drawn_2.exr"}) {
    const std::vector<float> samples = samplesOf(name);
    for (std::size_t sample = 0; sample < samples.size(); sample += 4, ++pixels) {
      const float brightest = std::max({samples[sample], samples[sample + 1], samples[sample + 2]});
      cut += std::min(brightest, 1.0f) - samples[sample + 3] > 0.5f / 255.0f;
    }
  }
  const double percent = 100.0 * static_cast<double>(cut) / static_cast<double>(pixels);
  ASSERT_GT(percent, 0.5);
  // A digit behind the point is shown.
  EXPECT_NEAR(std::stod(result.err.substr(result.err.find(' '))), percent, 0.0501);
  EXPECT_EQ(pyrelux(renderWords("title.png", "out_%d.png", exact + Words{"--quiet"})).err, "");
}

TEST_F(OutputOption, WhatExactAlphaCutsIsToldAlsoIfItIsAllOrNearlyNothing) {
  const auto said = [this](const Words &look) {
    const Result result = pyrelux(renderWords("in.png", "out.png", Words{"--alpha", "exact"} + look));
    EXPECT_EQ(result.exitCode, 0);
    return result.err.substr(0, result.err.find(" of the pixels"));
  };
  // Faint everywhere: its light adds up, and its alpha hardly does.
  saveWithFfmpeg({"-f", "lavfi", "-i", "color=red@0.02:size=64x36,format=rgba", "-frames:v", "1"}, "in.png");
  EXPECT_EQ(said({"--set", "length-of-pyrelux=0", "--set", "glow=100", "--bits", "16"}), "pyrelux: 100.0 %");
  // A few pixels of nearly ten thousand.
  saveWithFfmpeg({"-f", "lavfi", "-i",
                  "color=white:size=128x72,format=rgba,geq=255:255:255:a=255*eq(X\\,64)*eq(Y\\,36)", "-frames:v", "1"},
                 "in.png");
  EXPECT_EQ(said({"--set", "length-of-pyrelux=1"}), "pyrelux: less than 0.1 %");
}

TEST_F(OutputOption, ProgressAndQuietLeaveTheirStreamsToThemselves) {
  const Words words = renderWords("title.png", "out_%d.png", {"--frames", "1-3", "--alpha", "exact"});
  const Result told = pyrelux(words + Words{"--progress", "json"});
  EXPECT_EQ(std::count(told.err.begin(), told.err.end(), '\n'), 1);
  EXPECT_THAT(told.err, testing::StartsWith("pyrelux: "));
  std::istringstream lines(told.out);
  int objects = 0;
  for (std::string line; std::getline(lines, line); ++objects) EXPECT_TRUE(nlohmann::json::accept(line)) << line;
  EXPECT_EQ(objects, 3);
  const Result quiet = pyrelux(words + Words{"--quiet"});
  EXPECT_EQ(quiet.err, "");
  EXPECT_EQ(quiet.out, "");
}

TEST_F(OutputOption, ExrsTellTheSettingsInTheirHeaders) {
  // Keyframes make the text longer than the parts that it is kept in.
  std::string keyframes;
  for (int time = 0; time < 40; ++time)
    keyframes += (time ? "," : "") + std::string("{\"frame\":") + std::to_string(time) + ",\"value\":12.5}";
  save(path("fire.json"), "{\"version\":1,\"parameters\":{\"glow\":[" + keyframes + "]}}");
  for (const char *output : {"fire.exr", "fire_%d.exr"}) {
    render("title.png", output,
           {"--frames", "1", "--project", "fire.json", "--codec", "float", "--set", "direction=45"});
    const std::string name = std::string(output) == "fire.exr" ? output : "fire_1.exr";
    const auto record = nlohmann::json::parse(recordIn(name));
    EXPECT_EQ(record.at("codec"), "float");
    EXPECT_EQ(record.at("bits"), 16);
    EXPECT_EQ(record.at("project").at("parameters").at("direction"), 45);
    EXPECT_EQ(record.at("project").at("parameters").at("glow").size(), 40u);
    // The project in it gives the same picture.
    save(path("again.json"), record.at("project").dump());
    EXPECT_EQ(pyrelux({"render", "title.png", "-o", "again.exr", "--overwrite", "--frames", "1", "--codec", "float",
                       "--project", "again.json"})
                  .err,
              "");
    EXPECT_TRUE(load(path("again.exr")) == load(path(name)));
    const std::vector<float> samples = samplesOf(name);
    EXPECT_EQ(samples.size(), 4u * testWidth * testHeight);
    EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 0.5f);
  }
}

TEST_F(OutputOption, AlphaIsForWhatHoldsIt) {
  for (const char *output : {"fire.mp4", "fire.gif"})
    expectUsageError(renderWords("title.png", output, {"--alpha", "straight"}), {"--alpha", output, "holds no alpha"});
}

TEST_F(OutputOption, OverAColourIsExact) {
  render("title.png", "fire.png", {"--alpha", "premultiplied", "--draw-bits", "8"});
  const std::vector<int> front = levelsOf(decoded("fire.png", "rgba"));
  // 0.3 is 76.5 levels: rounding it before it shines through would show.
  const double colour[] = {0.3, 0.0, 1.0};
  for (const char *text : {"0.3,0,1", "+0.3,0.0,1"}) {
    render("title.png", "over.png", {"--over", text, "--draw-bits", "8"});
    const std::vector<int> result = levelsOf(decoded("over.png", "rgba"));
    for (std::size_t sample = 0; sample < front.size(); ++sample) {
      const std::size_t channel = sample % 4;
      const int alpha = front[sample - channel + 3];
      const double exact = channel == 3 ? 255.0 : front[sample] + (255 - alpha) * colour[channel];
      // Dithered: one of the two levels beside it.
      ASSERT_LT(std::abs(result[sample] - std::min(exact, 255.0)), 1.0) << sample;
    }
  }
  render("title.png", "hex.png", {"--over", "#4c00ff"});
  render("title.png", "list.png", {"--over", "0.2980392156862745,0,1"});
  EXPECT_EQ(load(path("hex.png")), load(path("list.png")));
}

TEST_F(OutputOption, OverShowsWhereThereIsNoAlpha) {
  render("title.png", "fire.mp4", {"--frames", "1", "--over", "#0000ff"});
  // Fire is far from the upper left corner of the title.
  const std::vector<int> levels = levelsOf(decoded("fire.mp4", "rgb24"));
  EXPECT_NEAR(levels[0], 0, 4);
  EXPECT_NEAR(levels[2], 255, 4);
  render("title.png", "black.mp4", {"--frames", "1", "--over", "#000000"});
  render("title.png", "plain.mp4", {"--frames", "1"});
  EXPECT_EQ(decoded("black.mp4", "rgb24"), decoded("plain.mp4", "rgb24"));
}

TEST_F(OutputOption, OverAPictureIsExact) {
  // The background has alpha of its own, and is over black.
  save(path("back.png"), titlePng(testWidth, testHeight, 12));
  render("title.png", "fire.png", {"--alpha", "premultiplied", "--draw-bits", "8"});
  render("title.png", "over.png", {"--over", "back.png", "--draw-bits", "8"});
  const std::vector<int> front = levelsOf(decoded("fire.png", "rgba"));
  const std::vector<int> back = levelsOf(decoded("back.png", "rgba"));
  const std::vector<int> result = levelsOf(decoded("over.png", "rgba"));
  bool backShows = false;
  for (std::size_t sample = 0; sample < front.size(); ++sample) {
    const std::size_t alpha = sample | 3;
    const double behind = back[sample] * back[alpha] / 255.0;
    const double shown = std::min(255.0, front[sample] + (255 - front[alpha]) / 255.0 * behind);
    ASSERT_LT(std::abs(result[sample] - (sample == alpha ? 255.0 : shown)), 1.0) << sample;
    backShows |= front[alpha] == 0 && back[alpha] == 255;
  }
  EXPECT_TRUE(backShows);
}

TEST_F(OutputOption, OverAMovieAndASequenceTakesTheSameFrames) {
  saveSequence("back", 1, 3);
  saveMovie("back.mkv", 3);
  render("title.png", "fire_%d.png", {"--frames", "2-3", "--over", "back_%04d.png"});
  render("title.png", "movie_%d.png", {"--frames", "2-3", "--over", "back.mkv"});
  fs::copy(path("back_0002.png"), path("2.png"));
  render("title.png", "bare_%d.png", {"--frames", "2", "--over", "#.png"});
  EXPECT_EQ(load(path("bare_2.png")), load(path("fire_2.png")));
  for (const char *frame : {"2", "3"}) {
    const std::string number(frame);
    render("title.png", "still.png", {"--frames", number, "--over", "back_000" + number + ".png"});
    EXPECT_EQ(load(path("fire_" + number + ".png")), load(path("still.png")));
    EXPECT_EQ(load(path("movie_" + number + ".png")), load(path("still.png")));
  }
}

TEST_F(OutputOption, OverRefusesWhatDoesNotFit) {
  expectUsageError(renderWords("title.png", "fire.png", {"--over", "2,0,0"}), {"'over'", "2,0,0", "0..1"});
  const Result missing = pyrelux(renderWords("title.png", "fire.png", {"--over", "none.png"}));
  expectRefusal(missing, {"cannot read 'none.png'", "no such file"});
  EXPECT_EQ(missing.exitCode, 3);
  saveSequence("back", 1, 3);
  const auto before = contentsOf(path(""));
  const auto refused = [this](const std::string &output, const Words &more, const Words &words) {
    const Result result = pyrelux(renderWords("title.png", output, more));
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, 2);
  };
  refused("fire_%d.png", {"--over", "back_%04d.png", "--frames", "7-9"}, {"'back_%04d.png'", "1-3", "none of those"});
  refused("back_%04d.png", {"--over", "back_%04d.png", "--frames", "1-3"}, {"back_0001.png", "replace the background"});
  EXPECT_TRUE(contentsOf(path("")) == before);
}

}  // namespace
}  // namespace pyrelux::cli::test
