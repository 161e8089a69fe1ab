#include "OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Errors.h"

namespace pyrelux::media {

namespace {

std::filesystem::path folderOf(const std::string &path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

/// Unlike every other in the folder: of another process, another thread or an earlier attempt that is still open.
std::string temporaryPathFor(const std::string &path) {
  static std::atomic<unsigned> count{0};
  const std::string end = ".partial-" + std::to_string(::getpid()) + "-" + std::to_string(count++);
  // A name may be as long as the file system takes, and still this has to fit.
  const std::string start = std::filesystem::path(path).filename().string().substr(0, NAME_MAX - 1 - end.size());
  return (folderOf(path) / ("." + start + end)).string();
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
  AVIOContext *io = nullptr;
  const int result = avio_open2(&io, url().c_str(), AVIO_FLAG_WRITE, nullptr, nullptr);
  if (result < 0) failWriting(path, libraryCause(result));
  io_.reset(io);
}

OutputFile::~OutputFile() {
  io_.reset();
  if (!isCommitted_) std::remove(temporaryPath_.c_str());
}

void OutputFile::requireWritten() {
  avio_flush(io_.get());
  if (io_->error < 0) failWriting(path_, libraryCause(io_->error));
}

void OutputFile::commit() {
  requireWritten();
  AVIOContext *io = io_.release();
  const int result = avio_closep(&io);
  if (result < 0) failWriting(path_, libraryCause(result));
  if (std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) failWriting(path_, systemCause(errno));
  isCommitted_ = true;
}

}  // namespace pyrelux::media
