#include "ParameterText.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "Colour.h"
#include "HostError.h"
#include "Numbers.h"

namespace pyrelux::host {

namespace {

/// The numbers of a list with exactly `count` of them.
std::optional<ParameterValue> parseNumbers(const std::string &text, std::size_t count) {
  const auto numbers = readNumbers(text, count);
  if (!numbers) return std::nullopt;
  ParameterValue value{};
  std::copy(numbers->begin(), numbers->end(), value.begin());
  return value;
}

std::optional<ParameterValue> parseEntry(const ParameterDeclaration &parameter, const std::string &text) {
  for (std::size_t index = 0; index < parameter.entries.size(); ++index)
    if (!slugOf(text).empty() && slugOf(text) == slugOf(parameter.entries[index]))
      return ParameterValue{static_cast<double>(index)};
  const auto index = parseNumbers(text, 1);
  constexpr double maxIndex = 1e6;  // no list is as long
  if (!index || (*index)[0] != std::floor((*index)[0]) || std::abs((*index)[0]) > maxIndex) return std::nullopt;
  return index;
}

/// Of one, 0..1, or in percent itself, 0..100.
bool isShare(const ParameterDeclaration &parameter) {
  return parameter.kind == ParameterKind::Float && parameter.minimum == 0.0 &&
         (parameter.maximum == 1.0 || parameter.maximum == 100.0);
}

std::optional<ParameterValue> parsePercent(const ParameterDeclaration &parameter, const std::string &text) {
  if (!isShare(parameter) || text.empty() || text.back() != '%') return std::nullopt;
  const auto number = readNumber(text.substr(0, text.size() - 1));
  return number ? std::optional<ParameterValue>({*number * parameter.maximum / 100.0}) : std::nullopt;
}

}  // namespace

ParameterValue parseValue(const ParameterDeclaration &parameter, const std::string &text) {
  std::optional<ParameterValue> value;
  switch (parameter.kind) {
    case ParameterKind::Integer:
    case ParameterKind::Float:
    case ParameterKind::Angle:
      value = parsePercent(parameter, text);
      if (!value) value = parseNumbers(text, 1);
      break;
    case ParameterKind::Colour:
      value = readColour(text);
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
      return std::string("a colour, ") + colourTakes;
    case ParameterKind::Point:
      return "a point x,y, 0,0 at the lower left and 1,1 at the upper right";
    case ParameterKind::Popup:
      return "one of " + formatEntries(parameter);
    case ParameterKind::Custom:
      return "no value";
    default:
      return "a number in " + formatRange(parameter) + (isShare(parameter) ? ", or percent" : "");
  }
}

}  // namespace pyrelux::host
