#include "Colour.h"

#include <algorithm>
#include <charconv>

#include "ColourNames.h"
#include "Numbers.h"

namespace pyrelux {

namespace {

Colour colourOf(std::uint32_t rgb) {
  return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0};
}

/// "#rrggbb", or "#rgb", whose digits count twice.
std::optional<Colour> readHexColour(const std::string &text) {
  if (text[0] != '#' || (text.size() != 4 && text.size() != 7)) return std::nullopt;
  std::string digits = text.substr(1);
  if (digits.size() == 3) digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
  std::uint32_t rgb = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), rgb, 16);
  if (error != std::errc() || stop != digits.data() + digits.size()) return std::nullopt;
  return colourOf(rgb);
}

}  // namespace

std::optional<Colour> readColour(const std::string &text) {
  if (const auto colour = readHexColour(text)) return colour;
  if (const auto named = colourNamed(text)) return colourOf(*named);
  const auto levels = readNumbers(text, 3);
  if (!levels) return std::nullopt;
  return Colour{(*levels)[0], (*levels)[1], (*levels)[2]};
}

bool isInRange(const Colour &colour) {
  return std::all_of(colour.begin(), colour.end(), [](double level) { return level >= 0.0 && level <= 1.0; });
}

}  // namespace pyrelux
