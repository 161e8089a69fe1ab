#include "OutputFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include "FramePattern.h"
#include "LibraryCause.h"
#include "MediaErrors.h"
#include "OnDisk.h"
#include "StandardStream.h"

namespace pyrelux::media {

namespace {

constexpr char partialMark[] = ".partial-";

std::filesystem::path folderOf(const std::string &path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

/// Unlike every other in the folder, unless somebody can guess 64 bits.
std::string temporaryPathFor(const std::string &path) {
  std::random_device random;
  char end[32];
  std::snprintf(end, sizeof end, "%s%08x%08x", partialMark, random(), random());
  // A name may be as long as the file system takes, and still this has to fit.
  const std::string start =
      std::filesystem::path(path).filename().string().substr(0, NAME_MAX - 1 - std::string(end).size());
  return (folderOf(path) / ("." + start + end)).string();
}

/// The name of the output that a hidden file was to become; empty for any other file.
std::string finalNameOf(const std::string &hidden) {
  constexpr std::size_t digits = 16;
  const std::size_t mark = hidden.rfind(partialMark);
  if (hidden.empty() || hidden[0] != '.' || mark == std::string::npos || mark == 0) return {};
  const std::string end = hidden.substr(mark + std::string(partialMark).size());
  const bool isOurs = end.size() == digits && end.find_first_not_of("0123456789abcdef") == std::string::npos;
  return isOurs ? hidden.substr(1, mark - 1) : std::string();
}

/// Whether nobody writes the file: its writer would hold a lock, but for the first moment.
bool isAbandoned(const std::filesystem::path &file) {
  constexpr std::time_t moment = 2;
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return false;
  struct stat status = {};
  const bool isOld =
      ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_mtime + moment <= std::time(nullptr);
  const bool isFree = isOld && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
  ::close(descriptor);
  return isFree;
}

}  // namespace

std::vector<std::string> removeLeftovers(const std::string &path, bool isPattern) {
  std::optional<FramePattern> pattern;
  if (isPattern) pattern.emplace(path);
  const std::string ownName = std::filesystem::path(path).filename().string();
  std::vector<std::string> removed;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folderOf(path), error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string hidden = entry->path().filename().string();
    const std::string name = finalNameOf(hidden);
    if (name.empty() || (name != ownName && !(pattern && pattern->isNumbered() && pattern->frameOf(name)))) continue;
    if (isAbandoned(entry->path()) && std::remove(entry->path().c_str()) == 0) removed.push_back(hidden);
  }
  std::sort(removed.begin(), removed.end());
  return removed;
}

void OutputFile::requireWritable(const std::string &path) {
  if (!standardOutputFormat(path).empty()) return requireStandardOutput();
  std::error_code error;
  const std::filesystem::file_status present = std::filesystem::status(path, error);
  if (std::filesystem::is_directory(present)) failWriting(path, causeFolder);
  // A device or a pipe, to which a renamed file would put an end.
  if (std::filesystem::is_other(present)) failWriting(path, causeNotRegular);
  if (std::filesystem::path(path).filename().string().size() > NAME_MAX) failWriting(path, systemCause(ENAMETOOLONG));
  const std::filesystem::path folder = folderOf(path);
  const std::filesystem::file_status status = std::filesystem::status(folder, error);
  if (status.type() == std::filesystem::file_type::not_found)
    failWriting(path, "the folder '" + folder.string() + "' does not exist");
  if (status.type() != std::filesystem::file_type::directory && !error)
    failWriting(path, "'" + folder.string() + "' is not a folder");
  if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) failWriting(path, systemCause(errno));
}

OutputFile::OutputFile(const std::string &path) : Output(path), temporaryPath_(temporaryPathFor(path)) {
  requireWritable(path);
  descriptor_ = ::open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (descriptor_ < 0) failWriting(path, systemCause(errno));
  lock_ = ::dup(descriptor_);
  // File systems without locks only lose the clearing up.
  if (lock_ >= 0) ::flock(lock_, LOCK_EX | LOCK_NB);
  try {
    openIo(seek);
  } catch (const std::bad_alloc &) {
    discard();
    throw;
  }
}

OutputFile::~OutputFile() {
  io_.reset();
  discard();
}

void OutputFile::discard() {
  closeDescriptor();
  if (!isCommitted_) std::remove(temporaryPath_.c_str());
  if (lock_ >= 0) ::close(lock_);
}

std::int64_t OutputFile::seek(void *file, std::int64_t offset, int whence) {
  const int descriptor = *static_cast<int *>(file);
  if (whence == AVSEEK_SIZE) {
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 ? std::int64_t{status.st_size} : AVERROR(errno);
  }
  const off_t place = ::lseek(descriptor, offset, whence & ~AVSEEK_FORCE);
  return place < 0 ? AVERROR(errno) : std::int64_t{place};
}

void OutputFile::closeDescriptor() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

void OutputFile::complete() {
  requireWritten();
  io_.reset();
  if (descriptor_ < 0) return;
  if (const int error = synchronise(descriptor_)) failWriting(path_, systemCause(error));
  // File systems of other machines may tell only now that there is no room.
  if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) failWriting(path_, systemCause(errno));
}

void OutputFile::commit() {
  complete();
  if (std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) failWriting(path_, systemCause(errno));
  isCommitted_ = true;
  if (const int error = synchroniseName(path_)) failWriting(path_, systemCause(error));
}

}  // namespace pyrelux::media
