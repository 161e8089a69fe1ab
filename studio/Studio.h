#pragma once

#include <functional>
#include <optional>
#include <string>

#include "RenderRequest.h"
#include "StopToken.h"

namespace pyrelux::studio {

struct StudioOptions {
  /// What burns at the start, and around it; nothing for an empty document.
  job::RenderRequest start;
  std::optional<std::string> project;  ///< a file to open
  std::string root = ".";              ///< the folder that pages may name files in
  std::optional<unsigned short> port;  ///< otherwise the first of a few that is free
  int memory = 512;                    ///< megabytes that a page may keep frames in
  std::string backend = "auto";        ///< one of host::backendNames()
  /// Is told the address for the first browser, once pages are answered.
  std::function<void(const std::string &address)> ready;
  /// Shows a folder to the person at this machine, and returns whether that is possible; null for no.
  std::function<bool(const std::string &folder)> reveal;
};

/// Serves the studio until a page ends it or `stop` is requested; exports then end as interrupted renders do. Throws
/// ValueError, media::InputError, host::HostError, and std::runtime_error for a port that is taken.
void runStudio(const StudioOptions &options, const job::StopToken &stop);

}  // namespace pyrelux::studio
