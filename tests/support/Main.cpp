// What every test program begins with: whatever ends it, it tells in which test that was.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

// Of the sanitizers' runtimes, where there is one.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

// UndefinedBehaviorSanitizer's runtime beside another sanitizer's knows no such callback.
extern "C" __attribute__((visibility("default"))) const char *__ubsan_default_options();

const char *__ubsan_default_options() { return "abort_on_error=1"; }

namespace {

/// Seconds that one test may take. Sanitizers and other people's programs on a busy machine are slow.
constexpr unsigned patience = 600;

constexpr int deadly[] = {SIGABRT, SIGALRM, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGTERM};

/// The line that tells of the running test; empty between tests, and in processes that a test has forked.
char line[512];
pid_t own;
struct sigaction before[std::size(deadly)];

void tell() {
  if (!line[0] || getpid() != own) return;
  // The only way out that a signal handler may take.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, std::strlen(line));
  line[0] = 0;
}

/// Tells, and leaves the rest to whoever was there before: a sanitizer's report, or the end.
void tellAndPassOn(int signal, siginfo_t *info, void *) {
  tell();
  const auto at = std::find(std::begin(deadly), std::end(deadly), signal) - std::begin(deadly);
  sigaction(signal, &before[at], nullptr);
  // What an instruction caused, it causes once more on return, with its address.
  const bool comesAgain = info->si_code > 0 && signal != SIGALRM;
  if (!comesAgain) raise(signal);
}

class RunningTest : public testing::EmptyTestEventListener {
  // The part of the tests that is run here is chosen by now, and nothing to test programs that tests run.
  void OnTestProgramStart(const testing::UnitTest &) override {
    unsetenv("GTEST_TOTAL_SHARDS");
    unsetenv("GTEST_SHARD_INDEX");
  }
  void OnTestStart(const testing::TestInfo &test) override {
    std::snprintf(line, sizeof line, "\nThe program ended in the test %s.%s\n", test.test_suite_name(), test.name());
    alarm(patience);
  }
  void OnTestEnd(const testing::TestInfo &) override {
    alarm(0);
    line[0] = 0;
  }
};

/// A place where a handler can run when the stack is full.
void spareStack() {
  static char bytes[65536];
  stack_t stack = {};
  sigaltstack(nullptr, &stack);
  if (!(stack.ss_flags & SS_DISABLE)) return;
  stack = {};
  stack.ss_sp = bytes;
  stack.ss_size = sizeof bytes;
  sigaltstack(&stack, nullptr);
}

void watchForTheEnd() {
  own = getpid();
  spareStack();
  struct sigaction action = {};
  action.sa_sigaction = tellAndPassOn;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (std::size_t i = 0; i < std::size(deadly); ++i) sigaction(deadly[i], &action, &before[i]);
  std::atexit(tell);
  if (__sanitizer_set_death_callback) __sanitizer_set_death_callback(tell);
}

}  // namespace

int main(int count, char **words) {
  testing::InitGoogleMock(&count, words);
  watchForTheEnd();
  testing::UnitTest::GetInstance()->listeners().Append(new RunningTest);
  return RUN_ALL_TESTS();
}
