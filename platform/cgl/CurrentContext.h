#pragma once

#include <OpenGL/gl.h>

namespace pyrelux::platform {

/// Sends the thread's GL calls to a context's table, or, with null, to where calls without a context go: nowhere, or
/// to the thread's recorder.
void setCurrentDispatch(const PyreluxGLDispatch *dispatch);

/// The functions that do nothing and answer zero.
const PyreluxGLDispatch &inertDispatch();

}  // namespace pyrelux::platform
