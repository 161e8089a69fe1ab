#include "Frei0rParameters.h"

#include <algorithm>
#include <cmath>

#include "ParameterText.h"

namespace pyrelux::adapters {

namespace {

using host::ParameterDeclaration;
using host::ParameterKind;

/// A range of values: the declared one, a popup's indices, or 0 .. 1 for a point's coordinate.
struct Range {
  double minimum;
  double maximum;
};

Range rangeOf(const ParameterDeclaration &declaration) {
  if (declaration.hasRange()) return {declaration.minimum, declaration.maximum};
  if (declaration.kind == ParameterKind::Popup) return {0.0, static_cast<double>(declaration.entries.size()) - 1.0};
  return {0.0, 1.0};
}

std::string explanationOf(const ParameterDeclaration &declaration) {
  if (declaration.kind == ParameterKind::Popup) return "0..1 over the entries " + host::formatEntries(declaration);
  if (declaration.hasRange()) return "0..1 over " + host::formatRange(declaration);
  return declaration.unit();
}

}  // namespace

int Frei0rParameter::type() const {
  switch (kind) {
    case Kind::Number:
      return F0R_PARAM_DOUBLE;
    case Kind::Colour:
      return F0R_PARAM_COLOR;
    default:
      return F0R_PARAM_STRING;
  }
}

std::vector<Frei0rParameter> frei0rParameters(const std::vector<ParameterDeclaration> &declarations) {
  using Kind = Frei0rParameter::Kind;
  // The plug-in's own come first, because some hosts take values only in order.
  std::vector<Frei0rParameter> parameters = {
      {Kind::FrameRate, "Frame rate", "Frames per second: 25, 23.976 or 30000/1001", 0, 0},
      {Kind::Output, "Output", "over (the fire over the source) or fire (the fire alone)", 0, 0},
      {Kind::TimeUnit, "Time unit", "How the program counts time: auto, seconds or milliseconds", 0, 0},
      {Kind::Preset, "Preset", "A preset's name, the path of a .json file, or none", 0, 0},
      {Kind::Seed, "Seed", "0..1000000: another fire of the same look", 0, 0}};
  for (const ParameterDeclaration &declaration : declarations) {
    const std::string explanation = explanationOf(declaration);
    switch (declaration.kind) {
      case ParameterKind::Custom:
        break;
      case ParameterKind::Colour:
        parameters.push_back({Kind::Colour, declaration.label, explanation, declaration.id, 0});
        break;
      case ParameterKind::Point:
        parameters.push_back({Kind::Number, declaration.label + " X", "0 left, 1 right", declaration.id, 0});
        parameters.push_back({Kind::Number, declaration.label + " Y", "0 bottom, 1 top", declaration.id, 1});
        break;
      default:
        parameters.push_back({Kind::Number, declaration.label, explanation, declaration.id, 0});
    }
  }
  return parameters;
}

double fromUnit(const ParameterDeclaration &declaration, double unit) {
  const Range range = rangeOf(declaration);
  // NaN counts as 0.
  const double part = unit > 0.0 ? std::min(unit, 1.0) : 0.0;
  const double value = std::clamp(range.minimum + part * (range.maximum - range.minimum), range.minimum, range.maximum);
  const bool isWhole = declaration.kind == ParameterKind::Integer || declaration.kind == ParameterKind::Popup;
  return isWhole ? std::round(value) : value;
}

double toUnit(const ParameterDeclaration &declaration, double value) {
  const Range range = rangeOf(declaration);
  return range.maximum > range.minimum ? (value - range.minimum) / (range.maximum - range.minimum) : 0.0;
}

}  // namespace pyrelux::adapters
