#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A filter's parameters as it declared them, and their values as a person gives them.

namespace pyrelux::host {

enum class ParameterKind { Integer, Float, Angle, Colour, Point, Popup, Custom };

/// The word for a kind: "integer", "float", "angle", "colour", "point", "popup", "custom".
const char *kindName(ParameterKind kind);

/// A parameter's value in a person's units: one number (angles in degrees, popups the entry's index), red, green, blue
/// (0 .. 1), or x, y (normalised image coordinates, (0, 0) lower left). What a kind does not use is 0.
using ParameterValue = std::array<double, 3>;

struct ParameterDeclaration {
  std::uint32_t id = 0;
  ParameterKind kind = ParameterKind::Float;
  std::string label;  ///< as the filter gave it, translated
  std::string key;    ///< what the label is a translation of; the label itself when it is none
  std::uint32_t flags = 0;
  ParameterValue defaultValue{};
  double minimum = 0.0;  ///< of integers, floats and angles, in a person's units
  double maximum = 0.0;
  double sliderMinimum = 0.0;
  double sliderMaximum = 0.0;
  double delta = 0.0;                ///< step of integers and floats
  std::vector<std::string> entries;  ///< of a popup, translated

  bool hasRange() const;
  /// "degrees", "entry", "0..1", …; empty for plain numbers.
  std::string unit() const;
  /// The key without its prefix: "Turbulence: Amount".
  std::string keyLabel() const;
  /// The key label for command lines: "turbulence-amount".
  std::string slug() const;
};

/// Lower-case letters and digits of `text`, everything between them one "-".
std::string slugOf(const std::string &text);

/// The declarations, in the inspector's order, and the values that differ from their defaults.
class ParameterSet {
 public:
  explicit ParameterSet(std::vector<ParameterDeclaration> declarations);

  const std::vector<ParameterDeclaration> &declarations() const { return declarations_; }

  /// The declaration with that id, or null.
  const ParameterDeclaration *find(std::uint32_t id) const;

  /// The parameter that a person means: an id, a key, a label or key label in any case, or a slug. Throws HostError
  /// with the nearest name when there is none.
  const ParameterDeclaration &named(const std::string &name) const;

  ParameterValue value(std::uint32_t id) const;

  /// Throws HostError when the value is out of range or the parameter has none.
  void set(const ParameterDeclaration &parameter, const ParameterValue &value);

  /// Whether set() was called for it.
  bool isSet(std::uint32_t id) const { return values_.count(id) != 0; }

 private:
  std::vector<ParameterDeclaration> declarations_;
  std::map<std::uint32_t, ParameterValue> values_;
};

}  // namespace pyrelux::host
