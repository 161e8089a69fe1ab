#pragma once

#include <cstdint>

// What a render asks its host for, without the host's object model. The plug-in implements both interfaces: each call
// here sends the one matching message to the host, in the same order.

namespace pyrelux {

/// 0 .. 1 for each channel, unless a function says otherwise.
struct Colour {
  double red = 0.0;
  double green = 0.0;
  double blue = 0.0;
};

struct Point {
  double x = 0.0;
  double y = 0.0;
};

/// The host's parameter values at a frame time. Times are in frames and may have a fraction.
class ParameterSource {
 public:
  virtual ~ParameterSource() = default;

  /// Asks the host for the interface to the values; false when it offers none. Called once, before any getter.
  virtual bool open() = 0;

  virtual int intValue(std::uint32_t id, double timeFrames) = 0;
  virtual double floatValue(std::uint32_t id, double timeFrames) = 0;  ///< angles in radians
  virtual Colour colourValue(std::uint32_t id, double timeFrames) = 0;
  virtual Point pointValue(std::uint32_t id, double timeFrames) = 0;  ///< normalised image coordinates
};

/// Texture coordinates of an image's edges.
struct TextureEdges {
  double left = 0.0;
  double right = 0.0;
  double bottom = 0.0;
  double top = 0.0;
};

/// An input or output image of the host's.
class FrameImage {
 public:
  static constexpr std::uint64_t kTexture = 2;        ///< imageType() of an OpenGL texture
  static constexpr std::uint64_t kOriginTopLeft = 2;  ///< origin() of an image whose first row is its top

  virtual ~FrameImage() = default;
  virtual std::uint64_t imageType() = 0;
  virtual std::uint64_t width() = 0;   ///< pixels
  virtual std::uint64_t height() = 0;  ///< pixels
  virtual TextureEdges textureEdges() = 0;
  virtual std::uint64_t origin() = 0;
  virtual double pixelAspect() = 0;
  virtual void bind() = 0;
  virtual void enable() = 0;
  virtual void disable() = 0;
};

}  // namespace pyrelux
