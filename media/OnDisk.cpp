#include "OnDisk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace pyrelux::media {

int synchronise(int descriptor) {
  while (::fsync(descriptor) != 0) {
    // Some file systems have no such call.
    if (errno == EINVAL || errno == ENOTSUP) return 0;
    if (errno != EINTR) return errno;
  }
  return 0;
}

int synchroniseName(const std::string &path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  const int folder = ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return 0;
  const int error = synchronise(folder);
  ::close(folder);
  return error;
}

}  // namespace pyrelux::media
