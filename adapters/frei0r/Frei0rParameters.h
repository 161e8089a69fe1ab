#pragma once

extern "C" {
#include <frei0r.h>
}

#include <cstddef>
#include <string>
#include <vector>

#include "Effect.h"

namespace pyrelux::adapters {

/// How a host counts the time that it gives. None tells; each program has its own way.
enum class TimeUnit { Auto, Seconds, Milliseconds };

/// What an instance is set to besides the filter's own parameters.
struct Frei0rSettings {
  double framesPerSecond = 25.0;
  TimeUnit timeUnit = TimeUnit::Auto;
  Composition composition = Composition::OverSource;
};

/// One of a plug-in's parameters as frei0r has them: numbers in 0..1 over the declared range, popups too; colours;
/// texts.
struct Frei0rParameter {
  enum class Kind { Number, Colour, FrameRate, TimeUnit, Output };
  Kind kind = Kind::Number;
  std::string name;
  std::string explanation;
  std::uint32_t id = 0;       ///< of the filter's parameter, of numbers and colours
  std::size_t component = 0;  ///< of the value: 0, and 1 for a point's y

  /// F0R_PARAM_DOUBLE and so on.
  int type() const;
};

/// All of them: the plug-in's own, then the filter's in the inspector's order, a point as two numbers. What can't be
/// set is left out.
std::vector<Frei0rParameter> frei0rParameters(const std::vector<host::ParameterDeclaration> &declarations);

/// A number in 0..1 as the parameter's value, and back. Outside of 0..1 it counts as the nearer end.
double fromUnit(const host::ParameterDeclaration &declaration, double unit);
double toUnit(const host::ParameterDeclaration &declaration, double value);

}  // namespace pyrelux::adapters
