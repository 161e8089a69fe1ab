#pragma once

#include <string>

namespace pyrelux::cli {

/// What a command tells on the way.
struct Reporting {
  std::string progress = "auto";  ///< one of progressNames()
  bool quiet = false;             ///< nothing on standard error but failures
  bool verbose = false;
  int row = 0;  ///< of a batch; 0 for none
};

}  // namespace pyrelux::cli
