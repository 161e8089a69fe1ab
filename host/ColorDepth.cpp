#include "ColorDepth.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace pyrelux::host {

namespace {

// The entries' places: "8 Bit" and "16 Bit".
constexpr ParameterValue shallow{0.0};
constexpr ParameterValue deep{1.0};

bool isColorDepth(const ParameterDeclaration &parameter) { return parameter.keyLabel() == "Color Depth"; }

}  // namespace

const ParameterDeclaration *findColorDepth(const ParameterSet &parameters) {
  const auto &all = parameters.declarations();
  const auto found = std::find_if(all.begin(), all.end(), isColorDepth);
  return found == all.end() ? nullptr : &*found;
}

ParameterSet deepByDefault(const ParameterSet &parameters) {
  std::vector<ParameterDeclaration> declarations = parameters.declarations();
  for (ParameterDeclaration &parameter : declarations)
    if (isColorDepth(parameter)) parameter.defaultValue = deep;
  return ParameterSet(std::move(declarations));
}

bool isDeep(const ParameterSet &parameters, double timeFrames) {
  const ParameterDeclaration *depth = findColorDepth(parameters);
  return !depth || parameters.value(depth->id, timeFrames)[0] == deep[0];
}

bool isEverDeep(const ParameterSet &parameters) {
  const ParameterDeclaration *depth = findColorDepth(parameters);
  if (!depth) return true;
  const std::vector<Keyframe> keyframes = parameters.keyframes(*depth);
  return std::any_of(keyframes.begin(), keyframes.end(),
                     [](const Keyframe &keyframe) { return keyframe.value[0] == deep[0]; });
}

void setDeep(ParameterSet &parameters, bool isDeepWanted) {
  if (const ParameterDeclaration *depth = findColorDepth(parameters))
    parameters.set(*depth, isDeepWanted ? deep : shallow);
}

}  // namespace pyrelux::host
