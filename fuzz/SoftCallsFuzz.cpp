// Calls of OpenGL and CGL in any order with any arguments: each has to be an error or to draw, never to crash.
//
// Handles are live ones or null, and memory is as large as a call may touch, to the byte: what GL leaves undefined is
// left out. Images that would be allocated are small, arguments that only have to be refused are not.

#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "Backends.h"
#include "FuzzBytes.h"

namespace {

using pyrelux::fuzz::FuzzBytes;

constexpr int mostCalls = 256;
constexpr std::int64_t mostPixels = 64 * 64;
constexpr GLint largestSide = 16384;

constexpr GLenum enumerants[] = {GL_COLOR_BUFFER_BIT,
                                 GL_QUADS,
                                 GL_FRONT_AND_BACK,
                                 GL_FILL,
                                 GL_FLAT,
                                 0x1D01,
                                 GL_ONE,
                                 0,
                                 GL_ONE_MINUS_SRC_ALPHA,
                                 GL_ALWAYS,
                                 GL_POLYGON_SMOOTH,
                                 GL_LIGHTING,
                                 GL_DEPTH_TEST,
                                 GL_ALPHA_TEST,
                                 GL_BLEND,
                                 GL_MODELVIEW,
                                 GL_PROJECTION,
                                 GL_TEXTURE_2D,
                                 GL_TEXTURE_RECTANGLE_EXT,
                                 GL_TEXTURE0,
                                 GL_TEXTURE_MAG_FILTER,
                                 GL_TEXTURE_MIN_FILTER,
                                 GL_TEXTURE_WRAP_S,
                                 GL_TEXTURE_WRAP_T,
                                 GL_NEAREST,
                                 GL_LINEAR,
                                 GL_LINEAR_MIPMAP_LINEAR,
                                 GL_CLAMP_TO_EDGE,
                                 0x2901,
                                 GL_UNSIGNED_BYTE,
                                 GL_FLOAT,
                                 GL_RGBA,
                                 GL_RGBA8,
                                 GL_RGBA16F_ARB,
                                 GL_RGBA32F_ARB,
                                 GL_UNPACK_ALIGNMENT,
                                 GL_PACK_ALIGNMENT,
                                 GL_VENDOR,
                                 GL_RENDERER,
                                 GL_VERSION,
                                 GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT,
                                 GL_FRAGMENT_PROGRAM_ARB};
constexpr GLenum targets[] = {GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_2D};
constexpr GLint wholes[] = {0,
                            1,
                            2,
                            3,
                            4,
                            5,
                            7,
                            8,
                            16,
                            31,
                            32,
                            33,
                            63,
                            64,
                            -1,
                            -2,
                            -5,
                            -64,
                            1000,
                            largestSide,
                            largestSide + 1,
                            std::numeric_limits<GLint>::max(),
                            std::numeric_limits<GLint>::min()};
constexpr float reals[] = {0.0f,
                           1.0f,
                           -1.0f,
                           0.5f,
                           2.0f,
                           3.0f,
                           8.0f,
                           16.0f,
                           31.5f,
                           32.0f,
                           64.0f,
                           0.25f,
                           -0.5f,
                           10.3f,
                           1e-5f,
                           0.1f,
                           1e9f,
                           -1e9f,
                           1e30f,
                           1.6e7f,
                           -1.6e7f,
                           127.0f,
                           63.99f,
                           std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN()};

class Caller {
 public:
  Caller(const std::uint8_t *data, std::size_t size) : bytes_(data, size) {}

  ~Caller() {
    for (CGLPBufferObj &pbuffer : pbuffers_) destroy(pbuffer);
    for (CGLContextObj &context : contexts_) destroy(context);
    CGLSetCurrentContext(nullptr);
  }
  Caller(const Caller &) = delete;
  Caller &operator=(const Caller &) = delete;

  void run() {
    makeContext(contexts_[0], nullptr);
    CGLSetCurrentContext(contexts_[0]);
    pbuffers_[0] = makePBuffer();
    CGLSetPBuffer(contexts_[0], pbuffers_[0], 0, 0, 0);
    for (int i = 0; i < mostCalls && !bytes_.empty(); ++i) call();
  }

 private:
  GLenum anEnum() { return bytes_.oneOf(enumerants); }
  GLint whole() { return bytes_.oneOf(wholes); }
  float real() { return bytes_.oneOf(reals); }
  // Several at once are taken in order; the order of a call's arguments is the compiler's.
  template <std::size_t count>
  std::array<float, count> theReals() {
    std::array<float, count> numbers;
    for (float &number : numbers) number = real();
    return numbers;
  }
  template <std::size_t count>
  std::array<GLint, count> theWholes() {
    std::array<GLint, count> numbers;
    for (GLint &number : numbers) number = whole();
    return numbers;
  }
  GLint rarely() { return bytes_.chance(16) ? whole() : 0; }
  /// Mostly right, so that calls get past their first check.
  GLenum mostly(GLenum right) { return bytes_.chance(16) ? anEnum() : right; }
  CGLContextObj &context() { return contexts_[static_cast<std::size_t>(bytes_.below(3))]; }
  CGLPBufferObj &pbuffer() { return pbuffers_[static_cast<std::size_t>(bytes_.below(4))]; }

  void destroy(CGLContextObj &context) {
    CGLDestroyContext(context);
    context = nullptr;
  }
  void destroy(CGLPBufferObj &pbuffer) {
    CGLDestroyPBuffer(pbuffer);
    pbuffer = nullptr;
  }

  void makeContext(CGLContextObj &into, CGLContextObj share) {
    std::vector<CGLPixelFormatAttribute> attributes;
    if (!bytes_.chance(16)) {
      attributes.push_back(kCGLPFARendererID);
      // The backends that draw nothing check nothing either.
      const GLint backend = bytes_.chance(16) ? pyrelux::platform::kBackendGPU : pyrelux::platform::kBackendSoft;
      attributes.push_back(static_cast<CGLPixelFormatAttribute>(backend));
    }
    if (bytes_.chance(2)) attributes.push_back(kCGLPFAColorFloat);
    while (bytes_.chance(4)) attributes.push_back(static_cast<CGLPixelFormatAttribute>(bytes_.byte()));
    if (bytes_.chance(64)) attributes.push_back(static_cast<CGLPixelFormatAttribute>(whole()));
    // The last attribute may take one zero for its value.
    attributes.insert(attributes.end(), 2, static_cast<CGLPixelFormatAttribute>(0));
    CGLPixelFormatObj format = nullptr;
    GLint count = 0;
    CGLChoosePixelFormat(attributes.data(), &format, &count);
    if (share == into) share = nullptr;
    destroy(into);
    CGLCreateContext(format, share, &into);
    CGLDestroyPixelFormat(format);
  }

  /// A size that may be anything, but is small if it is legal.
  std::pair<GLsizei, GLsizei> size() {
    auto [width, height] = theWholes<2>();
    const bool legal = width > 0 && height > 0 && width <= largestSide && height <= largestSide;
    if (legal && std::int64_t{width} * height > mostPixels) {
      width = width % 64 + 1;
      height = height % 64 + 1;
    }
    return {width, height};
  }

  CGLPBufferObj makePBuffer() {
    const auto [width, height] = size();
    CGLPBufferObj made = nullptr;
    const GLenum target = mostly(GL_TEXTURE_RECTANGLE_EXT);
    const GLenum format = mostly(GL_RGBA);
    CGLCreatePBuffer(width, height, target, format, rarely(), &made);
    return made;
  }

  void callCGL() {
    switch (bytes_.below(12)) {
      case 0: {
        const CGLContextObj share = context();
        return makeContext(context(), share);
      }
      case 1:
        return destroy(context());
      case 2:
      case 3:
        CGLSetCurrentContext(context());
        return;
      case 4: {
        CGLPBufferObj &into = pbuffer();
        destroy(into);
        into = makePBuffer();
        return;
      }
      case 5:
        return destroy(pbuffer());
      case 6:
      case 7: {
        const CGLContextObj to = bytes_.chance(4) ? context() : CGLGetCurrentContext();
        const CGLPBufferObj into = pbuffer();
        const GLenum face = bytes_.chance(16) ? anEnum() : 0;
        const GLint level = rarely();
        CGLSetPBuffer(to, into, face, level, rarely());
        return;
      }
      case 8:
      case 9: {
        const CGLContextObj to = bytes_.chance(4) ? context() : CGLGetCurrentContext();
        const CGLPBufferObj from = pbuffer();
        CGLTexImagePBuffer(to, from, mostly(GL_FRONT_LEFT));
        return;
      }
      case 10: {
        GLint screen = 0;
        const CGLContextObj of = context();
        CGLGetVirtualScreen(of, bytes_.chance(2) ? &screen : nullptr);
        return;
      }
      default:
        if (!CGLErrorString(static_cast<CGLError>(whole()))) std::abort();
        CGLCreateContext(nullptr, context(), nullptr);
        CGLChoosePixelFormat(nullptr, nullptr, nullptr);
        CGLCreatePBuffer(1, 1, 0, 0, 0, nullptr);
    }
  }

  /// As many bytes as a picture with the current alignment may take.
  static std::size_t pictureBytes(GLsizei width, GLsizei height, GLenum type, GLint alignment) {
    if (width <= 0 || height <= 0) return 0;
    const auto row = static_cast<std::size_t>(width) * 4 * (type == GL_FLOAT ? sizeof(float) : 1);
    const auto unit = static_cast<std::size_t>(alignment);
    return (row + unit - 1) / unit * unit * (static_cast<std::size_t>(height) - 1) + row;
  }

  void texImage() {
    const auto [width, height] = size();
    const GLenum type = bytes_.chance(16) ? anEnum() : bytes_.chance(2) ? GL_FLOAT : GL_UNSIGNED_BYTE;
    constexpr GLenum stored[] = {GL_RGBA, GL_RGBA8, GL_RGBA16F_ARB, GL_RGBA32F_ARB};
    const GLenum target = mostly(bytes_.pick(targets));
    const GLenum internal = mostly(bytes_.pick(stored));
    const GLint level = rarely(), border = rarely();
    const GLenum format = mostly(GL_RGBA);
    std::vector<std::uint8_t> pixels;
    if (width <= mostPixels && height <= mostPixels && !bytes_.chance(8))
      pixels.resize(pictureBytes(width, height, type, unpackAlignment_));
    // A few bytes of input, over and over with a change, are a picture; as floats, any numbers.
    std::uint8_t seed[5];
    for (std::uint8_t &part : seed) part = bytes_.byte();
    for (std::size_t i = 0; i < pixels.size(); ++i)
      pixels[i] = static_cast<std::uint8_t>(seed[i % 5] + i / 64 * seed[4]);
    glTexImage2D(target, level, static_cast<GLint>(internal), width, height, border, format, type,
                 pixels.empty() ? nullptr : pixels.data());
  }

  void readPixels() {
    auto [x, y, width, height] = theWholes<4>();
    const GLenum format = mostly(GL_RGBA);
    const GLenum type = bytes_.chance(16) ? anEnum() : bytes_.chance(2) ? GL_FLOAT : GL_UNSIGNED_BYTE;
    // A region that meets a surface is written; others may be as large as they like.
    const auto misses = [](std::int64_t from, std::int64_t count) { return from + count <= 0 || from >= largestSide; };
    const bool large = width > 80 || height > 80;
    if (large && !misses(x, width) && !misses(y, height)) {
      width %= 80;
      height %= 80;
    }
    std::vector<std::uint8_t> pixels;
    if (width <= 80 && height <= 80) pixels.resize(pictureBytes(width, height, type, packAlignment_));
    // Where nothing is written, any place will do.
    std::uint8_t nothing = 0;
    void *to = pixels.empty() ? &nothing : pixels.data();
    glReadPixels(x, y, width, height, format, type, bytes_.chance(16) ? nullptr : to);
  }

  void pixelStore() {
    const GLenum name = mostly(bytes_.chance(2) ? GL_PACK_ALIGNMENT : GL_UNPACK_ALIGNMENT);
    const GLint value = bytes_.chance(4) ? whole() : 1 << bytes_.below(4);
    glPixelStorei(name, value);
    // It may have been refused or not; the largest alignment asks for the most memory.
    (name == GL_PACK_ALIGNMENT ? packAlignment_ : unpackAlignment_) = 8;
  }

  /// A rectangle, or nearly one.
  void quad() {
    const auto [x0, y0, x1, y1] = theReals<4>();
    const auto [s0, t0, s1, t1] = theReals<4>();
    const float xs[] = {x0, x1, x1, x0}, ys[] = {y0, y0, y1, y1}, ss[] = {s0, s1, s1, s0}, ts[] = {t0, t0, t1, t1};
    const int first = bytes_.below(4);
    for (int i = 0; i < 4; ++i) {
      const int corner = (first + i) % 4;
      glTexCoord2f(ss[corner], bytes_.chance(128) ? real() : ts[corner]);
      glVertex2f(xs[corner], bytes_.chance(128) ? real() : ys[corner]);
    }
  }

  void colour() {
    const auto [red, green, blue, alpha] = theReals<4>();
    glColor4f(red, green, blue, alpha);
  }

  void draw() {
    glBegin(mostly(GL_QUADS));
    for (int i = bytes_.below(8); i > 0; --i) {
      if (bytes_.chance(2)) colour();
      quad();
      if (bytes_.chance(8)) call();
    }
    if (!bytes_.chance(32)) glEnd();
  }

  void names() {
    std::array<GLuint, 8> list;
    for (GLuint &name : list) name = bytes_.chance(8) ? bytes_.any<GLuint>() : bytes_.byte() % 16u;
    const bool null = bytes_.chance(8);
    const GLsizei count = bytes_.chance(8) ? -bytes_.below(100) : bytes_.below(9);
    if (bytes_.chance(2))
      glGenTextures(count, null ? nullptr : list.data());
    else
      glDeleteTextures(count, null ? nullptr : list.data());
  }

  void callState() {
    switch (bytes_.below(16)) {
      case 0:
        return glActiveTexture(mostly(GL_TEXTURE0));
      case 1: {
        const GLenum function = mostly(GL_ALWAYS);
        return glAlphaFunc(function, real());
      }
      case 2:
      case 3: {
        const GLenum source = mostly(GL_ONE);
        return glBlendFunc(source, bytes_.chance(2) ? GL_ONE : anEnum());
      }
      case 4: {
        // Bit by bit; a whole byte for each would nearly always be true.
        const int mask = bytes_.byte();
        return glColorMask(mask & 1, mask & 2, mask & 4, mask & 8);
      }
      case 5:
        return glDisable(anEnum());
      case 6:
      case 7:
        return glEnable(bytes_.chance(2) ? anEnum() : bytes_.chance(2) ? GL_BLEND : bytes_.pick(targets));
      case 8: {
        const GLenum face = anEnum();
        return glPolygonMode(face, anEnum());
      }
      case 9:
        return glShadeModel(bytes_.chance(2) ? GL_FLAT : anEnum());
      case 10:
        return glLoadIdentity();
      case 11:
        return glMatrixMode(bytes_.chance(2) ? GL_MODELVIEW : mostly(GL_PROJECTION));
      case 12: {
        const auto edges = theReals<6>();
        return glOrtho(edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]);
      }
      case 13:
        // Window pixels, for a start.
        glLoadIdentity();
        return glOrtho(0, 64, 0, 64, -1, 1);
      case 14: {
        const auto box = theWholes<4>();
        return glViewport(box[0], box[1], box[2], box[3]);
      }
      default:
        return pixelStore();
    }
  }

  /// What a texture needs to be complete.
  void completeTexture() {
    const GLenum target = bytes_.pick(targets);
    const auto filter = static_cast<GLint>(bytes_.chance(2) ? GL_NEAREST : GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, static_cast<GLint>(GL_CLAMP_TO_EDGE));
    glTexParameteri(target, GL_TEXTURE_WRAP_T, static_cast<GLint>(GL_CLAMP_TO_EDGE));
  }

  void callTexture() {
    const GLenum target = mostly(bytes_.pick(targets));
    if (bytes_.chance(2)) return glBindTexture(target, bytes_.chance(16) ? bytes_.any<GLuint>() : bytes_.byte() % 8u);
    const GLenum name = anEnum();
    if (bytes_.chance(2)) return glTexParameteri(target, name, static_cast<GLint>(anEnum()));
    glTexParameterf(target, name, bytes_.chance(2) ? real() : static_cast<float>(anEnum()));
  }

  void callOther() {
    switch (bytes_.below(16)) {
      case 0:
      case 1:
      case 2:
        return callTexture();
      case 3:
      case 4:
        return completeTexture();
      case 5:
        return glBegin(mostly(GL_QUADS));
      case 6:
        return glClear(bytes_.chance(8) ? anEnum() : GL_COLOR_BUFFER_BIT);
      case 7: {
        const auto [red, green, blue, alpha] = theReals<4>();
        return glClearColor(red, green, blue, alpha);
      }
      case 8:
        return colour();
      case 9:
        return glEnd();
      case 10:
        return bytes_.chance(2) ? glFinish() : glFlush();
      case 11: {
        const auto [s, t] = theReals<2>();
        return glTexCoord2f(s, t);
      }
      case 12: {
        const auto [x, y] = theReals<2>();
        return glVertex2f(x, y);
      }
      case 13:
        glGetError();
        return;
      case 14: {
        GLint value = 0;
        const GLenum name = anEnum();
        return glGetIntegerv(name, bytes_.chance(8) ? nullptr : &value);
      }
      default:
        glGetString(anEnum());
    }
  }

  void call() {
    switch (bytes_.below(10)) {
      case 0:
        return callCGL();
      case 1:
      case 2:
        return callState();
      case 3:
      case 4:
        return callOther();
      case 5:
        return texImage();
      case 6:
        return readPixels();
      case 7:
        return names();
      default:
        return draw();
    }
  }

  FuzzBytes bytes_;
  std::array<CGLContextObj, 3> contexts_{};
  std::array<CGLPBufferObj, 4> pbuffers_{};
  GLint packAlignment_ = 4;
  GLint unpackAlignment_ = 4;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  // One thread: the same input takes the same way each time.
  setenv("PYRELUX_THREADS", "1", 0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Caller(data, size).run();
  return 0;
}
