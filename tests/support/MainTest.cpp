// Whatever ends a test program, it tells in which test that was.

#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "Process.h"

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;
using testing::Not;

Result resultOf(const std::string &test) {
  Command command;
  command.words = {PYRELUX_ENDING_PROGRAM, "--gtest_brief=1", "--gtest_filter=Ending.ComesFirst:Ending." + test};
  return run(command);
}

class EndedTest : public testing::TestWithParam<const char *> {};

TEST_P(EndedTest, IsTold) {
  const Result result = resultOf(GetParam());
  EXPECT_THAT(result.err, HasSubstr(std::string("The program ended in the test Ending.") + GetParam() + "\n"));
  EXPECT_EQ(result.err.find("The program ended"), result.err.rfind("The program ended"));
}

INSTANTIATE_TEST_SUITE_P(Each, EndedTest,
                         testing::Values("Aborts", "Exits", "ReadsFromNowhere", "IsToldToEnd", "TakesTooLong",
                                         "FillsTheStack"),
                         [](const auto &test) { return std::string(test.param); });

TEST(EndOfAProgram, KeepsItsSignal) { EXPECT_EQ(resultOf("IsToldToEnd").signal, SIGTERM); }

TEST(EndOfAProgram, IsNotToldWhereEveryTestEnded) {
  for (const char *test : {"ComesFirst", "Fails", "LeavesTheEndToAChild"}) {
    const Result result = resultOf(test);
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("The program ended"))) << test;
  }
}

TEST(EndOfAProgram, OfATestThatFailsIsAFailure) {
  const Result result = resultOf("Fails");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, HasSubstr("as it should"));
  EXPECT_THAT(result.out, HasSubstr("Ending.Fails"));
}

TEST(EndOfAProgram, EndsWhatItRuns) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t program = fork();
  if (program == 0) {
    Command command;
    command.words = {"sh", "-c", "echo $$ >&" + std::to_string(ends[1]) + "; exec sleep 600"};
    run(command);
    _exit(0);
  }
  close(ends[1]);
  char started[32] = {};
  ASSERT_GT(read(ends[0], started, sizeof started - 1), 0);
  kill(program, SIGKILL);
  waitpid(program, nullptr, 0);
  // The pipe ends when nobody is left who could write into it.
  pollfd waiting{ends[0], POLLIN, 0};
  const bool ended = poll(&waiting, 1, 10000) == 1;
  close(ends[0]);
  EXPECT_TRUE(ended);
  if (!ended) kill(std::atoi(started), SIGKILL);
}

}  // namespace
}  // namespace pyrelux::cli::test
