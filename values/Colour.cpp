#include "Colour.h"

#include <algorithm>
#include <charconv>

#include "Numbers.h"

namespace pyrelux {

namespace {

std::optional<Colour> readHexColour(const std::string &text) {
  if (text.size() != 7 || text[0] != '#') return std::nullopt;
  Colour colour{};
  for (std::size_t channel = 0; channel < colour.size(); ++channel) {
    const char *begin = text.c_str() + 1 + 2 * channel;
    unsigned level = 0;
    const auto [stop, error] = std::from_chars(begin, begin + 2, level, 16);
    if (error != std::errc() || stop != begin + 2) return std::nullopt;
    colour[channel] = level / 255.0;
  }
  return colour;
}

}  // namespace

std::optional<Colour> readColour(const std::string &text) {
  if (const auto colour = readHexColour(text)) return colour;
  const auto levels = readNumbers(text, 3);
  if (!levels) return std::nullopt;
  return Colour{(*levels)[0], (*levels)[1], (*levels)[2]};
}

bool isInRange(const Colour &colour) {
  return std::all_of(colour.begin(), colour.end(), [](double level) { return level >= 0.0 && level <= 1.0; });
}

}  // namespace pyrelux
