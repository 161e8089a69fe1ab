#pragma once

#include <string>
#include <vector>

namespace pyrelux::host {

/// One filter of a bundle's plug-in list.
struct FilterInfo {
  std::string bundlePath;  ///< absolute
  std::string executable;  ///< name of the binary in it
  std::string className;
  std::string displayName;
  std::string groupName;
  std::string infoString;
  std::string uuid;
  std::string version;
};

/// Where bundles are looked for: PYRELUX_PLUGIN_PATH (folders separated by ":") when it is set; otherwise the
/// platform library's folder, then ~/.local/lib/pyrelux, /usr/local/lib/pyrelux and /usr/lib/pyrelux.
std::vector<std::string> defaultSearchPath();

/// The filters that the bundles in these folders list in their property lists, in the order of the folders and by name
/// inside one. No code is loaded. A bundle without a readable list has no filters.
std::vector<FilterInfo> findFilters(const std::vector<std::string> &searchPath);

/// The first of them. Throws HostError that names the folders looked in when there is none.
FilterInfo findFilter(const std::vector<std::string> &searchPath);

}  // namespace pyrelux::host
