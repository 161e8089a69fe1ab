#pragma once

#include <signal.h>

#include <string>

namespace pyrelux::adapters {

/// Puts back, at its end, what Foundation changes of a process when it is first used: it ignores SIGPIPE, and sets
/// LC_CTYPE to the user's. Both are the host's business. Around whatever may be the first use.
class HostState {
 public:
  HostState();
  ~HostState();
  HostState(const HostState &) = delete;
  HostState &operator=(const HostState &) = delete;

 private:
  struct sigaction onBrokenPipe_ = {};
  std::string characters_;
};

}  // namespace pyrelux::adapters
