#pragma once

#include <string>

#include "Handles.h"

namespace pyrelux::media {

/// A file that grows beside its final name, hidden, and takes that name when it is complete. Without commit() it
/// disappears.
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

  /// The name to give to the libraries while the file grows.
  std::string url() const { return "file:" + temporaryPath_; }

  /// Throws MediaError if anything written has not arrived: a full disk.
  void requireWritten();

  /// Closes the file and renames it. Throws MediaError.
  void commit();

 private:
  std::string path_;
  std::string temporaryPath_;
  IoPtr io_;
  bool isCommitted_ = false;
};

}  // namespace pyrelux::media
