#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Draws nothing and hands every call to the thread's Trace, then answers as the null backend does.
Backend &recordingBackend();

/// The functions of its contexts.
const PyreluxGLDispatch &recordingDispatch();

}  // namespace pyrelux::platform
