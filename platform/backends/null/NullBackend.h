#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Draws nothing, but generates texture names, answers queries and counts quads. A host runs a filter with it to
/// advance the filter's state, a benchmark to measure the filter's own work.
Backend &nullBackend();

/// The functions of the null backend's contexts.
const PyreluxGLDispatch &nullDispatch();

/// A context that calls `dispatch`, to which it keeps a reference, and whose surfaces have no storage.
std::unique_ptr<Context> makeHollowContext(const PyreluxGLDispatch &dispatch);

}  // namespace pyrelux::platform
