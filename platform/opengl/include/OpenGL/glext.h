#pragma once

// Constants of the OpenGL extensions that the filter and its hosts use.

#include <OpenGL/gl.h>

constexpr GLenum GL_TEXTURE_RECTANGLE_EXT = 0x84F5;           // EXT_texture_rectangle
constexpr GLenum GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT = 0x84F8;  // EXT_texture_rectangle
constexpr GLenum GL_FRAGMENT_PROGRAM_ARB = 0x8804;            // ARB_fragment_program
constexpr GLenum GL_RGBA32F_ARB = 0x8814;                     // ARB_texture_float
constexpr GLenum GL_RGBA16F_ARB = 0x881A;                     // ARB_texture_float
