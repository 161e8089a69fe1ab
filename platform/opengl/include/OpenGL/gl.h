#pragma once

// The part of the OpenGL framework's <OpenGL/gl.h> that filter and hosts use, for platforms without that framework.
//
// Each function is inline and calls through the dispatch table of the thread's current context, as in CGL. Therefore
// one process can draw with several backends, and no exported symbol named gl… can replace another library's functions
// in a host program. Without a current context every call does nothing and returns 0.

#include <cstdint>

using GLenum = std::uint32_t;
using GLbitfield = std::uint32_t;
using GLuint = std::uint32_t;
using GLint = std::int32_t;
using GLsizei = std::int32_t;
using GLboolean = std::uint8_t;
using GLubyte = std::uint8_t;
using GLfloat = float;
using GLclampf = float;
using GLdouble = double;
using GLvoid = void;

/// The functions of one backend. No entry is null.
struct PyreluxGLDispatch {
#define PYRELUX_GL(result, name, parameters, arguments) result(*name) parameters;
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL
};

/// The table of the thread's current context; never null. Thread: any.
extern "C" __attribute__((visibility("default"))) const PyreluxGLDispatch *pyreluxCurrentGL();

#define PYRELUX_GL(result, name, parameters, arguments) \
  inline result gl##name parameters { return pyreluxCurrentGL()->name arguments; }
#include <OpenGL/GLFunctions.inc>
#undef PYRELUX_GL

constexpr GLboolean GL_FALSE = 0;
constexpr GLboolean GL_TRUE = 1;

constexpr GLenum GL_NO_ERROR = 0;
constexpr GLenum GL_INVALID_ENUM = 0x0500;
constexpr GLenum GL_INVALID_VALUE = 0x0501;
constexpr GLenum GL_INVALID_OPERATION = 0x0502;
constexpr GLenum GL_OUT_OF_MEMORY = 0x0505;

constexpr GLbitfield GL_DEPTH_BUFFER_BIT = 0x0100;
constexpr GLbitfield GL_COLOR_BUFFER_BIT = 0x4000;

constexpr GLenum GL_QUADS = 0x0007;
constexpr GLenum GL_FRONT_LEFT = 0x0400;
constexpr GLenum GL_FRONT_AND_BACK = 0x0408;
constexpr GLenum GL_FILL = 0x1B02;
constexpr GLenum GL_FLAT = 0x1D00;

constexpr GLenum GL_ONE = 1;
constexpr GLenum GL_ONE_MINUS_SRC_ALPHA = 0x0303;
constexpr GLenum GL_ALWAYS = 0x0207;

constexpr GLenum GL_POLYGON_SMOOTH = 0x0B41;
constexpr GLenum GL_LIGHTING = 0x0B50;
constexpr GLenum GL_DEPTH_TEST = 0x0B71;
constexpr GLenum GL_ALPHA_TEST = 0x0BC0;
constexpr GLenum GL_BLEND = 0x0BE2;

constexpr GLenum GL_MODELVIEW = 0x1700;
constexpr GLenum GL_PROJECTION = 0x1701;

constexpr GLenum GL_TEXTURE_2D = 0x0DE1;
constexpr GLenum GL_TEXTURE0 = 0x84C0;
constexpr GLenum GL_TEXTURE_MAG_FILTER = 0x2800;
constexpr GLenum GL_TEXTURE_MIN_FILTER = 0x2801;
constexpr GLenum GL_TEXTURE_WRAP_S = 0x2802;
constexpr GLenum GL_TEXTURE_WRAP_T = 0x2803;
constexpr GLenum GL_NEAREST = 0x2600;
constexpr GLenum GL_LINEAR = 0x2601;
constexpr GLenum GL_LINEAR_MIPMAP_LINEAR = 0x2703;
constexpr GLenum GL_CLAMP_TO_EDGE = 0x812F;

constexpr GLenum GL_UNSIGNED_BYTE = 0x1401;
constexpr GLenum GL_FLOAT = 0x1406;
constexpr GLenum GL_RGBA = 0x1908;
constexpr GLenum GL_RGBA8 = 0x8058;

constexpr GLenum GL_UNPACK_ALIGNMENT = 0x0CF5;
constexpr GLenum GL_PACK_ALIGNMENT = 0x0D05;
constexpr GLenum GL_PACK_INVERT_MESA = 0x8758;
/// Ours (GL_PYRELUX_unpack_invert): while it is not 0, glTexImage2D takes the upper row first.
constexpr GLenum GL_UNPACK_INVERT_PYRELUX = 0x7059;

constexpr GLenum GL_VENDOR = 0x1F00;
constexpr GLenum GL_RENDERER = 0x1F01;
constexpr GLenum GL_VERSION = 0x1F02;
constexpr GLenum GL_EXTENSIONS = 0x1F03;
