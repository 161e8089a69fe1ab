#include "ParameterText.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

#include "HostError.h"

namespace pyrelux::host {

namespace {

std::optional<double> parseNumber(const std::string &text) {
  const char *begin = text.c_str();
  const char *end = begin + text.size();
  if (begin != end && *begin == '+' && begin + 1 != end && begin[1] != '-') ++begin;
  double number = 0.0;
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

/// The numbers of a list with exactly `count` of them.
std::optional<ParameterValue> parseNumbers(const std::string &text, std::size_t count) {
  ParameterValue value{};
  std::size_t begin = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool last = i + 1 == count;
    const std::size_t comma = text.find(',', begin);
    if ((comma == std::string::npos) != last) return std::nullopt;
    const auto number = parseNumber(text.substr(begin, last ? std::string::npos : comma - begin));
    if (!number) return std::nullopt;
    value[i] = *number;
    begin = comma + 1;
  }
  return value;
}

std::optional<ParameterValue> parseHexColour(const std::string &text) {
  if (text.size() != 7 || text[0] != '#') return std::nullopt;
  ParameterValue value{};
  for (std::size_t channel = 0; channel < 3; ++channel) {
    const char *begin = text.c_str() + 1 + 2 * channel;
    unsigned level = 0;
    const auto [stop, error] = std::from_chars(begin, begin + 2, level, 16);
    if (error != std::errc() || stop != begin + 2) return std::nullopt;
    value[channel] = level / 255.0;
  }
  return value;
}

std::optional<ParameterValue> parseEntry(const ParameterDeclaration &parameter, const std::string &text) {
  for (std::size_t index = 0; index < parameter.entries.size(); ++index)
    if (!slugOf(text).empty() && slugOf(text) == slugOf(parameter.entries[index]))
      return ParameterValue{static_cast<double>(index)};
  const auto index = parseNumbers(text, 1);
  constexpr double farthest = 1e6;  // no list is as long
  if (!index || (*index)[0] != std::floor((*index)[0]) || std::abs((*index)[0]) > farthest) return std::nullopt;
  return index;
}

}  // namespace

ParameterValue parseValue(const ParameterDeclaration &parameter, const std::string &text) {
  std::optional<ParameterValue> value;
  switch (parameter.kind) {
    case ParameterKind::Integer:
    case ParameterKind::Float:
    case ParameterKind::Angle:
      value = parseNumbers(text, 1);
      break;
    case ParameterKind::Colour:
      value = parseHexColour(text);
      if (!value) value = parseNumbers(text, 3);
      break;
    case ParameterKind::Point:
      value = parseNumbers(text, 2);
      break;
    case ParameterKind::Popup:
      value = parseEntry(parameter, text);
      break;
    case ParameterKind::Custom:
      break;
  }
  if (!value) throw HostError("'" + parameter.slug() + "' can't be '" + text + "': it takes " + formatTakes(parameter));
  return *value;
}

std::string formatNumber(double number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return std::string(text, end);
}

std::string formatValue(const ParameterDeclaration &parameter, const ParameterValue &value) {
  const auto list = [&](std::size_t count) {
    std::string text = formatNumber(value[0]);
    for (std::size_t i = 1; i < count; ++i) text += "," + formatNumber(value[i]);
    return text;
  };
  switch (parameter.kind) {
    case ParameterKind::Colour:
      return list(3);
    case ParameterKind::Point:
      return list(2);
    case ParameterKind::Popup:
      if (value[0] >= 0 && value[0] < static_cast<double>(parameter.entries.size()))
        return parameter.entries[static_cast<std::size_t>(value[0])];
      return list(1);
    case ParameterKind::Custom:
      return {};
    default:
      return list(1);
  }
}

std::string formatRange(const ParameterDeclaration &parameter) {
  // Bounds of angles are whole in radians; in degrees they are cut, towards 0, to what is still inside.
  const auto bound = [&](double number) {
    return formatNumber(parameter.kind == ParameterKind::Angle ? std::trunc(number * 1e4) / 1e4 : number);
  };
  std::string text = bound(parameter.minimum) + ".." + bound(parameter.maximum);
  if (parameter.kind == ParameterKind::Angle) text += " " + parameter.unit();
  return text;
}

std::string formatEntries(const ParameterDeclaration &parameter) {
  std::string text;
  for (std::size_t index = 0; index < parameter.entries.size(); ++index) {
    if (index) text += ", ";
    text += std::to_string(index) + " " + parameter.entries[index];
  }
  return text;
}

std::string formatTakes(const ParameterDeclaration &parameter) {
  switch (parameter.kind) {
    case ParameterKind::Colour:
      return "a colour, #rrggbb or r,g,b in 0..1";
    case ParameterKind::Point:
      return "a point x,y, 0,0 at the lower left and 1,1 at the upper right";
    case ParameterKind::Popup:
      return "one of " + formatEntries(parameter);
    case ParameterKind::Custom:
      return "no value";
    default:
      return "a number in " + formatRange(parameter);
  }
}

}  // namespace pyrelux::host
