#pragma once

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

#include "HostInterfaces.h"

namespace pyrelux {

/// The parameter values of the host behind an API manager. Lives for one render; retains nothing.
class HostParameters : public ParameterSource {
 public:
  explicit HostParameters(id<PROAPIAccessing> apiManager) : apiManager_(apiManager) {}
  bool open() override;
  int intValue(std::uint32_t id, double time) override;
  double floatValue(std::uint32_t id, double time) override;
  Colour colourValue(std::uint32_t id, double time) override;
  Point pointValue(std::uint32_t id, double time) override;

 private:
  id<PROAPIAccessing> apiManager_;
  id<FxParameterRetrievalAPI> api_ = nil;
};

/// An image of the host. Lives for one render; retains nothing.
class HostImage : public FrameImage {
 public:
  explicit HostImage(FxImage *image) : image_(static_cast<FxTexture *>(image)) {}
  std::uint64_t imageType() override;
  std::uint64_t width() override;
  std::uint64_t height() override;
  TextureEdges textureEdges() override;
  std::uint64_t origin() override;
  double pixelAspect() override;
  void bind() override;
  void enable() override;
  void disable() override;

 private:
  FxTexture *image_;  ///< a texture only if imageType() says so; callers ask that before any texture's method
};

}  // namespace pyrelux
