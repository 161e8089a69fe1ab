#pragma once

#include <OpenGL/OpenGL.h>

#include <cstdint>

// A pbuffer with a context of its own: the filter draws into it and then reads it as a rectangle texture. Errors: no
// function reports one; what could not be made stays null, and the functions pass the null on to CGL. Thread:
// PBuffer_Begin, the drawing and PBuffer_End run on one thread, because they change its current context.

namespace pyrelux {

struct VaroPBuffer_tag {
  CGLPBufferObj pbuffer = nullptr;
  CGLContextObj context = nullptr;       ///< the surface's own; shares objects with the context given to PBuffer_Create
  CGLContextObj savedContext = nullptr;  ///< the context that was current before PBuffer_Begin
  std::int32_t width = 0;                ///< pixels
  std::int32_t height = 0;               ///< pixels
  GLuint texture = 0;                    ///< name in the reading context; the first PBuffer_Use makes it
  bool clearOnBegin = true;              ///< whether PBuffer_Begin clears the surface
  bool written = false;                  ///< whether anything was drawn since the last PBuffer_Use
};

/// Bits of PBuffer_Create's flags.
constexpr int kPBufferDepth = 1;  ///< adds a 16-bit depth buffer

/// Returns a new record, which the caller owns, even if its surface could not be made. `width` and `height` are in
/// pixels. `bitDepth` is bits per component: up to 8 gives integers, more gives floats.
VaroPBuffer_tag *PBuffer_Create(CGLContextObj share, int width, int height, int bitDepth, int flags);

/// Frees the surface and the record; accepts null. Does not delete the texture that PBuffer_Use made.
void PBuffer_Destroy(VaroPBuffer_tag *record);

/// Makes the surface current, clears it, and sets up pixel coordinates with the origin at the lower left.
void PBuffer_Begin(VaroPBuffer_tag *record);

/// Makes the surface current without changing it.
void PBuffer_WriteTo(VaroPBuffer_tag *record);

/// Restores the context that was current before PBuffer_Begin or PBuffer_WriteTo.
void PBuffer_End(VaroPBuffer_tag *record);

/// Binds the surface's image as a rectangle texture in the current context and enables that target.
void PBuffer_Use(VaroPBuffer_tag *record);

}  // namespace pyrelux
