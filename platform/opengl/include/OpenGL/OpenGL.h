#pragma once

// The part of the OpenGL framework's CGL that the product uses, for platforms without that framework.
//
// Thread: each thread has a current context of its own; a context is current on one thread at a time. Errors are
// returned, never raised; a null or unfit handle gives the matching kCGLBad… code and has no effect.

#include <OpenGL/gl.h>

#define PYRELUX_CGL extern "C" __attribute__((visibility("default")))

typedef struct _CGLContextObject *CGLContextObj;
typedef struct _CGLPixelFormatObject *CGLPixelFormatObj;
typedef struct _CGLPBufferObject *CGLPBufferObj;

enum CGLPixelFormatAttribute : std::int32_t {
  kCGLPFAColorSize = 8,
  kCGLPFADepthSize = 12,
  kCGLPFAColorFloat = 58,
  kCGLPFARendererID = 70,
  kCGLPFANoRecovery = 72,
  kCGLPFAAccelerated = 73,
  kCGLPFAWindow = 80,
  kCGLPFAPBuffer = 90,
  kCGLPFAAllowOfflineRenderers = 96,
};

enum CGLError : std::int32_t {
  kCGLNoError = 0,
  kCGLBadAttribute = 10000,
  kCGLBadPixelFormat = 10002,
  kCGLBadContext = 10004,
  kCGLBadDrawable = 10005,
  kCGLBadState = 10007,
  kCGLBadValue = 10008,
  kCGLBadMatch = 10009,
  kCGLBadEnumeration = 10010,
  kCGLBadAddress = 10014,
  kCGLBadAlloc = 10016,
};

/// A short English name of an error; never null.
PYRELUX_CGL const char *CGLErrorString(CGLError error);

/// Turns a zero-terminated attribute list into a format. An attribute outside the list above is kCGLBadAttribute; a
/// renderer id that does not exist or cannot draw here gives no error, a null format and a count of 0, as CGL answers
/// when nothing matches.
PYRELUX_CGL CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute *attributes, CGLPixelFormatObj *format,
                                          GLint *count);
PYRELUX_CGL CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format);

/// Makes a context that shares objects with `share` (may be null). It draws with the backend that `share` draws with,
/// else with the one its format names, else with the process's default.
PYRELUX_CGL CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj *context);

/// Destroys a context. Pbuffers that were drawn through it lose their image. When it is current on this thread, no
/// context is afterwards.
PYRELUX_CGL CGLError CGLDestroyContext(CGLContextObj context);

PYRELUX_CGL CGLContextObj CGLGetCurrentContext(void);
/// kCGLBadState, and no effect, when the context is current on another thread. A thread's end lets go of its context.
PYRELUX_CGL CGLError CGLSetCurrentContext(CGLContextObj context);

/// There is one virtual screen, 0.
PYRELUX_CGL CGLError CGLGetVirtualScreen(CGLContextObj context, GLint *screen);

/// Describes a pbuffer of width x height pixels, at least 1 each. Target: GL_TEXTURE_RECTANGLE_EXT; internal format:
/// GL_RGBA; one level. Its storage is made when a context first draws into it, in that context's pixel format.
PYRELUX_CGL CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat,
                                      GLint maxLevel, CGLPBufferObj *pbuffer);

/// Frees a pbuffer with its storage, also where a texture name still refers to it.
PYRELUX_CGL CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer);

/// Makes the pbuffer the surface that `context` draws into. The context that draws into a pbuffer first keeps it; a
/// second one is kCGLBadMatch. The first surface of a context sets its viewport, as GL has it.
PYRELUX_CGL CGLError CGLSetPBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum face, GLint level,
                                   GLint screen);

/// Gives the pbuffer's image to the rectangle texture bound in `context`, which has to be current and share with the
/// context that draws into the pbuffer. The texture stays live: what is drawn later is seen through it.
PYRELUX_CGL CGLError CGLTexImagePBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum source);
