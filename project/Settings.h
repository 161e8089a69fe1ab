#pragma once

#include <optional>
#include <string>
#include <vector>

#include "FilterTime.h"
#include "Parameters.h"
#include "Project.h"

namespace pyrelux::project {

/// A parameter's value as a person writes it. Only the filter's declarations tell what the value means.
struct Setting {
  std::string name;
  std::string value;
};

/// Reads "NAME=VALUE". Throws ValueError.
Setting parseSetting(const std::string &text);

/// Sets a parameter. Throws ValueError for an unknown name, and for a value that the parameter does not take.
void applySetting(host::ParameterSet &parameters, const Setting &setting);

/// What sets parameters, the weakest first.
struct Layers {
  const Project *preset = nullptr;   ///< null for none
  const Project *project = nullptr;  ///< null for none
  std::vector<Setting> settings;
  std::optional<int> drawBits;  ///< 8 or 16, for the filter's Color Depth
};

/// Which frame is shown at a time.
struct Clock {
  std::int64_t firstFrame = 1;  ///< at 0 seconds
  FrameRate rate;

  double frameAt(double seconds) const { return static_cast<double>(firstFrame) + seconds * rate.perSecond(); }
};

/// When the filter draws the frames: at the scene's time base, and in the stretch of time that is its seed's.
host::FilterTime filterTimeOf(const Scene &scene, const Clock &clock);

/// Sets what the project sets of these parameters; keyframes that are set by time come to the frames of `clock`.
void applyProject(host::ParameterSet &parameters, const Project &project, const Clock &clock);

/// Applies the layers; keyframes that are set by time come to the frames of `clock`. Returns the bits per channel to
/// draw with, 8 or 16: those of the filter's Color Depth, which is 16 Bit unless a layer says otherwise. Throws
/// ValueError.
int applyLayers(host::ParameterSet &parameters, const Layers &layers, const Clock &clock);

/// What applyLayers() would return.
int drawBitsOf(host::ParameterSet parameters, const Layers &layers);

}  // namespace pyrelux::project
