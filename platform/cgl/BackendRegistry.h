#pragma once

#include "Backend.h"
#include "Backends.h"

namespace pyrelux::platform {

/// The backend with that renderer id, or null.
Backend *findBackend(std::int32_t rendererId);

/// The backend of a context that shares with none and names no renderer.
Backend *defaultBackend();

}  // namespace pyrelux::platform
