#pragma once

#include "PBufferUtils.h"

// The one surface into which all filters of a process draw their flames, and its steps through a frame: begin, end and
// use, clean up. There is no lock, because EntryGuard lets one render in at a time.

namespace pyrelux {

extern VaroPBuffer_tag *pbuffer;      ///< the surface, owned here; valid only while pbuffer_created is 1
extern std::int32_t pbuffer_created;  ///< 1 from PBuffer_Create to PBuffer_Destroy
extern std::int32_t pbuffer_on;       ///< 1 from PBuffer_Begin to PBuffer_End
extern CGLContextObj sharedContext;   ///< the context that was current when the surface was last created; not owned
extern double initWidth;              ///< size of the surface last created, in pixels
extern double initHeight;
extern double initBitDepth;  ///< its bits per component: 8 or 16

/// Creates the surface unless it exists with this size (pixels) and depth (bits per component), and begins it. A
/// surface that can't be made is not reported.
void beginSurface(double width, double height, double bitDepth);

/// Ends the surface, and binds its image as a texture in the context that was current before beginSurface().
void endAndUseSurface();

/// Ends the surface if it is begun, and destroys it if it exists. Every frame ends with it.
void cleanUpSurface();

/// Resets the fixed-function state of the current context. Every drawing pass begins with it. Sets the blending to ONE,
/// ONE_MINUS_SRC_ALPHA; sets no viewport and no matrix mode.
void initOpenGl();

/// Clears colour and depth of the current surface to transparent black.
void clearToTransparent();

}  // namespace pyrelux
