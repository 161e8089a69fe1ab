#pragma once

// The part of the OpenGL framework's CGL that the filter and its hosts use, for platforms without that framework.
//
// Thread: each thread has its own current context; a context is current on one thread at a time. Errors: functions
// return a code and raise nothing; a call with a null or unsuitable handle returns the matching kCGLBad… code and has
// no effect. Ownership: the caller destroys what it creates.

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

/// Turns a zero-terminated attribute list into a format. An attribute outside the list above returns kCGLBadAttribute.
/// A renderer id that does not exist or can't draw here returns no error, a null format and a count of 0, as CGL does
/// when nothing matches.
PYRELUX_CGL CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute *attributes, CGLPixelFormatObj *format,
                                          GLint *count);
PYRELUX_CGL CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format);

/// Creates a context that shares objects with `share` (may be null). It draws with the backend of `share`, else with
/// the one that the format names, else with the process's default.
PYRELUX_CGL CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj *context);

/// Destroys a context. Pbuffers that it drew into lose their image. If it was current on this thread, no context is
/// current afterwards.
PYRELUX_CGL CGLError CGLDestroyContext(CGLContextObj context);

PYRELUX_CGL CGLContextObj CGLGetCurrentContext(void);
/// Makes the context current on this thread; null leaves the thread without one. A context that is current on another
/// thread returns kCGLBadState. The end of a thread releases its context.
PYRELUX_CGL CGLError CGLSetCurrentContext(CGLContextObj context);

/// Always gives virtual screen 0, the only one.
PYRELUX_CGL CGLError CGLGetVirtualScreen(CGLContextObj context, GLint *screen);

/// Creates a pbuffer of width x height pixels, at least 1 each. The target is GL_TEXTURE_RECTANGLE_EXT, the internal
/// format GL_RGBA, the level 0. The pbuffer gets its storage when a context first draws into it, in that context's
/// pixel format.
PYRELUX_CGL CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat,
                                      GLint maxLevel, CGLPBufferObj *pbuffer);

/// Frees a pbuffer and its storage, even if a texture name still refers to it.
PYRELUX_CGL CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer);

/// Makes the pbuffer the surface that `context`, the current one, draws into. The first context that draws into a
/// pbuffer keeps it; another one returns kCGLBadMatch. The first surface of a context sets its viewport, as in GL.
PYRELUX_CGL CGLError CGLSetPBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum face, GLint level,
                                   GLint screen);

/// Gives the pbuffer's image to the rectangle texture that is bound in `context`. The context is current and shares
/// objects with the one that draws into the pbuffer. The texture stays live: it shows later drawing as well.
PYRELUX_CGL CGLError CGLTexImagePBuffer(CGLContextObj context, CGLPBufferObj pbuffer, GLenum source);
