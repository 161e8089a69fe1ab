// Composes delivered pictures over a background with ffmpeg and melt, and compares the results with the drawn picture.

#include <algorithm>
#include <cmath>
#include <map>

#include "MeltRun.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

// Many bright tongues, some of them beyond 1 and with an alpha that is below their light.
const Words look{"--frames", "9", "--set", "pyrelux=24", "--set", "length-of-pyrelux=50", "--set", "glow=80"};

class Compositor : public Melt {
 protected:
  Compositor() {
    const std::pair<const char *, const char *> sources[] = {
        {"black", "color=black"}, {"grey", "color=gray"}, {"white", "color=white"}, {"footage", "testsrc2"}};
    for (const auto &[name, source] : sources) {
      saveWithFfmpeg(
          {"-f", "lavfi", "-i", std::string(source) + (std::string(source) == "testsrc2" ? "=" : ":") + "size=64x36",
           "-frames:v", "1", "-pix_fmt", "rgb24"},
          std::string(name) + ".png");
      backgrounds[name] = samplesOf(std::string(name) + ".png");
    }
    render("title.png", "fire.exr", Words{"--codec", "float"} + look);
    drawn = samplesOf("fire.exr");
  }

  /// `bytes` is a program's result of the fire over a background, red, green and blue for each pixel. `mix` gives the
  /// expected value from light (limited to 1), alpha, the brightest of both, and background.
  template <typename Mix>
  void expectMixed(const std::string &bytes, const std::string &background, double maxDifference,
                   const Mix &mix) const {
    const std::vector<float> &behind = backgrounds.at(background);
    ASSERT_EQ(bytes.size() / 3 * 4, drawn.size());
    double largest = 0.0;
    double sum = 0.0;
    for (std::size_t pixel = 0; pixel < drawn.size() / 4; ++pixel) {
      const float *fire = &drawn[pixel * 4];
      const double brightest = std::min(1.0f, *std::max_element(fire, fire + 4));
      for (std::size_t channel = 0; channel < 3; ++channel) {
        const double wanted = mix(std::min(fire[channel], 1.0f), fire[3], brightest, behind[pixel * 4 + channel]);
        const double got = static_cast<unsigned char>(bytes[pixel * 3 + channel]);
        const double error = std::abs(got - 255.0 * std::clamp(wanted, 0.0, 1.0));
        largest = std::max(largest, error);
        sum += error;
      }
    }
    EXPECT_LE(largest, maxDifference);
    // On average nothing is lost or added.
    EXPECT_LE(sum / static_cast<double>(drawn.size() / 4 * 3), 0.5);
  }

  /// The mix of straight alpha that loses no light.
  static double over(double light, double /*alpha*/, double brightest, double behind) {
    return light + behind * (1.0 - brightest);
  }

  /// ffmpeg's result of the background, [b], and the file, [f].
  std::string byFfmpeg(const std::string &background, const std::string &file, const std::string &filters) const {
    // The usual conversion from YUV is rough.
    const std::string convert = fs::path(file).extension() == ".mov" ? "zscale," : "";
    const Result result =
        runInFolder({PYRELUX_FFMPEG, "-v", "error", "-i", background + ".png", "-i", file, "-filter_complex",
                     "[0]format=gbrp[b];[1]" + convert + "format=gbrap[f];" + filters + ",format=rgb24", "-frames:v",
                     "1", "-f", "rawvideo", "-"});
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  /// melt's result of both as two tracks, in Kdenlive's way.
  std::string byMelt(const std::string &background, const std::string &file) const {
    const Words arguments{"-profile",
                          "small",
                          background + ".png",
                          "out=0",
                          "-track",
                          file,
                          "out=0",
                          "-transition",
                          "qtblend",
                          "in=0",
                          "out=0",
                          "a_track=0",
                          "b_track=1",
                          "-consumer",
                          "avformat:frames",
                          "f=rawvideo",
                          "vcodec=rawvideo",
                          "pix_fmt=rgb24",
                          "mlt_image_format=rgb",
                          "an=1",
                          "real_time=-1"};
    // Qt draws without a screen, but MLT requires the name of one.
    const Result result =
        meltInto("frames", arguments,
                 {{"QT_QPA_PLATFORM", "offscreen"}, {"DISPLAY", ":none"}, {"XDG_RUNTIME_DIR", path("").string()}});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return load(path("frames"));
  }

  std::map<std::string, std::vector<float>> backgrounds;
  /// The mix of premultiplied alpha.
  std::vector<float> drawn;

 private:
  Result runInFolder(const Words &words) const {
    Command command;
    command.words = words;
    command.folder = path("").string();
    return run(command);
  }
};

struct Delivered {
  const char *file;
  const char *bits;
  double maxDifference;  ///< of 8-bit levels: of the file, and of the program that rounds its own way
};

TEST_F(Compositor, FfmpegLaysStraightFilesOver) {
  // ProRes loses some itself at the edges of a picture as small as this.
  for (const Delivered &row : {Delivered{"out.png", "8", 3.0},
                               {"out.png", "16", 3.0},
                               {"out.tif", "8", 3.0},
                               {"out.tif", "16", 3.0},
                               {"out.mkv", "8", 3.0},
                               {"out.mkv", "16", 3.0},
                               {"out.apng", "8", 3.0},
                               {"out.mov", "16", 8.0}}) {
    render("title.png", row.file, look + Words{"--bits", row.bits});
    for (const auto &[background, samples] : backgrounds) {
      SCOPED_TRACE(std::string(row.file) + " " + row.bits + " over " + background);
      expectMixed(byFfmpeg(background, row.file, "[b][f]overlay=format=gbrp"), background, row.maxDifference, over);
    }
  }
}

TEST_F(Compositor, FfmpegAddsPremultipliedFiles) {
  // overlay's own way for premultiplied alpha takes 16 levels off.
  const std::string filters =
      "[f]split[c][a];[a]alphaextract,negate,format=gbrp[n];[c]format=gbrp[l];[b][n]blend=all_mode=multiply[d];[d][l]"
      "blend=all_mode=addition";
  for (const Delivered &row : {Delivered{"out.exr", "16", 3.0}, {"out.png", "8", 3.0}, {"out.tif", "16", 3.0}}) {
    render("title.png", row.file, look + Words{"--bits", row.bits, "--alpha", "premultiplied"});
    for (const auto &[background, samples] : backgrounds) {
      SCOPED_TRACE(std::string(row.file) + " " + row.bits + " over " + background);
      expectMixed(byFfmpeg(background, row.file, filters), background, row.maxDifference,
                  [](double light, double alpha, double, double behind) { return light + behind * (1.0 - alpha); });
    }
  }
}

TEST_F(Compositor, FfmpegScreensFilesWithoutAlpha) {
  for (const Delivered &row :
       {Delivered{"out.png", "8", 3.0}, {"out.png", "16", 3.0}, {"out.mkv", "8", 3.0}, {"out.exr", "16", 3.0}}) {
    render("title.png", row.file, look + Words{"--bits", row.bits, "--alpha", "none"});
    for (const auto &[background, samples] : backgrounds) {
      SCOPED_TRACE(std::string(row.file) + " " + row.bits + " over " + background);
      expectMixed(byFfmpeg(background, row.file, "[f]format=gbrp[l];[b][l]blend=all_mode=screen"), background,
                  row.maxDifference,
                  [](double light, double, double, double behind) { return 1.0 - (1.0 - light) * (1.0 - behind); });
    }
  }
}

TEST_F(Compositor, MeltLaysStraightFilesOver) {
  // What MLT takes the alpha of: docs/formats.md names the others.
  for (const Delivered &row :
       {Delivered{"out.png", "8", 3.0}, {"out.png", "16", 3.0}, {"out.mkv", "8", 3.0}, {"out.apng", "8", 3.0}}) {
    render("title.png", row.file, look + Words{"--bits", row.bits});
    for (const auto &[background, samples] : backgrounds) {
      SCOPED_TRACE(std::string(row.file) + " " + row.bits + " over " + background);
      expectMixed(byMelt(background, row.file), background, row.maxDifference, over);
    }
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
