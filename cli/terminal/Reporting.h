#pragma once

#include <string>

namespace pyrelux::cli {

/// What a command tells on the way.
struct Reporting {
  std::string progress = "auto";  ///< one of progressNames()
  bool quiet = false;             ///< nothing on standard error but failures
  bool verbose = false;
};

}  // namespace pyrelux::cli
