#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "LibraryCause.h"
#include "MediaErrors.h"

namespace pyrelux::media {

namespace {

std::filesystem::path folderOf(const std::string &path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

/// Unlike every other in the folder, unless somebody can guess 64 bits.
std::string temporaryPathFor(const std::string &path) {
  std::random_device random;
  char end[32];
  std::snprintf(end, sizeof end, ".partial-%08x%08x", random(), random());
  // A name may be as long as the file system takes, and still this has to fit.
  const std::string start =
      std::filesystem::path(path).filename().string().substr(0, NAME_MAX - 1 - std::string(end).size());
  return (folderOf(path) / ("." + start + end)).string();
}

/// Writes all of the bytes. Returns 0 or an errno value.
int writeAll(int descriptor, const std::uint8_t *data, int size) {
  while (size > 0) {
    const ssize_t count = ::write(descriptor, data, static_cast<std::size_t>(size));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    data += count;
    size -= static_cast<int>(count);
  }
  return 0;
}

/// Waits until the file is on the disk. Returns 0 or an errno value.
int synchronise(int descriptor) {
  while (::fsync(descriptor) != 0) {
    // Some file systems have no such call.
    if (errno == EINVAL || errno == ENOTSUP) return 0;
    if (errno != EINTR) return errno;
  }
  return 0;
}

}  // namespace

void OutputFile::requireWritable(const std::string &path) {
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

OutputFile::OutputFile(const std::string &path) : path_(path), temporaryPath_(temporaryPathFor(path)) {
  requireWritable(path);
  descriptor_ = ::open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (descriptor_ < 0) failWriting(path, systemCause(errno));
  constexpr int bufferSize = 1 << 16;
  auto *buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
  // Of a type that libraries before and after a change of theirs take.
  const auto write = [](void *self, auto *data, int size) {
    const int error = writeAll(static_cast<OutputFile *>(self)->descriptor_, data, size);
    return error ? AVERROR(error) : size;
  };
  if (buffer) io_.reset(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, write, seek));
  if (io_) return;
  av_free(buffer);
  closeDescriptor();
  std::remove(temporaryPath_.c_str());
  throw std::bad_alloc();
}

OutputFile::~OutputFile() {
  io_.reset();
  closeDescriptor();
  if (!isCommitted_) std::remove(temporaryPath_.c_str());
}

std::int64_t OutputFile::seek(void *self, std::int64_t offset, int whence) {
  const int descriptor = static_cast<OutputFile *>(self)->descriptor_;
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

void OutputFile::requireWritten() {
  if (!io_) return;
  avio_flush(io_.get());
  if (io_->error < 0) failWriting(path_, libraryCause(io_->error));
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
  // A folder that may be written to but not read can't be opened, and the name reaches the disk when the system likes.
  const int folder = ::open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  const int error = synchronise(folder);
  ::close(folder);
  if (error) failWriting(path_, systemCause(error));
}

}  // namespace pyrelux::media
