#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Keyframes.h"

// A filter's parameters as it declared them, and their values as a person gives them.

namespace pyrelux::host {

enum class ParameterKind { Integer, Float, Angle, Colour, Point, Popup, Custom };

/// The word for a kind: "integer", "float", "angle", "colour", "point", "popup", "custom".
const char *kindName(ParameterKind kind);

struct ParameterDeclaration {
  std::uint32_t id = 0;
  ParameterKind kind = ParameterKind::Float;
  std::string label;        ///< as the filter gave it, translated
  std::string key;          ///< what the label is a translation of; the label itself when it is none
  std::uint32_t flags = 0;  ///< FxPlug's kFxParameterFlag_…, as the filter declared them
  ParameterValue defaultValue{};
  double minimum = 0.0;  ///< of integers, floats and angles, in a person's units (degrees)
  double maximum = 0.0;
  double sliderMinimum = 0.0;        ///< where an inspector's slider begins; inside the range, in the same units
  double sliderMaximum = 0.0;        ///< where it ends
  double delta = 0.0;                ///< step of integers and floats
  std::vector<std::string> entries;  ///< of a popup, translated

  bool hasRange() const;
  /// "degrees", "entry", "0..1", …; empty for plain numbers.
  std::string unit() const;
  /// The key without its prefix: "Turbulence: Amount".
  std::string keyLabel() const;
  /// The label for command lines and files: "turbulence-amount", "tongues".
  std::string slug() const;
  /// The key label in the same way: "pyrelux". What hosts' own project files name the parameter by, whatever language
  /// labels are in.
  std::string keySlug() const;
};

/// Lower-case letters and digits of `text`, everything between them one "-".
std::string slugOf(const std::string &text);

/// Why a parameter can't have a value: "its range is -100..100". Empty when it can.
std::string validationError(const ParameterDeclaration &parameter, const ParameterValue &value);

/// Clamps to the legal range; NaN becomes the default.
ParameterValue clampToLegal(const ParameterDeclaration &parameter, ParameterValue value);

/// Why a parameter can't have a keyframe, whatever its value is. Empty when it can.
std::string validationError(const Keyframe &keyframe);

/// Keyframes are at frame times in -maxFrame .. maxFrame.
constexpr double maxFrame = 2147483647.0;

/// A parameter's value at each frame time, worked out whenever it is asked for.
using Curve = std::function<ParameterValue(double timeFrames)>;

/// The declarations, in the inspector's order, and what was set instead of their defaults.
class ParameterSet {
 public:
  explicit ParameterSet(std::vector<ParameterDeclaration> declarations);

  const std::vector<ParameterDeclaration> &declarations() const { return declarations_; }

  /// The declaration with that id, or null.
  const ParameterDeclaration *find(std::uint32_t id) const;

  /// The parameter that a person means: an id, a key, a label or key label in any case, or a slug. Throws HostError
  /// with the nearest name when there is none.
  const ParameterDeclaration &named(const std::string &name) const;

  /// The value at a frame time. Integers between keyframes are rounded, halves away from 0; popups always hold; what a
  /// curve takes out of the range stays at its end. The default when nothing is set; 0 for an unknown id.
  ParameterValue value(std::uint32_t id, double timeFrames) const;

  /// What value() goes by: a single keyframe means a constant. Of a curve, its value at frame 0.
  std::vector<Keyframe> keyframes(const ParameterDeclaration &parameter) const;

  /// A constant, in the place of whatever was set before. Throws HostError when the value is out of range or the
  /// parameter has none.
  void set(const ParameterDeclaration &parameter, const ParameterValue &value);

  /// Keyframes, at least one, in ascending order, in the place of whatever was set before. Throws HostError as above,
  /// for two on one frame, and for a curve that is none.
  void setKeyframes(const ParameterDeclaration &parameter, const std::vector<Keyframe> &keyframes);

  /// A curve, in the place of whatever was set before; for what would be very many keyframes. Copies of the set share
  /// it: whoever asks any of them for values has to take turns if the curve can't be asked from several threads. Throws
  /// HostError when the parameter has no value.
  void setCurve(const ParameterDeclaration &parameter, Curve curve);

  /// The curve that was set, or null.
  const Curve *curve(const ParameterDeclaration &parameter) const;

  /// Whether one of these was called for it.
  bool isSet(std::uint32_t id) const { return values_.count(id) + curves_.count(id) != 0; }

  /// Another number after every change, in the whole process: sets of the same revision hold the same values.
  std::uint64_t revision() const { return revision_; }

 private:
  std::vector<ParameterDeclaration> declarations_;
  std::map<std::uint32_t, std::vector<Keyframe>> values_;  ///< by id
  std::map<std::uint32_t, Curve> curves_;                  ///< by id; of no parameter that is in both
  std::uint64_t revision_;
};

}  // namespace pyrelux::host
