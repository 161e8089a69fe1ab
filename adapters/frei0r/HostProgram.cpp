#include "HostProgram.h"

#include <link.h>

#include <cstring>

namespace pyrelux::adapters {

namespace {

struct Libraries {
  bool hasSecondsHost = false;
  bool hasFFmpegFilters = false;
};

int note(dl_phdr_info *library, std::size_t, void *data) {
  Libraries &libraries = *static_cast<Libraries *>(data);
  const char *slash = std::strrchr(library->dlpi_name, '/');
  const char *name = slash ? slash + 1 : library->dlpi_name;
  const auto begins = [name](const char *with) { return std::strncmp(name, with, std::strlen(with)) == 0; };
  // MLT may have FFmpeg's filters, too.
  if (begins("libmlt") || begins("libgstreamer-")) libraries.hasSecondsHost = true;
  if (begins("libavfilter.")) libraries.hasFFmpegFilters = true;
  return 0;
}

}  // namespace

TimeUnit timeUnitOfHost() {
  Libraries libraries;
  dl_iterate_phdr(note, &libraries);
  return libraries.hasFFmpegFilters && !libraries.hasSecondsHost ? TimeUnit::Milliseconds : TimeUnit::Seconds;
}

}  // namespace pyrelux::adapters
