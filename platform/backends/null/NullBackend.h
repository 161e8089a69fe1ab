#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Draws nothing. Texture names are handed out, questions answered and quads counted, so that a filter can be run for
/// what it leaves behind, and its own work measured.
Backend &nullBackend();

/// The functions of its contexts.
const PyreluxGLDispatch &nullDispatch();

/// A context and surface without an implementation behind them, for backends that draw nothing.
std::unique_ptr<Context> makeHollowContext(const PyreluxGLDispatch &dispatch);

}  // namespace pyrelux::platform
