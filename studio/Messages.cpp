#include "Messages.h"

#include <algorithm>

#include "Formats.h"
#include "MediaErrors.h"
#include "ParameterHelp.h"
#include "ParameterText.h"
#include "Presets.h"
#include "Requests.h"
#include "TestPattern.h"
#include "ValueError.h"

namespace pyrelux::studio {

namespace {

using host::ParameterDeclaration;
using host::ParameterKind;

template <typename Value>
Json orNull(const std::optional<Value> &value) {
  return value ? Json(*value) : Json();
}

Json orNull(const std::string &text) { return text.empty() ? Json() : Json(text); }

Json valueJson(const ParameterDeclaration &parameter, const host::ParameterValue &value) {
  if (parameter.kind == ParameterKind::Colour) return Json::array({value[0], value[1], value[2]});
  if (parameter.kind == ParameterKind::Point) return Json::array({value[0], value[1]});
  return Json(value[0]);
}

Json parameterJson(const ParameterDeclaration &parameter) {
  const bool isCustom = parameter.kind == ParameterKind::Custom;
  Json json = {{"slug", parameter.slug()},
               {"label", parameter.label},
               {"kind", host::kindName(parameter.kind)},
               {"minimum", parameter.minimum},
               {"maximum", parameter.maximum},
               {"sliderMinimum", parameter.sliderMinimum},
               {"sliderMaximum", parameter.sliderMaximum},
               {"step", parameter.delta},
               {"unit", parameter.unit()}};
  json["default"] = isCustom ? Json() : valueJson(parameter, parameter.defaultValue);
  json["entries"] = parameter.entries;
  json["animates"] = !isCustom;
  const std::string help = project::parameterHelp(parameter);
  json["help"] = help.empty() ? "Takes " + host::formatTakes(parameter) + "." : help;
  return json;
}

Json sceneJson(const project::SceneField &field) {
  return {{"key", field.key},         {"value", field.value},     {"brief", field.brief},
          {"details", field.details}, {"choices", field.choices}, {"look", field.isLook}};
}

Json rangeJson(const std::optional<media::NumberRange> &range) {
  return range ? Json::array({range->least, range->most}) : Json();
}

Json formatJson(const OfferedFormat &format) {
  const media::OutputKind &kind = format.kind;
  Json json = {{"extension", kind.extension.substr(1)},
               {"codec", kind.isUsual ? "" : kind.codec},
               {"label", format.label},
               {"keeps", format.keeps}};
  json["alpha"] = kind.holdsAlpha ? Json(wordsOf(job::alphaWords())) : Json::array();
  json["bits"] = kind.isDeep || kind.followsBits ? Json::array({8, 16}) : Json::array({8});
  json["many"] = kind.isMovie;
  json["audio"] = kind.holdsAudio;
  json["crf"] = rangeJson(kind.crf);
  json["quality"] = rangeJson(kind.quality);
  return json;
}

Json keyframesJson(const ParameterDeclaration &parameter, const std::vector<host::Keyframe> &keyframes) {
  Json list = Json::array();
  for (const host::Keyframe &keyframe : keyframes) {
    Json json = {{"frame", keyframe.frame},
                 {"value", valueJson(parameter, keyframe.value)},
                 {"ease", host::easeName(keyframe.ease)}};
    if (keyframe.ease == host::Ease::Bezier) json["curve"] = keyframe.curve;
    list.push_back(std::move(json));
  }
  return list;
}

/// Those that are set; keyframes that are set by time at the frames that they fall on.
Json setParametersJson(const ShownDocument &shown) {
  const project::Project &project = shown.document.content().project;
  project::Clock clock;
  if (shown.plan) clock = shown.plan->planned.clock;
  Json json = Json::object();
  for (const ParameterDeclaration &parameter : shown.declarations) {
    const auto found = project.parameters.find(parameter.id);
    if (found == project.parameters.end()) continue;
    std::vector<host::Keyframe> keyframes = found->second;
    if (project.timed.count(parameter.id))
      for (host::Keyframe &keyframe : keyframes) keyframe.frame = clock.frameAt(keyframe.frame);
    json[parameter.slug()] = keyframesJson(parameter, keyframes);
  }
  return json;
}

Json contentJson(const ShownDocument &shown, const Folders &folders) {
  const Content &content = shown.document.content();
  Json scene = Json::object();
  for (const project::SceneField &field : project::sceneFields())
    if (const auto text = field.format(content.project.scene)) {
      const bool isFile = field.key == "text-file" || field.key == "font-file";
      scene[field.key] = isFile ? folders.shown(*text) : *text;
    }
  Json json = Json::object();
  json["input"] = content.input ? Json(folders.shown(*content.input)) : Json();
  json["testPattern"] = orNull(content.testPattern);
  json["scene"] = std::move(scene);
  json["parameters"] = setParametersJson(shown);
  return json;
}

const char *kindName(media::InputKind kind) {
  return kind == media::InputKind::Still ? "still" : kind == media::InputKind::Sequence ? "sequence" : "movie";
}

std::vector<std::uint8_t> binary(const Json &header, const std::vector<std::uint8_t> &picture) {
  const std::string text = textOf(header);
  std::vector<std::uint8_t> bytes;
  bytes.reserve(4 + text.size() + picture.size());
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(text.size() >> shift));
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.insert(bytes.end(), picture.begin(), picture.end());
  return bytes;
}

}  // namespace

std::vector<ListedPreset> listPresets(const std::vector<ParameterDeclaration> &declarations) {
  std::vector<ListedPreset> presets;
  for (const project::PresetFile &file : project::presetFiles()) try {
      const project::Project preset = project::loadPreset(file.path, declarations);
      presets.push_back({file.name, preset.description.value_or(""), file.isOwn});
    } catch (const media::InputError &) {
      // `pyrelux presets` says what is wrong with it.
    }
  return presets;
}

Json messageOf(const std::vector<ListedPreset> &presets) {
  Json list = Json::array();
  for (const ListedPreset &preset : presets)
    list.push_back({{"name", preset.name}, {"description", preset.description}, {"own", preset.isOwn}});
  return {{"type", "presets"}, {"presets", std::move(list)}};
}

Json helloMessage(const Greeting &greeting, PageId page, const std::vector<ListedPreset> &presets) {
  Json parameters = Json::array();
  for (const ParameterDeclaration &parameter : greeting.declarations) parameters.push_back(parameterJson(parameter));
  Json scene = Json::array();
  for (const project::SceneField &field : project::sceneFields()) scene.push_back(sceneJson(field));
  Json formats = Json::array();
  for (const OfferedFormat &format : offeredFormats()) formats.push_back(formatJson(format));
  Json recovery;
  if (greeting.recovery) recovery = {{"when", greeting.recovery->when}, {"title", greeting.recovery->title}};
  return {{"type", "hello"},
          {"version", PYRELUX_VERSION},
          {"client", page},
          {"parameters", std::move(parameters)},
          {"scene", std::move(scene)},
          {"presets", messageOf(presets)["presets"]},
          {"formats", std::move(formats)},
          {"fonts", greeting.fonts},
          {"root", greeting.root},
          {"recovery", std::move(recovery)},
          {"memory", greeting.memory},
          {"eases", host::easeNames()},
          {"testPatterns", testPatternNames()}};
}

Json documentMessage(const ShownDocument &shown, const Folders &folders, PageId changedBy) {
  const Document &document = shown.document;
  Json inForce = Json::object();
  for (const ParameterDeclaration &parameter : shown.declarations)
    if (parameter.kind != ParameterKind::Custom)
      inForce[parameter.slug()] = keyframesJson(parameter, shown.inForce->keyframes(parameter));
  const Plan *plan = shown.plan;
  Json json = {{"type", "document"}, {"revision", document.revision()}, {"client", changedBy}};
  json["document"] = contentJson(shown, folders);
  json["inForce"] = std::move(inForce);
  json["undo"] = orNull(document.undoName());
  json["redo"] = orNull(document.redoName());
  json["dirty"] = document.isDirty();
  json["file"] = document.content().file ? Json(folders.shown(*document.content().file)) : Json();
  json["frames"] = {{"first", plan ? plan->frames.first() : 1}, {"last", plan ? plan->frames.last() : 48}};
  json["rate"] = formatFrameRate(plan ? plan->rate : FrameRate());
  json["kind"] = kindName(plan ? plan->info.kind : media::InputKind::Still);
  json["width"] = plan ? plan->info.width : 1920;
  json["height"] = plan ? plan->info.height : 1080;
  json["pixelAspect"] = plan ? plan->info.pixelAspect : 1.0;
  json["hasFire"] = hasFire(document.content());
  json["problem"] = orNull(shown.problem);
  json["remarks"] = plan ? plan->remarks : std::vector<std::string>();
  return json;
}

Json exportsMessage(const std::vector<ExportStatus> &jobs, const Folders &folders) {
  Json list = Json::array();
  for (const ExportStatus &job : jobs) {
    Json json = {{"id", job.id},
                 {"output", folders.shown(job.output)},
                 {"state", stateName(job.state)},
                 {"frames", job.frames},
                 {"done", job.done}};
    json["secondsLeft"] = orNull(job.secondsLeft);
    json["bytes"] = orNull(job.bytes);
    json["message"] = orNull(job.message);
    json["remarks"] = job.remarks;
    json["command"] = orNull(job.command);
    list.push_back(std::move(json));
  }
  return {{"type", "exports"}, {"jobs", std::move(list)}};
}

Json filesReply(const std::string &folder, const std::vector<FolderEntry> &entries) {
  Json list = Json::array();
  for (const FolderEntry &entry : entries)
    list.push_back({{"name", entry.name}, {"folder", entry.isFolder}, {"size", entry.bytes}, {"kind", entry.kind}});
  return {{"folder", folder}, {"entries", std::move(list)}};
}

std::vector<std::uint8_t> binaryOf(const DrawnFrame &frame) {
  return binary({{"kind", "frame"},
                 {"id", frame.id},
                 {"frame", frame.frame},
                 {"revision", frame.revision},
                 {"width", frame.width},
                 {"height", frame.height},
                 {"scale", frame.scale},
                 {"mime", frame.isPng ? "image/png" : "image/jpeg"},
                 {"view", frame.isSource ? "source" : "fire"},
                 {"milliseconds", frame.milliseconds}},
                frame.bytes);
}

std::vector<std::uint8_t> binaryOf(const DrawnThumbnail &thumbnail) {
  return binary({{"kind", "thumbnail"},
                 {"name", thumbnail.name},
                 {"revision", thumbnail.revision},
                 {"width", thumbnail.width},
                 {"height", thumbnail.height},
                 {"mime", "image/jpeg"}},
                thumbnail.bytes);
}

}  // namespace pyrelux::studio
