// Whatever ends a test program, it tells in which test that was.

#include <gmock/gmock.h>
#include <signal.h>

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

}  // namespace
}  // namespace pyrelux::cli::test
