#include "HostState.h"

#include <clocale>

namespace pyrelux::adapters {

HostState::HostState() {
  sigaction(SIGPIPE, nullptr, &onBrokenPipe_);
  if (const char *characters = std::setlocale(LC_CTYPE, nullptr)) characters_ = characters;
}

HostState::~HostState() {
  sigaction(SIGPIPE, &onBrokenPipe_, nullptr);
  // Only if it changed, because other threads may be reading it.
  const char *now = std::setlocale(LC_CTYPE, nullptr);
  if (now && characters_ != now) std::setlocale(LC_CTYPE, characters_.c_str());
}

}  // namespace pyrelux::adapters
