#pragma once

#include <string>

#include "Parameters.h"

// Parameter values as a person types and reads them.

namespace pyrelux::host {

/// Reads a value: a number (angles in degrees); a colour as readColour() takes it, in 0..1; "x,y"; an entry's index or
/// name in any case. The range is not checked. Throws HostError that names the parameter and what it takes.
ParameterValue parseValue(const ParameterDeclaration &parameter, const std::string &text);

/// The shortest text that parseValue() turns into the same value; popups by the entry's name.
std::string formatValue(const ParameterDeclaration &parameter, const ParameterValue &value);

/// "1..50", with the unit where there is one: "0..180 degrees".
std::string formatRange(const ParameterDeclaration &parameter);

/// "0 Cover, 1 Mix".
std::string formatEntries(const ParameterDeclaration &parameter);

/// What a person may give it: "a number in -100..100", "a colour, a name, #rrggbb or r,g,b in 0..1".
std::string formatTakes(const ParameterDeclaration &parameter);

}  // namespace pyrelux::host
