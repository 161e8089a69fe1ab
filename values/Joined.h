#pragma once

#include <string>
#include <vector>

namespace pyrelux {

/// "a, b, c"
std::string joined(const std::vector<std::string> &texts, const std::string &between = ", ");

}  // namespace pyrelux
