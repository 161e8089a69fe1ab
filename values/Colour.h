#pragma once

#include <array>
#include <optional>
#include <string>

namespace pyrelux {

/// Red, green and blue, 0..1 each, as the file or screen shows them (not linear light).
using Colour = std::array<double, 3>;

/// Reads "#rrggbb", "#rgb", a name of CSS ("tomato") or "r,g,b". Nothing for any other text. The levels of "r,g,b" may
/// be outside 0..1.
std::optional<Colour> readColour(const std::string &text);

/// What readColour() takes and isInRange() allows, for messages and help.
constexpr const char *colourTakes = "a name, #rrggbb or r,g,b in 0..1";

/// Whether every level is in 0..1.
bool isInRange(const Colour &colour);

}  // namespace pyrelux
