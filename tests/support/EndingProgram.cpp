// Tests that don't come to their end, each in a way of its own. MainTest.cpp runs them.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>

namespace {

TEST(Ending, ComesFirst) {}
TEST(Ending, Fails) { FAIL() << "as it should"; }
TEST(Ending, Aborts) { std::abort(); }
TEST(Ending, Exits) { std::exit(0); }
TEST(Ending, ReadsFromNowhere) {
  const volatile int *nowhere = nullptr;
  (void)*nowhere;
}
TEST(Ending, IsToldToEnd) { raise(SIGTERM); }
TEST(Ending, TakesTooLong) { raise(SIGALRM); }
TEST(Ending, LeavesTheEndToAChild) {
  if (fork() == 0) std::abort();
}

int deeper(volatile char *above) {
  volatile char here[4096];
  here[0] = *above;
  if (here[0]) return 0;
  return deeper(here) + here[0];
}
TEST(Ending, FillsTheStack) {
  volatile char top = 0;
  deeper(&top);
}

}  // namespace
