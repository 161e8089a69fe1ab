#include "FrameRenderer.h"

#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <memory>
#include <type_traits>

#include "Backends.h"
#include "FilterObjects.h"
#include "ForeignCalls.h"
#include "Foundation.h"
#include "Numbers.h"

namespace pyrelux::host {

namespace {

/// A filter may leave something behind in its host's contexts, as ours leaves the name of a texture with every frame:
/// 2 kB of Mesa's memory. What is left behind goes with the contexts, which are made anew after so many frames.
constexpr int framesPerContext = 1000;

/// A context of the renderer that draws into surfaces of a depth, sharing with `share` (may be null).
CGLContextObj createContext(std::int32_t backendId, bool floatComponents, CGLContextObj share) {
  CGLPixelFormatAttribute attributes[6];
  int count = 0;
  const auto add = [&](int attribute) { attributes[count++] = static_cast<CGLPixelFormatAttribute>(attribute); };
  add(kCGLPFARendererID);
  add(backendId);
  add(kCGLPFAColorSize);
  add(floatComponents ? 64 : 32);
  if (floatComponents) add(kCGLPFAColorFloat);
  add(0);
  CGLPixelFormatObj format = nullptr;
  GLint formats = 0;
  CGLChoosePixelFormat(attributes, &format, &formats);
  if (!format) throw HostError("the renderer gives no pixel format");
  const std::unique_ptr<std::remove_pointer_t<CGLPixelFormatObj>, decltype(&CGLDestroyPixelFormat)> kept(
      format, CGLDestroyPixelFormat);
  CGLContextObj context = nullptr;
  const CGLError error = CGLCreateContext(format, share, &context);
  if (error) throw HostError(std::string("the renderer gives no context: ") + CGLErrorString(error));
  return context;
}

/// Makes a context current for a block, and none afterwards.
class CurrentFor {
 public:
  explicit CurrentFor(CGLContextObj context) {
    if (const CGLError error = CGLSetCurrentContext(context))
      throw HostError(std::string("the OpenGL context can't be made current: ") + CGLErrorString(error));
  }
  ~CurrentFor() { CGLSetCurrentContext(nullptr); }
  CurrentFor(const CurrentFor &) = delete;
  CurrentFor &operator=(const CurrentFor &) = delete;
};

// GL_MESA_pack_invert's and GL_PYRELUX_unpack_invert's, which not every header has.
constexpr GLenum packInvert = 0x8758;
constexpr GLenum unpackInvert = 0x7059;

/// The same samples with the rows in the opposite order, in `flipped`.
template <typename Sample>
const Sample *flippedInto(std::vector<Sample> &flipped, const std::vector<Sample> &samples, int height) {
  flipped.resize(samples.size());
  const auto row = static_cast<std::ptrdiff_t>(samples.size()) / height;
  for (int y = 0; y < height; ++y)
    std::copy_n(samples.begin() + y * row, row, flipped.begin() + (height - 1 - y) * row);
  return flipped.data();
}

GLuint makeRectangleTexture() {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, name);
  const auto set = [](GLenum parameter, GLenum value) {
    glTexParameteri(GL_TEXTURE_RECTANGLE_EXT, parameter, static_cast<GLint>(value));
  };
  set(GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  set(GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  set(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  set(GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  return name;
}

void checkErrors(const char *when) {
  const GLenum first = glGetError();
  if (first == GL_NO_ERROR) return;
  // The rest are consequences.
  while (glGetError() != GL_NO_ERROR) {
  }
  char code[16];
  std::snprintf(code, sizeof code, "0x%04X", first);
  throw HostError(std::string("OpenGL reports error ") + code + " " + when);
}

FxImageInfo imageInfo(int width, int height, NSUInteger depth, const FrameSettings &settings) {
  FxImageInfo info = {};
  info.width = static_cast<NSUInteger>(width);
  info.height = static_cast<NSUInteger>(height);
  info.depth = depth;
  info.channels = 4;
  info.imageType = kFxImageType_TEXTURE;
  info.origin = settings.origin == Origin::TopLeft ? kFxImageOrigin_TOP_LEFT : kFxImageOrigin_BOTTOM_LEFT;
  info.pixelFormat = kFxPixelFormat_RGBA;
  info.isPremultiplied = YES;
  info.pixelAspect = settings.pixelAspect;
  return info;
}

}  // namespace

/// The output image: a pbuffer whose image is a rectangle texture, in a context whose pixel format has its depth.
struct OutputSurface {
  CGLContextObj context = nullptr;
  CGLPBufferObj pbuffer = nullptr;
  GLuint texture = 0;
  GLsizei width = 0;
  GLsizei height = 0;

  /// Makes the image anew when it has another size. The context is current.
  void fit(GLsizei newWidth, GLsizei newHeight) {
    if (pbuffer && width == newWidth && height == newHeight) return;
    CGLDestroyPBuffer(pbuffer);
    pbuffer = nullptr;
    if (texture) glDeleteTextures(1, &texture);
    CGLError error = CGLCreatePBuffer(newWidth, newHeight, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer);
    if (!error) error = CGLSetPBuffer(context, pbuffer, 0, 0, 0);
    texture = makeRectangleTexture();
    if (!error) error = CGLTexImagePBuffer(context, pbuffer, GL_FRONT_LEFT);
    if (error)
      throw HostError("an output of " + std::to_string(newWidth) + "x" + std::to_string(newHeight) +
                      " pixels can't be made: " + CGLErrorString(error));
    width = newWidth;
    height = newHeight;
  }
};

struct FrameRenderer::Resources {
  std::int32_t backendId = 0;
  OutputSurface outputs[2];  ///< 8-bit and half-float; made when first asked for
  GLuint input = 0;          ///< shared by both contexts
  GLint largestTexture = 0;
  bool readsInverted = false;  ///< pixels are read back from the upper row on if asked for
  bool takesInverted = false;  ///< and taken
  int frames = 0;              ///< drawn with these contexts
  /// An input's rows in the other order; kept, as getting fresh memory takes longer than filling it.
  Image::Bytes flippedBytes;
  Image::Floats flippedFloats;

  ~Resources() {
    for (OutputSurface &output : outputs) {
      CGLDestroyPBuffer(output.pbuffer);
      if (output.context) CGLDestroyContext(output.context);
    }
  }

  /// The same renderer's, with nothing in them.
  std::unique_ptr<Resources> madeAnew() const {
    auto fresh = std::make_unique<Resources>();
    fresh->backendId = backendId;
    fresh->largestTexture = largestTexture;
    fresh->readsInverted = readsInverted;
    fresh->takesInverted = takesInverted;
    return fresh;
  }

  OutputSurface &output(bool floatComponents) {
    OutputSurface &chosen = outputs[floatComponents];
    if (!chosen.context) chosen.context = createContext(backendId, floatComponents, outputs[!floatComponents].context);
    return chosen;
  }

  /// Puts the picture into the input texture, rows in the filter's order. The context is current.
  void upload(const Image &image, Origin origin) {
    if (image.width() > largestTexture || image.height() > largestTexture)
      throw HostError("the picture is " + std::to_string(image.width()) + "x" + std::to_string(image.height()) +
                      " pixels; the renderer takes " + std::to_string(largestTexture) + " on a side at most");
    const bool isReady = image.alpha() == Alpha::Premultiplied;
    const Image made = isReady ? Image() : premultiplied(image);
    const Image &source = isReady ? image : made;
    const bool inverts = origin == Origin::BottomLeft && takesInverted;
    const bool flip = origin == Origin::BottomLeft && !takesInverted;
    if (!input) input = makeRectangleTexture();
    glBindTexture(GL_TEXTURE_RECTANGLE_EXT, input);
    const auto define = [&](GLenum internalFormat, GLenum type, const void *pixels) {
      glTexImage2D(GL_TEXTURE_RECTANGLE_EXT, 0, static_cast<GLint>(internalFormat), image.width(), image.height(), 0,
                   GL_RGBA, type, pixels);
    };
    if (inverts) glPixelStorei(unpackInvert, 1);
    if (source.isFloat())
      define(GL_RGBA32F_ARB, GL_FLOAT,
             flip ? flippedInto(flippedFloats, source.asFloats(), image.height()) : source.asFloats().data());
    else
      define(GL_RGBA8, GL_UNSIGNED_BYTE,
             flip ? flippedInto(flippedBytes, source.asBytes(), image.height()) : source.asBytes().data());
    if (inverts) glPixelStorei(unpackInvert, 0);
  }

  /// The state that a filter finds: the output drawn into, its centre at the origin of the coordinates.
  void prepareOutput(const OutputSurface &output) {
    CGLSetPBuffer(output.context, output.pbuffer, 0, 0, 0);
    glViewport(0, 0, output.width, output.height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const double halfWidth = output.width / 2.0;
    const double halfHeight = output.height / 2.0;
    glOrtho(-halfWidth, halfWidth, -halfHeight, halfHeight, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
  }

  /// Fetches the output image's pixels.
  void readBack(const OutputSurface &output, bool floats, Origin origin, Image &image) const {
    if (CGLGetCurrentContext() != output.context) CGLSetCurrentContext(output.context);
    image.reshape(output.width, output.height, Alpha::Premultiplied, floats);
    const bool flip = origin == Origin::BottomLeft;
    const auto read = [&](auto &samples, GLenum type) {
      if (flip && readsInverted) glPixelStorei(packInvert, 1);
      glReadPixels(0, 0, output.width, output.height, GL_RGBA, type, samples.data());
      if (flip && readsInverted) glPixelStorei(packInvert, 0);
    };
    if (floats)
      read(image.asFloats(), GL_FLOAT);
    else
      read(image.asBytes(), GL_UNSIGNED_BYTE);
    if (flip && !readsInverted) flipRows(image);
  }
};

FrameRenderer::FrameRenderer(std::int32_t backendId) : resources_(std::make_unique<Resources>()) {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  resources_->backendId = backendId;
  const CurrentFor current(resources_->output(false).context);
  glGetIntegerv(GL_MAX_RECTANGLE_TEXTURE_SIZE_EXT, &resources_->largestTexture);
  if (const GLubyte *text = glGetString(GL_RENDERER)) description_ = reinterpret_cast<const char *>(text);
  const GLubyte *extensions = glGetString(GL_EXTENSIONS);
  const auto has = [&](const char *name) {
    return extensions && std::strstr(reinterpret_cast<const char *>(extensions), name);
  };
  resources_->readsInverted = has("GL_MESA_pack_invert");
  resources_->takesInverted = has("GL_PYRELUX_unpack_invert");
}

FrameRenderer::~FrameRenderer() {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  resources_.reset();
}

Image FrameRenderer::render(Filter &filter, const Image &input, double timeFrames, const FrameSettings &settings) {
  Image frame;
  render(filter, input, timeFrames, settings, frame);
  return frame;
}

void FrameRenderer::render(Filter &filter, const Image &input, double timeFrames, const FrameSettings &settings,
                           Image &frame) {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  Filter::Objects &objects = *filter.objects_;
  [objects.retrieval setTopLeftOrigin:settings.origin == Origin::TopLeft];

  if (resources_->frames == framesPerContext) resources_ = resources_->madeAnew();
  ++resources_->frames;
  OutputSurface &output = resources_->output(settings.floatOutput);
  const CurrentFor current(output.context);
  resources_->upload(input, settings.origin);

  const FxImageInfo inputInfo = imageInfo(input.width(), input.height(), input.isFloat() ? 32 : 8, settings);
  FxRenderInfo renderInfo = {};
  renderInfo.frame = timeFrames;
  renderInfo.qualityLevel = kFxQuality_HIGH;
  renderInfo.fieldOrder = kFxField_PROGRESSIVE;
  renderInfo.scaleX = 1.0;
  renderInfo.scaleY = 1.0;
  renderInfo.sharedContext = output.context;
  renderInfo.depth = settings.floatOutput ? kFxDepth_FLOAT16 : kFxDepth_UINT8;

  const std::string name = "the filter '" + filter.info().displayName + "'";
  const std::string atTime = " the frame at time " + formatNumber(timeFrames);
  const auto setUp = [&] {
    BOOL hardware = NO;
    BOOL software = NO;
    if (!guarded(name, [&] {
          return [objects.filter frameSetup:renderInfo inputInfo:inputInfo hardware:&hardware software:&software];
        }))
      throw HostError(name + " refused to set up" + atTime);
    if (!hardware) throw HostError(name + " does not render with OpenGL");
  };
  const auto fitOutput = [&] {
    UInt64 width = 0;
    UInt64 height = 0;
    if (!guarded(name,
                 [&] {
                   return [objects.filter getOutputWidth:&width height:&height withInput:inputInfo withInfo:renderInfo];
                 }) ||
        width == 0 || height == 0)
      throw HostError(name + " gives no output size");
    output.fit(static_cast<GLsizei>(width), static_cast<GLsizei>(height));
  };
  const auto draw = [&] {
    resources_->prepareOutput(output);
    FxTexture *inputImage = [[[FxTexture alloc] initWithInfo:inputInfo textureName:resources_->input] autorelease];
    FxTexture *outputImage =
        [[[FxTexture alloc] initWithInfo:imageInfo(output.width, output.height, settings.floatOutput ? 16 : 8, settings)
                             textureName:output.texture] autorelease];
    if (!guarded(name,
                 [&] { return [objects.filter renderOutput:outputImage withInput:inputImage withInfo:renderInfo]; }))
      throw HostError(name + " refused" + atTime);
  };
  std::exception_ptr failure;
  try {
    setUp();
    fitOutput();
    draw();
  } catch (...) {
    failure = std::current_exception();
  }
  // A clean-up follows every set-up. Not inside the handler above: there an exception of Objective-C's would terminate.
  try {
    guarded(name, [&] { [objects.filter frameCleanup]; });
  } catch (const HostError &) {
    if (!failure) failure = std::current_exception();
  }
  if (failure) std::rethrow_exception(failure);

  resources_->readBack(output, settings.floatOutput, settings.origin, frame);
  checkErrors("after the frame");
}

}  // namespace pyrelux::host
