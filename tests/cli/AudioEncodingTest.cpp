// The audio of movies that the output's container does not hold as it is coded.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

constexpr int rate = 48000;
constexpr int perFrame = rate / 25;

class EncodedAudio : public CliTest {
 protected:
  /// A film of 25 frames a second with clicks at uneven times. `expressions`: further channels' samples.
  void saveFilm(const std::string &name, int sampleRate, const std::string &expressions = "", double seconds = 1.0,
                const Words &codec = {"pcm_s16le"}) const {
    const std::string length = std::to_string(seconds);
    const std::string click = "if(lt(mod(t*t\\,0.3)\\,0.01)\\,0.8*sin(12000*t)\\,0)";
    saveWithFfmpeg(Words{"-f", "lavfi", "-i", "color=white@0.5:s=64x36:r=25:d=" + length + ",format=rgba"} +
                       Words{"-f", "lavfi", "-i",
                             "aevalsrc=" + click + expressions + ":s=" + std::to_string(sampleRate) + ":d=" + length} +
                       Words{"-c:v", std::filesystem::path(name).extension() == ".mov" ? "png" : "ffv1", "-c:a"} +
                       codec,
                   name);
  }

  /// The first track as a player hears it, one channel of `rate`, from the movie's time 0.
  std::vector<float> heard(const std::string &name) const {
    Command command;
    command.words = Words{PYRELUX_FFMPEG, "-v", "error", "-i", path(name).string(), "-map", "0:a:0", "-ac", "1"} +
                    Words{"-ar", std::to_string(rate), "-f", "f32le", "-"};
    const Result result = run(command);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::vector<float> samples(result.out.size() / sizeof(float));
    std::memcpy(samples.data(), result.out.data(), samples.size() * sizeof(float));
    return samples;
  }

  /// By how many samples the second comes later than the first, which is where they fit best. Up to 25 ms.
  static int delayOf(const std::vector<float> &first, const std::vector<float> &second) {
    constexpr int farthest = 1200;
    int best = 0;
    double most = 0.0;
    for (int delay = -farthest; delay <= farthest; ++delay) {
      double sum = 0.0;
      for (int index = std::max(0, -delay); index < static_cast<int>(first.size()); ++index) {
        if (index + delay >= static_cast<int>(second.size())) break;
        sum += first[static_cast<std::size_t>(index)] * second[static_cast<std::size_t>(index + delay)];
      }
      if (sum > most) {
        most = sum;
        best = delay;
      }
    }
    EXPECT_GT(most, 0.0);
    return best;
  }

  void expectHeard(const std::vector<float> &expected, const std::string &name, const std::string &codec) const {
    SCOPED_TRACE(name);
    EXPECT_EQ(audioCodec(name), codec);
    // The first packet begins as much too early as its decoder takes to start; containers round to milliseconds.
    const nlohmann::json probed = audioProbe(name);
    const double outputRate = std::stod(probed.at("sample_rate").get<std::string>());
    const double delay = (codec == "opus" ? 312.0 : 1024.0) / outputRate;
    const double begin = std::stod(probe(name).at("start_time").get<std::string>());
    EXPECT_NEAR(audioOf(name).at(0).time + delay, begin, 0.0011);
    const std::vector<float> samples = heard(name);
    // Resampling has a sample to choose from at either end.
    EXPECT_NEAR(delayOf(expected, samples), 0, 1);
    // A last packet that is not full is decoded whole.
    EXPECT_NEAR(static_cast<double>(samples.size()), static_cast<double>(expected.size()), 1024.0 * rate / outputRate);
  }

  std::string audioCodec(const std::string &name) const { return audioProbe(name).at("codec_name"); }

  nlohmann::json audioProbe(const std::string &name) const {
    Command command;
    command.words = Words{PYRELUX_FFPROBE, "-v", "error", "-select_streams", "a"} +
                    Words{"-show_streams", "-of", "json", path(name).string()};
    return nlohmann::json::parse(run(command).out).at("streams").at(0);
  }
};

TEST_F(EncodedAudio, IsNotShifted) {
  for (const int sampleRate : {48000, 44100, 11025}) {
    SCOPED_TRACE(sampleRate);
    saveFilm("film.mkv", sampleRate);
    const std::vector<float> before = heard("film.mkv");
    ASSERT_NEAR(static_cast<double>(before.size()), 1.0 * rate, 50.0);
    render("film.mkv", "fire.mp4");
    expectHeard(before, "fire.mp4", "aac");
    render("film.mkv", "fire.webm");
    expectHeard(before, "fire.webm", "opus");
  }
}

TEST_F(EncodedAudio, IsThatOfTheFramesRendered) {
  saveFilm("film.mkv", 44100, "", 2.0);
  const std::vector<float> all = heard("film.mkv");
  const std::vector<float> before(all.begin() + 10 * perFrame, all.begin() + 40 * perFrame);
  for (const auto &[output, codec] : {std::pair{"fire.mp4", "aac"}, {"fire.webm", "opus"}}) {
    render("film.mkv", output, {"--frames", "11-40"});
    expectHeard(before, output, codec);
  }
}

TEST_F(EncodedAudio, OfACodecThatIsHeldIsCopied) {
  saveFilm("film.mkv", 48000, "", 1.0, {"aac"});
  render("film.mkv", "fire.mp4");
  EXPECT_EQ(audioOf("fire.mp4").at(5).hash, audioOf("film.mkv").at(5).hash);
  // AAC is none for .webm, FLAC none for .mov. What the input's own coding takes to start is no sound.
  saveFilm("film.mov", 48000, "", 1.0, {"aac"});
  render("film.mov", "fire.webm");
  expectHeard(heard("film.mov"), "fire.webm", "opus");
  saveFilm("flac.mkv", 48000, "", 1.0, {"flac"});
  render("flac.mkv", "fire.mov");
  expectHeard(heard("flac.mkv"), "fire.mov", "aac");
}

TEST_F(EncodedAudio, KeepsItsTimeBehindAGap) {
  // The second half of the sound comes half a second late.
  saveFilm("film.mkv", 48000, "", 2.0);
  saveWithFfmpeg({"-i", path("film.mkv").string(), "-map", "0:v", "-map", "0:a", "-c:v", "copy", "-c:a", "pcm_s16le",
                  "-af", "asetpts='if(gte(T,0.5),PTS+0.5/TB,PTS)'"},
                 "gap.mkv");
  const std::vector<float> whole = heard("film.mkv");
  std::vector<float> expected(whole.begin(), whole.begin() + rate / 2);
  expected.resize(rate);
  expected.insert(expected.end(), whole.begin() + rate / 2, whole.begin() + rate * 3 / 2);
  render("gap.mkv", "fire.mp4");
  const std::vector<float> samples = heard("fire.mp4");
  EXPECT_NEAR(delayOf(expected, samples), 0, 1);
  // Packets of sound begin where they begin: the gap is a packet long off at either side.
  const auto loudest = [](const std::vector<float> &sound, int from, int to) {
    float most = 0.0f;
    for (int index = from; index < to; ++index)
      most = std::max(most, std::fabs(sound[static_cast<std::size_t>(index)]));
    return most;
  };
  EXPECT_LT(loudest(samples, rate * 6 / 10, rate * 9 / 10), 0.02f);
}

TEST_F(EncodedAudio, HasTheChannelsThatPlayersKnow) {
  const struct {
    const char *more;
    int channels;
  } rows[] = {{"", 1},
              {"|0.1*sin(3000*t):c=stereo", 2},
              {"|0|0|0:c=quad", 2},
              {"|0|0|0|0|0:c=5.1", 6},
              {"|0|0|0|0|0|0|0:c=7.1", 6}};
  for (const auto &row : rows)
    for (const char *output : {"fire.mp4", "fire.webm"}) {
      SCOPED_TRACE(std::string(output) + row.more);
      saveFilm("film.mkv", 48000, row.more, 0.4);
      render("film.mkv", output);
      EXPECT_EQ(audioProbe(output).at("channels"), row.channels);
    }
}

}  // namespace
}  // namespace pyrelux::cli::test
