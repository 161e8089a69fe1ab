#include "ProjectSchema.h"

#include <nlohmann/json.hpp>

#include "Presets.h"
#include "Project.h"

namespace pyrelux::project {

namespace {

using host::ParameterDeclaration;
using host::ParameterKind;
using Json = nlohmann::ordered_json;

Json numberIn(double minimum, double maximum) {
  return {{"type", "number"}, {"minimum", minimum}, {"maximum", maximum}};
}

Json listOf(const Json &item, std::size_t count) {
  return {{"type", "array"}, {"items", item}, {"minItems", count}, {"maxItems", count}};
}

Json valueOf(const ParameterDeclaration &parameter) {
  switch (parameter.kind) {
    case ParameterKind::Integer:
      return {{"type", "integer"},
              {"minimum", static_cast<int>(parameter.minimum)},
              {"maximum", static_cast<int>(parameter.maximum)}};
    case ParameterKind::Colour:
      return {
          {"anyOf",
           {{{"type", "string"}, {"pattern", "^(#([0-9A-Fa-f]{3}){1,2}|[A-Za-z]+)$"}}, listOf(numberIn(0.0, 1.0), 3)}}};
    case ParameterKind::Point:
      return listOf({{"type", "number"}}, 2);
    case ParameterKind::Popup:
      return {{"enum", parameter.entries}};
    default:
      return numberIn(parameter.minimum, parameter.maximum);
  }
}

/// A value, or keyframes with such values.
Json describe(const ParameterDeclaration &parameter) {
  const Json value = valueOf(parameter);
  const Json keyframe = {{"$ref", "#/$defs/keyframe"}, {"properties", {{"value", value}}}};
  Json described;
  described["title"] = parameter.label;
  if (parameter.kind != ParameterKind::Popup && !parameter.unit().empty()) described["description"] = parameter.unit();
  const Json keyframes = {{"type", "array"}, {"items", keyframe}, {"minItems", 1}};
  described["anyOf"] = Json::array({value, keyframes});
  return described;
}

Json keyframe() {
  Json names = Json::array();
  for (const std::string &name : host::easeNames()) names.push_back(name);
  const Json across = numberIn(0.0, 1.0);
  const Json up = numberIn(-host::maxSwing, host::maxSwing);
  Json curve = listOf(Json::object(), 4);
  curve["description"] = "x1, y1, x2, y2 of the curve from 0,0 to 1,1; across goes the time, up the value";
  curve["prefixItems"] = Json::array({across, up, across, up});
  curve.erase("items");
  Json keyframe = {{"type", "object"}, {"required", Json::array({"value"})}};
  keyframe["oneOf"] = {{{"required", Json::array({"frame"})}}, {{"required", Json::array({"time"})}}};
  keyframe["properties"]["frame"] = numberIn(-host::maxFrame, host::maxFrame);
  keyframe["properties"]["time"] = numberIn(-maxSeconds, maxSeconds);
  keyframe["properties"]["time"]["description"] = "Seconds from the first frame on";
  keyframe["properties"]["value"] = true;
  keyframe["properties"]["ease"] = {
      {"enum", names}, {"default", "linear"}, {"description", "How the value goes on to the next keyframe"}};
  keyframe["properties"]["bezier"] = curve;
  keyframe["additionalProperties"] = false;
  const Json isBezier = {{"properties", {{"ease", {{"const", "bezier"}}}}}, {"required", Json::array({"ease"})}};
  keyframe["if"] = isBezier;
  keyframe["then"] = {{"required", Json::array({"bezier"})}};
  keyframe["else"] = {{"properties", {{"bezier", false}}}};
  return keyframe;
}

/// As the option of that name takes it.
Json describe(const SceneField &field) {
  Json described;
  if (field.isFlag()) {
    described["type"] = "boolean";
  } else if (field.takesOnlyChoices()) {
    for (const std::string &choice : field.choices) {
      described["enum"].push_back(choice);
      if (field.takesNumber) described["enum"].push_back(std::stoi(choice));
    }
  } else if (field.takesNumber) {
    described["type"] = {"string", "number"};
  } else {
    described["type"] = "string";
  }
  described["description"] = field.brief + field.details;
  return described;
}

}  // namespace

std::string projectSchema(const std::vector<ParameterDeclaration> &declarations) {
  Json parameters = {{"type", "object"}, {"properties", Json::object()}, {"additionalProperties", false}};
  for (const ParameterDeclaration &parameter : declarations)
    if (parameter.kind != ParameterKind::Custom) parameters["properties"][parameter.slug()] = describe(parameter);

  Json schema;
  schema["$schema"] = "https://json-schema.org/draft/2020-12/schema";
  schema["title"] = "A project of pyrelux";
  schema["type"] = "object";
  schema["required"] = Json::array({"version"});
  Json &properties = schema["properties"];
  properties["$schema"] = {{"type", "string"}};
  properties["version"] = {{"const", projectVersion}};
  properties["description"] = {{"type", "string"}, {"description", "What a preset looks like, in one sentence"}};
  const Json path = {{"type", "string"}, {"pattern", "\\.json$"}};
  properties["preset"]["description"] = "The preset that the parameters below change";
  properties["preset"]["anyOf"] = Json::array({{{"enum", presetNames()}}, path});
  for (const SceneField &field : sceneFields()) properties[field.key] = describe(field);
  properties["parameters"] = parameters;
  schema["additionalProperties"] = false;
  schema["$defs"]["keyframe"] = keyframe();
  return schema.dump(2) + "\n";
}

}  // namespace pyrelux::project
