#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Filter.h"
#include "Image.h"

namespace pyrelux::host {

/// Where the rows of the images that a filter sees begin; hosts of both kinds exist.
enum class Origin { BottomLeft, TopLeft };

struct FrameSettings {
  bool floatOutput = false;  ///< half-float output instead of 8-bit
  Origin origin = Origin::BottomLeft;
  double pixelAspect = 1.0;  ///< of input and output: width of a pixel / its height
};

/// Runs a filter on one frame: upload, set-up, render, clean-up, read-back. Owns an OpenGL context and the two images,
/// and keeps them from frame to frame. Thread: one at a time. Instances serialise on a process-wide lock. No context is
/// left current.
class FrameRenderer {
 public:
  /// `backendId` as chooseBackend() gives it. Throws HostError when it gives no context.
  explicit FrameRenderer(std::int32_t backendId);
  ~FrameRenderer();
  FrameRenderer(const FrameRenderer &) = delete;
  FrameRenderer &operator=(const FrameRenderer &) = delete;

  /// One frame at the frame time (a frame number, fractions allowed): premultiplied, bytes or floats as the settings
  /// say. `input` may have either alpha and either kind of samples. Throws HostError: an input larger than the
  /// renderer's textures, a filter that renders in software only, that refuses to set the frame up or to draw it, or
  /// that leaves an OpenGL error.
  Image render(Filter &filter, const Image &input, double timeFrames, const FrameSettings &settings);
  /// The same into `frame`, whose memory is used again if it fits: of the two the faster one for many frames. After an
  /// exception `frame` holds nothing of use.
  void render(Filter &filter, const Image &input, double timeFrames, const FrameSettings &settings, Image &frame);

  /// What OpenGL says it is.
  const std::string &description() const { return description_; }

 private:
  struct Resources;
  std::unique_ptr<Resources> resources_;
  std::string description_;
};

}  // namespace pyrelux::host
