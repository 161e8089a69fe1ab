#include "Desk.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "CommandLine.h"
#include "Edits.h"
#include "FontFamilies.h"
#include "HostError.h"
#include "MediaErrors.h"
#include "OwnParameters.h"
#include "PngBytes.h"
#include "Presets.h"
#include "ProjectFile.h"
#include "Requests.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

constexpr std::size_t longestName = 200;

Json ok() { return Json::object(); }

std::string isoTime(std::time_t time) {
  std::tm parts = {};
  gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

/// What people know a document by.
std::string titleOf(const Content &content) {
  if (content.file) return fs::path(*content.file).filename().string();
  if (content.project.scene.title.text) return *content.project.scene.title.text;
  if (content.input) return fs::path(*content.input).filename().string();
  return content.testPattern.value_or("Untitled");
}

/// The file with the parameters and the look of its preset, which documents do not name.
Content openedContent(const std::string &path, const std::vector<host::ParameterDeclaration> &declarations) {
  Content content;
  content.project = project::loadProject(path, declarations);
  content.file = path;
  const project::Project own = content.project;
  if (own.preset) {
    const project::Project preset = project::loadPreset(*own.preset, declarations);
    for (const auto &[id, keyframes] : preset.parameters)
      if (!own.parameters.count(id)) {
        content.project.parameters[id] = keyframes;
        if (preset.timed.count(id)) content.project.timed.insert(id);
      }
    project::fillIn(content.project.scene, preset.scene, true);
  }
  content.project.preset.reset();
  content.project.description.reset();
  return content;
}

}  // namespace

Desk::Desk(const StudioOptions &options, Mail &mail, PreviewListener &drawn, std::function<void()> exportsChanged)
    : options_(options),
      mail_(mail),
      folders_(options.root),
      filter_(host::findFilter(host::defaultSearchPath())),
      declarations_(project::allParameters(filter_).declarations()),
      autoSave_(options.root),
      preview_(options.backend, drawn),
      exports_(std::move(exportsChanged)) {
  greeting_.declarations = declarations_;
  greeting_.fonts = fontFamilies();
  greeting_.root = folders_.name();
  greeting_.memory = options.memory;
  Content content;
  if (options.project) {
    folders_.allow(*options.project);
    content = openedContent(*options.project, declarations_);
    for (const auto *file : content.project.scene.title.files())
      if (*file) folders_.allow(**file);
  }
  const job::RenderRequest &start = options.start;
  if (start.input) folders_.allow(*start.input);
  if (start.input || start.testPattern || start.scene.title.hasText()) {
    content.project.scene.title = {};
    content.input = start.input;
    content.testPattern = start.testPattern;
  }
  project::Scene scene = start.scene;
  project::fillIn(scene, content.project.scene, false);
  content.project.scene = scene;
  if (hasFire(content)) makePlan(requestOf(content), nullptr, filter_);
  document_ = Document(content);
  if (const auto &left = autoSave_.left()) try {
      const Content kept = parseContent(left->text, declarations_);
      greeting_.recovery = Greeting::Recovery{isoTime(left->when), titleOf(kept)};
    } catch (const project::ProjectError &) {
      // Of another version: nothing that could be offered.
    }
  planAgain();
}

void Desk::connected(PageId page) {
  mail_.send(page, helloMessage(greeting_, page, listPresets(declarations_)));
  mail_.send(page, documentNow(0));
  mail_.send(page, exportsMessage(exports_.list(), folders_));
}

void Desk::gone(PageId page) { preview_.forget(page); }

void Desk::received(PageId page, const std::string &text) {
  Json request;
  Json reply;
  try {
    const Json message = parseMessage(text);
    if (message.contains("request") && message["request"].is_number()) request = message["request"];
    reply = answer(page, message);
    reply["type"] = "ok";
  } catch (const Refusal &error) {
    reply = {{"type", "error"}, {"field", error.field() ? Json(*error.field()) : Json()}, {"message", error.what()}};
  } catch (const std::exception &error) {
    reply = {{"type", "error"}, {"field", nullptr}, {"message", error.what()}};
  }
  const bool isError = reply["type"] == "error";
  // Whoever asked without a number hears of what is wrong alone.
  if (request.is_null() && !isError) return;
  reply["request"] = request;
  mail_.send(page, reply);
}

void Desk::tellExports() { mail_.sendToAll(exportsMessage(exports_.list(), folders_)); }

Json Desk::answer(PageId page, const Json &message) {
  const std::string type = textIn(message, "type");
  if (type == "shown") return preview_.acknowledge(page, wholeIn(message, "id", 0, std::int64_t{1} << 52)), ok();
  if (type == "frame") return answerFrame(page, message);
  if (type == "edit") return answerEdit(page, message);
  if (type == "undo") return answerHistory(page, true);
  if (type == "redo") return answerHistory(page, false);
  if (type == "open") return answerOpen(page, message);
  if (type == "save") return answerSave(page, message);
  if (type == "new") return answerNew(page);
  if (type == "recover") return answerRecover(page, message);
  if (type == "save-preset") return answerSavePreset(message);
  if (type == "thumbnails") return answerThumbnails(page, message);
  if (type == "files") return answerFiles(message);
  if (type == "press-header") return answerPress();
  if (type == "export") return answerExport(message);
  if (type == "command") return answerCommand(message);
  if (type == "cancel-export") return answerCancel(message);
  if (type == "clear-exports") return exports_.clear(), ok();
  if (type == "reveal") return answerReveal(message);
  if (type == "invite") return {{"type", "invite"}, {"url", mail_.newAddress()}};
  if (type == "quit") return answerQuit(message);
  throw Refusal("there is no message '" + type.substr(0, longestName) + "'", "type");
}

Json Desk::answerEdit(PageId page, const Json &message) {
  const Content content = edited(document_.content(), listIn(message, "edits"), declarations_, folders_);
  std::optional<Gesture> gesture;
  constexpr std::int64_t most = std::int64_t{1} << 52;
  if (isIn(message, "gesture")) gesture = Gesture{page, wholeIn(message, "gesture", -most, most)};
  const std::string name = optionalTextIn(message, "name").value_or("Edit").substr(0, longestName);
  take(page, content, name, gesture);
  return {{"revision", document_.revision()}};
}

Json Desk::answerHistory(PageId page, bool isUndo) {
  if (!(isUndo ? document_.undo() : document_.redo()))
    throw Refusal(isUndo ? "there is nothing to undo" : "there is nothing to redo");
  planAgain();
  tellDocument(page);
  return {{"revision", document_.revision()}};
}

Json Desk::answerOpen(PageId page, const Json &message) {
  const std::string path = folders_.resolve(textIn(message, "path"), "path");
  Content content = openedContent(path, declarations_);
  requireFiles(content.project, folders_);
  // Projects hold no input.
  if (!content.project.scene.title.hasText()) {
    content.input = document_.content().input;
    content.testPattern = document_.content().testPattern;
  }
  take(page, content, "Open", {});
  document_.markClean();
  tellDocument(page);
  return {{"revision", document_.revision()}};
}

Json Desk::answerSave(PageId page, const Json &message) {
  const auto asked = optionalTextIn(message, "path");
  const auto &file = document_.content().file;
  if (!asked && !file) throw Refusal("the project has no name yet", "path");
  const std::string path = asked ? folders_.resolve(*asked, "path") : *file;
  if (fs::path(path).extension() != ".json") throw Refusal("a project's name ends with .json", "path");
  std::error_code error;
  if (path != file && !flagIn(message, "replace") && fs::exists(path, error))
    throw Refusal("'" + folders_.shown(path) + "' is there already", "path");
  project::saveProject(path, document_.content().project, declarations_);
  document_.markSaved(path);
  autoSave_.keep(std::nullopt);
  tellDocument(page);
  return {{"path", folders_.shown(path)}};
}

Json Desk::answerNew(PageId page) {
  take(page, Content(), "New", {});
  document_.markClean();
  tellDocument(page);
  return {{"revision", document_.revision()}};
}

Json Desk::answerRecover(PageId page, const Json &message) {
  // The first answer counts, whichever page gives it.
  if (!greeting_.recovery) throw Refusal("there is nothing to recover any more");
  const bool isAccepted = flagIn(message, "accept");
  greeting_.recovery.reset();
  mail_.sendToAll(Json::object({{"type", "recovery-answered"}}));
  if (isAccepted) {
    const Content content = parseContent(autoSave_.left()->text, declarations_);
    // The process that made it was allowed to read them.
    if (content.input) folders_.allow(*content.input);
    for (const auto *path :
         {&content.file, &content.project.scene.title.textFile, &content.project.scene.title.fontFile})
      if (*path) folders_.allow(**path);
    document_.become(content, "Recover", {});
    planAgain();
    tellDocument(page);
  } else if (!document_.isDirty()) {
    autoSave_.keep(std::nullopt);
  }
  return ok();
}

Json Desk::answerSavePreset(const Json &message) {
  const std::string name = textIn(message, "name");
  const bool isPlain = !name.empty() && name.size() <= 64 && name[0] != '.' && name[0] != '-' &&
                       std::all_of(name.begin(), name.end(), [](char letter) {
                         return std::isalnum(static_cast<unsigned char>(letter)) || letter == '-' || letter == '_';
                       });
  if (!isPlain) throw Refusal("a preset's name has letters, digits, '-' and '_'", "name");
  const std::string path = project::ownPresetPath(name);
  if (path.empty()) throw Refusal("there is no home folder for presets", "name");
  std::error_code error;
  if (!flagIn(message, "replace") && fs::exists(path, error))
    throw Refusal("you have a preset '" + name + "' already", "name");
  fs::create_directories(fs::path(path).parent_path(), error);
  project::Project preset;
  preset.description = optionalTextIn(message, "description").value_or("").substr(0, longestName);
  preset.parameters = document_.content().project.parameters;
  preset.timed = document_.content().project.timed;
  project::fillIn(preset.scene, document_.content().project.scene, true);
  project::saveProject(path, preset, declarations_);
  mail_.sendToAll(messageOf(listPresets(declarations_)));
  return ok();
}

Json Desk::answerFrame(PageId page, const Json &message) {
  preview_.ask(page, frameRequest(message, folders_));
  return ok();
}

Json Desk::answerThumbnails(PageId page, const Json &message) {
  constexpr std::int64_t mostSide = 1024;
  ThumbnailRequest request;
  request.width = static_cast<int>(wholeIn(message, "width", 16, mostSide));
  request.height = static_cast<int>(wholeIn(message, "height", 16, mostSide));
  const auto known = project::presetNames();
  for (const Json &name : listIn(message, "names")) {
    const bool isKnown =
        name.is_string() && std::find(known.begin(), known.end(), name.get<std::string>()) != known.end();
    if (!isKnown) throw Refusal("there is no such preset", "names");
    request.presets.push_back({name.get<std::string>(), project::loadPreset(name.get<std::string>(), declarations_)});
  }
  preview_.askThumbnails(page, std::move(request));
  return ok();
}

Json Desk::answerFiles(const Json &message) {
  const std::string folder = optionalTextIn(message, "folder").value_or(".");
  return filesReply(folder, folders_.list(folder, "folder"));
}

host::CustomView &Desk::header() {
  if (header_) return *header_;
  for (const host::ParameterDeclaration &parameter : declarations_)
    if (parameter.kind == host::ParameterKind::Custom) {
      header_ = std::make_unique<host::CustomView>(filter_, parameter.id);
      return *header_;
    }
  throw Refusal("the filter has no row of its own");
}

std::vector<std::uint8_t> Desk::headerPng() {
  try {
    return media::pngBytes(header().picture(), 8, 1.0, media::PngEffort::Least);
  } catch (const std::exception &) {
    // The page shows the row's name instead.
    return {};
  }
}

Json Desk::answerPress() {
  const std::vector<std::string> addresses = header().press();
  return {{"url", addresses.empty() ? Json() : Json(addresses.front())}};
}

Json Desk::answerExport(const Json &message) {
  if (!hasFire(document_.content())) throw Refusal("there is nothing to burn yet", "output");
  const job::RenderRequest request = exportRequest(document_.content(), message, folders_);
  for (const ExportStatus &other : exports_.list())
    if (other.output == request.output && (other.state == ExportState::Waiting || other.state == ExportState::Running))
      throw Refusal("'" + folders_.shown(request.output) + "' is being written", "output");
  // Everything that can be refused is refused now, and not when its turn comes.
  job::RenderListener silence;
  const FrameList frames = job::planRender(request, filter_, silence, job::StopToken()).frames;
  const auto &file = document_.content().file;
  const bool isSaved = file && !document_.isDirty();
  const int id = exports_.add(request, frames,
                              commandLine(document_.content(), request, isSaved ? file : std::nullopt, declarations_));
  return {{"id", id}};
}

std::string Desk::projectFor(const job::RenderRequest &request) {
  const auto &file = document_.content().file;
  if (file && !document_.isDirty()) return *file;
  const fs::path output(request.output);
  std::string stem = output.stem().string();
  while (!stem.empty() && (stem.back() == '#' || stem.back() == '_' || stem.back() == '.')) stem.pop_back();
  if (const std::size_t place = stem.find('%'); place != std::string::npos) stem.resize(place);
  if (stem.empty()) stem = "fire";
  std::error_code error;
  const fs::path folder = fs::exists(output.parent_path(), error) ? output.parent_path() : fs::path(options_.root);
  const std::string text = project::formatProject(document_.content().project, declarations_);
  for (int number = 1;; ++number) {
    const std::string name = stem + (number == 1 ? "" : "-" + std::to_string(number)) + ".json";
    const std::string path = (folder / name).lexically_normal().string();
    if (fs::exists(path, error)) try {
        if (project::formatProject(project::loadProject(path, declarations_), declarations_) == text) return path;
        continue;
      } catch (const media::InputError &) {
        // Another's file, which stays.
        continue;
      }
    project::saveProject(path, document_.content().project, declarations_);
    return path;
  }
}

Json Desk::answerCommand(const Json &message) {
  if (!hasFire(document_.content())) throw Refusal("there is nothing to burn yet", "output");
  const job::RenderRequest request = exportRequest(document_.content(), message, folders_);
  auto line = commandLine(document_.content(), request, std::nullopt, declarations_);
  if (!line) line = commandLine(document_.content(), request, projectFor(request), declarations_);
  return {{"text", *line}};
}

Json Desk::answerCancel(const Json &message) {
  const bool isAll = message.contains("id") && message["id"] == "all";
  const bool isThere =
      isAll ? exports_.cancelAll() : exports_.cancel(static_cast<int>(wholeIn(message, "id", 0, 1 << 30)));
  if (!isThere && !isAll) throw Refusal("there is no such export that goes on", "id");
  return ok();
}

Json Desk::answerReveal(const Json &message) {
  const auto id = wholeIn(message, "id", 0, 1 << 30);
  for (const ExportStatus &job : exports_.list()) {
    if (job.id != id) continue;
    std::error_code error;
    const fs::path folder = fs::absolute(job.output, error).parent_path();
    const bool isShown = options_.reveal && options_.reveal(folder.string());
    return {{"folder", folder.string()}, {"shown", isShown}};
  }
  throw Refusal("there is no such export", "id");
}

Json Desk::answerQuit(const Json &message) {
  if (exports_.isBusy() && !flagIn(message, "force")) throw Refusal("exports are running");
  isEnded_ = true;
  return ok();
}

void Desk::take(PageId page, const Content &content, const std::string &name, const std::optional<Gesture> &gesture) {
  std::shared_ptr<const Plan> plan;
  std::string problem;
  if (hasFire(content)) try {
      plan = makePlan(requestOf(content), plan_.get(), filter_);
    } catch (const std::exception &error) {
      if (problem_.empty()) throw;
      problem = error.what();
    }
  document_.become(content, name, gesture);
  plan_ = plan;
  problem_ = problem;
  inForce_ = plan ? plan->planned.inForce : parametersOf(document_.content(), filter_);
  preview_.show(document_.revision(), plan_);
  tellDocument(page);
}

void Desk::planAgain() {
  plan_ = nullptr;
  problem_.clear();
  if (hasFire(document_.content())) try {
      plan_ = makePlan(requestOf(document_.content()), plan_.get(), filter_);
    } catch (const std::exception &error) {
      problem_ = error.what();
    }
  inForce_ = plan_ ? plan_->planned.inForce : parametersOf(document_.content(), filter_);
  preview_.show(document_.revision(), plan_);
}

Json Desk::documentNow(PageId changedBy) const {
  const std::string problem = hasFire(document_.content()) ? problem_ : "there is nothing to burn yet";
  return documentMessage({document_, declarations_, plan_.get(), problem, &*inForce_}, folders_, changedBy);
}

void Desk::tellDocument(PageId changedBy) {
  mail_.sendToAll(documentNow(changedBy));
  if (document_.isDirty()) autoSave_.keep(textOf(document_.content(), declarations_));
}

}  // namespace pyrelux::studio
