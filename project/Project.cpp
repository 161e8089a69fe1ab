#include "Project.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "HostError.h"
#include "Joined.h"
#include "Numbers.h"
#include "ParameterText.h"
#include "Presets.h"
#include "ValueError.h"

namespace pyrelux::project {

namespace {

using host::Ease;
using host::Keyframe;
using host::ParameterDeclaration;
using host::ParameterKind;
using host::ParameterValue;
using Json = nlohmann::json;

/// Projects have five levels.
constexpr std::size_t maxDepth = 16;

/// Of what other parts say about a text in the file, in bytes.
constexpr std::size_t maxMessage = 400;

[[noreturn]] void fail(const std::string &path, const std::string &what) { throw ProjectError(path + what); }

/// The text's beginning, when it is longer than messages can be.
std::string beginning(const std::string &text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text;
  // Not within a character of several bytes.
  while (maxBytes > 0 && (static_cast<unsigned char>(text[maxBytes]) & 0xC0) == 0x80) --maxBytes;
  return text.substr(0, maxBytes) + "...";
}

/// A text from the file as messages show it.
std::string shown(const std::string &text) { return "'" + beginning(text, 40) + "'"; }

std::string shown(const Json &json) {
  if (json.is_string()) return shown(json.get_ref<const std::string &>());
  if (json.is_number()) return formatNumber(json.get<double>());
  if (json.is_array()) return "a list of " + std::to_string(json.size());
  if (json.is_object()) return "an object";
  return json.dump();
}

[[noreturn]] void refuse(const std::string &path, const Json &json, const std::string &takes) {
  fail(path, " can't be " + shown(json) + ": it takes " + takes);
}

/// Refuses, while the text is read, what the data would no longer show or could not be held well: keys that are there
/// twice, and nesting without end.
class Structure {
 public:
  bool operator()(int depth, Json::parse_event_t event, const Json &parsed) {
    switch (event) {
      case Json::parse_event_t::object_start:
        levels_.emplace_back();
        requireDepth(depth);
        break;
      case Json::parse_event_t::array_start:
        requireDepth(depth);
        break;
      case Json::parse_event_t::object_end:
        levels_.pop_back();
        break;
      case Json::parse_event_t::key:
        levels_.back().key = parsed.get_ref<const std::string &>();
        if (!levels_.back().keys.insert(levels_.back().key).second) fail(shown(path()), " is there twice");
        break;
      default:
        break;
    }
    return true;
  }

 private:
  struct Level {
    std::set<std::string> keys;
    std::string key;  ///< the last
  };

  static void requireDepth(int depth) {
    if (static_cast<std::size_t>(depth) >= maxDepth)
      fail("it", " is nested deeper than " + std::to_string(maxDepth) + " levels");
  }

  std::string path() const {
    std::string path;
    for (const Level &level : levels_) path += (path.empty() ? "" : ".") + level.key;
    return path;
  }

  std::vector<Level> levels_;
};

/// The library's words without its own names and without what it read last, which may be long.
std::string syntaxMessage(std::string text) {
  if (const std::size_t place = text.find("line "); place != std::string::npos) text.erase(0, place);
  if (const std::size_t last = text.find("; last read: "); last != std::string::npos) {
    const std::size_t expected = text.rfind("; expected ");
    const bool hasMore = expected != std::string::npos && expected > last;
    text = text.substr(0, last) + (hasMore ? text.substr(expected) : "");
  }
  return beginning(text, maxMessage);
}

Json parseJson(const std::string &text) {
  try {
    Structure structure;
    return Json::parse(text, std::ref(structure));
  } catch (const Json::parse_error &error) {
    throw ProjectError(syntaxMessage(error.what()));
  } catch (const Json::out_of_range &error) {
    const std::string message = error.what();
    const std::size_t number = message.find('\'') + 1;
    throw ProjectError("no number can be as large as " + shown(message.substr(number, message.size() - number - 1)));
  }
}

void requireKeys(const std::string &path, const Json &object, const std::vector<std::string> &known,
                 const std::string &what) {
  for (const auto &[key, value] : object.items())
    if (std::find(known.begin(), known.end(), key) == known.end()) {
      fail(path.empty() ? shown(key) : path + "." + shown(key), " is not known: " + what + " has " + joined(known));
    }
}

double parseNumber(const std::string &path, const Json &json, const std::string &takes) {
  if (!json.is_number()) refuse(path, json, takes);
  return json.get<double>();
}

/// A list of exactly that many numbers.
std::vector<double> parseNumbers(const std::string &path, const Json &json, std::size_t count,
                                 const std::string &takes) {
  if (!json.is_array() || json.size() != count) refuse(path, json, takes);
  std::vector<double> numbers;
  for (std::size_t i = 0; i < count; ++i)
    numbers.push_back(parseNumber(path + "[" + std::to_string(i) + "]", json[i], "a number"));
  return numbers;
}

ParameterValue parseValue(const std::string &path, const Json &json, const ParameterDeclaration &parameter) {
  const bool isColour = parameter.kind == ParameterKind::Colour;
  const std::string takes = host::formatTakes(parameter);
  ParameterValue value{};
  if (parameter.kind == ParameterKind::Popup || (isColour && json.is_string())) {
    if (!json.is_string()) refuse(path, json, takes);
    try {
      value = host::parseValue(parameter, json.get_ref<const std::string &>());
    } catch (const host::HostError &) {
      refuse(path, json, takes);
    }
  } else if (isColour || parameter.kind == ParameterKind::Point) {
    const std::vector<double> numbers = parseNumbers(path, json, isColour ? 3 : 2, takes);
    std::copy(numbers.begin(), numbers.end(), value.begin());
  } else {
    value[0] = parseNumber(path, json, takes);
  }
  if (const std::string why = host::validationError(parameter, value); !why.empty())
    fail(path, " can't be " + host::formatValue(parameter, value) + ": " + why);
  return value;
}

bool isTimed(const Json &keyframe) { return keyframe.is_object() && keyframe.contains("time"); }

double parseTime(const std::string &path, const Json &json) {
  const double seconds = parseNumber(path, json, "a number of seconds");
  if (std::abs(seconds) > maxSeconds)
    fail(path, " can't be " + formatNumber(seconds) + ": its range is -86400..86400 seconds");
  return seconds;
}

Keyframe parseKeyframe(const std::string &path, const Json &json, const ParameterDeclaration &parameter) {
  if (!json.is_object()) refuse(path, json, "a keyframe with frame and value");
  requireKeys(path, json, {"frame", "time", "value", "ease", "bezier"}, "a keyframe");
  if (json.contains("frame") == json.contains("time"))
    fail(path, json.contains("frame") ? " has a frame and a time: it takes one of them" : " has no frame");
  if (!json.contains("value")) fail(path, " has no value");
  Keyframe keyframe;
  keyframe.frame = isTimed(json) ? parseTime(path + ".time", json["time"])
                                 : parseNumber(path + ".frame", json["frame"], "a frame number");
  keyframe.value = parseValue(path + ".value", json["value"], parameter);
  if (const auto found = json.find("ease"); found != json.end()) {
    const auto ease = found->is_string() ? host::easeNamed(found->get_ref<const std::string &>()) : std::nullopt;
    if (!ease) refuse(path + ".ease", *found, "hold, linear, ease-in, ease-out, ease or bezier");
    keyframe.ease = *ease;
  }
  const bool hasCurve = json.contains("bezier");
  if (hasCurve != (keyframe.ease == Ease::Bezier))
    fail(path, hasCurve ? ".bezier goes with the ease 'bezier' alone" : " has the ease 'bezier' and no bezier");
  if (hasCurve) {
    const std::vector<double> numbers = parseNumbers(path + ".bezier", json["bezier"], 4, "the list x1, y1, x2, y2");
    std::copy(numbers.begin(), numbers.end(), keyframe.curve.begin());
  }
  if (const std::string why = host::validationError(keyframe); !why.empty()) fail(path, " can't be: " + why);
  return keyframe;
}

std::vector<Keyframe> parseKeyframes(const std::string &path, const Json &json, const ParameterDeclaration &parameter) {
  std::vector<Keyframe> keyframes;
  std::map<double, std::string> paths;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const std::string here = path + "[" + std::to_string(i) + "]";
    keyframes.push_back(parseKeyframe(here, json[i], parameter));
    const char *const where = isTimed(json[i]) ? "time" : "frame";
    if (isTimed(json[i]) != isTimed(json[0]))
      fail(here, " has a " + std::string(where) + " and " + path + "[0] has none: all take the same");
    const auto [at, isNew] = paths.emplace(keyframes.back().frame, here);
    if (!isNew)
      fail(here, "." + std::string(where) + " can't be " + formatNumber(at->first) + ": " + at->second +
                     " is at that " + where);
  }
  std::sort(keyframes.begin(), keyframes.end(), [](const Keyframe &a, const Keyframe &b) { return a.frame < b.frame; });
  return keyframes;
}

/// Whether it is meant for keyframes: an empty list, too, since no value is one.
bool isKeyframeList(const Json &json) {
  return json.is_array() &&
         (json.empty() || std::any_of(json.begin(), json.end(), [](const Json &item) { return item.is_object(); }));
}

void parseParameters(const Json &json, const std::vector<ParameterDeclaration> &declarations, Project &project) {
  if (!json.is_object()) refuse("parameters", json, "an object with parameters by name");
  const host::ParameterSet parameters(declarations);
  std::map<std::uint32_t, std::string> names;
  for (const auto &[name, value] : json.items()) {
    constexpr std::size_t maxNameLength = 200;
    // Looking for the nearest takes time that grows with the name.
    if (name.size() > maxNameLength) fail("parameters." + shown(name), " is no parameter's name");
    const std::string path = "parameters." + name;
    const ParameterDeclaration *parameter = nullptr;
    try {
      parameter = &parameters.named(name);
    } catch (const host::HostError &error) {
      fail(path, std::string(": ") + error.what());
    }
    if (parameter->kind == ParameterKind::Custom) fail(path, " is a row of the inspector without a value");
    const auto [known, isNew] = names.emplace(parameter->id, name);
    if (!isNew) fail(path, " and parameters." + known->second + " are the same parameter");
    std::vector<Keyframe> &keyframes = project.parameters[parameter->id];
    if (!isKeyframeList(value))
      keyframes = {{0.0, parseValue(path, value, *parameter)}};
    else if (value.empty())
      fail(path, " is an empty list: it takes a keyframe at least");
    else
      keyframes = parseKeyframes(path, value, *parameter);
    if (isKeyframeList(value) && isTimed(value[0])) project.timed.insert(parameter->id);
  }
}

/// A value that an option takes as a text; `parse` turns the text into it and throws ValueError for what it is not. A
/// number is as good as its text where `takesNumber` says so.
template <typename Parse>
auto parseText(const Json &root, const char *key, bool takesNumber, Parse parse)
    -> std::optional<decltype(parse(std::string()))> {
  const auto found = root.find(key);
  if (found == root.end()) return std::nullopt;
  if (!found->is_string() && !(takesNumber && found->is_number()))
    refuse(key, *found, takesNumber ? "a number or a text" : "a text");
  const std::string text = found->is_string() ? found->get<std::string>() : formatNumber(found->get<double>());
  try {
    return parse(text);
  } catch (const ValueError &error) {
    fail(key, ": " + beginning(error.what(), maxMessage));
  }
}

std::string parseAnyText(const std::string &text) { return text; }

std::string parsePreset(const std::string &text) {
  presetPath(text);
  return text;
}

/// What a field's value in the file is as a text.
void parseField(const Json &root, const SceneField &field, Scene &scene) {
  if (field.isFlag()) {
    const auto found = root.find(field.key);
    if (found == root.end()) return;
    if (!found->is_boolean()) refuse(field.key, *found, "true or false");
    field.parse(scene, found->dump());
    return;
  }
  parseText(root, field.key.c_str(), field.takesNumber, [&](const std::string &text) {
    field.parse(scene, text);
    return text;
  });
}

/// Numbers that are whole are written without a point.
std::string numberText(double number) {
  constexpr double exact = 1e15;
  if (number == static_cast<double>(static_cast<std::int64_t>(std::clamp(number, -exact, exact))))
    return std::to_string(static_cast<std::int64_t>(number));
  return Json(number).dump();
}

template <typename Numbers>
std::string listText(const Numbers &numbers, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += (i ? ", " : "[") + numberText(numbers[i]);
  return text + "]";
}

std::string valueText(const ParameterDeclaration &parameter, const ParameterValue &value) {
  switch (parameter.kind) {
    case ParameterKind::Colour:
      return listText(value, 3);
    case ParameterKind::Point:
      return listText(value, 2);
    case ParameterKind::Popup:
      return Json(host::formatValue(parameter, value)).dump();
    default:
      return numberText(value[0]);
  }
}

std::string keyframesText(const ParameterDeclaration &parameter, const std::vector<Keyframe> &keyframes, bool isTimed) {
  if (keyframes.size() == 1) return valueText(parameter, keyframes[0].value);
  std::string text;
  for (const Keyframe &keyframe : keyframes) {
    text += (text.empty() ? "[\n" : ",\n") + std::string("      {\"") + (isTimed ? "time" : "frame") +
            "\": " + numberText(keyframe.frame) + ", \"value\": " + valueText(parameter, keyframe.value) +
            ", \"ease\": \"" + easeName(keyframe.ease) + "\"";
    if (keyframe.ease == Ease::Bezier) text += ", \"bezier\": " + listText(keyframe.curve, 4);
    text += "}";
  }
  return text + "\n    ]";
}

}  // namespace

Project parseProject(const std::string &text, const std::vector<ParameterDeclaration> &declarations) {
  const Json root = parseJson(text);
  if (!root.is_object()) refuse("a project", root, "an object");
  std::vector<std::string> keys{"version", "description", "preset"};
  for (const SceneField &field : sceneFields()) keys.push_back(field.key);
  keys.insert(keys.end(), {"parameters", "$schema"});
  requireKeys("", root, keys, "a project");
  if (!root.contains("version")) fail("it", " has no version");
  if (root["version"] != projectVersion)
    fail("version", " can't be " + shown(root["version"]) + ": this program reads " + std::to_string(projectVersion));

  Project project;
  parseText(root, "$schema", false, parseAnyText);
  project.description = parseText(root, "description", false, parseAnyText);
  project.preset = parseText(root, "preset", false, parsePreset);
  for (const SceneField &field : sceneFields()) parseField(root, field, project.scene);
  if (project.scene.title.text && project.scene.title.textFile) fail("text", " and text-file exclude each other");
  if (const auto found = root.find("parameters"); found != root.end()) parseParameters(*found, declarations, project);
  return project;
}

std::string formatProject(const Project &project, const std::vector<ParameterDeclaration> &declarations) {
  std::string text = "{\n  \"version\": " + std::to_string(projectVersion);
  const auto add = [&text](const char *key, const std::string &value) {
    text += std::string(",\n  \"") + key + "\": " + Json(value).dump();
  };
  if (project.description) add("description", *project.description);
  if (project.preset) add("preset", *project.preset);
  for (const SceneField &field : sceneFields())
    if (const auto value = field.format(project.scene)) {
      if (field.isFlag())
        text += ",\n  \"" + field.key + "\": " + *value;
      else
        add(field.key.c_str(), *value);
    }
  std::string parameters;
  for (const ParameterDeclaration &parameter : declarations)
    if (const auto found = project.parameters.find(parameter.id); found != project.parameters.end())
      parameters += (parameters.empty() ? "\n    \"" : ",\n    \"") + parameter.slug() +
                    "\": " + keyframesText(parameter, found->second, project.timed.count(parameter.id) != 0);
  if (!parameters.empty()) text += ",\n  \"parameters\": {" + parameters + "\n  }";
  return text + "\n}\n";
}

std::map<std::uint32_t, std::vector<Keyframe>> parametersInForce(const host::ParameterSet &parameters) {
  std::map<std::uint32_t, std::vector<Keyframe>> all;
  for (const ParameterDeclaration &parameter : parameters.declarations())
    if (parameter.kind != ParameterKind::Custom) all[parameter.id] = parameters.keyframes(parameter);
  return all;
}

}  // namespace pyrelux::project
