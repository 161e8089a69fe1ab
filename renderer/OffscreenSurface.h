#pragma once

#include "PBufferUtils.h"

// The one surface that all filters of a process draw their flames into, and how its life goes through a frame. No lock:
// renders take turns through the entry guard.

namespace pyrelux {

extern VaroPBuffer_tag *pbuffer;      ///< the surface; may be used only while pbuffer_created is 1
extern std::int32_t pbuffer_created;  ///< 1 from PBuffer_Create to PBuffer_Destroy
extern std::int32_t pbuffer_on;       ///< 1 from PBuffer_Begin to PBuffer_End
extern CGLContextObj sharedContext;   ///< current when the surface was last created
extern double initWidth;              ///< pixels, of the surface last created
extern double initHeight;
extern double initBitDepth;  ///< 8 or 16

/// Makes sure that the surface exists with this size and depth, and begins it.
void beginSurface(double width, double height, double bitDepth);

/// Ends the surface and binds its image in the context that was current before beginSurface().
void endAndUseSurface();

/// Ends the surface if it is begun, and destroys it if it exists: the end of every frame.
void cleanUpSurface();

/// Resets the fixed-function state of the current context; every drawing pass begins with it. Leaves blending at ONE,
/// ONE_MINUS_SRC_ALPHA; sets no viewport and no matrix mode.
void initOpenGl();

/// Clears colour and depth of the current surface to transparent black.
void clearToTransparent();

}  // namespace pyrelux
