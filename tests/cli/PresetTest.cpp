// The looks that are shipped.

#include <algorithm>
#include <fstream>
#include <set>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Presets : public CliTest {
 protected:
  Presets() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  nlohmann::json listed() const {
    const Result result = pyrelux({"presets", "--json"});
    expectSuccess({result.exitCode, result.signal, "", result.err});
    return nlohmann::json::parse(result.out);
  }
};

TEST_F(Presets, AreListedWithAWordAboutEach) {
  const nlohmann::json all = listed();
  EXPECT_GE(all.size(), 10u);
  const Result result = pyrelux({"presets"});
  EXPECT_EQ(result.exitCode, 0);
  for (const auto &preset : all) {
    EXPECT_THAT(result.out, HasSubstr(preset.at("name").get<std::string>() + "  "));
    EXPECT_THAT(result.out, HasSubstr(preset.at("description").get<std::string>() + "\n"));
  }
}

TEST_F(Presets, EachGivesAPictureOfItsOwn) {
  render("title.png", "out.png", {"--frames", "9"});
  std::set<std::string> pictures{load(path("out.png"))};
  const nlohmann::json all = listed();
  for (const auto &preset : all) {
    const std::string name = preset.at("name");
    render("title.png", "out.png", {"--frames", "9", "--preset", name});
    EXPECT_TRUE(pictures.insert(load(path("out.png"))).second) << name << " looks like another";
  }
}

TEST_F(Presets, AreWhatTheirSettingsSay) {
  const nlohmann::json all = listed();
  const auto found =
      std::find_if(all.begin(), all.end(), [](const auto &listed) { return listed.at("name") == "campfire"; });
  ASSERT_NE(found, all.end());
  const auto &preset = *found;
  Words settings;
  for (const std::string setting : preset.at("settings")) settings = settings + Words{"--set", setting};
  // After all of them, for a quick test.
  render("title.png", "one.png", Words{"--preset", preset.at("name")} + quick());
  render("title.png", "two.png", settings + quick());
  EXPECT_TRUE(load(path("one.png")) == load(path("two.png")));
}

TEST_F(Presets, AreListedAsProjectsThatDrawTheSame) {
  const nlohmann::json all = listed();
  const auto &preset = all.at(0);
  save(path("look.json"), preset.at("project").dump());
  render("title.png", "one.png", Words{"--preset", preset.at("name")} + quick());
  render("title.png", "two.png", Words{"--project", "look.json"} + quick());
  EXPECT_TRUE(load(path("one.png")) == load(path("two.png")));
}

TEST_F(Presets, AreChangedBySettingsWhereverThoseStand) {
  const Words black{"--set", "color-inner=0,0,0", "--set", "color-center=0,0,0", "--set", "color-outer=0,0,0"};
  render("title.png", "preset.png", {"--preset", "toxic"});
  render("title.png", "after.png", Words{"--preset", "toxic"} + black);
  render("title.png", "before.png", black + Words{"--preset", "toxic"});
  EXPECT_TRUE(load(path("after.png")) == load(path("before.png")));
  EXPECT_FALSE(load(path("after.png")) == load(path("preset.png")));
}

TEST_F(Presets, ThatAreNotThereAreRefusedWithThoseThatAre) {
  expectRefusal(pyrelux(renderWords("title.png", "out.png", {"--preset", "bonfyre"})),
                {"'bonfyre'", "campfire", "toxic"});
}

TEST_F(Presets, AreFoundHoweverTheProgramIsStarted) {
  const std::string listed = pyrelux({"presets"}).out;
  EXPECT_THAT(listed, HasSubstr("bonfire"));
  Command command = commandOf({"presets"});
  const std::filesystem::path program = command.words.front();
  command.words = {"env", "PATH=" + program.parent_path().string() + ":/usr/bin:/bin", program.filename(), "presets"};
  EXPECT_EQ(run(command).out, listed);
  std::filesystem::create_symlink(program, path("link"));
  command.words = {"./link", "presets"};
  EXPECT_EQ(run(command).out, listed);
}

TEST_F(Presets, OfTheUserAreListedAndUsed) {
  std::filesystem::create_directories(path("config/pyrelux/presets"));
  save(path("config/pyrelux/presets/mine.json"),
       R"({"version": 1, "description": "My own", "parameters": {"glow": 90, "color-inner": [0, 1, 0]}})");
  save(path("config/pyrelux/presets/broken.json"), "{");
  const Result list = pyrelux({"presets"});
  EXPECT_EQ(list.exitCode, 1) << "one can't be read";
  EXPECT_THAT(list.out, AllOf(HasSubstr("mine"), HasSubstr("My own\n"), HasSubstr("campfire")));
  EXPECT_THAT(list.err, HasSubstr("broken.json"));
  render("title.png", "mine.png", {"--frames", "9", "--preset", "mine"});
  render("title.png", "path.png", {"--frames", "9", "--preset", path("config/pyrelux/presets/mine.json")});
  render("title.png", "plain.png", {"--frames", "9"});
  EXPECT_TRUE(load(path("mine.png")) == load(path("path.png")));
  EXPECT_FALSE(load(path("mine.png")) == load(path("plain.png")));
}

}  // namespace
}  // namespace pyrelux::cli::test
