#include "LockedFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "MediaErrors.h"

namespace pyrelux::record {

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

Descriptor openRegular(const std::string &path, int flags, std::string &cause) {
  Descriptor file(open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
  struct stat status = {};
  if (!file || fstat(file.number(), &status) != 0) {
    const bool isLink = errno == ELOOP && (flags & O_NOFOLLOW);
    cause = isLink ? "it is a link" : errno == ENOENT ? media::causeNoSuchFile : media::systemCause(errno);
  } else if (!S_ISREG(status.st_mode)) {
    cause = media::causeNotRegular;
  } else {
    return file;
  }
  return Descriptor();
}

std::uintmax_t sizeOf(const Descriptor &file) {
  struct stat status = {};
  return fstat(file.number(), &status) == 0 ? static_cast<std::uintmax_t>(status.st_size) : 0;
}

void readLines(const Descriptor &file, std::size_t maxBytes,
               const std::function<bool(const std::string &, bool)> &take) {
  std::string line;
  char part[1 << 16];
  for (off_t place = 0;;) {
    const ssize_t count = pread(file.number(), part, sizeof part, place);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    place += count;
    for (const char *at = part, *end = part + count; at != end;) {
      const char *lineEnd = std::find(at, end, '\n');
      line.append(at, std::min<std::size_t>(static_cast<std::size_t>(lineEnd - at), maxBytes - line.size()));
      if (lineEnd == end) break;
      if (!take(line, true)) return;
      line.clear();
      at = lineEnd + 1;
    }
  }
  if (!line.empty()) take(line, false);
}

LockedFile::LockedFile(const std::string &path, std::chrono::milliseconds patience) : path_(path) {
  // Whoever has removed or replaced the file while this waited would not see what is added to the old one.
  do {
    std::string cause;
    file_ = openRegular(path_, O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW, cause);
    if (!file_) fail(cause);
    lock(patience);
  } while (!isStillAtPath());
}

void LockedFile::lock(std::chrono::milliseconds patience) {
  using namespace std::chrono;
  const auto end = steady_clock::now() + patience;
  for (auto pause = microseconds(50); flock(file_.number(), LOCK_EX | LOCK_NB) != 0;
       pause = std::min(pause * 2, microseconds(2000))) {
    const int error = errno;
    // A file system without locks still adds lines in one piece.
    if (error == EOPNOTSUPP || error == ENOLCK || error == EINVAL) return;
    if (error != EWOULDBLOCK && error != EINTR) fail(media::systemCause(error));
    if (steady_clock::now() > end) fail("another program keeps it locked");
    std::this_thread::sleep_for(pause);
  }
}

bool LockedFile::isStillAtPath() const {
  struct stat opened = {};
  struct stat named = {};
  return fstat(file_.number(), &opened) == 0 && lstat(path_.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

void LockedFile::clear() {
  if (ftruncate(file_.number(), 0) != 0) fail(media::systemCause(errno));
}

void LockedFile::append(const std::string &line) {
  const std::uintmax_t before = sizeOf(file_);
  char last = '\n';
  if (before > 0 && pread(file_.number(), &last, 1, static_cast<off_t>(before - 1)) < 0)
    fail(media::systemCause(errno));
  const std::string text = (last == '\n' ? "" : "\n") + line + "\n";
  // In one call, so that it is in one piece where there are no locks.
  const ssize_t count = write(file_.number(), text.data(), text.size());
  if (count == static_cast<ssize_t>(text.size())) return;
  const int error = count < 0 ? errno : ENOSPC;
  if (count > 0 && ftruncate(file_.number(), static_cast<off_t>(before)) != 0) fail(media::systemCause(errno));
  fail(media::systemCause(error));
}

void LockedFile::fail(const std::string &cause) const { media::failWriting(path_, cause); }

}  // namespace pyrelux::record
