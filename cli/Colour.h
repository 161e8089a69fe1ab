#pragma once

#include <array>
#include <optional>
#include <string>

namespace pyrelux::cli {

/// Red, green and blue of "#rrggbb" or "r,g,b", like the colours that --set takes; nothing if the text is neither.
/// Throws UsageError, which names the option, for levels outside 0..1.
std::optional<std::array<double, 3>> parseColour(const std::string &option, const std::string &text);

}  // namespace pyrelux::cli
