#pragma once

#include <OpenGL/gl.h>

namespace pyrelux::platform {

/// Sends the thread's GL calls to a context's table. With null they do nothing, or go to the thread's recorder if there
/// is one.
void setCurrentDispatch(const PyreluxGLDispatch *dispatch);

/// The functions that do nothing and return zero.
const PyreluxGLDispatch &inertDispatch();

}  // namespace pyrelux::platform
