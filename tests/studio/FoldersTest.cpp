#include "Folders.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "MediaErrors.h"
#include "Refusal.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class FoldersTest : public testing::Test {
 protected:
  FoldersTest() {
    char name[] = "/tmp/pyrelux-folders-XXXXXX";
    top_ = mkdtemp(name);
    fs::create_directories(root() / "sub");
    std::ofstream(root() / "logo.png") << "12345";
    std::ofstream(top_ / "secret.png") << "secret";
    fs::create_directory(top_ / "outside");
    std::ofstream(top_ / "outside" / "far.png") << "far";
  }
  ~FoldersTest() override { fs::remove_all(top_); }

  fs::path root() const { return top_ / "root"; }

  void expectRefused(const std::string &path) const {
    try {
      const std::string resolved = Folders(root().string()).resolve(path, "field");
      ADD_FAILURE() << path << " is " << resolved;
    } catch (const Refusal &error) {
      EXPECT_EQ(error.field(), "field");
    }
  }

  fs::path top_;
};

TEST_F(FoldersTest, NamesFilesInItsFolder) {
  const Folders folders(root().string());
  EXPECT_EQ(folders.resolve("logo.png", "f"), (root() / "logo.png").string());
  EXPECT_EQ(folders.resolve("sub/./new.mov", "f"), (root() / "sub/new.mov").string());
  EXPECT_EQ(folders.resolve("frames_####.png", "f"), (root() / "frames_####.png").string());
  EXPECT_EQ(folders.shown((root() / "sub/new.mov").string()), "sub/new.mov");
  EXPECT_EQ(folders.name(), "root");
}

TEST_F(FoldersTest, TakesADashForAName) {
  const fs::path before = fs::current_path();
  fs::current_path(root());
  const Folders folders(".");
  EXPECT_EQ(folders.resolve("-", "f"), "./-");
  EXPECT_EQ(folders.resolve("-o.png", "f"), "./-o.png");
  EXPECT_EQ(folders.shown("./-o.png"), "-o.png");
  EXPECT_EQ(folders.shown("logo.png"), "logo.png");
  fs::current_path(before);
}

TEST_F(FoldersTest, RefusesEveryWayOut) {
  for (const std::string path : {"..", "../secret.png", "sub/../../secret.png", "/etc/passwd", "", "sub/../logo.png"})
    expectRefused(path);
  expectRefused((root() / "logo.png").string());
  expectRefused(std::string("logo.png\0.exr", 13));
  expectRefused(std::string(5000, 'a'));
}

TEST_F(FoldersTest, RefusesSymbolicLinksOut) {
  fs::create_symlink(top_ / "secret.png", root() / "link.png");
  fs::create_directory_symlink(top_ / "outside", root() / "door");
  fs::create_symlink(top_ / "not-there-yet.png", root() / "later.png");
  fs::create_symlink("../secret.png", root() / "relative.png");
  for (const char *path : {"link.png", "door", "door/far.png", "door/new.png", "later.png", "relative.png"})
    expectRefused(path);
}

TEST_F(FoldersTest, FollowsSymbolicLinksInside) {
  fs::create_symlink(root() / "logo.png", root() / "same.png");
  EXPECT_EQ(Folders(root().string()).resolve("same.png", "f"), (root() / "same.png").string());
}

TEST_F(FoldersTest, TakesWhatTheCommandLineNamed) {
  Folders folders(root().string());
  const std::string path = (top_ / "secret.png").string();
  EXPECT_THROW(folders.require(path, "f"), Refusal);
  folders.allow(path);
  EXPECT_EQ(folders.resolve(path, "f"), path);
  EXPECT_EQ(folders.shown(path), path);
  folders.require(path, "f");
}

TEST_F(FoldersTest, ListsWhatCanBeNamed) {
  for (const char *name :
       {"fire_0001.png", "fire_0002.png", "single_7.png", "fire.json", "clip.MOV", ".hidden", "notes"})
    std::ofstream(root() / name) << "xx";
  fs::create_symlink(top_ / "secret.png", root() / "link.png");
  std::vector<std::string> lines;
  for (const FolderEntry &entry : Folders(root().string()).list(".", "f"))
    lines.push_back(entry.name + (entry.isFolder ? "/" : " " + entry.kind + " " + std::to_string(entry.bytes)));
  EXPECT_THAT(lines, ElementsAre("sub/", "clip.MOV movie 2", "fire.json project 2", "fire_####.png picture 4",
                                 "logo.png picture 5", "notes other 2", "single_7.png picture 2"));
  EXPECT_THROW(Folders(root().string()).list("..", "f"), Refusal);
  EXPECT_THROW(Folders(root().string()).list("missing", "f"), Refusal);
}

TEST_F(FoldersTest, IsNoFile) { EXPECT_THROW(Folders((root() / "logo.png").string()), media::InputError); }

}  // namespace
}  // namespace pyrelux::studio
