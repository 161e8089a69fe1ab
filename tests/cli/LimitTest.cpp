// What the system limits or takes away, and what takes longer than anybody waits.

#include <signal.h>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

class Limit : public CliTest {
 protected:
  Limit() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// A sanitizer reserves terabytes of addresses and opens files of its own.
  static bool isSanitized() {
#ifdef __SANITIZE_ADDRESS__
    return true;
#else
    return false;
#endif
  }

  /// The command line through a shell that puts it into `script` where "$@" stands.
  Result inShell(const std::string &script, const Words &arguments) const {
    Command command = commandOf(arguments);
    command.words = Words{"bash", "-c", script, "bash"} + command.words;
    return run(command);
  }
};

TEST_F(Limit, TheWayToAFarFrameIsToldOfAndEndsBySignals) {
  for (const Words &arguments : {renderWords("title.png", "fire.png", {"--frames", "2147483647"}),
                                 renderWords("title.png", "fire.%d.png", {"--frames", "999999999999999999"}),
                                 Words{"sheet", "title.png", "-o", "sheet.png", "--vary", "frame=1000000000"}}) {
    Command command = commandOf(arguments);
    command.signalAfter = "depends on every frame from 1 on; going through them takes about";
    command.signal = SIGTERM;
    const Result result = run(command);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM);
    EXPECT_THAT(result.err, HasSubstr("interrupted after 0 of 1"));
    EXPECT_EQ(pictures("."), Words{"title.png"});
  }
}

TEST_F(Limit, OfMemoryRefusesH265BeforeItsLibraryCrashes) {
  if (isSanitized()) GTEST_SKIP() << "a sanitizer does not fit under the limit";
  const Result result = inShell("ulimit -v 400000; exec \"$@\"",
                                renderWords("title.png", "fire.mp4", {"--codec", "h265", "--frames", "1-2"}));
  expectRefusal(result, {"fire.mp4", "h265 needs", "megabytes of memory", "ulimit -v"});
  EXPECT_EQ(result.exitCode, 5);
  EXPECT_EQ(names(""), Words{"title.png"});
}

TEST_F(Limit, OfMemoryForThreadsIsToldWithTheRemedy) {
  if (isSanitized()) GTEST_SKIP() << "a sanitizer does not fit under the limit";
  // Enough for the libraries, and not for the stack of a thread of 8 GB.
  const Result result = inShell("ulimit -v 3000000; ulimit -s 8000000; exec \"$@\"",
                                renderWords("title.png", "fire.png", {"--frames", "1"}));
  expectRefusal(result, {"no thread can be started", "ulimit -v", "ulimit -u", "PYRELUX_THREADS=1"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(names(""), Words{"title.png"});
}

TEST_F(Limit, OfTheStackIsRaisedOrTold) {
  const Words arguments = renderWords("title.png", "fire.mkv", {"--frames", "1-2"});
  const Result told = inShell("ulimit -s 200; exec \"$@\"", arguments);
  expectRefusal(told, {"the stack is limited to 200 kilobytes", "ulimit -s"});
  EXPECT_EQ(told.exitCode, 1);
  expectSuccess(inShell("ulimit -S -s 200; exec \"$@\"", arguments));
}

TEST_F(Limit, OfDescriptorsIsNoMatterOfTheInput) {
  if (isSanitized()) GTEST_SKIP() << "a sanitizer does not fit under the limit";
  // With 3 there is no starting. What runs the test may have left descriptors open.
  for (const char *descriptors : {"4", "5", "6"}) {
    const Result result = inShell("exec 3>&- 4>&- 5>&-; ulimit -n " + std::string(descriptors) + "; exec \"$@\"",
                                  renderWords("title.png", "fire.%d.png", {"--frames", "1-2"}));
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 4) << result.exitCode << result.err;
  }
}

TEST_F(Limit, OfStandardOutputIsToldByHelpAndVersion) {
  for (const Words &arguments : {Words{"--help"}, {"--version"}, {"render", "--help"}}) {
    for (const char *closed : {"exec \"$@\" >/dev/full", "exec \"$@\" >&-"}) {
      const Result result = inShell(closed, arguments);
      EXPECT_EQ(result.exitCode, 4) << arguments[0] << closed;
      EXPECT_EQ(result.err, "pyrelux: cannot write to standard output\n");
    }
    EXPECT_EQ(pyrelux(arguments).exitCode, 0);
  }
}

TEST_F(Limit, AMissingFrameOfTheBackgroundLeavesTheOthersAlone) {
  saveSequence("back", 1, 4);
  fs::remove(path("back_0002.png"));
  save(path("back_0003.png"), "damaged");
  const Result result =
      pyrelux(renderWords("title.png", "fire.%d.png", {"--over", "back_%04d.png", "--frames", "1-4"}));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("pyrelux: frame 2: cannot read 'back_0002.png'"),
                                HasSubstr("pyrelux: frame 3: cannot read 'back_0003.png'"),
                                HasSubstr("pyrelux: 2 of 4 frames failed")));
  EXPECT_TRUE(fs::exists(path("fire.4.png")));
  EXPECT_FALSE(fs::exists(path("fire.2.png")));
}

TEST_F(Limit, APictureThatCannotBeReadIsToldAndDrawnAgain) {
  const Words words = Words{"render", "title.png", "-o", "fire.%d.png", "--frames", "1-3"} + quick();
  expectSuccess(pyrelux(words));
  fs::remove(path("fire.1.png"));
  fs::create_symlink("fire.1.png", path("fire.1.png"));
  fs::remove(path("fire.2.png"));
  fs::create_directory(path("fire.2.png"));
  EXPECT_EQ(pyrelux({"verify", "fire.png.manifest.jsonl"}).out,
            "fire.1.png can't be read\nfire.2.png is not what was rendered\n"
            "1 of 3 pictures are as they were rendered\n");
  const Result told = pyrelux({"verify", "fire.png.manifest.jsonl", "--json"});
  EXPECT_EQ(told.exitCode, 1);
  const auto facts = nlohmann::json::parse(told.out);
  EXPECT_EQ(facts.at("right"), 1);
  EXPECT_EQ(facts.at("total"), 3);
  std::string states;
  for (const auto &picture : facts.at("pictures")) states += picture.at("state").get<std::string>() + " ";
  EXPECT_EQ(states, "unreadable different right ");
  EXPECT_EQ(facts.at("pictures").at(0).at("file"), "fire.1.png");
  fs::remove(path("fire.2.png"));
  const Result resumed = pyrelux(words + Words{"--resume", "--verbose"});
  EXPECT_EQ(resumed.exitCode, 0);
  EXPECT_THAT(resumed.err, HasSubstr("1 of 3 frames were there already"));
  EXPECT_EQ(pyrelux({"verify", "fire.png.manifest.jsonl"}).exitCode, 0);
}

TEST_F(Limit, NamesInAManifestTellTheTerminalNothing) {
  save(path("evil.jsonl"),
       "{\"frame\":1,\"file\":\"a\\u001b[2J\\u009b1m\\n\\u007f\\u00e9.png\",\"bytes\":1,\"xxh3\":\"0\"}\n");
  EXPECT_EQ(pyrelux({"verify", "evil.jsonl"}).out,
            "a?[2J?1m??\xC3\xA9.png is missing\n0 of 1 pictures are as they were rendered\n");
}

}  // namespace
}  // namespace pyrelux::cli::test
