#pragma once

#include <OpenGL/OpenGL.h>

#include <cstdint>

// A pbuffer with a context of its own, drawn into and then read as a rectangle texture. Nothing here reports an error:
// what could not be made stays null and goes to CGL as it is. Thread: PBuffer_Begin and PBuffer_End, with the drawing
// between them, on one thread, since they change its current context.

namespace pyrelux {

struct VaroPBuffer_tag {
  CGLPBufferObj pbuffer = nullptr;
  CGLContextObj context = nullptr;       ///< the surface's own, sharing objects with its creator's
  CGLContextObj savedContext = nullptr;  ///< current before PBuffer_Begin
  std::int32_t width = 0;                ///< pixels
  std::int32_t height = 0;               ///< pixels
  GLuint texture = 0;                    ///< name in the reading context; made by the first PBuffer_Use
  bool clearOnBegin = true;
  bool written = false;  ///< drawn since the last PBuffer_Use
};

/// Bits of PBuffer_Create's flags.
constexpr int kPBufferDepth = 1;  ///< with a 16-bit depth buffer

/// A new record, always, whether or not its surface could be made. 8 bits a component are integers, more are floats.
VaroPBuffer_tag *PBuffer_Create(CGLContextObj share, int width, int height, int bitDepth, int flags);

/// Frees the surface and the record; null is fine. The texture name of PBuffer_Use is left to the context.
void PBuffer_Destroy(VaroPBuffer_tag *record);

/// Makes the surface current, cleared, with pixel coordinates from its lower left.
void PBuffer_Begin(VaroPBuffer_tag *record);

/// Makes the surface current as it is.
void PBuffer_WriteTo(VaroPBuffer_tag *record);

/// Makes the context current again that was so before.
void PBuffer_End(VaroPBuffer_tag *record);

/// Binds the surface's image as a rectangle texture in the current context and enables that target.
void PBuffer_Use(VaroPBuffer_tag *record);

}  // namespace pyrelux
