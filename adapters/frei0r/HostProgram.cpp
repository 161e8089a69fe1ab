#include "HostProgram.h"

#include <errno.h>
#include <link.h>

#include <algorithm>

namespace pyrelux::adapters {

bool isFFmpeg(const std::string &program, const std::vector<std::string> &libraries) {
  const auto begins = [](const std::string &name, const char *with) { return name.rfind(with, 0) == 0; };
  const auto hasLibrary = [&](const char *with) {
    return std::any_of(libraries.begin(), libraries.end(), [&](const auto &name) { return begins(name, with); });
  };
  // MLT and GStreamer may load FFmpeg's libraries, too, and a static ffmpeg loads none.
  if (hasLibrary("libmlt") || hasLibrary("libgstreamer-")) return false;
  return hasLibrary("libavfilter.") || begins(program, "ffmpeg") || begins(program, "ffplay");
}

bool isCalledByFFmpeg() {
  std::vector<std::string> libraries;
  const auto note = [](dl_phdr_info *library, std::size_t, void *names) {
    const std::string path = library->dlpi_name;
    static_cast<std::vector<std::string> *>(names)->push_back(path.substr(path.rfind('/') + 1));
    return 0;
  };
  dl_iterate_phdr(note, &libraries);
  return isFFmpeg(program_invocation_short_name, libraries);
}

}  // namespace pyrelux::adapters
