// Texture objects, uploads and readback.

#include <algorithm>
#include <cstring>

#include "Arithmetic.h"
#include "SoftContext.h"
#include "SoftLimits.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

constexpr GLenum GL_REPEAT = 0x2901;

bool isTarget(GLenum target) { return target == GL_TEXTURE_2D || target == GL_TEXTURE_RECTANGLE_EXT; }

/// Bytes from one row of a client's picture to the next.
std::size_t clientStride(GLsizei width, GLenum type, GLint alignment) {
  const std::size_t bytes = static_cast<std::size_t>(width) * 4 * (type == GL_FLOAT ? sizeof(float) : 1);
  const auto unit = static_cast<std::size_t>(alignment);
  return (bytes + unit - 1) / unit * unit;
}

void copyRow(const std::uint8_t *from, std::uint8_t *to, std::size_t count) { std::memcpy(to, from, count); }
void copyRow(const float *from, float *to, std::size_t count) { std::memcpy(to, from, count * sizeof(float)); }
void copyRow(const float *from, std::uint8_t *to, std::size_t count) {
  std::transform(from, from + count, to, toLevel);
}
void copyRow(const std::uint8_t *from, float *to, std::size_t count) {
  std::transform(from, from + count, to, [](std::uint8_t level) { return static_cast<float>(level) / 255.0f; });
}

/// Calls work(y) for rows 0 .. count - 1 of `bytes` each. Many bytes are shared among all threads.
template <typename Work>
void forRows(int count, std::size_t bytes, Work work) {
  constexpr std::size_t pieceBytes = std::size_t{512} << 10;
  const int rows = static_cast<int>(std::clamp<std::size_t>(pieceBytes / bytes, 1, maxTextureSize));
  parallelFor((count + rows - 1) / rows, [&](int piece) {
    for (int y = piece * rows; y < std::min((piece + 1) * rows, count); ++y) work(y);
  });
}

template <typename From>
void copyInto(Pixels &pixels, int y, const void *row) {
  const auto *from = static_cast<const From *>(row);
  const auto count = static_cast<std::size_t>(pixels.width()) * 4;
  if (pixels.samples() == Samples::Byte)
    copyRow(from, pixels.byteRow(y), count);
  else
    copyRow(from, pixels.floatRow(y), count);
}

template <typename To>
void copyOut(const Pixels &pixels, int x, int y, int count, To *to) {
  const auto samples = static_cast<std::size_t>(count) * 4;
  if (pixels.samples() == Samples::Byte)
    copyRow(pixels.byteRow(y) + 4 * x, to, samples);
  else
    copyRow(pixels.floatRow(y) + 4 * x, to, samples);
}

}  // namespace

TextureObject *SoftContext::boundTexture(GLenum target) {
  return target == GL_TEXTURE_2D ? bound2D_.get() : boundRectangle_.get();
}

void SoftContext::GenTextures(GLsizei count, GLuint *names) {
  if (refusedInside()) return;
  if (count < 0 || (count > 0 && !names)) return fail(GL_INVALID_VALUE);
  const std::lock_guard<std::mutex> lock(group_->mutex);
  for (GLsizei i = 0; i < count; ++i) {
    while (group_->textures.count(++group_->lastName) || group_->lastName == 0) {
    }
    names[i] = group_->lastName;
    group_->textures[names[i]] = std::make_shared<TextureObject>();
  }
}

void SoftContext::DeleteTextures(GLsizei count, const GLuint *names) {
  if (refusedInside()) return;
  if (count < 0 || (count > 0 && !names)) return fail(GL_INVALID_VALUE);
  const std::lock_guard<std::mutex> lock(group_->mutex);
  for (GLsizei i = 0; i < count; ++i) {
    const auto found = group_->textures.find(names[i]);
    if (found == group_->textures.end()) continue;
    if (bound2D_ == found->second) bound2D_ = default2D_;
    if (boundRectangle_ == found->second) boundRectangle_ = defaultRectangle_;
    group_->textures.erase(found);
  }
}

void SoftContext::BindTexture(GLenum target, GLuint name) {
  if (refusedInside()) return;
  if (!isTarget(target)) return fail(GL_INVALID_ENUM);
  auto &bound = target == GL_TEXTURE_2D ? bound2D_ : boundRectangle_;
  // The lock also covers the texture that is unbound here: its destructor may detach it from a surface.
  const std::lock_guard<std::mutex> lock(group_->mutex);
  if (name == 0) {
    bound = target == GL_TEXTURE_2D ? default2D_ : defaultRectangle_;
    return;
  }
  auto &texture = group_->textures[name];
  if (!texture) texture = std::make_shared<TextureObject>();
  if (texture->target == 0) texture->bindTo(target);
  if (texture->target != target) return fail(GL_INVALID_OPERATION);
  bound = texture;
}

void SoftContext::TexParameteri(GLenum target, GLenum name, GLint value) {
  if (refusedInside()) return;
  if (!isTarget(target)) return fail(GL_INVALID_ENUM);
  const std::lock_guard<std::mutex> lock(group_->mutex);
  TextureObject &texture = *boundTexture(target);
  const auto wanted = static_cast<GLenum>(value);
  const bool plain = wanted == GL_NEAREST || wanted == GL_LINEAR;
  const bool mipmapped = wanted >= 0x2700 && wanted <= GL_LINEAR_MIPMAP_LINEAR;
  switch (name) {
    case GL_TEXTURE_MIN_FILTER:
      if (!plain && !(mipmapped && target == GL_TEXTURE_2D)) return fail(GL_INVALID_ENUM);
      texture.minFilter = wanted;
      return;
    case GL_TEXTURE_MAG_FILTER:
      if (!plain) return fail(GL_INVALID_ENUM);
      texture.magFilter = wanted;
      return;
    case GL_TEXTURE_WRAP_S:
    case GL_TEXTURE_WRAP_T:
      if (wanted != GL_CLAMP_TO_EDGE && !(wanted == GL_REPEAT && target == GL_TEXTURE_2D)) return fail(GL_INVALID_ENUM);
      (name == GL_TEXTURE_WRAP_S ? texture.wrapS : texture.wrapT) = wanted;
      return;
    default:
      fail(GL_INVALID_ENUM);
  }
}

void SoftContext::TexParameterf(GLenum target, GLenum name, GLfloat value) {
  // This also excludes values that no integer can represent.
  if (!(value >= 0.0f && value <= 65535.0f)) {
    if (!refusedInside()) fail(GL_INVALID_ENUM);
    return;
  }
  TexParameteri(target, name, static_cast<GLint>(value));
}

void SoftContext::TexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
                             GLint border, GLenum format, GLenum type, const GLvoid *data) {
  if (refusedInside()) return;
  if (!isTarget(target) || format != GL_RGBA || (type != GL_UNSIGNED_BYTE && type != GL_FLOAT))
    return fail(GL_INVALID_ENUM);
  const auto stored = static_cast<GLenum>(internalFormat);
  const bool bytes = stored == GL_RGBA || stored == GL_RGBA8;
  if (!bytes && stored != GL_RGBA16F_ARB && stored != GL_RGBA32F_ARB) return fail(GL_INVALID_VALUE);
  if (level != 0 || border != 0 || width < 0 || height < 0 || width > maxTextureSize || height > maxTextureSize)
    return fail(GL_INVALID_VALUE);

  std::shared_ptr<Pixels> image;
  if (width > 0 && height > 0) {
    try {
      const Samples samples = bytes ? Samples::Byte : Samples::Float;
      image = data ? std::make_shared<Pixels>(Pixels::Undefined(), samples, width, height)
                   : std::make_shared<Pixels>(samples, width, height);
    } catch (const std::bad_alloc &) {
      return fail(GL_OUT_OF_MEMORY);
    }
    if (data) {
      const std::size_t stride = clientStride(width, type, unpackAlignment_);
      forRows(height, stride, [&](int y) {
        const auto place = static_cast<std::size_t>(unpackInverted_ ? height - 1 - y : y);
        const auto *row = static_cast<const std::uint8_t *>(data) + place * stride;
        if (type == GL_FLOAT)
          copyInto<float>(*image, y, row);
        else
          copyInto<std::uint8_t>(*image, y, row);
      });
    }
  }
  const std::lock_guard<std::mutex> lock(group_->mutex);
  TextureObject &texture = *boundTexture(target);
  texture.detach();
  texture.image = std::move(image);
}

void SoftContext::ReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                             GLvoid *data) {
  if (refusedInside()) return;
  if (format != GL_RGBA || (type != GL_UNSIGNED_BYTE && type != GL_FLOAT)) return fail(GL_INVALID_ENUM);
  // A null pointer is valid when there are no pixels to read.
  const bool isEmpty = width == 0 || height == 0;
  if (width < 0 || height < 0 || (!data && !isEmpty)) return fail(GL_INVALID_VALUE);
  if (!surface_) return fail(GL_INVALID_OPERATION);
  const std::lock_guard<std::mutex> lock(group_->mutex);
  const std::shared_ptr<const Pixels> image = surface_->image();
  const Pixels &pixels = *image;
  // Pixels outside the surface leave the caller's memory as it was.
  const auto x0 = static_cast<int>(std::max<std::int64_t>(x, 0));
  const auto x1 = static_cast<int>(std::min<std::int64_t>(std::int64_t{x} + width, pixels.width()));
  const auto y0 = static_cast<int>(std::max<std::int64_t>(y, 0));
  const auto y1 = static_cast<int>(std::min<std::int64_t>(std::int64_t{y} + height, pixels.height()));
  if (x0 >= x1 || y0 >= y1) return;
  const std::size_t stride = clientStride(width, type, packAlignment_);
  const std::size_t pixelBytes = 4 * (type == GL_FLOAT ? sizeof(float) : 1);
  forRows(y1 - y0, stride, [&](int i) {
    const int row = y0 + i;
    const int place = packInverted_ ? height - 1 - (row - y) : row - y;
    auto *to = static_cast<std::uint8_t *>(data) + static_cast<std::size_t>(place) * stride +
               static_cast<std::size_t>(x0 - x) * pixelBytes;
    if (type == GL_FLOAT)
      copyOut(pixels, x0, row, x1 - x0, reinterpret_cast<float *>(to));
    else
      copyOut(pixels, x0, row, x1 - x0, to);
  });
}

}  // namespace pyrelux::soft
