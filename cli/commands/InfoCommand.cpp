#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "BackendChoice.h"
#include "Commands.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

namespace {

using Json = nlohmann::ordered_json;

/// What draws, or why nothing does.
Json backendFacts(const std::string &wanted) {
  try {
    const std::int32_t backendId = host::chooseBackend(wanted);
    const host::FrameRenderer renderer(backendId);
    return {{"name", host::backendName(backendId)}, {"renderer", renderer.description()}};
  } catch (const host::HostError &error) {
    return {{"error", error.what()}};
  }
}

Json filterFacts() {
  try {
    const host::FilterInfo found = host::Filter(host::findFilter(host::defaultSearchPath())).info();
    return {{"name", found.displayName},
            {"version", found.version},
            {"group", found.groupName},
            {"bundle", found.bundlePath}};
  } catch (const host::HostError &error) {
    return {{"error", error.what()}};
  }
}

void printLine(const char *name, const Json &text) { std::cout << name << text.get<std::string>() << "\n"; }

void print(const Json &backend, const Json &filter) {
  printLine("version:   ", PYRELUX_VERSION);
  if (backend.contains("error")) {
    printLine("backend:   none: ", backend["error"]);
  } else {
    printLine("backend:   ", backend["name"]);
    printLine("renderer:  ", backend["renderer"]);
  }
  if (filter.contains("error")) {
    printLine("bundle:    none: ", filter["error"]);
  } else {
    std::cout << "filter:    " << filter["name"].get<std::string>() << " " << filter["version"].get<std::string>()
              << " (" << filter["group"].get<std::string>() << ")\n";
    printLine("bundle:    ", filter["bundle"]);
  }
}

int info(const std::string &wanted, bool asJson) {
  const Json backend = backendFacts(wanted);
  const Json filter = filterFacts();
  if (asJson)
    std::cout << Json{{"version", PYRELUX_VERSION}, {"backend", backend}, {"filter", filter}}.dump(2) << "\n";
  else
    print(backend, filter);
  return backend.contains("error") || filter.contains("error") ? 1 : 0;
}

}  // namespace

Command infoCommand() {
  struct Arguments {
    std::string backend = "auto";
    bool asJson = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"info",
          "Show version, backend and filter bundle",
          {backendOption(arguments->backend), flag("--json", arguments->asJson, true, "As JSON")},
          [arguments] { return info(arguments->backend, arguments->asJson); }};
}

}  // namespace pyrelux::cli
