#include "Renderers.h"

#include "Backends.h"
#include "HostError.h"

namespace pyrelux::host {

namespace {

struct NamedRenderer {
  const char *name;
  std::int32_t id;
};

/// What "auto" chooses from, best first.
constexpr NamedRenderer renderers[] = {{"egl", platform::kRendererEGL}};

}  // namespace

const std::vector<std::string> &rendererNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all{"auto"};
    for (const NamedRenderer &renderer : renderers) all.push_back(renderer.name);
    return all;
  }();
  return names;
}

std::int32_t chooseRenderer(const std::string &name) {
  std::string problems;
  for (const NamedRenderer &renderer : renderers) {
    if (name != "auto" && name != renderer.name) continue;
    const std::string problem = platform::rendererUnavailable(renderer.id);
    if (problem.empty()) return renderer.id;
    problems += (problems.empty() ? "" : "; ") + problem;
  }
  if (problems.empty()) throw HostError("there is no backend '" + name + "'");
  throw HostError("no usable OpenGL: " + problems);
}

std::string rendererName(std::int32_t rendererId) {
  for (const NamedRenderer &renderer : renderers)
    if (renderer.id == rendererId) return renderer.name;
  return "none";
}

}  // namespace pyrelux::host
