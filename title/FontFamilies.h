#pragma once

#include <string>
#include <vector>

namespace pyrelux {

/// The families of the fonts that are installed and can be drawn with, in alphabetical order. Thread: one at a time
/// with drawTitle().
std::vector<std::string> fontFamilies();

}  // namespace pyrelux
