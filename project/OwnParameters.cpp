#include "OwnParameters.h"

#include <utility>

namespace pyrelux::project {

namespace {

host::ParameterDeclaration fireOpacity() {
  host::ParameterDeclaration parameter;
  parameter.id = fireOpacityId;
  parameter.kind = host::ParameterKind::Float;
  parameter.label = parameter.key = "Fire: Opacity";
  parameter.defaultValue = {100.0};
  parameter.maximum = parameter.sliderMaximum = 100.0;
  parameter.delta = 1.0;
  return parameter;
}

const host::ParameterDeclaration *withKey(const host::ParameterSet &parameters, const std::string &key) {
  for (const host::ParameterDeclaration &parameter : parameters.declarations())
    if (parameter.key == key) return &parameter;
  return nullptr;
}

}  // namespace

std::vector<host::ParameterDeclaration> withOwnParameters(std::vector<host::ParameterDeclaration> declarations) {
  declarations.push_back(fireOpacity());
  return declarations;
}

host::ParameterSet allParameters(const host::Filter &filter) {
  return host::ParameterSet(withOwnParameters(filter.parameters().declarations()));
}

const host::ParameterDeclaration *sourceOpacityOf(const host::ParameterSet &parameters) {
  return withKey(parameters, "Pyrelux::Source: Opacity");
}

const host::ParameterDeclaration *sourceModeOf(const host::ParameterSet &parameters) {
  return withKey(parameters, "Pyrelux::Source: Mode");
}

const host::ParameterDeclaration *flameLengthOf(const host::ParameterSet &parameters) {
  return withKey(parameters, "Pyrelux::Length of Pyrelux");
}

}  // namespace pyrelux::project
