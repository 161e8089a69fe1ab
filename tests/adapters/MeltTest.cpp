// Tests the MLT filter in melt: compares single frames with the command's, and checks melt's description of the filter.

#include <cmath>

#include "Composed.h"
#include "MeltRun.h"

namespace pyrelux::cli::test {
namespace {

TEST_F(Melt, PassesTheTitleThroughAsItIs) {
  // All other tests rely on this.
  EXPECT_EQ(frames("small", {"title.png", "out=0"}), decoded("title.png", "rgba"));
}

TEST_F(Melt, ShowsWhatRenderDraws) {
  const std::string frames = burnt({}, 13);
  ASSERT_EQ(frames.size(), 13u * testWidth * testHeight * 4);
  for (const int number : {1, 12})
    expectComposed(frame(frames, static_cast<std::size_t>(number)), fire("title.png", number),
                   decoded("title.png", "rgba"));
}

TEST_F(Melt, ShowsWhatRenderDrawsWithAllKindsOfParameters) {
  const std::string frames =
      burnt({"length-of-pyrelux=60", "direction=-30", "steps=100", "color-inner=#ffffff", "attract-repel=40",
             "point-attract-repel=25% 75%", "source-opacity=50", "source-mode=Mix", "crop-left=20%"},
            6);
  const Words settings{
      "--set", "length-of-pyrelux=60", "--set", "direction=-30",    "--set", "steps=100",
      "--set", "color-inner=#ffffff",  "--set", "attract-repel=40", "--set", "point-attract-repel=0.25,0.25",
      "--set", "source-opacity=0.5",   "--set", "source-mode=mix",  "--set", "crop-left=0.2"};
  expectComposed(frame(frames, 5), fire("title.png", 5, settings), decoded("title.png", "rgba"));
}

TEST_F(Melt, TakesAPresetAndASeed) {
  const auto expectSame = [this](const Words &properties, const Words &arguments) {
    expectComposed(frame(burnt(properties, 6), 5), fire("title.png", 5, arguments), decoded("title.png", "rgba"));
  };
  expectSame({"preset=torch", "seed=7"}, {"--preset", "torch", "--seed", "7"});
  expectSame({"preset=torch", "seed=7", "length-of-pyrelux=60", "glow=20"},
             {"--preset", "torch", "--seed", "7", "--set", "length-of-pyrelux=60"});
  save(path("look.json"), R"({"version": 1, "seed": 3, "parameters": {
      "glow": [{"frame": 0, "value": 0}, {"frame": 5, "value": 60}]}})");
  expectSame({"preset=look.json"}, {"--preset", "look.json"});
}

TEST_F(Melt, TakesKeyframes) {
  save(path("keys.json"), R"({"version": 1, "parameters": {
      "glow": [{"frame": 0, "value": -20}, {"frame": 12, "value": 60}, {"frame": 24, "value": 0, "ease": "hold"}],
      "turbulence-speed": [{"frame": 0, "value": 0}, {"frame": 10, "value": 100}, {"frame": 20, "value": 20}],
      "source-opacity": [{"frame": 0, "value": 0}, {"frame": 20, "value": 1}],
      "point-attract-repel": [{"frame": 0, "value": [0, 1]}, {"frame": 20, "value": [1, 0]}],
      "attract-repel": 30,
      "source-mode": [{"frame": 0, "value": "Cover"}, {"frame": 10, "value": "Mix"}]}})");
  const std::string frames =
      burnt({"glow=0=-20;12=60;24|=0", "turbulence-speed=0=0;10=100;20=20", "source-opacity=0=0;20=100",
             "point-attract-repel=0=0 0;20=64 36", "attract-repel=30", "source-mode=0=Cover;10=Mix"},
            25);
  for (const int number : {1, 7, 11, 20, 24}) {
    SCOPED_TRACE(number);
    expectComposed(frame(frames, static_cast<std::size_t>(number)),
                   fire("title.png", number, {"--project", "keys.json"}), decoded("title.png", "rgba"));
  }
}

TEST_F(Melt, TakesEverySize) {
  const auto expectSame = [this](int width, int height) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    save(path("title.png"), titlePng(width, height));
    saveProfile("sized", width, height);
    expectComposed(frames("sized", {"title.png", "out=0", "-filter", "pyrelux", "direction=10"}),
                   fire("title.png", 0, {"--set", "direction=10"}), decoded("title.png", "rgba"));
  };
  expectSame(61, 45);
  expectSame(1920, 1080);
  expectSame(4096, 304);
}

TEST_F(Melt, TakesPixelsThatAreNotSquare) {
  constexpr int width = 720;
  constexpr int height = 576;
  save(path("title.png"), titlePng(width, height));
  saveWithFfmpeg({"-loop", "1", "-framerate", "25", "-i", path("title.png").string(), "-frames:v", "4", "-vf",
                  "setsar=16/15,format=bgra", "-c:v", "ffv1"},
                 "title.mkv");
  saveProfile("pal", width, height, "16/15");
  const Words settings{"attract-repel=50", "point-attract-repel=20% 30%"};
  const std::string all = frames("pal", Words{"title.mkv", "-filter", "pyrelux"} + settings);
  expectComposed(frame(all, 3, width, height),
                 fire("title.mkv", 3, {"--set", "attract-repel=50", "--set", "point-attract-repel=0.2,0.7"}),
                 decoded("title.png", "rgba"));
}

TEST_F(Melt, PreviewsAtHalfTheSize) {
  constexpr int width = testWidth / 2;
  constexpr int height = testHeight / 2;
  const Words half{"real_time=-1", "scale=0.5"};
  const std::string source = frames("small", {"title.png", "out=0"}, half);
  ASSERT_EQ(source.size(), static_cast<std::size_t>(width) * height * 4);
  save(path("half.raw"), source);
  saveWithFfmpeg({"-f", "rawvideo", "-pix_fmt", "rgba", "-s", "32x18", "-i", path("half.raw").string()}, "half.png");
  const std::string preview = burnt({"attract-repel=50", "point-attract-repel=16 9"}, 3, half);
  expectComposed(frame(preview, 2, width, height),
                 fire("half.png", 2, {"--set", "attract-repel=50", "--set", "point-attract-repel=0.25,0.75"}), source);
}

TEST_F(Melt, TellsOfItself) {
  const Result result = melt({"-query", "filter=pyrelux"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char *line :
       {"identifier: pyrelux", "title: Pyrelux", "  - identifier: glow", "    title: \"Turbulence: Amount\"",
        "    type: rect", "    type: color", "    minimum: -100", "    unit: %", "    animation: yes", "      - Mix"})
    EXPECT_THAT(result.out, testing::HasSubstr(line + std::string("\n")));
}

TEST_F(Melt, KeepsThePictureWithoutABundle) {
  const Result result =
      meltInto("frames", Words{"-profile", "small", "title.png", "out=2", "-filter", "pyrelux"} + rawConsumer(),
               {{"PYRELUX_PLUGIN_PATH", "/nowhere"}});
  EXPECT_EQ(result.exitCode, 0);
  const std::string source = decoded("title.png", "rgba");
  EXPECT_EQ(load(path("frames")), source + source + source);
  EXPECT_THAT(result.err, testing::StartsWith("pyrelux: no filter bundle in /nowhere"));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

}  // namespace
}  // namespace pyrelux::cli::test
