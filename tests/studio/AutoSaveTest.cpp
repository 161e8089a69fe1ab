#include "AutoSave.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;

class AutoSaveTest : public testing::Test {
 protected:
  AutoSaveTest() {
    char name[] = "/tmp/pyrelux-autosave-XXXXXX";
    folder_ = mkdtemp(name);
    setenv("XDG_STATE_HOME", folder_.c_str(), 1);
  }
  ~AutoSaveTest() override {
    unsetenv("XDG_STATE_HOME");
    fs::remove_all(folder_);
  }

  static std::string leftIn(const std::string &root) {
    const AutoSave next(root);
    return next.left() ? next.left()->text : "nothing";
  }

  fs::path folder_;
};

TEST_F(AutoSaveTest, OffersWhatWasKeptInThatFolder) {
  AutoSave("/tmp").keep("unsaved");
  EXPECT_EQ(leftIn("/"), "nothing");
  EXPECT_EQ(leftIn("/tmp"), "unsaved");
}

TEST_F(AutoSaveTest, KeepsTheLast) {
  {
    AutoSave save("/tmp");
    for (int count = 0; count < 100; ++count) save.keep("text " + std::to_string(count));
  }
  EXPECT_EQ(leftIn("/tmp"), "text 99");
}

TEST_F(AutoSaveTest, KeepsNothingOfWhatIsSaved) {
  {
    AutoSave save("/tmp");
    save.keep("unsaved");
    save.keep(std::nullopt);
  }
  EXPECT_EQ(leftIn("/tmp"), "nothing");
}

TEST_F(AutoSaveTest, WritesWithoutBeingAskedAgain) {
  AutoSave save("/tmp");
  save.keep("unsaved");
  bool isThere = false;
  for (int tries = 0; tries < 500 && !isThere; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (const auto &entry : fs::directory_iterator(folder_ / "pyrelux"))
      isThere = isThere || entry.path().extension() == ".json";
  }
  EXPECT_TRUE(isThere);
}

TEST_F(AutoSaveTest, GivesTwoStudiosInAFolderFilesOfTheirOwn) {
  {
    AutoSave first("/tmp");
    AutoSave second("/tmp");
    first.keep("first");
    second.keep("second");
  }
  const AutoSave first("/tmp");
  const AutoSave second("/tmp");
  ASSERT_TRUE(first.left() && second.left());
  EXPECT_EQ(first.left()->text, "first");
  EXPECT_EQ(second.left()->text, "second");
}

TEST_F(AutoSaveTest, GoesWithoutAPlace) {
  setenv("XDG_STATE_HOME", "/proc/nowhere", 1);
  AutoSave save("/tmp");
  save.keep("unsaved");
  EXPECT_FALSE(save.left());
}

}  // namespace
}  // namespace pyrelux::studio
