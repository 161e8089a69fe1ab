#pragma once

#include <cstdint>
#include <mutex>
#include <string>

// Choosing among the OpenGL implementations that the platform layer has, and finding out about them.

namespace pyrelux::platform {

#define PYRELUX_PLATFORM __attribute__((visibility("default")))

/// Renderer ids for kCGLPFARendererID in a host's pixel format. A plug-in names none: its contexts draw with the
/// renderer of the context they share with.
enum RendererId : std::int32_t {
  kRendererGPU = 0x50590001,        ///< OpenGL through EGL on a GPU
  kRendererNull = 0x50590002,       ///< draws nothing; counts what it is asked to draw
  kRendererRecording = 0x50590003,  ///< draws nothing; keeps the call stream as data
  kRendererSoft = 0x50590004,       ///< our own, drawn by the processor
  kRendererMesa = 0x50590005,       ///< OpenGL through EGL by Mesa's software renderer
};

/// Empty when the renderer can draw on this machine; otherwise one sentence that says why not and what to do.
PYRELUX_PLATFORM std::string rendererUnavailable(std::int32_t rendererId);

/// Held by a host while it makes, uses or ends a filter or what draws for it, since filters draw for one at a time.
/// Here, because this library is in a process once, and hosts may be in it several times.
PYRELUX_PLATFORM std::mutex &filterTurn();

/// Quads that the null renderer was asked to draw, in this process.
PYRELUX_PLATFORM std::uint64_t nullRendererQuads();

}  // namespace pyrelux::platform
