#pragma once

#include <string>

namespace pyrelux::cli {

/// Tells the user, on standard error, in one line whatever names it may hold.
void say(const std::string &message);

}  // namespace pyrelux::cli
