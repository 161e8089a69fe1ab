#pragma once

#include <string>

namespace pyrelux {

/// A length of time: "1.5s", "1.5" or "250ms", 0 .. 86400 seconds. Returns seconds. Throws ValueError.
double parseSeconds(const std::string &text);

/// "1.5s", which parseSeconds() turns into the same number.
std::string formatSeconds(double seconds);

}  // namespace pyrelux
