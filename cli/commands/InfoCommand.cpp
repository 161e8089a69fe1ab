#include <iostream>
#include <memory>

#include "BackendChoice.h"
#include "Commands.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

namespace {

int info(const std::string &backend) {
  int exitCode = 0;
  std::cout << "version:   " PYRELUX_VERSION "\n";
  try {
    const std::int32_t backendId = host::chooseBackend(backend);
    const host::FrameRenderer renderer(backendId);
    std::cout << "backend:   " << host::backendName(backendId) << "\n"
              << "renderer:  " << renderer.description() << "\n";
  } catch (const host::HostError &error) {
    std::cout << "backend:   none: " << error.what() << "\n";
    exitCode = 1;
  }
  try {
    const host::Filter filter(host::findFilter(host::defaultSearchPath()));
    const host::FilterInfo &found = filter.info();
    std::cout << "filter:    " << found.displayName << " " << found.version << " (" << found.groupName << ")\n"
              << "bundle:    " << found.bundlePath << "\n";
  } catch (const host::HostError &error) {
    std::cout << "bundle:    none: " << error.what() << "\n";
    exitCode = 1;
  }
  return exitCode;
}

}  // namespace

Command infoCommand() {
  const auto backend = std::make_shared<std::string>("auto");
  return {"info", "Show version, backend and filter bundle", {backendOption(*backend)}, [backend] {
            return info(*backend);
          }};
}

}  // namespace pyrelux::cli
