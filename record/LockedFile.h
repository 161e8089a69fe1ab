#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace pyrelux::record {

/// Closes what it holds, if anything.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  explicit operator bool() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

/// Opens a regular file with the flags of open(), never waiting for the other end of a pipe. Holds nothing if that is
/// not possible: `cause` tells why, and is media::causeNoSuchFile if there is none.
Descriptor openRegular(const std::string &path, int flags, std::string &cause);

/// Its length in bytes.
std::uintmax_t sizeOf(const Descriptor &file);

/// Reads lines, without their ends, until there are no more or `take` returns false. Of a line that is longer than
/// `maxBytes` bytes, the beginning is told. `take` is also told whether the line has an end.
void readLines(const Descriptor &file, std::size_t maxBytes,
               const std::function<bool(const std::string &line, bool hasEnd)> &take);

/// A file of lines that several programs add to, each in its turn: as long as this lives, no other has it. The turns
/// are flock()'s, which this machine's file systems keep; NFS passes them on to the server. Thread: any; threads of one
/// program take turns, too.
class LockedFile {
 public:
  /// Opens the file and waits for the turn. Never follows a link. Throws media::OutputError: not permitted, a link,
  /// nothing that is a regular file, no turn before the patience ends.
  explicit LockedFile(const std::string &path, std::chrono::milliseconds patience = std::chrono::seconds(30));

  const Descriptor &descriptor() const { return file_; }

  /// Removes all that is in it.
  void clear();

  /// Adds a line; one before it without an end, which whoever was killed has left, gets an end. After a failure there
  /// is nothing of the line in the file. Throws media::OutputError.
  void append(const std::string &line);

 private:
  bool isStillAtPath() const;
  void lock(std::chrono::milliseconds patience);
  [[noreturn]] void fail(const std::string &cause) const;

  std::string path_;
  Descriptor file_;
};

}  // namespace pyrelux::record
