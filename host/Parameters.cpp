#include "Parameters.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>

#include "HostError.h"
#include "NameMatch.h"
#include "Numbers.h"
#include "ParameterText.h"

namespace pyrelux::host {

namespace {

/// A point's coordinates, either way: beyond any use, and small enough to go on reckoning with.
constexpr double maxCoordinate = 1e9;

/// As a set keeps them: popups always hold.
std::vector<Keyframe> asKept(const ParameterDeclaration &parameter, std::vector<Keyframe> keyframes) {
  if (parameter.kind == ParameterKind::Popup)
    for (Keyframe &keyframe : keyframes) keyframe.ease = Ease::Hold;
  return keyframes;
}

void requireValue(const ParameterDeclaration &parameter) {
  if (parameter.kind == ParameterKind::Custom)
    throw HostError("'" + parameter.label + "' is a row of the inspector without a value");
}

std::uint64_t nextRevision() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

const char *kindName(ParameterKind kind) {
  switch (kind) {
    case ParameterKind::Integer:
      return "integer";
    case ParameterKind::Float:
      return "float";
    case ParameterKind::Angle:
      return "angle";
    case ParameterKind::Colour:
      return "colour";
    case ParameterKind::Point:
      return "point";
    case ParameterKind::Popup:
      return "popup";
    case ParameterKind::Custom:
      break;
  }
  return "custom";
}

bool ParameterDeclaration::hasRange() const {
  return kind == ParameterKind::Integer || kind == ParameterKind::Float || kind == ParameterKind::Angle;
}

std::string ParameterDeclaration::unit() const {
  switch (kind) {
    case ParameterKind::Angle:
      return "degrees";
    case ParameterKind::Colour:
      return "red,green,blue in 0..1";
    case ParameterKind::Point:
      return "x,y of the image, 0,0 lower left, 1,1 upper right";
    case ParameterKind::Popup:
      return "index or name of an entry";
    default:
      return {};
  }
}

std::string ParameterDeclaration::keyLabel() const {
  const std::size_t prefix = key.find("::");
  return prefix == std::string::npos ? key : key.substr(prefix + 2);
}

std::string ParameterDeclaration::slug() const { return slugOf(label == key ? keyLabel() : label); }

std::string ParameterDeclaration::keySlug() const { return slugOf(keyLabel()); }

std::string slugOf(const std::string &text) {
  std::string slug;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte))
      slug += static_cast<char>(std::tolower(byte));
    else if (!slug.empty() && slug.back() != '-')
      slug += '-';
  }
  while (!slug.empty() && slug.back() == '-') slug.pop_back();
  return slug;
}

std::string validationError(const ParameterDeclaration &parameter, const ParameterValue &value) {
  for (const double number : value)
    if (!std::isfinite(number)) return "it has to be a finite number";
  if (parameter.hasRange() && (value[0] < parameter.minimum || value[0] > parameter.maximum))
    return "its range is " + formatRange(parameter);
  if (parameter.kind == ParameterKind::Integer && value[0] != std::floor(value[0]))
    return "it has to be a whole number";
  if (parameter.kind == ParameterKind::Popup &&
      (value[0] < 0 || value[0] >= static_cast<double>(parameter.entries.size())))
    return "its entries are " + formatEntries(parameter);
  if (parameter.kind == ParameterKind::Colour)
    for (const double channel : value)
      if (channel < 0.0 || channel > 1.0) return "each channel has to be in 0..1";
  if (parameter.kind == ParameterKind::Point)
    for (const double coordinate : value)
      if (std::abs(coordinate) > maxCoordinate) return "it lies too far outside the picture";
  return {};
}

ParameterValue clampToLegal(const ParameterDeclaration &parameter, ParameterValue value) {
  for (std::size_t i = 0; i < value.size(); ++i)
    if (std::isnan(value[i])) value[i] = parameter.defaultValue[i];
  const auto clampAll = [&value](double least, double most) {
    for (double &number : value) number = std::clamp(number, least, most);
  };
  if (parameter.hasRange()) value[0] = std::clamp(value[0], parameter.minimum, parameter.maximum);
  if (parameter.kind == ParameterKind::Integer) value[0] = std::round(value[0]);
  if (parameter.kind == ParameterKind::Popup)
    value[0] = std::clamp(std::floor(value[0]), 0.0, static_cast<double>(parameter.entries.size()) - 1.0);
  if (parameter.kind == ParameterKind::Colour) clampAll(0.0, 1.0);
  if (parameter.kind == ParameterKind::Point) clampAll(-maxCoordinate, maxCoordinate);
  return value;
}

std::string validationError(const Keyframe &keyframe) {
  if (!(std::abs(keyframe.frame) <= maxFrame)) return "it is no frame of a film";
  if (keyframe.ease != Ease::Bezier) return {};
  for (const std::size_t x : {0, 2})
    if (!(keyframe.curve[x] >= 0.0 && keyframe.curve[x] <= 1.0)) return "x1 and x2 of its curve have to be in 0..1";
  for (const std::size_t y : {1, 3})
    if (!(std::abs(keyframe.curve[y]) <= maxSwing)) return "y1 and y2 of its curve have to be in -100..100";
  return {};
}

ParameterSet::ParameterSet(std::vector<ParameterDeclaration> declarations)
    : declarations_(std::move(declarations)), revision_(nextRevision()) {}

const ParameterDeclaration *ParameterSet::find(std::uint32_t id) const {
  for (const ParameterDeclaration &parameter : declarations_)
    if (parameter.id == id) return &parameter;
  return nullptr;
}

const ParameterDeclaration &ParameterSet::named(const std::string &name) const {
  const std::string wanted = slugOf(name);
  for (const ParameterDeclaration &parameter : declarations_)
    if (name == parameter.key || name == std::to_string(parameter.id)) return parameter;
  for (const ParameterDeclaration &parameter : declarations_)
    if (!wanted.empty() && (wanted == parameter.slug() || wanted == parameter.keySlug())) return parameter;

  const ParameterDeclaration *nearest = nullptr;
  std::size_t distance = 0;
  for (const ParameterDeclaration &parameter : declarations_) {
    if (parameter.kind == ParameterKind::Custom) continue;
    const std::size_t candidate =
        std::min(nameDistance(wanted, parameter.slug()), nameDistance(wanted, parameter.keySlug()));
    if (!nearest || candidate < distance) {
      nearest = &parameter;
      distance = candidate;
    }
  }
  std::string message = "there is no parameter '" + name + "'";
  if (nearest) message += "; the nearest is '" + nearest->slug() + "'";
  throw HostError(message);
}

ParameterValue ParameterSet::value(std::uint32_t id, double timeFrames) const {
  const ParameterDeclaration *parameter = find(id);
  if (!parameter) return {};
  if (const auto curve = curves_.find(id); curve != curves_.end())
    return clampToLegal(*parameter, curve->second(timeFrames));
  const auto set = values_.find(id);
  if (set == values_.end()) return parameter->defaultValue;
  return clampToLegal(*parameter, interpolate(set->second, timeFrames));
}

std::vector<Keyframe> ParameterSet::keyframes(const ParameterDeclaration &parameter) const {
  if (curves_.count(parameter.id)) return asKept(parameter, constant(value(parameter.id, 0.0)));
  const auto set = values_.find(parameter.id);
  return set == values_.end() ? asKept(parameter, constant(parameter.defaultValue)) : set->second;
}

void ParameterSet::set(const ParameterDeclaration &parameter, const ParameterValue &value) {
  setKeyframes(parameter, constant(value));
}

void ParameterSet::setKeyframes(const ParameterDeclaration &parameter, const std::vector<Keyframe> &keyframes) {
  requireValue(parameter);
  if (keyframes.empty()) throw HostError("'" + parameter.slug() + "' needs a keyframe at least");
  const Keyframe *before = nullptr;
  for (const Keyframe &keyframe : keyframes) {
    if (const std::string why = validationError(parameter, keyframe.value); !why.empty())
      throw HostError("'" + parameter.slug() + "' can't be " + formatValue(parameter, keyframe.value) + ": " + why);
    if (const std::string why = validationError(keyframe); !why.empty())
      throw HostError("'" + parameter.slug() + "' can't have a keyframe at " + formatNumber(keyframe.frame) + ": " +
                      why);
    if (before && keyframe.frame <= before->frame)
      throw HostError("the keyframes of '" + parameter.slug() + "' have to be in ascending order, one on a frame");
    before = &keyframe;
  }
  std::vector<Keyframe> kept = asKept(parameter, keyframes);
  if (curves_.erase(parameter.id) || kept != this->keyframes(parameter)) revision_ = nextRevision();
  values_[parameter.id] = std::move(kept);
}

const Curve *ParameterSet::curve(const ParameterDeclaration &parameter) const {
  const auto found = curves_.find(parameter.id);
  return found == curves_.end() ? nullptr : &found->second;
}

void ParameterSet::setCurve(const ParameterDeclaration &parameter, Curve curve) {
  requireValue(parameter);
  values_.erase(parameter.id);
  curves_[parameter.id] = std::move(curve);
  revision_ = nextRevision();
}

}  // namespace pyrelux::host
