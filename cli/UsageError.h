#pragma once

#include "ValueError.h"

namespace pyrelux::cli {

/// The options of a command line do not go together. what() is one sentence without a final stop.
class UsageError : public ValueError {
  using ValueError::ValueError;
};

}  // namespace pyrelux::cli
