#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Draws nothing. Adds every call to the thread's Trace, then answers as the null backend does.
Backend &recordingBackend();

/// The functions of the recording backend's contexts.
const PyreluxGLDispatch &recordingDispatch();

}  // namespace pyrelux::platform
