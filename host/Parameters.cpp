#include "Parameters.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "HostError.h"
#include "ParameterText.h"

namespace pyrelux::host {

namespace {

/// Single-character edits between two words (Levenshtein distance).
std::size_t editDistance(const std::string &a, const std::string &b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t substituted = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, substituted});
    }
  }
  return row[b.size()];
}

/// How far a name is from what was typed. One that begins with or contains it is near, however long it is.
std::size_t nameDistance(const std::string &typed, const std::string &name) {
  const std::size_t edits = editDistance(typed, name);
  return !typed.empty() && name.find(typed) != std::string::npos ? std::min<std::size_t>(edits, 1) : edits;
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

std::string ParameterDeclaration::slug() const { return slugOf(keyLabel()); }

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

ParameterSet::ParameterSet(std::vector<ParameterDeclaration> declarations) : declarations_(std::move(declarations)) {}

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
    if (!wanted.empty() && (wanted == parameter.slug() || wanted == slugOf(parameter.label))) return parameter;

  const ParameterDeclaration *nearest = nullptr;
  std::size_t distance = 0;
  for (const ParameterDeclaration &parameter : declarations_) {
    if (parameter.kind == ParameterKind::Custom) continue;
    const std::size_t candidate =
        std::min(nameDistance(wanted, parameter.slug()), nameDistance(wanted, slugOf(parameter.label)));
    if (!nearest || candidate < distance) {
      nearest = &parameter;
      distance = candidate;
    }
  }
  std::string message = "there is no parameter '" + name + "'";
  if (nearest) message += "; the nearest is '" + nearest->slug() + "'";
  throw HostError(message);
}

ParameterValue ParameterSet::value(std::uint32_t id) const {
  if (const auto set = values_.find(id); set != values_.end()) return set->second;
  const ParameterDeclaration *parameter = find(id);
  return parameter ? parameter->defaultValue : ParameterValue{};
}

void ParameterSet::set(const ParameterDeclaration &parameter, const ParameterValue &value) {
  const auto refuse = [&](const std::string &why) {
    throw HostError("'" + parameter.slug() + "' can't be " + formatValue(parameter, value) + ": " + why);
  };
  if (parameter.kind == ParameterKind::Custom)
    throw HostError("'" + parameter.label + "' is a row of the inspector without a value");
  for (const double number : value)
    if (!std::isfinite(number)) refuse("it has to be a finite number");
  if (parameter.hasRange() && (value[0] < parameter.minimum || value[0] > parameter.maximum))
    refuse("its range is " + formatRange(parameter));
  if (parameter.kind == ParameterKind::Integer && value[0] != std::floor(value[0]))
    refuse("it has to be a whole number");
  if (parameter.kind == ParameterKind::Popup &&
      (value[0] < 0 || value[0] >= static_cast<double>(parameter.entries.size())))
    refuse("its entries are " + formatEntries(parameter));
  if (parameter.kind == ParameterKind::Colour)
    for (const double channel : value)
      if (channel < 0.0 || channel > 1.0) refuse("each channel has to be in 0..1");
  values_[parameter.id] = value;
}

}  // namespace pyrelux::host
