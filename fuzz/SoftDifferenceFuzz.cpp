// Legal sequences of calls, drawn by the fast rasteriser and by the reference: the same to the byte on 8-bit surfaces,
// and to rounding on float ones.

#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Backends.h"
#include "FuzzBytes.h"
#include "Rasteriser.h"

namespace {

using pyrelux::fuzz::FuzzBytes;

constexpr GLenum rectangle = GL_TEXTURE_RECTANGLE_EXT;
constexpr int mostSteps = 24;
/// Of all quads of a run, so that the reference takes milliseconds.
constexpr double mostPixels = 60000;
constexpr int sides[] = {1, 2, 3, 7, 16, 17, 31, 32, 33, 48, 63, 64, 65, 96, 127, 128, 129};

struct Images {
  bool floats = false;
  int quads = 0;
  std::array<std::vector<float>, 2> surfaces;
};

/// Two surfaces: the second is the first one's texture now and then.
class Painter {
 public:
  Painter(const std::uint8_t *data, std::size_t size) : bytes_(data, size) {}

  Images paint() {
    const int header = bytes_.byte();
    floats_ = header & 1;
    textureFloats_ = header & 2;
    for (std::size_t i = 0; i < 2; ++i) {
      Surface &surface = surfaces_[i];
      surface.width = bytes_.pick(sides);
      surface.height = bytes_.pick(sides);
      surface.context = makeContext(i == 0 ? nullptr : surfaces_[0].context);
      CGLCreatePBuffer(surface.width, surface.height, rectangle, GL_RGBA, 0, &surface.pbuffer);
      begin(surface);
      glMatrixMode(GL_PROJECTION);
      glOrtho(0, surface.width, 0, surface.height, -1, 1);
      glShadeModel(GL_FLAT);
      glClear(GL_COLOR_BUFFER_BIT);
    }
    chooseTexture();
    for (int i = 0; i < mostSteps && !bytes_.empty(); ++i) step();
    Images images;
    images.floats = floats_;
    images.quads = quads_;
    for (std::size_t i = 0; i < 2; ++i) {
      begin(surfaces_[i]);
      images.surfaces[i] = read(surfaces_[i]);
    }
    if (glGetError() != GL_NO_ERROR) std::fprintf(stderr, "a legal call was refused\n"), std::abort();
    for (Surface &surface : surfaces_) {
      CGLDestroyPBuffer(surface.pbuffer);
      CGLDestroyContext(surface.context);
    }
    return images;
  }

 private:
  struct Surface {
    CGLContextObj context = nullptr;
    CGLPBufferObj pbuffer = nullptr;
    int width = 0, height = 0;
  };

  CGLContextObj makeContext(CGLContextObj share) const {
    const CGLPixelFormatAttribute bytes[] = {
        kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(pyrelux::platform::kBackendSoft),
        static_cast<CGLPixelFormatAttribute>(floats_ ? kCGLPFAColorFloat : 0), static_cast<CGLPixelFormatAttribute>(0)};
    CGLPixelFormatObj format = nullptr;
    GLint count = 0;
    CGLContextObj context = nullptr;
    CGLChoosePixelFormat(bytes, &format, &count);
    CGLCreateContext(format, share, &context);
    CGLDestroyPixelFormat(format);
    return context;
  }

  void begin(Surface &surface) {
    current_ = &surface;
    CGLSetCurrentContext(surface.context);
    CGLSetPBuffer(surface.context, surface.pbuffer, 0, 0, 0);
  }

  /// Whole levels for both kinds of surfaces: on bytes as they are, on floats in 255ths.
  std::vector<float> read(const Surface &surface) const {
    std::vector<float> values(static_cast<std::size_t>(surface.width) * static_cast<std::size_t>(surface.height) * 4);
    glReadPixels(0, 0, surface.width, surface.height, GL_RGBA, GL_FLOAT, values.data());
    return values;
  }

  void chooseTexture() {
    glBindTexture(rectangle, 1 + bytes_.byte() % 2u);
    const auto filter = static_cast<GLint>(bytes_.chance(4) ? GL_NEAREST : GL_LINEAR);
    glTexParameteri(rectangle, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(rectangle, GL_TEXTURE_MAG_FILTER, filter);
    const bool same = bytes_.chance(2);
    textureWidth_ = same ? current_->width : bytes_.pick(sides);
    textureHeight_ = same ? current_->height : bytes_.pick(sides);
    const int kind = bytes_.byte();
    const int base = bytes_.byte(), alongX = bytes_.byte(), alongY = bytes_.byte(), along = bytes_.byte();
    const float largest = textureFloats_ && bytes_.chance(4) ? 4.0f : 1.0f;
    const auto levelAt = [&](int x, int y, int channel) {
      // Few texels that are not empty, channels alike, an opaque alpha: what the fast paths look for.
      if ((kind & 1) && (x / 16 + y / 8) % 3) return 0;
      if ((kind & 2) && channel == 3) return 255;
      const int differing = kind & 4 ? 0 : channel * along;
      return (base + x * alongX + y * alongY + x * y * along + differing) & 255;
    };
    std::vector<std::uint8_t> levels;
    std::vector<float> values;
    for (int y = 0; y < textureHeight_; ++y)
      for (int x = 0; x < textureWidth_; ++x)
        for (int channel = 0; channel < 4; ++channel) {
          levels.push_back(static_cast<std::uint8_t>(levelAt(x, y, channel)));
          values.push_back(static_cast<float>(levels.back()) / 255.0f * largest);
        }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    const GLenum stored = textureFloats_ ? GL_RGBA32F_ARB : GL_RGBA8;
    glTexImage2D(rectangle, 0, static_cast<GLint>(stored), textureWidth_, textureHeight_, 0, GL_RGBA,
                 textureFloats_ ? GL_FLOAT : GL_UNSIGNED_BYTE,
                 textureFloats_ ? static_cast<const void *>(values.data()) : levels.data());
    glEnable(rectangle);
  }

  float colourChannel() {
    const int kind = bytes_.byte();
    if (kind < 32) return 0.0f;
    if (kind < 64) return 1.0f;
    return static_cast<float>(std::pow(10.0, -5.0 * bytes_.byte() / 255.0));
  }

  std::array<float, 4> colour() {
    std::array<float, 4> channels;
    for (float &channel : channels) channel = colourChannel();
    return channels;
  }

  /// A place along one direction, in 256ths of a pixel and so that nothing is far off.
  float place(int pixels) {
    const int eighths = bytes_.byte() - 64;
    return static_cast<float>(eighths) / 128.0f * static_cast<float>(pixels) +
           static_cast<float>(bytes_.byte()) / 256.0f;
  }

  struct Span {
    float from, to, textureFrom, textureTo;
  };

  Span span(int texels, int pixels) {
    Span span{};
    const int kind = bytes_.byte();
    const bool cropped = kind & 1, mirrored = (kind & 14) == 14;
    span.textureFrom = cropped ? static_cast<float>(bytes_.byte() % 100) / 100.0f * static_cast<float>(texels) : 0.0f;
    span.textureTo = static_cast<float>(texels);
    const float size = span.textureTo - span.textureFrom;
    span.from = kind & 16 ? std::floor(place(pixels)) : place(pixels);
    const bool scaled = kind & 32;
    span.to = span.from + (scaled ? size * static_cast<float>(bytes_.byte()) / 100.0f : size);
    // Beyond the edges of the texture, too.
    if ((kind & 192) == 192) span.textureTo += static_cast<float>(bytes_.byte());
    if (mirrored) std::swap(span.textureFrom, span.textureTo);
    return span;
  }

  void quads() {
    // Some passes have the many copies of a flame.
    const int repeats = bytes_.chance(4) ? 1 + bytes_.byte() * 4 : 1;
    const int count = 1 + bytes_.below(12);
    glBegin(GL_QUADS);
    for (int i = 0; i < count; ++i) {
      const auto tint = colour();
      const Span x = span(textureWidth_, current_->width), y = span(textureHeight_, current_->height);
      glColor4f(tint[0], tint[1], tint[2], tint[3]);
      const float drift = static_cast<float>(bytes_.byte()) / 64.0f;
      const auto covered = [](const Span &along, int pixels) {
        return std::min(static_cast<double>(std::abs(along.to - along.from)), static_cast<double>(pixels)) + 1;
      };
      const double area = covered(x, current_->width) * covered(y, current_->height);
      for (int j = 0; j < repeats && pixels_ < mostPixels; ++j) {
        const float shift = drift * static_cast<float>(j % 16), rise = drift * static_cast<float>(j / 16);
        glTexCoord2f(x.textureFrom, y.textureFrom);
        glVertex2f(x.from + shift, y.from + rise);
        glTexCoord2f(x.textureTo, y.textureFrom);
        glVertex2f(x.to + shift, y.from + rise);
        glTexCoord2f(x.textureTo, y.textureTo);
        glVertex2f(x.to + shift, y.to + rise);
        glTexCoord2f(x.textureFrom, y.textureTo);
        glVertex2f(x.from + shift, y.to + rise);
        pixels_ += area;
        ++quads_;
      }
    }
    glEnd();
  }

  void step() {
    switch (bytes_.below(10)) {
      case 0: {
        const auto [red, green, blue, alpha] = colour();
        glClearColor(red, green, blue, alpha);
        return glClear(GL_COLOR_BUFFER_BIT);
      }
      case 1: {
        const int mask = bytes_.byte();
        return glColorMask(mask & 1, mask & 2, mask & 4, mask & 8);
      }
      case 2: {
        constexpr GLenum destinations[] = {GL_ONE, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, 0};
        glEnable(GL_BLEND);
        return glBlendFunc(GL_ONE, bytes_.pick(destinations));
      }
      case 3:
        return chooseTexture();
      case 4:
        return glFlush();
      case 5: {
        const int x = bytes_.byte() - 64, y = bytes_.byte() - 64, width = bytes_.byte(), height = bytes_.byte();
        return bytes_.chance(2) ? glViewport(0, 0, current_->width, current_->height) : glViewport(x, y, width, height);
      }
      case 6:
        bytes_.chance(2) ? glEnable(rectangle) : glDisable(rectangle);
        return bytes_.chance(4) ? glDisable(GL_BLEND) : glEnable(GL_BLEND);
      case 7:
        return showOther();
      default:
        return quads();
    }
  }

  /// The other surface's image over this one, or a part of it anywhere.
  void showOther() {
    Surface &from = *current_, &to = surfaces_[current_ == &surfaces_[0] ? 1 : 0];
    begin(to);
    glBindTexture(rectangle, 3 + (current_ == &surfaces_[0] ? 1 : 0));
    CGLTexImagePBuffer(to.context, from.pbuffer, GL_FRONT_LEFT);
    textureWidth_ = from.width;
    textureHeight_ = from.height;
    glEnable(rectangle);
    if (bytes_.chance(2)) quads();
    chooseTexture();
  }

  FuzzBytes bytes_;
  bool floats_ = false;
  bool textureFloats_ = false;
  std::array<Surface, 2> surfaces_;
  Surface *current_ = nullptr;
  int textureWidth_ = 1;
  int textureHeight_ = 1;
  double pixels_ = 0;
  int quads_ = 0;
};

[[noreturn]] void fail(std::size_t surface, std::size_t sample, float fast, float reference) {
  std::fprintf(stderr, "surface %zu, pixel %zu, channel %zu: drawn %.9g, by the reference %.9g\n", surface, sample / 4,
               sample % 4, static_cast<double>(fast), static_cast<double>(reference));
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  // One thread: the same input takes the same way each time.
  setenv("PYRELUX_THREADS", "1", 0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const Images fast = Painter(data, size).paint();
  pyrelux::soft::useReferenceOnly(true);
  const Images reference = Painter(data, size).paint();
  pyrelux::soft::useReferenceOnly(false);
  for (std::size_t i = 0; i < 2; ++i) {
    const auto &values = reference.surfaces[i];
    const float largest = *std::max_element(values.begin(), values.end());
    for (std::size_t at = 0; at < values.size(); ++at) {
      // On floats copies are summed in another order, each addition off by half a unit of single precision, and very
      // many at once by transforms, whose error goes with the largest sum.
      const float rounding = std::max(1e-5f, static_cast<float>(reference.quads) * 6e-8f);
      const float slack = fast.floats ? rounding * (1 + values[at]) + 2e-6f * largest : 0.0f;
      if (!(std::abs(values[at] - fast.surfaces[i][at]) <= slack)) fail(i, at, fast.surfaces[i][at], values[at]);
    }
  }
  return 0;
}
