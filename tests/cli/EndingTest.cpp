// What is left when a run ends otherwise than it was meant to.

#include <signal.h>

#include <thread>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class Ending : public CliTest {
 protected:
  Ending() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// The command line through a shell that puts it into `script` where "$@" stands.
  Command inShell(const std::string &script, const Words &arguments) const {
    Command command = commandOf(arguments);
    command.words = Words{"sh", "-c", script, "sh"} + command.words;
    return command;
  }
};

TEST_F(Ending, OfAMovieWithANumberInItsNameIsThatMovieAlone) {
  render("title.png", "fire_%04d.mov", {"--frames", "1-2"});
  EXPECT_THAT(names(""), ElementsAre("fire_%04d.mov", "title.png"));
  expectRefusal(pyrelux({"render", "title.png", "-o", "fire_%04d.mov"}), {"'fire_%04d.mov'", "there already"});
}

TEST_F(Ending, OnAFullDiskLeavesNothing) {
  // A limit on the size of files stands in for a full disk. What is written to the pipes does not count.
  for (const char *output : {"fire.png", "fire.exr", "fire.mov", "fire.mkv", "fire.mp4", "fire_%d.png"}) {
    SCOPED_TRACE(output);
    const auto before = contentsOf(path(""));
    Command command = commandOf(renderWords("title.png", output, {"--frames", "1"}));
    command.words = Words{"env", "MESA_SHADER_CACHE_DISABLE=true", "prlimit", "--fsize=500"} + command.words;
    const Result result = run(command);
    expectRefusal(result, {"cannot write 'fire", "file too large"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_TRUE(contentsOf(path("")) == before) << testing::PrintToString(names(""));
  }
}

TEST_F(Ending, InTheMiddleOfASequenceKeepsWhatWasFinished) {
  fs::create_directory(path("fire_3.png"));
  const Result result = pyrelux(renderWords("title.png", "fire_%d.png", {"--frames", "1-5"}));
  expectRefusal(result, {"'fire_3.png'", "folder"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(pictures("."), ElementsAre("fire_1.png", "fire_2.png", "fire_3.png", "title.png"));
  for (const char *name : {"fire_1.png", "fire_2.png"}) EXPECT_EQ(probe(name).at("width"), testWidth) << name;
}

TEST_F(Ending, KeepsTheOldMovie) {
  saveSequence("gap", 1, 3);
  fs::remove(path("gap_0002.png"));
  for (const char *output : {"fire.mov", "fire.mkv", "fire.mp4"}) {
    render("title.png", output, {"--frames", "1"});
    const std::string before = load(path(output));
    EXPECT_EQ(pyrelux(renderWords("gap_%04d.png", output)).exitCode, 3);
    EXPECT_TRUE(load(path(output)) == before) << output;
  }
}

TEST_F(Ending, ByAKillLeavesNothingUnderTheFinalName) {
  for (const std::string output : {"fire.mov", "fire.mkv", "fire.mp4"}) {
    SCOPED_TRACE(output);
    Command command = commandOf(renderWords("title.png", output, {"--frames", "1-1000000", "--progress", "json"}));
    command.signalAfter = "\"done\":2";
    command.signal = SIGKILL;
    EXPECT_EQ(run(command).signal, SIGKILL);
    EXPECT_THAT(pictures("."), ElementsAre(StartsWith("." + output + ".partial-"), "title.png"));
    fs::remove(path(pictures(".")[0]));
  }
}

TEST_F(Ending, ByAKillLeavesWholePictures) {
  Command command = commandOf(renderWords("title.png", "fire_%d.png", {"--frames", "1-1000000", "--progress", "json"}));
  command.signalAfter = "\"done\":2";
  command.signal = SIGKILL;
  EXPECT_EQ(run(command).signal, SIGKILL);
  int whole = 0;
  for (const std::string &name : pictures(".")) {
    if (name.rfind("fire_", 0) != 0) continue;
    EXPECT_EQ(probe(name).at("width"), testWidth) << name;
    ++whole;
  }
  EXPECT_GE(whole, 2);
}

TEST_F(Ending, OfTheReaderOfTheProgressDoesNotHarmTheMovie) {
  const Words arguments = renderWords("title.png", "fire.mkv", {"--frames", "1-40", "--progress", "json"});
  const Result result = run(inShell("(\"$@\"; echo $? >code) | head -n 1 >/dev/null", arguments));
  EXPECT_EQ(withoutRemarksOnTests(result.err), "pyrelux: cannot write to standard output\n");
  EXPECT_EQ(load(path("code")), "4\n");
  EXPECT_EQ(probe("fire.mkv").at("nb_read_frames"), "40");
}

TEST_F(Ending, OfStandardStreamsBeforeTheStartDoesNotHarmTheMovie) {
  const Words arguments = renderWords("title.png", "fire.mkv", {"--frames", "1-3", "--progress", "json"});
  EXPECT_EQ(pyrelux(arguments).exitCode, 0);
  const std::string whole = decoded("fire.mkv", "rgba");
  const struct {
    const char *closed;
    int exitCode;
  } rows[] = {{"<&-", 0}, {">&-", 4}, {"2>&-", 0}, {"<&- 2>&-", 0}, {"<&- >&-", 4}, {"<&- >&- 2>&-", 4}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.closed);
    fs::remove(path("fire.mkv"));
    EXPECT_EQ(run(inShell(std::string("exec \"$@\" ") + row.closed, arguments)).exitCode, row.exitCode);
    EXPECT_TRUE(decoded("fire.mkv", "rgba") == whole);
  }
}

TEST_F(Ending, OfTwoThatWriteTheSameIsOneOfThem) {
  for (const char *output : {"fire.mkv", "fire_%d.png"}) {
    SCOPED_TRACE(output);
    const Words arguments = renderWords("title.png", output, {"--frames", "1-9"});
    Result other;
    std::thread thread([&] { other = pyrelux(arguments); });
    const Result one = pyrelux(arguments);
    thread.join();
    expectSuccess(one);
    expectSuccess(other);
  }
  EXPECT_EQ(probe("fire.mkv").at("nb_read_frames"), "9");
  EXPECT_EQ(pictures(".").size(), 11u) << testing::PrintToString(pictures("."));
}

TEST_F(Ending, OfTheLongestNameIsNoMatter) {
  const std::string name = std::string(251, 'n') + ".mkv";
  render("title.png", name, {"--frames", "1"});
  EXPECT_THAT(pictures("."), ElementsAre(name, "title.png"));
}

TEST_F(Ending, OfStandardOutputIsTold) {
  Command command = commandOf({"parameters"});
  command.outputFile = "/dev/full";
  const Result result = run(command);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.err, "pyrelux: cannot write to standard output\n");
}

}  // namespace
}  // namespace pyrelux::cli::test
