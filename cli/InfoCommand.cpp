#include <iostream>

#include "Bundles.h"
#include "Commands.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "Renderers.h"

namespace pyrelux::cli {

int info(const std::string &backend) {
  int exitCode = 0;
  std::cout << "version:   " PYRELUX_VERSION "\n";
  try {
    const std::int32_t rendererId = host::chooseRenderer(backend);
    const host::FrameRenderer renderer(rendererId);
    std::cout << "backend:   " << host::rendererName(rendererId) << "\n"
              << "renderer:  " << renderer.description() << "\n";
  } catch (const host::HostError &error) {
    std::cout << "backend:   none: " << error.what() << "\n";
    exitCode = 1;
  }
  try {
    const host::FilterInfo filter = host::findFilter(host::defaultSearchPath());
    std::cout << "filter:    " << filter.displayName << " " << filter.version << " (" << filter.groupName << ")\n"
              << "bundle:    " << filter.bundlePath << "\n";
  } catch (const host::HostError &error) {
    std::cout << "bundle:    none: " << error.what() << "\n";
    exitCode = 1;
  }
  return exitCode;
}

}  // namespace pyrelux::cli
