#pragma once

#include <vector>

#include "Filter.h"
#include "Parameters.h"

// Parameters whose meaning a render has to know. Ours have values and keyframes like the filter's, and act on what the
// filter has drawn.

namespace pyrelux::project {

/// How bright the fire is that is laid under or added to the source, 0 .. 100 percent.
constexpr std::uint32_t fireOpacityId = 1001;

/// A filter's declarations, and ours after them.
std::vector<host::ParameterDeclaration> withOwnParameters(std::vector<host::ParameterDeclaration> declarations);

/// A filter's parameters and ours, at their defaults.
host::ParameterSet allParameters(const host::Filter &filter);

// The filter's parameters that ours act together with: null for a filter that declares none of that key.

/// How much of the source lies on the fire, 0 .. 1.
const host::ParameterDeclaration *sourceOpacityOf(const host::ParameterSet &parameters);
/// A menu: entry 0 lays the source over the fire, the others add it.
const host::ParameterDeclaration *sourceModeOf(const host::ParameterSet &parameters);
/// How long flames are, in percent of the frame's height.
const host::ParameterDeclaration *flameLengthOf(const host::ParameterSet &parameters);

}  // namespace pyrelux::project
