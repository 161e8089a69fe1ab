#pragma once

#include "ValueError.h"

namespace pyrelux::cli {

/// A command line that cannot be followed: options that do not go together, or a word that an option does not take.
/// what() is one sentence without a final stop.
class UsageError : public ValueError {
  using ValueError::ValueError;
};

}  // namespace pyrelux::cli
