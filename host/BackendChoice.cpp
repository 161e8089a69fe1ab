#include "BackendChoice.h"

#include "Backends.h"
#include "HostError.h"

namespace pyrelux::host {

namespace {

struct Choice {
  const char *name;
  std::vector<std::int32_t> backendIds;  ///< best first
};

const std::vector<Choice> &choices() {
  using namespace platform;
  static const std::vector<Choice> all = {
      {"auto", {kBackendGPU, kBackendSoft}}, {"gpu", {kBackendGPU}}, {"mesa", {kBackendMesa}}, {"soft", {kBackendSoft}},
      {"egl", {kBackendGPU, kBackendMesa}},
  };
  return all;
}

}  // namespace

const std::vector<std::string> &backendNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const Choice &choice : choices()) all.push_back(choice.name);
    return all;
  }();
  return names;
}

std::int32_t chooseBackend(const std::string &name) {
  for (const Choice &choice : choices()) {
    if (name != choice.name) continue;
    std::string problems;
    for (const std::int32_t id : choice.backendIds) {
      const std::string problem = platform::backendUnavailable(id);
      if (problem.empty()) return id;
      problems += (problems.empty() ? "" : "; ") + problem;
    }
    throw HostError("no usable OpenGL: " + problems);
  }
  throw HostError("there is no backend '" + name + "'");
}

std::string backendName(std::int32_t backendId) {
  for (const Choice &choice : choices())
    if (choice.backendIds.size() == 1 && choice.backendIds[0] == backendId) return choice.name;
  return "none";
}

std::string instructionsOf(std::int32_t backendId) {
  return backendId == platform::kBackendSoft ? platform::softInstructions() : std::string();
}

}  // namespace pyrelux::host
