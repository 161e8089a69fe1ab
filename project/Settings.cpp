#include "Settings.h"

#include "ColorDepth.h"
#include "HostError.h"
#include "ParameterText.h"
#include "ValueError.h"

namespace pyrelux::project {

namespace {

void applyProject(host::ParameterSet &parameters, const Project *project, const Clock &clock) {
  if (!project) return;
  for (auto [id, keyframes] : project->parameters) {
    if (project->timed.count(id))
      for (host::Keyframe &keyframe : keyframes) keyframe.frame = clock.frameAt(keyframe.frame);
    parameters.setKeyframes(*parameters.find(id), keyframes);
  }
}

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

int applyLayers(host::ParameterSet &parameters, const Layers &layers, const Clock &clock) {
  if (host::findColorDepth(parameters)) host::setDeep(parameters, true);
  applyProject(parameters, layers.preset, clock);
  applyProject(parameters, layers.project, clock);
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
