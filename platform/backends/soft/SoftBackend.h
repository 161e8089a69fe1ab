#pragma once

#include "Backend.h"

namespace pyrelux::platform {

/// Our own OpenGL, drawn by the processor: what flames need of it, built for what flames do.
Backend &softBackend();

}  // namespace pyrelux::platform
