#include "SignalGuard.h"

#include <signal.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

namespace pyrelux::cli {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;
std::atomic<const job::StopToken *> stopOfGuard{nullptr};
std::array<struct sigaction, signals.size()> before;

extern "C" void note(int signal) {
  noted = signal;
  if (const job::StopToken *stop = stopOfGuard.load()) stop->request();
}

}  // namespace

SignalGuard::SignalGuard(job::StopToken stop, FurtherTerms terms) : stop_(std::move(stop)) {
  noted = 0;
  stopOfGuard = &stop_;
  struct sigaction action = {};
  action.sa_handler = note;
  for (std::size_t index = 0; index < signals.size(); ++index) {
    sigaction(signals[index], nullptr, &before[index]);
    // Reads go on; the next signal does what it always does.
    const bool isForOne = signals[index] != SIGTERM || terms == FurtherTerms::End;
    action.sa_flags = SA_RESTART | (isForOne ? SA_RESETHAND : 0);
    // What nohup or a shell has told the program to ignore stays ignored.
    if (before[index].sa_handler != SIG_IGN) sigaction(signals[index], &action, nullptr);
  }
}

SignalGuard::~SignalGuard() {
  for (std::size_t index = 0; index < signals.size(); ++index) sigaction(signals[index], &before[index], nullptr);
  stopOfGuard = nullptr;
}

int SignalGuard::signal() { return noted; }

}  // namespace pyrelux::cli
