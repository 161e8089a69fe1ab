#include "Look.h"

#include "ColorDepth.h"
#include "HostError.h"
#include "ParameterText.h"
#include "Presets.h"
#include "UsageError.h"

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

}  // namespace

int applyLook(host::ParameterSet &parameters, const RenderOptions &options, const Project &project) {
  // Whatever the file holds; unless something says otherwise.
  if (host::findColorDepth(parameters)) host::setDeep(parameters, true);
  if (options.preset)
    for (const std::string &setting : presetNamed(*options.preset).settings) applySetting(parameters, setting);
  for (const auto &[id, keyframes] : project.parameters) parameters.setKeyframes(*parameters.find(id), keyframes);
  host::ParameterSet typed(parameters.declarations());
  for (const std::string &setting : options.settings) {
    applySetting(parameters, setting);
    applySetting(typed, setting);
  }
  if (!options.drawBits) return host::isEverDeep(parameters) ? 16 : 8;
  const bool isDeep = options.drawBits == "16";
  const host::ParameterDeclaration *depth = host::findColorDepth(parameters);
  if (depth && typed.isSet(depth->id) && host::isEverDeep(typed) != isDeep)
    throw UsageError("--draw-bits " + *options.drawBits + " and --set " + depth->slug() +
                     " ask for different depths; give one of them");
  host::setDeep(parameters, isDeep);
  return isDeep ? 16 : 8;
}

}  // namespace pyrelux::cli
