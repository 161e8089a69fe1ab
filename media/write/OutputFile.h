#pragma once

#include <string>
#include <vector>

#include "AvPtr.h"

namespace pyrelux::media {

/// Removes the hidden files that runs for this output left when they were killed: those that nobody writes any more.
/// `isPattern`: the name may have a place for a number, as FramePattern has it. Returns their names without folder.
/// Files that can't be looked at stay.
std::vector<std::string> removeLeftovers(const std::string &path, bool isPattern);

/// A file that grows beside its final name, hidden, and takes that name when it is complete and on the disk. Without
/// commit() it disappears. Its hidden name can't be guessed and is never that of a file or link that is there.
class OutputFile {
 public:
  /// Throws MediaError: no such folder, not permitted, a folder or device of that name.
  explicit OutputFile(const std::string &path);
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  /// Throws MediaError if a file could not be made at the path, without making one.
  static void requireWritable(const std::string &path);

  AVIOContext *io() { return io_.get(); }

  /// The hidden name.
  const std::string &temporaryPath() const { return temporaryPath_; }

  /// The name to give to the libraries while the file grows.
  std::string url() const { return "file:" + temporaryPath_; }

  /// Throws MediaError if anything written has not arrived: a full disk.
  void requireWritten();

  /// Closes the file once it is on the disk; nothing can be written any more. Throws MediaError.
  void complete();

  /// Completes the file, renames it, and waits until its name is on the disk. Throws MediaError.
  void commit();

 private:
  static std::int64_t seek(void *self, std::int64_t offset, int whence);
  void closeDescriptor();

  std::string path_;
  std::string temporaryPath_;
  int descriptor_ = -1;
  int lock_ = -1;  ///< tells others that the file is not left over; until it has its name
  BufferedIoPtr io_;
  bool isCommitted_ = false;
};

}  // namespace pyrelux::media
