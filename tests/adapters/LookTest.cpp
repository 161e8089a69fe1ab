// The preset and the seed beneath what a host sets.

#include "Look.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Bundles.h"
#include "StaticEffect.h"
#include "TemporaryFile.h"

namespace pyrelux::adapters::test {
namespace {

constexpr FrameRate pal{25, 1};

class LookTest : public testing::Test {
 protected:
  LookTest() : defaults(parametersOf(host::findFilter(host::defaultSearchPath()))), look(defaults) {}

  double number(const std::string &name, double frame = 0.0) const {
    return look.parameters().value(defaults.named(name).id, frame)[0];
  }

  /// Whether the preset holds against that constant.
  bool holds(const std::string &name, const host::ParameterValue &value) const {
    return look.holdsInsteadOf(defaults.named(name), value);
  }

  /// What is complained of.
  std::string told(const std::string &preset, const std::string &seed = "") {
    testing::internal::CaptureStderr();
    look.choose(preset, seed, pal);
    return testing::internal::GetCapturedStderr();
  }

  const host::ParameterSet defaults;
  Look look;
};

TEST_F(LookTest, IsTheDefaultsWithoutAPreset) {
  for (const char *none : {"", "none"}) {
    EXPECT_EQ(told(none), "");
    EXPECT_EQ(number("glow"), 20.0);
    EXPECT_EQ(number("color-depth"), 1.0) << "16 Bit";
    EXPECT_TRUE(look.time() == host::FilterTime{});
    EXPECT_FALSE(holds("glow", {20.0}));
  }
}

TEST_F(LookTest, TakesThePresetsThatAreShipped) {
  EXPECT_EQ(told("torch"), "");
  EXPECT_EQ(number("glow"), 50.0);
  EXPECT_EQ(number("color-depth"), 1.0);
  EXPECT_EQ(told("none"), "");
  EXPECT_EQ(number("glow"), 20.0);
}

TEST_F(LookTest, TellsWhetherAnythingHasChanged) {
  EXPECT_TRUE(look.choose("torch", "", pal));
  EXPECT_FALSE(look.choose("torch", "", pal));
  EXPECT_TRUE(look.choose("torch", "3", pal));
  EXPECT_TRUE(look.choose("torch", "3", {50, 1}));
  EXPECT_TRUE(look.choose("halo", "3", {50, 1}));
  EXPECT_FALSE(look.choose("halo", "3", {50, 1}));
}

TEST_F(LookTest, HoldsAgainstConstantsThatAreTheDefault) {
  const TemporaryFile file(R"({"version": 1, "parameters": {
      "glow": 50, "color-center": [0, 0, 1], "point-attract-repel": [0, 0], "source-mode": "Mix", "pyrelux": 20}})");
  EXPECT_EQ(told(file.path()), "");
  EXPECT_TRUE(holds("glow", {20.0}));
  EXPECT_FALSE(holds("glow", {20.01}));
  EXPECT_TRUE(holds("color-center", {1.0, 0.5, 0.0}));
  EXPECT_TRUE(holds("color-center", {1.0, 128 / 255.0, 0.0})) << "#ff8000";
  EXPECT_FALSE(holds("color-center", {1.0, 127 / 255.0, 0.0}));
  EXPECT_TRUE(holds("point-attract-repel", {0.5, 0.5}));
  EXPECT_FALSE(holds("point-attract-repel", {0.5, 0.6}));
  EXPECT_TRUE(holds("source-mode", {0.0}));
  EXPECT_FALSE(holds("pyrelux", {7.0}));
  // What the preset leaves out stays with the host.
  EXPECT_FALSE(holds("steps", {40.0}));
}

TEST_F(LookTest, CountsAPresetsKeyframesFromTheClipsFirstFrame) {
  const TemporaryFile file(R"({"version": 1, "parameters": {
      "glow": [{"frame": 0, "value": 0}, {"frame": 10, "value": 50}],
      "weight-inner-outer": [{"time": 0, "value": 0}, {"time": 2, "value": 50}]}})");
  EXPECT_EQ(told(file.path()), "");
  EXPECT_EQ(number("glow", 5.0), 25.0);
  EXPECT_EQ(number("weight-inner-outer", 25.0), 25.0);
  look.choose(file.path(), "", {50, 1});
  EXPECT_EQ(number("weight-inner-outer", 50.0), 25.0);
}

TEST_F(LookTest, TakesOfAScenePresetsSeedAndTimeBaseAlone) {
  const TemporaryFile file(R"({"version": 1, "seed": 3, "time-base": "50", "burn": "shape", "flame-scale": "title",
      "loop": true, "ignite": 1, "parameters": {"fire-opacity": 50, "glow": 1}})");
  EXPECT_EQ(told(file.path()), "");
  EXPECT_EQ(number("glow"), 1.0);
  EXPECT_EQ(look.time().at(0), 3 * 1013.0);
  EXPECT_EQ(look.time().at(1), 3 * 1013.0 + 2.0);
  told(file.path(), "0");
  EXPECT_EQ(look.time().at(0), 3 * 1013.0) << "0 is the default";
  told(file.path(), "7");
  EXPECT_EQ(look.time().at(0), 7 * 1013.0);
}

TEST_F(LookTest, TakesSeedsFrom0To1000000) {
  for (const auto &[text, seed] : {std::pair("0", 0), {"1", 1}, {"12.00", 12}, {"1000000", 1000000}}) {
    EXPECT_EQ(told("", text), "") << text;
    EXPECT_EQ(look.time().at(5), 1013.0 * seed + 5.0) << text;
  }
  for (const char *text : {"1000001", "-1", "1.5", "many", "0=7"}) {
    EXPECT_THAT(told("", text), testing::StartsWith("pyrelux: the seed can't be used: '" + std::string(text))) << text;
    EXPECT_EQ(told("", text), "") << "once";
    EXPECT_EQ(look.time().at(5), 5.0) << text;
  }
}

TEST_F(LookTest, StaysWithoutAPresetThatCantBeUsedAndTellsOnce) {
  const TemporaryFile noProject("{");
  const TemporaryFile outOfRange(R"({"version": 1, "parameters": {"glow": 1000}})");
  const TemporaryFile onAnother(R"({"version": 1, "preset": "torch"})");
  const std::pair<std::string, std::string> rows[] = {
      {"bogus", "there is no preset 'bogus'; there are "},
      {"/nowhere/look.json", "cannot read '/nowhere/look.json': no such file"},
      {noProject.path(), "cannot read '" + noProject.path() + "': "},
      {outOfRange.path(), "parameters.glow can't be 1000"},
      {onAnother.path(), "builds on the preset 'torch'"}};
  for (const auto &[preset, why] : rows) {
    look.choose("torch", "", pal);
    const std::string complaint = told(preset);
    EXPECT_THAT(complaint, testing::StartsWith("pyrelux: "));
    EXPECT_THAT(complaint, testing::HasSubstr(why));
    EXPECT_EQ(std::count(complaint.begin(), complaint.end(), '\n'), 1) << complaint;
    EXPECT_EQ(told(preset), "") << "once";
    EXPECT_EQ(number("glow"), 20.0);
    EXPECT_FALSE(holds("glow", {20.0}));
  }
}

}  // namespace
}  // namespace pyrelux::adapters::test
