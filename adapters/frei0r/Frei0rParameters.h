#pragma once

extern "C" {
#include <frei0r.h>
}

#include <cstddef>
#include <string>
#include <vector>

#include "Canvas.h"
#include "FrameRate.h"
#include "Parameters.h"

namespace pyrelux::adapters {

/// The unit of a host's times. Hosts do not tell it, and programs differ. Auto: milliseconds for FFmpeg, else seconds.
enum class TimeUnit { Auto, Seconds, Milliseconds };

/// An instance's settings, besides the filter's parameters.
struct Frei0rSettings {
  FrameRate frameRate{25, 1};
  TimeUnit timeUnit = TimeUnit::Auto;
  Composition composition = Composition::OverSource;
};

/// A parameter of the plug-in. frei0r has numbers in 0 .. 1, here over the declared range or a popup's entries;
/// colours; and texts.
struct Frei0rParameter {
  enum class Kind { Number, Colour, FrameRate, TimeUnit, Output, Preset, Seed };
  Kind kind = Kind::Number;
  std::string name;
  std::string explanation;
  std::uint32_t id = 0;       ///< of the filter's parameter; for numbers and colours
  std::size_t component = 0;  ///< of the filter's value: 1 for a point's y, else 0

  /// frei0r's constant for the kind: F0R_PARAM_DOUBLE, F0R_PARAM_COLOR or F0R_PARAM_STRING.
  int type() const;
};

/// All parameters: the plug-in's own, then the filter's in the inspector's order. A point gives two numbers; a
/// parameter without a value gives none.
std::vector<Frei0rParameter> frei0rParameters(const std::vector<host::ParameterDeclaration> &declarations);

/// Convert a number in 0 .. 1 to a parameter's value, and back. A number outside is clamped first.
double fromUnit(const host::ParameterDeclaration &declaration, double unit);
double toUnit(const host::ParameterDeclaration &declaration, double value);

}  // namespace pyrelux::adapters
