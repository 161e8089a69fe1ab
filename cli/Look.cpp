#include "Look.h"

#include "FrameRange.h"
#include "HostError.h"
#include "ParameterText.h"
#include "Presets.h"

namespace pyrelux::cli {

namespace {

void applySetting(host::ParameterSet &parameters, const std::string &setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos || equals == 0) throw UsageError("'" + setting + "' is not NAME=VALUE");
  try {
    const host::ParameterDeclaration &parameter = parameters.named(setting.substr(0, equals));
    parameters.set(parameter, host::parseValue(parameter, setting.substr(equals + 1)));
  } catch (const host::HostError &error) {
    throw UsageError(error.what());
  }
}

/// An 8-bit flame would waste a deep output, so the filter is asked for its deep surface, unless the user chose.
void followDepth(host::ParameterSet &parameters, int bits) {
  for (const host::ParameterDeclaration &parameter : parameters.declarations())
    if (parameter.keyLabel() == "Color Depth" && bits == 16 && !parameters.isSet(parameter.id))
      parameters.set(parameter, {1.0});
}

}  // namespace

void applyLook(host::ParameterSet &parameters, const RenderOptions &options, const Project &project, int bits) {
  if (options.preset)
    for (const std::string &setting : presetNamed(*options.preset).settings) applySetting(parameters, setting);
  for (const auto &[id, keyframes] : project.parameters) parameters.setKeyframes(*parameters.find(id), keyframes);
  for (const std::string &setting : options.settings) applySetting(parameters, setting);
  followDepth(parameters, bits);
}

}  // namespace pyrelux::cli
