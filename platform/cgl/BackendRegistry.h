#pragma once

#include "Backend.h"
#include "Backends.h"

namespace pyrelux::platform {

/// The backend with this id, or null.
Backend *findBackend(std::int32_t backendId);

/// The backend for a context that shares with no other and names no backend: gpu where it can draw, else soft.
Backend *defaultBackend();

}  // namespace pyrelux::platform
