// Renders with project files.

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

class Projects : public CliTest {
 protected:
  Projects() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  void saveProject(const std::string &name, const std::string &members) const {
    save(path(name), "{\"version\": 1, " + members + "}");
  }

  /// The picture that a render of one frame gives.
  std::string fire(const Words &words) const {
    const Result result = pyrelux(Words{"render", "title.png", "-o", "fire.png", "--overwrite"} + words);
    expectSuccess(result);
    return load(path("fire.png"));
  }

  nlohmann::json saved(const std::string &name) const { return nlohmann::json::parse(load(path(name))); }
};

const char animated[] = R"("parameters": {
    "pyrelux": 2, "steps": [{"frame": 1, "value": 10}, {"frame": 9, "value": 14}],
    "turbulence-speed": [{"frame": 1, "value": 5, "ease": "ease-in"}, {"frame": 6.5, "value": 90, "ease": "ease"},
                         {"frame": 9, "value": 20}],
    "color-outer": [{"frame": 2, "value": "#ff0000", "ease": "bezier", "bezier": [0.3, -0.5, 0.4, 1.5]},
                    {"frame": 8, "value": [0, 0.2, 1]}],
    "direction": [{"frame": 1, "value": -30}, {"frame": 8, "value": 33.3}],
    "point-attract-repel": [{"frame": 3, "value": [0.2, 0.3]}, {"frame": 7, "value": [1.2, -0.3]}],
    "attract-repel": 40,
    "source-mode": [{"frame": 1, "value": "Cover"}, {"frame": 5, "value": "Mix"}],
    "source-opacity": 0.5})";

TEST_F(Projects, SaveWhatIsInForceAndGiveTheSamePicturesAgain) {
  saveProject("fire.json", animated);
  render("title.png", "one_##.png",
         {"--preset", "toxic", "--project", "fire.json", "--set", "glow=77.7", "--frames", "1-8", "--save-project",
          "all.json"});
  expectSuccess(
      pyrelux({"render", "title.png", "-o", "two_##.png", "--project", "all.json", "--save-project", "again.json"}));
  for (int frame = 1; frame <= 8; ++frame) {
    const std::string number = "_0" + std::to_string(frame) + ".png";
    EXPECT_TRUE(load(path("one" + number)) == load(path("two" + number))) << frame;
  }
  EXPECT_FALSE(load(path("one_01.png")) == load(path("one_08.png")));
  EXPECT_EQ(load(path("all.json")), load(path("again.json")));
  // One of the frames alone.
  expectSuccess(pyrelux({"render", "title.png", "-o", "six.png", "--project", "all.json", "--frames", "6"}));
  EXPECT_TRUE(load(path("six.png")) == load(path("one_06.png")));
  EXPECT_EQ(saved("all.json").at("frames"), "1-8");
  EXPECT_EQ(saved("all.json").at("parameters").at("glow"), 77.7);
  EXPECT_EQ(saved("all.json").at("parameters").size(), 25u) << "every parameter, and ours";
}

TEST_F(Projects, AnimateTheFire) {
  saveProject("fire.json", R"("parameters": {"direction": [{"frame": 1, "value": 0}, {"frame": 5, "value": 180}]})");
  const Words project = quick() + Words{"--project", "fire.json", "--frames"};
  EXPECT_TRUE(fire(project + Words{"3"}) == fire(quick() + Words{"--set", "direction=90", "--frames", "3"}));
  EXPECT_TRUE(fire(project + Words{"9"}) == fire(quick() + Words{"--set", "direction=180", "--frames", "9"}));
  EXPECT_FALSE(fire(project + Words{"3"}) == fire(project + Words{"9"}));
}

TEST_F(Projects, WinOverThePresetAndLoseToSettings) {
  const Words some = quick() + Words{"--frames", "2"};
  const Words glow{"--set", "glow=90"};
  saveProject("glow.json", R"("parameters": {"glow": 90})");
  saveProject("keys.json", R"("parameters": {"glow": [{"frame": 1, "value": -90}, {"frame": 2, "value": -50}]})");
  saveProject("preset.json", R"("preset": "toxic", "parameters": {"glow": 90})");
  const std::string toxic = fire(some + Words{"--preset", "toxic"});
  const std::string glowing = fire(some + Words{"--preset", "toxic"} + glow);
  ASSERT_FALSE(toxic == glowing);
  EXPECT_TRUE(fire(some + Words{"--preset", "toxic", "--project", "glow.json"}) == glowing);
  EXPECT_TRUE(fire(some + Words{"--project", "glow.json", "--preset", "toxic"}) == glowing);
  EXPECT_TRUE(fire(some + Words{"--project", "preset.json"}) == glowing);
  EXPECT_TRUE(fire(some + glow + Words{"--project", "keys.json", "--preset", "toxic"}) == glowing)
      << "a constant replaces keyframes";
  EXPECT_TRUE(fire(some + Words{"--project", "preset.json", "--preset", "ghost"}) ==
              fire(some + Words{"--preset", "ghost"} + glow));
}

TEST_F(Projects, NameFramesRateAndDepthWhichOptionsWinOver) {
  saveProject("fire.json", R"("frames": "3-7x2", "fps": 12.5, "bits": 16)");
  render("title.png", "one.mkv", {"--project", "fire.json"});
  EXPECT_EQ(probe("one.mkv").at("nb_read_frames"), "3");
  EXPECT_EQ(probe("one.mkv").at("r_frame_rate"), "25/2");
  EXPECT_THAT(probe("one.mkv").at("pix_fmt").get<std::string>(), HasSubstr("16"));
  render("title.png", "two.mkv", {"--project", "fire.json", "--frames", "1-2", "--fps", "30", "--bits", "8"});
  EXPECT_EQ(probe("two.mkv").at("nb_read_frames"), "2");
  EXPECT_EQ(probe("two.mkv").at("r_frame_rate"), "30/1");
  EXPECT_THAT(probe("two.mkv").at("pix_fmt").get<std::string>(), testing::Not(HasSubstr("16")));
}

TEST_F(Projects, AreSavedWithDefaultsThatWereInForce) {
  render("title.png", "out.mkv", {"--save-project", "fire.json", "--fps", "23.976"});
  EXPECT_EQ(saved("fire.json").at("frames"), "1-48");
  EXPECT_EQ(saved("fire.json").at("fps"), "24000/1001");
  EXPECT_FALSE(saved("fire.json").contains("bits")) << "follows from the output";
  EXPECT_EQ(saved("fire.json").at("parameters").at("color-depth"), "16 Bit");
}

TEST_F(Projects, NameTheSizeOfWhatIsDrawn) {
  saveProject("fire.json", R"("size": "48x20")");
  const auto drawn = [&](const Words &words) {
    expectSuccess(pyrelux(
        Words{"render", "-o", "out.png", "--overwrite", "--project", "fire.json", "--save-project", "all.json"} +
        quick() + words));
    return probe("out.png").at("width").get<int>();
  };
  EXPECT_EQ(drawn({"--input-test-pattern", "title"}), 48);
  EXPECT_EQ(saved("all.json").at("size"), "48x20");
  EXPECT_EQ(drawn({"--input-test-pattern", "title", "--size", "32x18"}), 32);
  EXPECT_EQ(saved("all.json").at("size"), "32x18");
  EXPECT_EQ(drawn({"title.png"}), testWidth);
  EXPECT_FALSE(saved("all.json").contains("size"));
}

TEST_F(Projects, WithOtherKeyframesLeaveNothingToResume) {
  const auto draw = [&](const std::string &glow) {
    saveProject("fire.json",
                "\"parameters\": {\"glow\": [{\"frame\": 0, \"value\": 0}, {\"frame\": 9, \"value\": " + glow + "}]}");
    expectSuccess(pyrelux(
        Words{"render", "title.png", "-o", "fire_#.png", "--frames", "1-3", "--project", "fire.json", "--resume"} +
        quick()));
    return load(path("fire_3.png"));
  };
  const std::string first = draw("90");
  EXPECT_TRUE(draw("90") == first);
  EXPECT_FALSE(draw("-90") == first);
}

TEST_F(Projects, ReplaceTheFileTheyCameFromAsAWhole) {
  saveProject("fire.json", R"("parameters": {"glow": 1})");
  render("title.png", "out.png", {"--project", "fire.json", "--save-project", "fire.json", "--set", "direction=45"});
  EXPECT_EQ(saved("fire.json").at("parameters").at("glow"), 1);
  EXPECT_EQ(saved("fire.json").at("parameters").at("direction"), 45);
  EXPECT_EQ(names(""), (Words{"fire.json", "out.png", "title.png"}));
}

TEST_F(Projects, FramesThatTheInputLacksAreRefused) {
  saveSequence("fire", 1, 3);
  saveProject("fire.json", R"("frames": "1-9")");
  const Result result = pyrelux({"render", "fire_%04d.png", "-o", "out_%04d.png", "--project", "fire.json"});
  expectRefusal(result, {"1-3", "'1-9'"});
  EXPECT_EQ(result.exitCode, 2);
}

}  // namespace
}  // namespace pyrelux::cli::test
