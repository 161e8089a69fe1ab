#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace pyrelux {

/// The colour of a name of CSS Color Module Level 4 ("tomato"), in any case, as 0xRRGGBB. Nothing for other names.
std::optional<std::uint32_t> colourNamed(const std::string &name);

}  // namespace pyrelux
