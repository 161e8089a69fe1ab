#include "Renderers.h"

#include "Backends.h"
#include "HostError.h"

namespace pyrelux::host {

namespace {

struct Choice {
  const char *name;
  std::vector<std::int32_t> rendererIds;  ///< best first
};

const std::vector<Choice> &choices() {
  using namespace platform;
  static const std::vector<Choice> all = {
      {"auto", {kRendererGPU, kRendererSoft}},
      {"gpu", {kRendererGPU}},
      {"mesa", {kRendererMesa}},
      {"soft", {kRendererSoft}},
      {"egl", {kRendererGPU, kRendererMesa}},
  };
  return all;
}

}  // namespace

const std::vector<std::string> &rendererNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const Choice &choice : choices()) all.push_back(choice.name);
    return all;
  }();
  return names;
}

std::int32_t chooseRenderer(const std::string &name) {
  for (const Choice &choice : choices()) {
    if (name != choice.name) continue;
    std::string problems;
    for (const std::int32_t id : choice.rendererIds) {
      const std::string problem = platform::rendererUnavailable(id);
      if (problem.empty()) return id;
      problems += (problems.empty() ? "" : "; ") + problem;
    }
    throw HostError("no usable OpenGL: " + problems);
  }
  throw HostError("there is no backend '" + name + "'");
}

std::string rendererName(std::int32_t rendererId) {
  for (const Choice &choice : choices())
    if (choice.rendererIds.size() == 1 && choice.rendererIds[0] == rendererId) return choice.name;
  return "none";
}

}  // namespace pyrelux::host
