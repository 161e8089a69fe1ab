// State, matrices and queries.

#include <utility>

#include "SoftContext.h"
#include "SoftLimits.h"

namespace pyrelux::soft {

namespace {

constexpr GLenum GL_MAX_TEXTURE_SIZE = 0x0D33;
constexpr GLenum GL_SMOOTH = 0x1D01;
constexpr GLenum GL_ZERO = 0;

}  // namespace

void SoftContext::ActiveTexture(GLenum unit) {
  if (refusedInside()) return;
  // Only one texture unit exists.
  if (unit != GL_TEXTURE0) fail(GL_INVALID_ENUM);
}

void SoftContext::AlphaFunc(GLenum function, GLclampf) {
  if (refusedInside()) return;
  if (function != GL_ALWAYS) fail(GL_INVALID_ENUM);
}

void SoftContext::BlendFunc(GLenum source, GLenum destination) {
  if (refusedInside()) return;
  if (source == GL_ONE && destination == GL_ONE)
    blend_ = Blend::Add;
  else if (source == GL_ONE && destination == GL_ONE_MINUS_SRC_ALPHA)
    blend_ = Blend::Over;
  else if (source == GL_ONE && destination == GL_ZERO)
    blend_ = Blend::Replace;
  else
    fail(GL_INVALID_ENUM);
}

void SoftContext::ColorMask(GLboolean red, GLboolean green, GLboolean blue, GLboolean alpha) {
  if (refusedInside()) return;
  mask_ = {red != 0, green != 0, blue != 0, alpha != 0};
}

bool *SoftContext::capability(GLenum name) {
  switch (name) {
    case GL_BLEND:
      return &blendEnabled_;
    case GL_TEXTURE_2D:
      return &texture2DEnabled_;
    case GL_TEXTURE_RECTANGLE_EXT:
      return &rectangleEnabled_;
    case GL_ALPHA_TEST:
      return &alphaTestEnabled_;
    default:
      return nullptr;
  }
}

void SoftContext::Disable(GLenum name) {
  if (refusedInside()) return;
  switch (name) {
    // Capabilities that this backend lacks are always off.
    case GL_DEPTH_TEST:
    case GL_LIGHTING:
    case GL_POLYGON_SMOOTH:
    case GL_FRAGMENT_PROGRAM_ARB:
      return;
    default:
      break;
  }
  if (bool *enabled = capability(name))
    *enabled = false;
  else
    fail(GL_INVALID_ENUM);
}

void SoftContext::Enable(GLenum name) {
  if (refusedInside()) return;
  if (bool *enabled = capability(name))
    *enabled = true;
  else
    fail(GL_INVALID_ENUM);
}

void SoftContext::PolygonMode(GLenum face, GLenum mode) {
  if (refusedInside()) return;
  if (face != GL_FRONT_AND_BACK || mode != GL_FILL) fail(GL_INVALID_ENUM);
}

void SoftContext::ShadeModel(GLenum mode) {
  if (refusedInside()) return;
  if (mode == GL_FLAT || mode == GL_SMOOTH)
    shadeModel_ = mode;
  else
    fail(GL_INVALID_ENUM);
}

void SoftContext::MatrixMode(GLenum mode) {
  if (refusedInside()) return;
  if (mode == GL_MODELVIEW || mode == GL_PROJECTION)
    matrixMode_ = mode;
  else
    fail(GL_INVALID_ENUM);
}

void SoftContext::LoadIdentity() {
  if (refusedInside()) return;
  (matrixMode_ == GL_MODELVIEW ? modelview_ : projection_) = AxisTransform{};
}

void SoftContext::Ortho(GLdouble left, GLdouble right, GLdouble bottom, GLdouble top, GLdouble zNear, GLdouble zFar) {
  if (refusedInside()) return;
  const std::array<double, 3> low{left, bottom, zNear};
  const std::array<double, 3> high{right, top, zFar};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (low[axis] == high[axis]) {
      fail(GL_INVALID_VALUE);
      return;
    }
  }
  AxisTransform &matrix = matrixMode_ == GL_MODELVIEW ? modelview_ : projection_;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    // glOrtho mirrors the z axis.
    const double direction = axis == 2 ? -1.0 : 1.0;
    const double offset = -(high[axis] + low[axis]) / (high[axis] - low[axis]);
    matrix.offset[axis] += matrix.scale[axis] * offset;
    matrix.scale[axis] *= direction * 2.0 / (high[axis] - low[axis]);
  }
}

void SoftContext::Viewport(GLint x, GLint y, GLsizei width, GLsizei height) {
  if (refusedInside()) return;
  if (width < 0 || height < 0)
    fail(GL_INVALID_VALUE);
  else
    viewport_ = {x, y, width, height};
}

void SoftContext::PixelStorei(GLenum name, GLint value) {
  if (refusedInside()) return;
  if (name == GL_PACK_INVERT_MESA)
    packInverted_ = value != 0;
  else if (name == GL_UNPACK_INVERT_PYRELUX)
    unpackInverted_ = value != 0;
  else if (name != GL_PACK_ALIGNMENT && name != GL_UNPACK_ALIGNMENT)
    fail(GL_INVALID_ENUM);
  else if (value != 1 && value != 2 && value != 4 && value != 8)
    fail(GL_INVALID_VALUE);
  else
    (name == GL_PACK_ALIGNMENT ? packAlignment_ : unpackAlignment_) = value;
}

GLenum SoftContext::GetError() {
  if (refusedInside()) return GL_NO_ERROR;
  return std::exchange(error_, GL_NO_ERROR);
}

void SoftContext::GetIntegerv(GLenum name, GLint *values) {
  if (refusedInside()) return;
  if (!values)
    fail(GL_INVALID_VALUE);
  else if (name == GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT || name == GL_MAX_TEXTURE_SIZE)
    *values = maxTextureSize;
  else
    fail(GL_INVALID_ENUM);
}

const GLubyte *SoftContext::GetString(GLenum name) {
  if (refusedInside()) return nullptr;
  const char *text = nullptr;
  switch (name) {
    case GL_VENDOR:
      text = "Pyrelux";
      break;
    case GL_RENDERER:
      text = rasteriserDescription().c_str();
      break;
    case GL_VERSION:
      text = "1.4 (the part of it that flames need)";
      break;
    case GL_EXTENSIONS:
      text = "GL_EXT_texture_rectangle GL_MESA_pack_invert GL_PYRELUX_unpack_invert";
      break;
    default:
      fail(GL_INVALID_ENUM);
      return nullptr;
  }
  return reinterpret_cast<const GLubyte *>(text);
}

}  // namespace pyrelux::soft
