// Presets as files: those that are shipped, and a user's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "MediaErrors.h"
#include "Presets.h"
#include "SampleParameters.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::project {
namespace {

using host::test::sampleDeclarations;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class PresetFiles : public ::testing::Test {
 protected:
  PresetFiles() {
    char name[] = "/tmp/pyrelux-presets-XXXXXX";
    home_ = mkdtemp(name);
    if (const char *config = std::getenv("XDG_CONFIG_HOME")) before_ = config;
    setenv("XDG_CONFIG_HOME", home_.c_str(), 1);
    fs::create_directories(home_ / "pyrelux/presets");
  }
  ~PresetFiles() override {
    before_ ? setenv("XDG_CONFIG_HOME", before_->c_str(), 1) : unsetenv("XDG_CONFIG_HOME");
    fs::remove_all(home_);
  }

  fs::path save(const std::string &name, const std::string &text) const {
    const fs::path path = home_ / "pyrelux/presets" / name;
    std::ofstream(path) << text;
    return path;
  }

  std::string errorOf(const std::string &preset) const {
    try {
      loadPreset(preset, sampleDeclarations());
    } catch (const std::exception &error) {
      return error.what();
    }
    return "";
  }

  fs::path home_;
  std::optional<std::string> before_;
};

TEST_F(PresetFiles, AreThoseThatAreShippedAndThenTheUsersOwn) {
  const std::vector<std::string> shipped = presetNames();
  EXPECT_GE(shipped.size(), 10u);
  EXPECT_THAT(shipped, Contains("campfire"));
  EXPECT_TRUE(std::is_sorted(shipped.begin(), shipped.end()));
  save("a-mine.json", R"({"version": 1})");
  save("notes.txt", "not a preset");
  const std::vector<PresetFile> files = presetFiles();
  ASSERT_EQ(files.size(), shipped.size() + 1);
  EXPECT_EQ(files.back().name, "a-mine");
  EXPECT_TRUE(files.back().isOwn);
  EXPECT_FALSE(files.front().isOwn);
}

TEST_F(PresetFiles, OfTheUserReplaceShippedOnes) {
  const std::size_t count = presetFiles().size();
  const fs::path own = save("campfire.json", R"({"version": 1, "description": "Mine"})");
  EXPECT_EQ(presetFiles().size(), count);
  EXPECT_EQ(presetPath("campfire"), own.string());
  EXPECT_EQ(loadPreset("campfire", sampleDeclarations()).description, "Mine");
}

TEST_F(PresetFiles, ThatAreShippedAreKnownByNameWhateverTheUserHas) {
  const std::vector<std::string> shipped = presetNames();
  save("campfire.json", R"({"version": 1})");
  save("a-mine.json", R"({"version": 1})");
  EXPECT_EQ(shippedPresetNames(), shipped);
}

TEST_F(PresetFiles, AreAlsoNamedByTheirPaths) {
  const fs::path path = home_ / "elsewhere.json";
  std::ofstream(path) << R"({"version": 1, "description": "Elsewhere"})";
  EXPECT_EQ(loadPreset(path.string(), sampleDeclarations()).description, "Elsewhere");
  EXPECT_THAT(errorOf((home_ / "nowhere.json").string()), HasSubstr("no such file"));
}

TEST_F(PresetFiles, ThatAreNotThereAreRefusedWithThoseThatAre) {
  EXPECT_THROW(loadPreset("bonfyre", sampleDeclarations()), ValueError);
  EXPECT_THAT(errorOf("bonfyre"), testing::AllOf(HasSubstr("'bonfyre'"), HasSubstr("campfire, ")));
  EXPECT_THAT(errorOf("../presets/campfire"), HasSubstr("there is no preset"));
}

TEST_F(PresetFiles, ThatAreWrongNameThePlace) {
  const fs::path path = save("wrong.json", R"({"version": 1, "bits": 12})");
  EXPECT_THROW(loadPreset("wrong", sampleDeclarations()), media::InputError);
  EXPECT_THAT(errorOf("wrong"), testing::AllOf(HasSubstr(path.string()), HasSubstr("bits")));
}

TEST_F(PresetFiles, BuildOnNoOtherPreset) {
  save("on-torch.json", R"({"version": 1, "preset": "torch"})");
  EXPECT_THROW(loadPreset("on-torch", sampleDeclarations()), media::InputError);
  EXPECT_THAT(errorOf("on-torch"), HasSubstr("builds on the preset 'torch'"));
}

TEST_F(PresetFiles, AreFoundWithoutAHome) {
  setenv("XDG_CONFIG_HOME", "relative", 1);
  std::optional<std::string> home;
  if (const char *variable = std::getenv("HOME")) home = variable;
  setenv("HOME", home_.c_str(), 1);
  fs::create_directories(home_ / ".config/pyrelux/presets");
  std::ofstream(home_ / ".config/pyrelux/presets/from-home.json") << R"({"version": 1})";
  EXPECT_THAT(presetNames(), Contains("from-home")) << "XDG_CONFIG_HOME has to be absolute";
  unsetenv("HOME");
  EXPECT_THAT(presetNames(), testing::AllOf(Contains("campfire"), Not(Contains("from-home"))));
  if (home) setenv("HOME", home->c_str(), 1);
}

}  // namespace
}  // namespace pyrelux::project
