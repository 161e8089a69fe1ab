#pragma once

namespace pyrelux::cli {

/// While one of these lives, the first SIGINT, SIGTERM or SIGHUP does not end the program but is noted; a second one
/// ends it as usual. There is one at a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption &) = delete;
  Interruption &operator=(const Interruption &) = delete;

  /// The signal that came, or 0.
  static int signal();
};

/// As shells tell the end by a signal: 130 for SIGINT, 143 for SIGTERM, 129 for SIGHUP.
inline int exitCodeOf(int signal) { return 128 + signal; }

}  // namespace pyrelux::cli
