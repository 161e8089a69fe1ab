#include "Colour.h"

#include <algorithm>

#include "HostError.h"
#include "ParameterText.h"
#include "UsageError.h"

namespace pyrelux::cli {

std::optional<std::array<double, 3>> parseColour(const std::string &option, const std::string &text) {
  host::ParameterDeclaration colour;
  colour.kind = host::ParameterKind::Colour;
  host::ParameterValue value;
  try {
    value = host::parseValue(colour, text);
  } catch (const host::HostError &) {
    return std::nullopt;
  }
  if (std::all_of(value.begin(), value.end(), [](double level) { return level >= 0.0 && level <= 1.0; })) return value;
  throw UsageError("'" + option + "' can't be '" + text + "': its levels are in 0..1");
}

}  // namespace pyrelux::cli
