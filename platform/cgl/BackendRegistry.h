#pragma once

#include "Backend.h"
#include "Backends.h"

namespace pyrelux::platform {

/// The backend with this id, or null.
Backend *findBackend(std::int32_t backendId);

/// The backend of a context that shares with none and names no backend.
Backend *defaultBackend();

}  // namespace pyrelux::platform
