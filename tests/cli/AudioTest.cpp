#include <signal.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

constexpr double frameTime = 1.0 / 25.0;

/// The audio of movies that is copied. AudioEncodingTest has that which is not.
class Audio : public CliTest {
 protected:
  /// A second of film with a tone that rises, so that no two packets are the same.
  void saveFilm(const std::string &name, const Words &audioCodec) const {
    saveWithFfmpeg(Words{"-f", "lavfi", "-i", "color=white@0.5:s=64x36:r=25:d=1,format=rgba"} +
                       Words{"-f", "lavfi", "-i", "aevalsrc=sin(600*t*(1+t)):s=48000:d=1"} +
                       Words{"-c:v", fs::path(name).extension() == ".mpg" ? "mpeg2video" : "ffv1"} +
                       Words{"-g", "1", "-c:a"} + audioCodec,
                   name);
  }

  std::vector<std::string> hashesOf(const std::string &name) const {
    std::vector<std::string> hashes;
    for (const AudioPacket &packet : audioOf(name)) hashes.push_back(packet.hash);
    return hashes;
  }

  /// Seconds; audio may begin before.
  double videoStart(const std::string &name) const {
    return std::stod(probe(name).at("start_time").get<std::string>());
  }
};

TEST_F(Audio, IsCopiedAsItIs) {
  const struct {
    const char *input;
    Words codec;
    std::vector<const char *> outputs;
  } rows[] = {{"aac.mkv", {"aac"}, {"fire.mov", "fire.mkv", "fire.mp4"}},
              {"pcm.mkv", {"pcm_s16le"}, {"fire.mov", "fire.mkv"}},
              // Matroska does not say how long its packets are.
              {"alac.mkv", {"alac"}, {"fire.mov", "fire.mkv", "fire.mp4"}},
              {"opus.mkv", {"libopus"}, {"fire.webm", "fire.mkv", "fire.mp4"}}};
  for (const auto &row : rows) {
    saveFilm(row.input, row.codec);
    const std::vector<std::string> before = hashesOf(row.input);
    ASSERT_GT(before.size(), 10u);
    for (const char *output : row.outputs) {
      SCOPED_TRACE(std::string(row.input) + " " + output);
      render(row.input, output);
      EXPECT_EQ(hashesOf(output), before);
      EXPECT_EQ(probe(output).at("nb_read_frames"), "25");
    }
  }
}

TEST_F(Audio, IsThatOfTheFramesRendered) {
  saveFilm("film.mkv", {"aac"});
  const std::vector<AudioPacket> all = audioOf("film.mkv");
  for (const char *output : {"fire.mov", "fire.mkv"}) {
    SCOPED_TRACE(output);
    render("film.mkv", output, {"--frames", "11-15"});
    const std::vector<AudioPacket> copied = audioOf(output);
    ASSERT_GE(copied.size(), 2u);
    const auto first =
        std::find_if(all.begin(), all.end(), [&](const AudioPacket &packet) { return packet.hash == copied[0].hash; });
    ASSERT_LE(copied.size(), static_cast<std::size_t>(all.end() - first));
    const AudioPacket &last = first[static_cast<std::ptrdiff_t>(copied.size()) - 1];
    constexpr double packetTime = 1024.0 / 48000.0;
    // Times of Matroska are whole milliseconds, here on both sides.
    constexpr double rounding = 0.0021;
    const double start = videoStart("film.mkv") + 10 * frameTime;
    // The first is the one that sounds when frame 11 appears, and none begins after frame 15.
    EXPECT_NEAR(first->time + packetTime / 2, start, packetTime / 2 + rounding);
    EXPECT_NEAR(last.time + packetTime / 2, start + 5 * frameTime, packetTime / 2 + rounding);
    for (std::size_t index = 0; index < copied.size(); ++index) {
      const AudioPacket &original = first[static_cast<std::ptrdiff_t>(index)];
      EXPECT_EQ(copied[index].hash, original.hash);
      EXPECT_NEAR(copied[index].time - videoStart(output), original.time - start, rounding);
    }
  }
}

TEST_F(Audio, IsLeftOutOnRequest) {
  saveFilm("film.mkv", {"aac"});
  render("film.mkv", "fire.mkv", {"--no-audio"});
  EXPECT_TRUE(audioOf("fire.mkv").empty());
}

TEST_F(Audio, ThatCannotBeInStepIsLeftOutAndToldOf) {
  saveFilm("film.mkv", {"pcm_s16le"});
  const struct {
    const char *output;
    Words more;
    const char *cause;
  } rows[] = {{"fire.mkv", {"--frames", "1-9x2"}, "the frames are not all in a row"},
              {"fire.mkv", {"--frames", "1-3,5"}, "the frames are not all in a row"},
              {"fire.mkv", {"--fps", "30"}, "the output has another frame rate"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.output) + " " + row.cause);
    const Result result = pyrelux(renderWords("film.mkv", row.output, row.more));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, std::string("pyrelux: the audio of 'film.mkv' is left out: ") + row.cause + "\n");
    EXPECT_TRUE(audioOf(row.output).empty());
    EXPECT_EQ(pyrelux(renderWords("film.mkv", row.output, row.more + Words{"--quiet"})).err, "");
    expectSuccess(pyrelux(renderWords("film.mkv", row.output, row.more + Words{"--no-audio"})));
  }
}

TEST_F(Audio, WhoseTimesGoBackIsLeftOutFromThereOn) {
  saveFilm("film.mpg", {"mp2"});
  const std::vector<std::string> before = hashesOf("film.mpg");
  const std::string film = load(path("film.mpg"));
  save(path("twice.mpg"), film + film);
  for (const char *output : {"fire.mov", "fire.mkv"}) {
    SCOPED_TRACE(output);
    const Result result = pyrelux(renderWords("twice.mpg", output));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err,
                testing::HasSubstr("pyrelux: a part of the audio of 'twice.mpg' is left out: its times go back\n"));
    std::vector<std::string> copied = hashesOf(output);
    // The second begins before the first has ended, since audio and video are not of one length.
    ASSERT_GE(copied.size(), before.size());
    ASSERT_LT(copied.size(), before.size() + 5);
    copied.resize(before.size());
    EXPECT_EQ(copied, before);
    EXPECT_EQ(probe(output).at("nb_read_frames"), "50");
  }
}

TEST_F(Audio, OfSeveralTracksThatFitIsCopied) {
  saveFilm("one.mkv", {"pcm_s16le"});
  saveFilm("two.mkv", {"libopus"});
  saveWithFfmpeg(Words{"-i", path("one.mkv").string(), "-i", path("two.mkv").string()} +
                     Words{"-map", "0", "-map", "1:a", "-c", "copy"},
                 "film.mkv");
  render("film.mkv", "fire.mkv");
  EXPECT_EQ(hashesOf("fire.mkv"), hashesOf("film.mkv"));
  // One that is encoded anew beside one that is copied.
  render("film.mkv", "fire.webm");
  const std::vector<std::string> both = hashesOf("fire.webm");
  for (const std::string &hash : hashesOf("two.mkv")) EXPECT_THAT(both, testing::Contains(hash));
  EXPECT_GT(both.size(), 2 * hashesOf("two.mkv").size() - 5);
}

TEST_F(Audio, DamagedEndsInAMovieOrOneLine) {
  for (const auto &[input, codec] : {std::pair{"film.mkv", "aac"}, {"film.mpg", "mp2"}}) {
    saveFilm(input, {codec});
    const std::string whole = load(path(input));
    std::mt19937 random(7);
    for (int number = 0; number < 8; ++number) {
      SCOPED_TRACE(std::string(input) + " " + std::to_string(number));
      std::string damaged = whole;
      for (int change = 0; change < 1 << number % 5; ++change)
        damaged[random() % damaged.size()] = static_cast<char>(random());
      save(path(input), damaged);
      const Result result = pyrelux(renderWords(input, "fire.mov", {"--quiet"}));
      if (result.exitCode == 0) {
        EXPECT_EQ(result.err, "");
        EXPECT_NE(probe("fire.mov").at("nb_read_frames"), "0");
      } else {
        expectRefusal(result, {input});
        EXPECT_EQ(result.exitCode, 3);
      }
    }
  }
}

TEST_F(Audio, EndsWhereTheMovieIsInterrupted) {
  // Long enough that the signal comes before the end.
  saveWithFfmpeg({"-f", "lavfi", "-i", "color=white@0.5:s=64x36:r=25:d=40,format=rgba", "-f", "lavfi", "-i",
                  "aevalsrc=sin(600*t*(1+t)):s=48000:d=40", "-c:v", "ffv1", "-g", "1", "-c:a", "pcm_s16le"},
                 "film.mkv");
  Command command = commandOf(renderWords("film.mkv", "fire.mov", {"--progress", "json"}));
  command.signalAfter = "\"done\":5,";
  command.signal = SIGINT;
  EXPECT_EQ(run(command).exitCode, 130);
  const int frames = std::stoi(probe("fire.mov").at("nb_read_frames").get<std::string>());
  ASSERT_GE(frames, 5);
  ASSERT_LT(frames, 1000);
  const std::vector<AudioPacket> copied = audioOf("fire.mov");
  ASSERT_FALSE(copied.empty());
  // 1024 samples in a packet.
  EXPECT_NEAR(copied.back().time, frames * frameTime, 2 * 1024.0 / 48000.0);
}

TEST_F(Audio, IsNoMatterForPicturesAndAnimations) {
  saveFilm("film.mkv", {"aac"});
  for (const char *output : {"fire_%d.png", "fire.gif", "fire.apng"}) render("film.mkv", output, {"--frames", "1-3"});
}

}  // namespace
}  // namespace pyrelux::cli::test
