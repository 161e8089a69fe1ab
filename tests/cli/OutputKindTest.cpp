#include <cmath>
#include <cstring>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// The files that come out, as other programs see them.
class OutputKind : public CliTest {
 protected:
  OutputKind() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  void expectFormat(const std::string &name, const std::string &codec, const std::string &pixelFormat,
                    const std::string &frames) const {
    const nlohmann::json stream = probe(name);
    EXPECT_EQ(stream.at("codec_name"), codec);
    EXPECT_EQ(stream.at("pix_fmt"), pixelFormat);
    EXPECT_EQ(stream.at("nb_read_frames"), frames);
    EXPECT_EQ(stream.at("width"), testWidth);
    EXPECT_EQ(stream.at("height"), testHeight);
  }
};

/// Whether some sample is between the levels of 8 bits.
bool isDeeperThanBytes(const std::string &floats) {
  for (std::size_t at = 0; at + sizeof(float) <= floats.size(); at += sizeof(float)) {
    float sample = 0.0f;
    std::memcpy(&sample, floats.data() + at, sizeof sample);
    const double levels = 255.0 * static_cast<double>(sample);
    // Far above the rounding of half floats.
    if (std::abs(levels - std::round(levels)) > 0.2) return true;
  }
  return false;
}

TEST_F(OutputKind, PngHoldsTheFireWithItsAlpha) {
  render("title.png", "fire.png");
  expectFormat("fire.png", "png", "rgba", "1");
  const std::string fire = decoded("fire.png", "rgba");
  const std::string title = decoded("title.png", "rgba");
  std::size_t burning = 0;
  std::size_t transparent = 0;
  for (std::size_t alpha = 3; alpha < fire.size(); alpha += 4) {
    transparent += fire[alpha] == 0;
    burning += fire[alpha] != 0 && title[alpha] == 0;
  }
  EXPECT_GT(burning, 10u);
  EXPECT_GT(transparent, 100u);
}

TEST_F(OutputKind, PngHasSixteenBitsWhenAsked) {
  render("title.png", "fire.png", {"--bits", "16"});
  expectFormat("fire.png", "png", "rgba64be", "1");
  const std::string samples = decoded("fire.png", "rgba64be");
  bool hasOwnLowByte = false;
  for (std::size_t at = 0; at + 1 < samples.size(); at += 2) hasOwnLowByte |= samples[at] != samples[at + 1];
  EXPECT_TRUE(hasOwnLowByte);
}

TEST_F(OutputKind, PngHasEightBitsWhenAskedForThem) {
  render("title.png", "fire.png", {"--bits", "8"});
  expectFormat("fire.png", "png", "rgba", "1");
}

TEST_F(OutputKind, ExrIsDeepWithoutAsking) {
  render("title.png", "fire.exr");
  expectFormat("fire.exr", "exr", "gbrapf32le", "1");
  EXPECT_TRUE(isDeeperThanBytes(decoded("fire.exr", "gbrapf32le")));
  render("title.png", "asked.exr", {"--bits", "16"});
  EXPECT_EQ(load(path("asked.exr")), load(path("fire.exr")));
  render("title.png", "bytes.exr", {"--draw-bits", "8"});
  EXPECT_FALSE(isDeeperThanBytes(decoded("bytes.exr", "gbrapf32le")));
}

TEST_F(OutputKind, ExrMakesSequences) {
  render("title.png", "fire_##.exr", {"--frames", "1-2"});
  EXPECT_EQ(pictures(""), (Words{"fire_01.exr", "fire_02.exr", "title.png"}));
}

TEST_F(OutputKind, MovIsProResWithAlpha) {
  render("title.png", "fire.mov", {"--frames", "1-3"});
  expectFormat("fire.mov", "prores", "yuva444p12le", "3");
  EXPECT_EQ(probe("fire.mov").at("profile"), "4444");
  render("title.png", "asked.mov", {"--frames", "1-3", "--bits", "16"});
  EXPECT_EQ(load(path("asked.mov")), load(path("fire.mov")));
}

TEST_F(OutputKind, MkvIsLossless) {
  render("title.png", "fire.mkv", {"--frames", "2-3"});
  expectFormat("fire.mkv", "ffv1", "bgra", "2");
  render("title.png", "fire_%d.png", {"--frames", "2-3"});
  EXPECT_EQ(decoded("fire.mkv", "rgba"), decoded("fire_2.png", "rgba") + decoded("fire_3.png", "rgba"));
}

TEST_F(OutputKind, MkvIsLosslessInSixteenBits) {
  render("title.png", "fire.mkv", {"--frames", "2", "--bits", "16"});
  expectFormat("fire.mkv", "ffv1", "gbrap16le", "1");
  render("title.png", "fire.png", {"--frames", "2", "--bits", "16"});
  EXPECT_EQ(decoded("fire.mkv", "rgba64be"), decoded("fire.png", "rgba64be"));
}

TEST_F(OutputKind, Mp4IsH264) {
  render("title.png", "fire.mp4", {"--frames", "1-3"});
  expectFormat("fire.mp4", "h264", "yuv420p", "3");
}

TEST_F(OutputKind, ExtensionsMayBeInCapitals) {
  render("title.png", "FIRE.PNG");
  expectFormat("FIRE.PNG", "png", "rgba", "1");
}

TEST_F(OutputKind, MoviesHaveTheFrameRateAskedFor) {
  const struct {
    const char *text;
    const char *rate;
  } rows[] = {{"30", "30/1"}, {"23.976", "24000/1001"}, {"30000/1001", "30000/1001"}, {"12.5", "25/2"}};
  for (const auto &row : rows)
    for (const char *output : {"fire.mov", "fire.mkv", "fire.mp4"}) {
      render("title.png", output, {"--frames", "1-3", "--fps", row.text});
      EXPECT_EQ(probe(output).at("avg_frame_rate"), row.rate) << output;
      EXPECT_EQ(probe(output).at("nb_read_frames"), "3") << output;
    }
}

TEST_F(OutputKind, TheFrameRateChangesTheSpeedOfPlayingOnly) {
  render("title.png", "slow.mkv", {"--frames", "1-3", "--fps", "12"});
  render("title.png", "fast.mkv", {"--frames", "1-3", "--fps", "60"});
  EXPECT_EQ(decoded("slow.mkv", "rgba"), decoded("fast.mkv", "rgba"));
}

TEST_F(OutputKind, AFileOfThatNameIsReplaced) {
  for (const char *output : {"fire.png", "fire.exr", "fire.mov", "fire.mkv", "fire.mp4"}) {
    save(path(output), "before");
    render("title.png", output, {"--frames", "1"});
    EXPECT_GT(load(path(output)).size(), 100u) << output;
  }
  EXPECT_EQ(names(""), (Words{"fire.exr", "fire.mkv", "fire.mov", "fire.mp4", "fire.png", "title.png"}));
}

TEST_F(OutputKind, TheInputMayBeInAnotherFolderWithTheSameName) {
  fs::create_directory(path("out"));
  const std::string before = load(path("title.png"));
  render("title.png", "out/title.png");
  EXPECT_EQ(load(path("title.png")), before);
  EXPECT_NE(load(path("out/title.png")), before);
}

TEST_F(OutputKind, TheAutomaticBackendDrawsTheSameByName) {
  const std::string told = pyrelux({"info"}).out;
  const std::size_t begin = told.find_first_not_of(' ', told.find("backend:") + 8);
  const std::string name = told.substr(begin, told.find('\n', begin) - begin);
  render("title.png", "auto.png", {"--backend", "auto"});
  render("title.png", "named.png", {"--backend", name});
  EXPECT_EQ(load(path("named.png")), load(path("auto.png")));
}

}  // namespace
}  // namespace pyrelux::cli::test
