#include "Interruption.h"

#include <signal.h>

#include <array>
#include <cstddef>

namespace pyrelux::cli {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;
std::array<struct sigaction, signals.size()> before;

extern "C" void note(int signal) { noted = signal; }

}  // namespace

Interruption::Interruption() {
  noted = 0;
  struct sigaction action = {};
  action.sa_handler = note;
  // Reads go on; the next signal does what it always does.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  for (std::size_t index = 0; index < signals.size(); ++index) {
    sigaction(signals[index], nullptr, &before[index]);
    // What nohup or a shell has told the program to ignore stays ignored.
    if (before[index].sa_handler != SIG_IGN) sigaction(signals[index], &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t index = 0; index < signals.size(); ++index) sigaction(signals[index], &before[index], nullptr);
}

int Interruption::signal() { return noted; }

}  // namespace pyrelux::cli
