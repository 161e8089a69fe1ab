#include "Interruption.h"

#include <signal.h>

namespace pyrelux::cli {

namespace {

volatile sig_atomic_t noted = 0;
struct sigaction beforeInterrupt;
struct sigaction beforeTerminate;

extern "C" void note(int signal) { noted = signal; }

}  // namespace

Interruption::Interruption() {
  noted = 0;
  struct sigaction action = {};
  action.sa_handler = note;
  // Reads go on; the next signal does what it always does.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  sigaction(SIGINT, &action, &beforeInterrupt);
  sigaction(SIGTERM, &action, &beforeTerminate);
}

Interruption::~Interruption() {
  sigaction(SIGINT, &beforeInterrupt, nullptr);
  sigaction(SIGTERM, &beforeTerminate, nullptr);
}

int Interruption::signal() { return noted; }

}  // namespace pyrelux::cli
