#include "Edits.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"
#include "ParameterText.h"
#include "Presets.h"
#include "TestPattern.h"
#include "ValueError.h"

namespace pyrelux::studio {

namespace {

using host::Keyframe;
using host::ParameterDeclaration;
using host::ParameterKind;
using host::ParameterValue;

/// What of a scene belongs to a text.
void clearTitle(project::Scene &scene) { scene.title = {}; }

const ParameterDeclaration &parameterNamed(const Json &edit, const std::vector<ParameterDeclaration> &declarations) {
  const std::string slug = textIn(edit, "parameter");
  for (const ParameterDeclaration &parameter : declarations)
    if (parameter.slug() == slug && parameter.kind != ParameterKind::Custom) return parameter;
  throw Refusal("there is no parameter '" + slug + "'", slug);
}

std::size_t numbersOf(ParameterKind kind) {
  return kind == ParameterKind::Colour ? 3 : kind == ParameterKind::Point ? 2 : 1;
}

double finite(const Json &number, const ParameterDeclaration &parameter) {
  if (!number.is_number() || !std::isfinite(number.get<double>()))
    throw Refusal("'" + parameter.slug() + "' takes " + host::formatTakes(parameter), parameter.slug());
  return number.get<double>();
}

ParameterValue valueOf(const Json &json, const ParameterDeclaration &parameter) {
  const std::size_t count = numbersOf(parameter.kind);
  ParameterValue value{};
  if (count == 1) {
    value[0] = finite(json, parameter);
  } else {
    if (!json.is_array() || json.size() != count)
      throw Refusal("'" + parameter.slug() + "' takes " + host::formatTakes(parameter), parameter.slug());
    for (std::size_t at = 0; at < count; ++at) value[at] = finite(json[at], parameter);
  }
  return value;
}

Keyframe keyframeOf(const Json &json, const ParameterDeclaration &parameter) {
  if (!json.is_object()) throw Refusal("'" + parameter.slug() + "' has a keyframe that is none", parameter.slug());
  Keyframe keyframe;
  keyframe.frame = numberIn(json, "frame");
  if (!json.contains("value")) throw Refusal("a keyframe of '" + parameter.slug() + "' has no value", parameter.slug());
  keyframe.value = valueOf(json["value"], parameter);
  if (const auto name = optionalTextIn(json, "ease")) {
    const auto ease = host::easeNamed(*name);
    if (!ease) throw Refusal("there is no ease '" + *name + "'", parameter.slug());
    keyframe.ease = *ease;
  }
  if (keyframe.ease != host::Ease::Bezier) return keyframe;
  const Json &curve = listIn(json, "curve");
  if (curve.size() != keyframe.curve.size()) throw Refusal("'curve' takes x1, y1, x2, y2", parameter.slug());
  for (std::size_t at = 0; at < curve.size(); ++at) keyframe.curve[at] = finite(curve[at], parameter);
  return keyframe;
}

std::vector<Keyframe> keyframesOf(const Json &json, const ParameterDeclaration &parameter) {
  if (!json.is_array() || json.empty())
    throw Refusal("'" + parameter.slug() + "' takes a keyframe at least", parameter.slug());
  std::vector<Keyframe> keyframes;
  for (const Json &item : json) keyframes.push_back(keyframeOf(item, parameter));
  std::sort(keyframes.begin(), keyframes.end(),
            [](const Keyframe &one, const Keyframe &other) { return one.frame < other.frame; });
  // The frame of a constant means nothing.
  if (keyframes.size() == 1) keyframes = host::constant(keyframes[0].value);
  return keyframes;
}

void editParameter(Content &content, const Json &edit, const std::vector<ParameterDeclaration> &declarations) {
  const ParameterDeclaration &parameter = parameterNamed(edit, declarations);
  project::Project &project = content.project;
  std::optional<std::vector<Keyframe>> keyframes;
  if (edit.contains("value"))
    keyframes = host::constant(valueOf(edit["value"], parameter));
  else if (edit.contains("keyframes"))
    keyframes = keyframesOf(edit["keyframes"], parameter);
  else if (!flagIn(edit, "reset"))
    throw Refusal("'" + parameter.slug() + "' gets no value, no keyframes and no reset", parameter.slug());
  project.timed.erase(parameter.id);
  project.parameters.erase(parameter.id);
  if (!keyframes) return;
  try {
    host::ParameterSet(declarations).setKeyframes(parameter, *keyframes);
  } catch (const host::HostError &error) {
    throw Refusal(error.what(), parameter.slug());
  }
  project.parameters[parameter.id] = std::move(*keyframes);
}

void editScene(Content &content, const Json &edit, const Folders &folders) {
  const std::string key = textIn(edit, "scene");
  const auto &fields = project::sceneFields();
  const auto field =
      std::find_if(fields.begin(), fields.end(), [&](const project::SceneField &one) { return one.key == key; });
  if (field == fields.end()) throw Refusal("there is no field '" + key + "'", key);
  project::Scene &scene = content.project.scene;
  if (!isIn(edit, "value")) return field->clear(scene);
  const Json &value = edit["value"];
  std::string text = value.is_string() ? value.get<std::string>() : value.is_object() ? "" : value.dump();
  const bool isFile = key == "text-file" || key == "font-file";
  if (isFile) text = folders.resolve(text, key);
  try {
    field->parse(scene, text);
  } catch (const ValueError &error) {
    throw Refusal("'" + key + "': " + error.what(), key);
  }
  if (key != "text" && key != "text-file") return;
  content.input.reset();
  content.testPattern.reset();
  if (key == "text") scene.title.textFile.reset();
  if (key == "text-file") scene.title.text.reset();
}

void editInput(Content &content, const Json &edit, const Folders &folders) {
  const auto path = optionalTextIn(edit, "input");
  content.input.reset();
  if (!path) return;
  content.input = folders.resolve(*path, "input");
  content.testPattern.reset();
  clearTitle(content.project.scene);
}

void editPattern(Content &content, const Json &edit) {
  content.testPattern = optionalTextIn(edit, "testPattern");
  if (!content.testPattern) return;
  const auto &names = testPatternNames();
  if (std::find(names.begin(), names.end(), *content.testPattern) == names.end())
    throw Refusal("there is no test pattern '" + *content.testPattern + "'", "testPattern");
  content.input.reset();
  clearTitle(content.project.scene);
}

/// Names only, so that no file of the disk can be named.
project::Project presetNamed(const std::string &name, const std::vector<ParameterDeclaration> &declarations) {
  const auto names = project::presetNames();
  if (std::find(names.begin(), names.end(), name) == names.end())
    throw Refusal("there is no preset '" + name + "'", "preset");
  return project::loadPreset(name, declarations);
}

}  // namespace

Content withLook(Content content, const project::Project &look) {
  project::Scene &scene = content.project.scene;
  for (const project::SceneField &field : project::sceneFields())
    if (field.isLook) field.clear(scene);
  project::fillIn(scene, look.scene, true);
  content.project.parameters = look.parameters;
  content.project.timed = look.timed;
  return content;
}

Content edited(const Content &content, const Json &edits, const std::vector<ParameterDeclaration> &declarations,
               const Folders &folders) {
  Content result = content;
  for (const Json &edit : edits) {
    if (!edit.is_object()) throw Refusal("an edit is no object", "edits");
    if (edit.contains("parameter"))
      editParameter(result, edit, declarations);
    else if (edit.contains("scene"))
      editScene(result, edit, folders);
    else if (edit.contains("input"))
      editInput(result, edit, folders);
    else if (edit.contains("testPattern"))
      editPattern(result, edit);
    else if (edit.contains("preset"))
      result = withLook(std::move(result), presetNamed(textIn(edit, "preset"), declarations));
    else
      throw Refusal("an edit says nothing that can be edited", "edits");
  }
  return result;
}

void requireFiles(const project::Project &project, const Folders &folders) {
  if (project.scene.title.textFile) folders.require(*project.scene.title.textFile, "text-file");
  if (project.scene.title.fontFile) folders.require(*project.scene.title.fontFile, "font-file");
  if (project.preset && project::isPresetPath(*project.preset)) folders.require(*project.preset, "preset");
}

}  // namespace pyrelux::studio
