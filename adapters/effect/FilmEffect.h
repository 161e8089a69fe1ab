#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Effect.h"
#include "Timeline.h"

namespace pyrelux::adapters {

/// The filter for hosts that know all of a parameter's keyframes: any frame in any order, the same to the bit as in one
/// run from frame 0, animated speeds included. Thread: as Effect.
class FilmEffect {
 public:
  /// Throws HostError: no bundle, nothing that draws.
  explicit FilmEffect(const host::FilterInfo &filter);
  ~FilmEffect();

  /// The filter's own, with all at their defaults.
  const host::ParameterSet &defaults() const { return defaults_; }

  /// What a user chose; keyframes are at the frame numbers of render(). Every run begins anew.
  void setParameters(const host::ParameterSet &parameters);

  /// Frame number `frame`, 0 or more; as Effect::render().
  void render(const std::uint8_t *input, std::uint8_t *output, int width, int height, std::int64_t frame,
              double pixelAspect, Composition composition);

 private:
  struct Run;
  Run &runFor(std::int64_t frame);

  host::FilterInfo filter_;
  host::FrameRenderer renderer_;
  host::ParameterSet defaults_;
  host::ParameterSet parameters_;
  std::vector<std::unique_ptr<Run>> runs_;  ///< the one that was used last at the end
  Canvas canvas_;
};

}  // namespace pyrelux::adapters
