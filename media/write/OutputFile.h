#pragma once

#include <string>
#include <vector>

#include "Output.h"

namespace pyrelux::media {

/// Removes the hidden files that runs for this output left when they were killed: those that nobody writes any more.
/// `isPattern`: the name may have a place for a number, as FramePattern has it. Returns their names without folder.
/// Files that can't be looked at stay.
std::vector<std::string> removeLeftovers(const std::string &path, bool isPattern);

/// A file that grows beside its final name, hidden, and takes that name when it is complete and on the disk. Without
/// commit() it disappears. Its hidden name can't be guessed and is never that of a file or link that is there.
class OutputFile : public Output {
 public:
  /// Throws MediaError: no such folder, not permitted, a folder or device of that name.
  explicit OutputFile(const std::string &path);
  ~OutputFile() override;

  /// Throws MediaError if a file could not be made at the path, without making one; for standard output, if nothing
  /// can be written there.
  static void requireWritable(const std::string &path);

  /// The hidden name.
  const std::string &temporaryPath() const { return temporaryPath_; }

  std::string url() const override { return "file:" + temporaryPath_; }

  /// Closes the file once it is on the disk; nothing can be written any more. Throws MediaError.
  void complete();

  /// Completes the file, renames it, and waits until its name is on the disk. Throws MediaError.
  void commit() override;

 private:
  static std::int64_t seek(void *descriptor, std::int64_t offset, int whence);
  void closeDescriptor();
  void discard();

  std::string temporaryPath_;
  int lock_ = -1;  ///< tells others that the file is not left over; until it has its name
  bool isCommitted_ = false;
};

}  // namespace pyrelux::media
