#pragma once

#include <signal.h>

#include <string>

namespace pyrelux::adapters {

/// Restores, in its destructor, the process state that the first use of Foundation changes: it ignores SIGPIPE, and
/// sets LC_CTYPE to the user's. Both belong to the host. Create one around any code that may use Foundation first.
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
