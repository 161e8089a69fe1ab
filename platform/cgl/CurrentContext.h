#pragma once

#include <OpenGL/gl.h>

namespace pyrelux::platform {

/// Sends the thread's GL calls to a context's table. With null they go to the thread's recorder, if any, or do nothing.
void setCurrentDispatch(const PyreluxGLDispatch *dispatch);

/// The functions that do nothing and return zero.
const PyreluxGLDispatch &inertDispatch();

}  // namespace pyrelux::platform
