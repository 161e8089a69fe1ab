#include "CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "Numbers.h"
#include "ParameterText.h"

namespace pyrelux::studio {

namespace {

/// "--name=value" where a value could be taken for an option.
void addOption(std::string &line, const std::string &name, const std::string &value) {
  if (value.empty() || value[0] == '-')
    line += " " + shellWord(name + "=" + value);
  else
    line += " " + name + " " + shellWord(value);
}

/// A path that could be taken for an option.
std::string pathWord(const std::string &path) { return shellWord(path[0] == '-' ? "./" + path : path); }

void addScene(std::string &line, const project::Scene &scene) {
  for (const project::SceneField &field : project::sceneFields()) {
    const auto text = field.format(scene);
    if (!text) continue;
    if (!field.isFlag())
      addOption(line, "--" + field.key, *text);
    else if (*text == "true")
      line += " --" + field.key;
  }
}

void addOutput(std::string &line, const job::RenderRequest &request) {
  addOption(line, "-o", request.output[0] == '-' ? "./" + request.output : request.output);
  if (!request.codec.empty()) addOption(line, "--codec", request.codec);
  if (request.alpha) addOption(line, "--alpha", wordFor(job::alphaWords(), *request.alpha));
  if (request.crf) addOption(line, "--crf", std::to_string(*request.crf));
  if (request.quality) addOption(line, "--quality", std::to_string(*request.quality));
  if (request.background) addOption(line, "--over", request.background->name);
  if (request.density) addOption(line, "--density", formatNumber(*request.density));
  if (request.makeFolders) line += " --make-folders";
  if (request.existing == job::Existing::Replace) line += " --overwrite";
}

bool fitsOnALine(const project::Project &project) {
  return std::all_of(project.parameters.begin(), project.parameters.end(),
                     [](const auto &parameter) { return parameter.second.size() == 1; });
}

}  // namespace

std::string shellWord(const std::string &text) {
  const bool isPlain = !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) || std::strchr("-_./:,+%=@", letter) != nullptr;
  });
  if (isPlain) return text;
  std::string word = "'";
  for (const char letter : text) word += letter == '\'' ? "'\\''" : std::string(1, letter);
  return word + "'";
}

std::optional<std::string> commandLine(const Content &content, const job::RenderRequest &request,
                                       const std::optional<std::string> &project,
                                       const std::vector<host::ParameterDeclaration> &declarations) {
  std::string line = "pyrelux render";
  if (content.input) line += " " + pathWord(*content.input);
  if (content.testPattern) addOption(line, "--input-test-pattern", *content.testPattern);
  // What the request's project says without its parameters, and what the export says besides.
  project::Scene scene = request.scene;
  if (project) {
    addOption(line, "--project", *project);
  } else {
    if (!fitsOnALine(content.project)) return std::nullopt;
    project::fillIn(scene, request.projectInMemory->scene, false);
  }
  addScene(line, scene);
  if (!project)
    for (const host::ParameterDeclaration &parameter : declarations)
      if (const auto found = content.project.parameters.find(parameter.id); found != content.project.parameters.end())
        addOption(line, "--set", parameter.slug() + "=" + host::formatValue(parameter, found->second[0].value));
  addOutput(line, request);
  return line;
}

}  // namespace pyrelux::studio
