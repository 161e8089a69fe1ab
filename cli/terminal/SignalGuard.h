#pragma once

#include "StopToken.h"

namespace pyrelux::cli {

/// While one of these lives, the first SIGINT, SIGTERM or SIGHUP does not end the program but requests the stop; the
/// same once more ends it as usual. There is one at a time.
class SignalGuard {
 public:
  /// What becomes of further SIGTERMs.
  enum class FurtherTerms {
    End,   ///< the program ends
    Pass,  ///< nothing: whoever sends them sends SIGKILL in the end
  };

  explicit SignalGuard(job::StopToken stop, FurtherTerms terms = FurtherTerms::End);
  ~SignalGuard();
  SignalGuard(const SignalGuard &) = delete;
  SignalGuard &operator=(const SignalGuard &) = delete;

  /// The signal that came while the last one lived, or 0.
  static int signal();

 private:
  job::StopToken stop_;
};

/// As shells tell the end by a signal: 130 for SIGINT, 143 for SIGTERM, 129 for SIGHUP.
inline int exitCodeOf(int signal) { return 128 + signal; }

}  // namespace pyrelux::cli
