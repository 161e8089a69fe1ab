#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

// The backends, which are the platform layer's implementations of OpenGL: how to choose one and ask about it.

namespace pyrelux::platform {

#define PYRELUX_PLATFORM __attribute__((visibility("default")))

/// What a host gives as kCGLPFARendererID in its pixel format to choose a backend. A plug-in gives none: its contexts
/// draw with the backend of the context that they share with.
enum BackendId : std::int32_t {
  kBackendGPU = 0x50590001,        ///< OpenGL through EGL on a GPU
  kBackendNull = 0x50590002,       ///< draws nothing; counts the quads
  kBackendRecording = 0x50590003,  ///< draws nothing; records the calls
  kBackendSoft = 0x50590004,       ///< our own, on the processor
  kBackendMesa = 0x50590005,       ///< OpenGL through EGL on the processor, by Mesa
};

/// Empty when the backend can draw here; otherwise one sentence that says why not and what to do. Thread: any.
PYRELUX_PLATFORM std::string backendUnavailable(std::int32_t backendId);

/// The instructions that the soft backend draws with, as PYRELUX_SIMD names them. Sums of 8 bits are the same with all
/// of them, and sums of floats may differ in their last bits. The first call, or the first drawing, decides. Thread:
/// any.
PYRELUX_PLATFORM std::string softInstructions();

/// The time that drawing with the soft backend has spent in work that is shared among threads, even where there is one
/// thread only; the rest of a frame runs on one core. Thread: any.
PYRELUX_PLATFORM std::chrono::nanoseconds softTimeInParallel();

/// Process-wide lock around creating, using and destroying filters and contexts, because filters draw one at a time.
/// Deliberate: it is here because a process may contain several copies of the host, but only one of this library.
PYRELUX_PLATFORM std::mutex &filterMutex();

/// The number of quads that this process has drawn with the null backend. Thread: any.
PYRELUX_PLATFORM std::uint64_t nullBackendQuads();

/// A corner of a quad as a filter draws it: texture coordinates and place, in the units of the filter's projection.
struct QuadCorner {
  float s, t, x, y;
};

/// Is given the corners of the quads between a glBegin() and its glEnd(), four of each.
using QuadListener = std::function<void(const std::vector<QuadCorner> &)>;

/// Has the null backend tell what this thread draws with it; an empty listener ends that. A listener throws nothing.
PYRELUX_PLATFORM void listenToNullBackend(QuadListener listener);

}  // namespace pyrelux::platform
