#include "ColorDepth.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace pyrelux::host {

namespace {

/// The N of "N Bit", or 0.
int bitsOf(const std::string &entry) {
  std::istringstream words(entry);
  int bits = 0;
  std::string unit;
  return words >> bits >> unit && unit == "Bit" && words.eof() ? bits : 0;
}

/// A menu of nothing but depths.
bool isColorDepth(const ParameterDeclaration &parameter) {
  return parameter.entries.size() > 1 && std::all_of(parameter.entries.begin(), parameter.entries.end(), bitsOf);
}

ParameterValue entryAt(std::vector<std::string>::const_iterator entry, const ParameterDeclaration &depth) {
  return {static_cast<double>(entry - depth.entries.begin())};
}

bool hasFewerBits(const std::string &a, const std::string &b) { return bitsOf(a) < bitsOf(b); }

ParameterValue shallowest(const ParameterDeclaration &depth) {
  return entryAt(std::min_element(depth.entries.begin(), depth.entries.end(), hasFewerBits), depth);
}

ParameterValue deepest(const ParameterDeclaration &depth) {
  return entryAt(std::max_element(depth.entries.begin(), depth.entries.end(), hasFewerBits), depth);
}

}  // namespace

const ParameterDeclaration *findColorDepth(const ParameterSet &parameters) {
  const auto &all = parameters.declarations();
  const auto found = std::find_if(all.begin(), all.end(), isColorDepth);
  return found == all.end() ? nullptr : &*found;
}

ParameterSet deepByDefault(const ParameterSet &parameters) {
  std::vector<ParameterDeclaration> declarations = parameters.declarations();
  for (ParameterDeclaration &parameter : declarations)
    if (isColorDepth(parameter)) parameter.defaultValue = deepest(parameter);
  return ParameterSet(std::move(declarations));
}

bool isDeep(const ParameterSet &parameters, double timeFrames) {
  const ParameterDeclaration *depth = findColorDepth(parameters);
  return !depth || parameters.value(depth->id, timeFrames)[0] == deepest(*depth)[0];
}

bool isEverDeep(const ParameterSet &parameters) {
  const ParameterDeclaration *depth = findColorDepth(parameters);
  if (!depth) return true;
  const std::vector<Keyframe> keyframes = parameters.keyframes(*depth);
  return std::any_of(keyframes.begin(), keyframes.end(),
                     [depth](const Keyframe &keyframe) { return keyframe.value[0] == deepest(*depth)[0]; });
}

void setDeep(ParameterSet &parameters, bool isDeepWanted) {
  if (const ParameterDeclaration *depth = findColorDepth(parameters))
    parameters.set(*depth, isDeepWanted ? deepest(*depth) : shallowest(*depth));
}

}  // namespace pyrelux::host
