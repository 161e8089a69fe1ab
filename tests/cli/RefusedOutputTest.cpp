#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// Outputs that would destroy something, or that the system does not take.
class RefusedOutput : public CliTest {
 protected:
  RefusedOutput() {
    save(path("title.png"), titlePng(testWidth, testHeight));
    saveSequence("in", 1, 2);
  }

  /// Expects a refusal that leaves everything in the folder as it was.
  void expectUntouched(const Words &arguments, const Words &words) const {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const auto before = contentsOf(path(""));
    expectRefusal(pyrelux(arguments), words);
    EXPECT_TRUE(contentsOf(path("")) == before) << testing::PrintToString(names(""));
  }
};

TEST_F(RefusedOutput, IsTheInputItself) {
  fs::create_directory(path("folder"));
  fs::create_symlink(path("title.png"), path("symbolic.png"));
  fs::create_hard_link(path("title.png"), path("hard.png"));
  for (const std::string &output :
       {std::string("title.png"), std::string("./title.png"), std::string("folder/../title.png"),
        path("title.png").string(), std::string("symbolic.png"), std::string("hard.png")})
    expectUntouched(renderWords("title.png", output), {"'" + output + "'", "replace the input"});
  expectUntouched(renderWords("symbolic.png", "title.png"), {"'title.png'", "replace the input"});
}

TEST_F(RefusedOutput, IsTheMovieItself) {
  saveMovie("clip.mkv", 2);
  expectUntouched(renderWords("clip.mkv", "clip.mkv"), {"'clip.mkv'", "replace the input"});
}

TEST_F(RefusedOutput, IsTheSequenceItself) {
  for (const char *output : {"in_%04d.png", "./in_%04d.png", "in_####.png"})
    expectUntouched(renderWords("in_%04d.png", output), {"in_0001.png", "replace the input"});
}

TEST_F(RefusedOutput, IsASequenceWithTheInputAmongItsFrames) {
  expectUntouched(renderWords("in_0002.png", "in_%04d.png", {"--frames", "1-3"}), {"in_0002.png", "replace the input"});
}

TEST_F(RefusedOutput, IsAFrameOfTheSequence) {
  expectUntouched(renderWords("in_%04d.png", "in_0002.png", {"--frames", "1"}), {"in_0002.png", "replace the input"});
}

TEST_F(RefusedOutput, DoesNotFitOnTheDisk) {
  // A limit on the size of files stands in for a full disk. What is written to the pipes does not count.
  for (const char *output : {"fire.png", "fire.exr", "fire.mov", "fire.mkv", "fire.mp4", "fire_%d.png"}) {
    SCOPED_TRACE(output);
    const auto before = contentsOf(path(""));
    Command command = commandOf(renderWords("title.png", output, {"--frames", "1"}));
    command.words = Words{"env", "--ignore-signal=XFSZ", "MESA_SHADER_CACHE_DISABLE=true", "prlimit", "--fsize=500"} +
                    command.words;
    expectRefusal(run(command), {"cannot write 'fire", "file too large"});
    EXPECT_TRUE(contentsOf(path("")) == before) << testing::PrintToString(names(""));
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
