// The looks that are shipped.

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
  // It leaves alone what makes tests quick.
  const auto &preset = all.at(0);
  ASSERT_EQ(preset.at("name"), "campfire");
  Words settings;
  for (const std::string setting : preset.at("settings")) settings = settings + Words{"--set", setting};
  render("title.png", "one.png", {"--preset", preset.at("name")});
  render("title.png", "two.png", settings);
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
  expectRefusal(pyrelux(renderWords("title.png", "out.png", {"--preset", "bonfire"})),
                {"'bonfire'", "campfire", "toxic"});
}

}  // namespace
}  // namespace pyrelux::cli::test
