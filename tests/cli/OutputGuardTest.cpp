// What must never be lost: what is read, what is there already, and what somebody else has put there.

#include <sys/stat.h>

#include <functional>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

const std::string manifest = "fire.png.manifest.jsonl";

class OutputGuard : public CliTest {
 protected:
  OutputGuard() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  Result burn(const std::string &input, const std::string &output, const Words &more = {}) const {
    return pyrelux(Words{"render", input, "-o", output} + quick() + more);
  }

  /// Expects a refusal with this exit code that leaves everything as it was.
  void expectUntouched(const std::function<Result()> &action, int exitCode, const Words &words) const {
    const auto before = contentsOf(path(""));
    const Result result = action();
    expectRefusal(result, words);
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_TRUE(contentsOf(path("")) == before) << testing::PrintToString(names(""));
  }
};

TEST_F(OutputGuard, SeesTheFileThatTwoPercentSignsName) {
  save(path("a%b.png"), "precious");
  save(path("x%b.png"), titlePng(testWidth, testHeight));
  expectUntouched([&] { return burn("title.png", "a%%b.png"); }, 4, {"'a%b.png'", "there already"});
  expectUntouched([&] { return burn("x%b.png", "x%%b.png", {"--overwrite"}); }, 2, {"'x%b.png'", "the input"});
  expectUntouched([&] { return burn("x%%b.png", "x%%b.png", {"--overwrite"}); }, 2, {"'x%b.png'", "the input"});
  expectUntouched(
      [&] {
        return burn("title.png", "x%%b.png", {"--over", "x%b.png", "--overwrite"});
      },
      2, {"'x%b.png'", "the background"});
  expectUntouched(
      [&] {
        return pyrelux({"sheet", "title.png", "-o", "a%%b.png", "--vary", "glow=1,2"});
      },
      4, {"'a%b.png'", "there already"});
  expectSuccess(burn("title.png", "b%%c.png"));
  EXPECT_TRUE(fs::exists(path("b%c.png")));
}

TEST_F(OutputGuard, KeepsTheInputFromTheProject) {
  fs::copy_file(path("title.png"), path("title.json"));
  expectUntouched(
      [&] {
        return burn("title.json", "fire.png", {"--save-project", "title.json"});
      },
      2, {"'title.json'", "the input"});
  expectUntouched(
      [&] {
        return burn("title.png", "fire.png", {"--over", "title.json", "--save-project", "title.json"});
      },
      2, {"'title.json'", "the background"});
}

TEST_F(OutputGuard, ReplacesNoLinkToNothing) {
  fs::create_symlink("nowhere", path("fire.png"));
  fs::create_symlink("self_1.png", path("self_1.png"));
  expectUntouched([&] { return burn("title.png", "fire.png"); }, 4, {"'fire.png'", "there already"});
  expectUntouched(
      [&] {
        return burn("title.png", "self_%d.png", {"--frames", "1-2"});
      },
      4, {"'self_1.png'", "there already"});
}

TEST_F(OutputGuard, FollowsNoLinkInPlaceOfAManifest) {
  save(path("bashrc"), "mine");
  fs::create_symlink("bashrc", path(manifest));
  expectUntouched([&] { return burn("title.png", "fire.%d.png", {"--frames", "1"}); }, 4, {manifest, "link"});
}

TEST_F(OutputGuard, WipesNoFileThatIsNoManifest) {
  for (const std::string &text :
       {std::string("my own notes\n"), std::string("{\"frame\":1}\n"), load(path("title.png"))})
    for (const char *option : {"--overwrite", "--resume"}) {
      save(path(manifest), text);
      expectUntouched(
          [&] {
            return burn("title.png", "fire.%d.png", {"--frames", "1", option});
          },
          4, {manifest, "is not a manifest"});
    }
}

TEST_F(OutputGuard, WaitsForNoPipeInPlaceOfAManifest) {
  ASSERT_EQ(mkfifo(path(manifest).c_str(), 0600), 0);
  expectUntouched([&] { return burn("title.png", "fire.%d.png", {"--frames", "1"}); }, 4, {manifest, "regular file"});
  EXPECT_EQ(pyrelux({"verify", manifest}).exitCode, 3);
}

TEST_F(OutputGuard, NoticesAManifestThatCannotBeWrittenBeforeThePictures) {
  fs::create_directory(path(manifest));
  expectUntouched([&] { return burn("title.png", "fire.%d.png", {"--frames", "1-2"}); }, 4, {manifest, "folder"});
}

TEST_F(OutputGuard, SequencesOfOneManifestKeepTheirOwnRecords) {
  expectSuccess(burn("title.png", "fire.%d.png", {"--frames", "1-2"}));
  expectSuccess(burn("title.png", "fire_%d.png", {"--frames", "1-2", "--set", "glow=21"}));
  fs::remove(path("fire.2.png"));
  const Result verified = pyrelux({"verify", manifest});
  EXPECT_EQ(verified.out, "fire.2.png is missing\n3 of 4 pictures are as they were rendered\n");
  const Result resumed = burn("title.png", "fire.%d.png", {"--frames", "1-2", "--resume", "--verbose"});
  EXPECT_THAT(resumed.err, HasSubstr("1 of 2 frames were there already"));
  EXPECT_EQ(pyrelux({"verify", manifest}).out, "4 of 4 pictures are as they were rendered\n");
}

TEST_F(OutputGuard, RendersOfOneSequenceAtTheSameTimeKeepEveryLine) {
  save(path(manifest), "{\"settings\":\"old\"}\n{\"frame\":7,\"file\":\"gone.png\",\"bytes\":1,\"xxh3\":\"0\"}\n");
  Command command = commandOf(Words{"render", "title.png", "-o", "fire.%d.png", "--quiet"} + quick());
  command.words =
      Words{"sh", "-c", "for i in 1 2 3 4; do \"$@\" --frames ${i}0-${i}9 & done; wait", "sh"} + command.words;
  expectSuccess(run(command));
  EXPECT_EQ(pyrelux({"verify", manifest}).out, "40 of 40 pictures are as they were rendered\n");
}

TEST_F(OutputGuard, ANameOrPathThatIsTooLongCannotBeWritten) {
  std::string detour;
  for (int i = 0; i < 3000; ++i) detour += "./";
  for (const std::string &output :
       {std::string(252, 'n') + ".png", detour + "fire.png", detour + "fire.%d.png", std::string(245, 'n') + ".%d.png"})
    expectUntouched([&] { return burn("title.png", output, {"--frames", "1"}); }, 4, {"name too long"});
  save(path(manifest), "{\"frame\":1,\"file\":\"" + std::string(300, 'n') + "\",\"bytes\":1,\"xxh3\":\"0\"}\n");
  expectSuccess(burn("title.png", "fire.%d.png", {"--frames", "1"}));
}

TEST_F(OutputGuard, FarNumbersAreNotAskedForOneByOne) {
  save(path("far1.png"), titlePng(testWidth, testHeight));
  save(path("far999999999999999999.png"), titlePng(testWidth, testHeight));
  const Result refused = burn("far%d.png", "fire.%d.png");
  expectRefusal(refused, {"1-999999999999999999", "has 2", "--frames"});
  EXPECT_EQ(refused.exitCode, 2);
  save(path("fire.77777777.png"), "mine");
  expectUntouched(
      [&] {
        return burn("title.png", "fire.%d.png", {"--frames", "1-2147483647"});
      },
      4, {"'fire.77777777.png'", "there already"});
  save(path("near9999999998.png"), titlePng(testWidth, testHeight));
  expectSuccess(burn("near%d.png", "near.png", {"--frames", "9999999998"}));
}

TEST_F(OutputGuard, ANameWithTwoPlacesForNumbersIsThatOfTheInput) {
  fs::copy_file(path("title.png"), path("take#2#.png"));
  expectSuccess(burn("take#2#.png", "fire.png"));
  expectSuccess(burn("title.png", "fire2.png", {"--over", "take#2#.png", "--quiet"}));
}

}  // namespace
}  // namespace pyrelux::cli::test
