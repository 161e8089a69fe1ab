#pragma once

#include "Parameters.h"

namespace pyrelux::host {

/// The parameter that chooses the depth of the surface a filter adds its copies up on: the menu whose entries are all
/// depths, like "8 Bit". Null if the filter has none.
const ParameterDeclaration *findColorDepth(const ParameterSet &parameters);

/// The same parameters with the deep entry as their default: on 8-bit surfaces every faint copy is rounded, which turns
/// its colour into another.
ParameterSet deepByDefault(const ParameterSet &parameters);

/// Whether they ask for a deep surface at a frame time. True for a filter that leaves no choice.
bool isDeep(const ParameterSet &parameters, double timeFrames);

/// Whether they do so at any of their keyframes.
bool isEverDeep(const ParameterSet &parameters);

/// Chooses the surface: 16 bits a channel, or 8.
void setDeep(ParameterSet &parameters, bool deep);

}  // namespace pyrelux::host
