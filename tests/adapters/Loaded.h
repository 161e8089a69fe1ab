#pragma once

#include <link.h>

#include <string>
#include <vector>

namespace pyrelux::adapters::test {

/// The files of FFmpeg's libraries that are in this process.
inline std::vector<std::string> loadedFromFFmpeg() {
  std::vector<std::string> found;
  dl_iterate_phdr(
      [](dl_phdr_info *library, std::size_t, void *into) {
        const std::string path = library->dlpi_name;
        for (const char *name :
             {"/libavcodec.", "/libavfilter.", "/libavformat.", "/libavutil.", "/libswresample.", "/libswscale."})
          if (path.find(name) != std::string::npos) static_cast<std::vector<std::string> *>(into)->push_back(path);
        return 0;
      },
      &found);
  return found;
}

}  // namespace pyrelux::adapters::test
