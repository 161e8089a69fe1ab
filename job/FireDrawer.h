#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Filter.h"
#include "Fire.h"
#include "FrameRenderer.h"
#include "Image.h"
#include "SequentialRenderer.h"

namespace pyrelux::job {

/// Draws the frames of a fire, the same to the bit however they are reached. Thread: one at a time.
class FireDrawer {
 public:
  /// Sets the filter's parameters. `firstFrame`: of the run that counts. Nobody else may render the filter meanwhile;
  /// filter and renderer must outlive this. Throws HostError.
  FireDrawer(host::Filter &filter, host::FrameRenderer &renderer, const Fire &fire, const host::FrameSettings &settings,
             std::int64_t firstFrame, const host::SequentialRenderer::PreRollListener &preRollListener);

  /// Goes on with another fire of the same filter, as after a user's edits: the filter is told of each parameter that
  /// changes. Throws HostError.
  void edit(const Fire &fire, const host::FrameSettings &settings, std::int64_t firstFrame);

  /// Draws a frame: premultiplied, bytes or floats as the settings say, or floats where pictures are laid together.
  /// `input` may have either alpha and either kind of samples. Throws HostError.
  void draw(std::int64_t frame, const Image &input, Image &output);

 private:
  void drawAlone(host::SequentialRenderer &renderer, const Fire &fire, std::int64_t frame, const Image &input,
                 Image &output);

  /// Makes what goes through the frames anew.
  void begin();

  host::Filter &filter_;
  host::FrameRenderer &frameRenderer_;
  Fire fire_;
  host::FrameSettings settings_;
  std::int64_t firstFrame_;
  const host::SequentialRenderer::PreRollListener preRollListener_;
  std::optional<host::SequentialRenderer> renderer_;
  // Of the frames that lead to the first of a loop.
  std::optional<Fire> leadFire_;
  std::unique_ptr<host::Filter> leadFilter_;
  std::optional<host::SequentialRenderer> lead_;
};

}  // namespace pyrelux::job
