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
  for (const char *frame : {"1", "2", "3"}) EXPECT_THAT(result.err, HasSubstr(erased + "frame " + frame + " of 3, "));
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

}  // namespace
}  // namespace pyrelux::cli::test
