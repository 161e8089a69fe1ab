#include "Settings.h"

#include "ColorDepth.h"
#include "HostError.h"
#include "ParameterText.h"
#include "ValueError.h"

namespace pyrelux::project {

namespace {

/// From the fire of one seed to that of the next, in frames: far enough that the noise has nothing in common.
constexpr double seedStride = 1013.0;

}  // namespace

Setting parseSetting(const std::string &text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) throw ValueError("'" + text + "' is not NAME=VALUE");
  return {text.substr(0, equals), text.substr(equals + 1)};
}

void applySetting(host::ParameterSet &parameters, const Setting &setting) {
  try {
    const host::ParameterDeclaration &parameter = parameters.named(setting.name);
    parameters.set(parameter, host::parseValue(parameter, setting.value));
  } catch (const host::HostError &error) {
    throw ValueError(error.what());
  }
}

host::FilterTime filterTimeOf(const Scene &scene, const Clock &clock) {
  host::FilterTime time;
  if (scene.timeBase) time.scale = scene.timeBase->perSecond() / clock.rate.perSecond();
  // The first frame is the same moment at every rate.
  time.origin = static_cast<double>(clock.firstFrame) * (1.0 - time.scale) +
                static_cast<double>(scene.seed.value_or(0)) * seedStride;
  return time;
}

void applyProject(host::ParameterSet &parameters, const Project &project, const Clock &clock) {
  for (auto [id, keyframes] : project.parameters) {
    const host::ParameterDeclaration *parameter = parameters.find(id);
    if (!parameter) continue;
    if (project.timed.count(id))
      for (host::Keyframe &keyframe : keyframes) keyframe.frame = clock.frameAt(keyframe.frame);
    parameters.setKeyframes(*parameter, keyframes);
  }
}

int applyLayers(host::ParameterSet &parameters, const Layers &layers, const Clock &clock) {
  if (host::findColorDepth(parameters)) host::setDeep(parameters, true);
  if (layers.preset) applyProject(parameters, *layers.preset, clock);
  if (layers.project) applyProject(parameters, *layers.project, clock);
  host::ParameterSet typed(parameters.declarations());
  for (const Setting &setting : layers.settings) {
    applySetting(parameters, setting);
    applySetting(typed, setting);
  }
  if (!layers.drawBits) return host::isEverDeep(parameters) ? 16 : 8;
  const bool isDeep = *layers.drawBits == 16;
  const host::ParameterDeclaration *depth = host::findColorDepth(parameters);
  if (depth && typed.isSet(depth->id) && host::isEverDeep(typed) != isDeep)
    throw ValueError("--draw-bits " + std::to_string(*layers.drawBits) + " and --set " + depth->slug() +
                     " ask for different depths; give one of them");
  host::setDeep(parameters, isDeep);
  return *layers.drawBits;
}

int drawBitsOf(host::ParameterSet parameters, const Layers &layers) { return applyLayers(parameters, layers, {}); }

}  // namespace pyrelux::project
