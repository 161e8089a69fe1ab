#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Our own OpenGL, drawn by the processor: the part of it that flames need. Lives as long as the process.
Backend &softBackend();

}  // namespace pyrelux::platform
