#include "Document.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "ValueError.h"

namespace pyrelux::studio {

namespace {

using Json = nlohmann::ordered_json;

/// Sets what changes set.
struct Setter {
  Content &content;

  void operator()(const InputChange &change) const { content.input = change.path; }
  void operator()(const PatternChange &change) const { content.testPattern = change.name; }
  void operator()(const FileChange &change) const { content.file = change.path; }

  void operator()(const SceneChange &change) const {
    const project::SceneField &field = project::sceneField(change.key);
    if (change.text)
      field.parse(content.project.scene, *change.text);
    else
      field.clear(content.project.scene);
  }

  void operator()(const ParameterChange &change) const {
    project::Project &project = content.project;
    project.parameters.erase(change.id);
    project.timed.erase(change.id);
    if (!change.animation) return;
    project.parameters[change.id] = change.animation->keyframes;
    if (change.animation->isTimed) project.timed.insert(change.id);
  }
};

std::optional<Animation> animationOf(const project::Project &project, std::uint32_t id) {
  const auto found = project.parameters.find(id);
  if (found == project.parameters.end()) return std::nullopt;
  return Animation{found->second, project.timed.count(id) != 0};
}

bool isSame(const std::optional<Animation> &one, const std::optional<Animation> &other) {
  if (!one || !other) return one.has_value() == other.has_value();
  return one->keyframes == other->keyframes && one->isTimed == other->isTimed;
}

/// Whether both set the same thing.
bool isOfSame(const Change &one, const Change &other) {
  if (one.index() != other.index()) return false;
  if (const auto *scene = std::get_if<SceneChange>(&one)) return scene->key == std::get<SceneChange>(other).key;
  if (const auto *parameter = std::get_if<ParameterChange>(&one))
    return parameter->id == std::get<ParameterChange>(other).id;
  return true;
}

/// `changes`, and after them those of `weaker` that set anything else.
std::vector<Change> withMore(std::vector<Change> changes, const std::vector<Change> &weaker) {
  const std::size_t own = changes.size();
  for (const Change &change : weaker) {
    bool isThere = false;
    for (std::size_t at = 0; at < own && !isThere; ++at) isThere = isOfSame(changes[at], change);
    if (!isThere) changes.push_back(change);
  }
  return changes;
}

}  // namespace

Content changed(Content content, const std::vector<Change> &changes) {
  for (const Change &change : changes) std::visit(Setter{content}, change);
  return content;
}

std::vector<Change> differences(const Content &from, const Content &to) {
  std::vector<Change> changes;
  if (from.input != to.input) changes.push_back(InputChange{to.input});
  if (from.testPattern != to.testPattern) changes.push_back(PatternChange{to.testPattern});
  if (from.file != to.file) changes.push_back(FileChange{to.file});
  for (const project::SceneField &field : project::sceneFields()) {
    std::optional<std::string> text = field.format(to.project.scene);
    if (field.format(from.project.scene) != text) changes.push_back(SceneChange{field.key, std::move(text)});
  }
  std::set<std::uint32_t> ids;
  for (const project::Project *project : {&from.project, &to.project})
    for (const auto &[id, keyframes] : project->parameters) ids.insert(id);
  for (const std::uint32_t id : ids) {
    std::optional<Animation> animation = animationOf(to.project, id);
    if (!isSame(animationOf(from.project, id), animation)) changes.push_back(ParameterChange{id, std::move(animation)});
  }
  return changes;
}

std::string textOf(const Content &content, const std::vector<host::ParameterDeclaration> &declarations) {
  const auto orNull = [](const std::optional<std::string> &text) { return text ? Json(*text) : Json(); };
  return Json{{"input", orNull(content.input)},
              {"testPattern", orNull(content.testPattern)},
              {"file", orNull(content.file)},
              {"project", project::formatProject(content.project, declarations)}}  // Names of files need not be UTF-8.
      .dump(-1, ' ', false, Json::error_handler_t::replace);
}

Content parseContent(const std::string &text, const std::vector<host::ParameterDeclaration> &declarations) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object() || !json.contains("project") || !json["project"].is_string())
    throw project::ProjectError("it is no document");
  const auto textAt = [&json](const char *key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? std::optional<std::string>(found->get<std::string>())
                                                     : std::nullopt;
  };
  return {textAt("input"), textAt("testPattern"),
          project::parseProject(json["project"].get<std::string>(), declarations), textAt("file")};
}

void Document::become(const Content &content, const std::string &name, const std::optional<Gesture> &gesture) {
  std::vector<Change> back = differences(content, content_);
  std::vector<Change> forth = differences(content_, content);
  ++revision_;
  content_ = content;
  if (forth.empty()) return;
  const bool goesOn = gesture && done_ > 0 && done_ == steps_.size() && steps_.back().gesture == gesture;
  steps_.resize(done_);
  if (goesOn) {
    Step &step = steps_.back();
    step.back = withMore(std::move(step.back), back);
    step.forth = withMore(std::move(forth), step.forth);
    step.state = nextState_++;
    return;
  }
  steps_.push_back({name, gesture, std::move(back), std::move(forth), nextState_++});
  done_ = steps_.size();
}

std::optional<std::string> Document::undoName() const {
  return done_ == 0 ? std::nullopt : std::optional<std::string>(steps_[done_ - 1].name);
}

std::optional<std::string> Document::redoName() const {
  return done_ == steps_.size() ? std::nullopt : std::optional<std::string>(steps_[done_].name);
}

bool Document::undo() {
  if (done_ == 0) return false;
  Step &step = steps_[--done_];
  // What comes after an undo is a step of its own.
  if (done_ > 0) steps_[done_ - 1].gesture.reset();
  step.gesture.reset();
  content_ = changed(std::move(content_), step.back);
  ++revision_;
  return true;
}

bool Document::redo() {
  if (done_ == steps_.size()) return false;
  content_ = changed(std::move(content_), steps_[done_++].forth);
  ++revision_;
  return true;
}

void Document::markSaved(const std::string &file) {
  content_.file = file;
  markClean();
}

}  // namespace pyrelux::studio
