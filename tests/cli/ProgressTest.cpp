#include <signal.h>

#include <sstream>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

const std::string erased = "\r\x1b[K";

class Progress : public CliTest {
 protected:
  Progress() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  Result onTerminal(const Words &arguments) const {
    Command command = commandOf(arguments);
    command.errorsToTerminal = true;
    return run(command);
  }
};

TEST_F(Progress, IsOneLineOfATerminalThatIsGoneAtTheEnd) {
  const Result result = onTerminal(renderWords("title.png", "fire.mkv", {"--frames", "5-7"}));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  for (const char *frame : {"1", "2", "3"})
    EXPECT_THAT(result.err, HasSubstr(std::string("] frame ") + frame + " of 3, "));
  EXPECT_THAT(result.err, HasSubstr(erased + "[######--------------] frame 1"));
  EXPECT_THAT(result.err, HasSubstr(erased + "[####################] frame 3"));
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("frames/s"), HasSubstr("0:00 left"), EndsWith(erased), testing::Not(HasSubstr("\n"))));
}

TEST_F(Progress, IsNotShownWhenQuiet) {
  expectSuccess(onTerminal(renderWords("title.png", "fire.mkv", {"--frames", "5-7", "--quiet"})));
}

TEST_F(Progress, IsNotShownToAPipe) {
  expectSuccess(pyrelux(renderWords("title.png", "fire.mkv", {"--frames", "5-7"})));
}

TEST_F(Progress, IsGoneBeforeAnErrorIsTold) {
  saveSequence("gap", 1, 2);
  saveSequence("gap", 4, 4);
  const Result result = onTerminal(renderWords("gap_%04d.png", "fire.mkv"));
  EXPECT_GT(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("frame 2 of 4"));
  const std::size_t message = result.err.find("pyrelux: ");
  ASSERT_NE(message, std::string::npos);
  EXPECT_THAT(result.err.substr(0, message), EndsWith(erased));
  EXPECT_THAT(result.err.substr(message), AllOf(HasSubstr("gap_0003.png"), EndsWith("\n")));
}

TEST_F(Progress, QuietStillTellsErrors) {
  expectRefusal(pyrelux(renderWords("missing.png", "fire.png", {"--quiet"})), {"missing.png"});
}

TEST_F(Progress, IsAnObjectForEveryFrameOnRequest) {
  const Result result = pyrelux(renderWords("title.png", "fire.mkv", {"--frames", "5-9x2", "--progress", "json"}));
  expectSuccess(result);
  std::istringstream lines(result.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const auto object = nlohmann::json::parse(line);
    EXPECT_EQ(object.at("frame"), 5 + 2 * count);
    EXPECT_EQ(object.at("done"), 1 + count);
    EXPECT_EQ(object.at("total"), 3);
    EXPECT_GT(object.at("seconds"), 0.0);
    EXPECT_GT(object.at("frames_per_second"), 0.0);
    EXPECT_EQ(object.at("seconds_left") == 0.0, count == 2);
  }
  EXPECT_EQ(count, 3);
}

TEST_F(Progress, IsNoneOrALineWhereverItGoesOnRequest) {
  expectSuccess(onTerminal(renderWords("title.png", "fire.mkv", {"--frames", "5-7", "--progress", "none"})));
  const Result piped = pyrelux(renderWords("title.png", "fire.mkv", {"--frames", "5-7", "--progress", "line"}));
  EXPECT_THAT(piped.err, HasSubstr("frame 3 of 3"));
}

/// A render of far too many frames, which a signal reaches after its second.
Result interrupted(Command command, int signal) {
  command.signalAfter = "\"done\":2";
  command.signal = signal;
  return run(command);
}

TEST_F(Progress, AnInterruptedMovieEndsWithTheLastFrameThatWasFinished) {
  for (const auto &[signal, exitCode] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143), std::pair(SIGHUP, 129)}) {
    const Result result = interrupted(
        commandOf(renderWords("title.png", "fire.mkv", {"--frames", "1-1000000", "--progress", "json"})), signal);
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_THAT(result.err, AllOf(HasSubstr("interrupted after"), HasSubstr("of 1000000"), HasSubstr("fire.mkv")));
    const auto frames = std::stol(probe("fire.mkv").at("nb_read_frames").get<std::string>());
    EXPECT_GE(frames, 2);
    EXPECT_THAT(result.err, HasSubstr("after " + std::to_string(frames) + " of"));
    EXPECT_EQ(names("."), (Words{"fire.mkv", "title.png"}));
  }
}

TEST_F(Progress, AnInterruptedSequenceHoldsWholePicturesOnly) {
  const Result result = interrupted(
      commandOf(renderWords("title.png", "fire_%d.png", {"--frames", "1-1000000", "--progress", "json"})), SIGINT);
  EXPECT_EQ(result.exitCode, 130);
  const Words all = pictures(".");
  EXPECT_GE(all.size(), 3u);
  for (const std::string &name : all) EXPECT_EQ(probe(name).at("width"), testWidth) << name;
}

}  // namespace
}  // namespace pyrelux::cli::test
