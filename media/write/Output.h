#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "AvPtr.h"

namespace pyrelux::media {

/// Where the bytes of an output go.
class Output {
 public:
  virtual ~Output() = default;
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  AVIOContext *io() { return io_.get(); }

  /// The name to give to the libraries.
  virtual std::string url() const = 0;

  /// Adds bytes. requireWritten() tells of what does not arrive.
  void write(const std::vector<std::uint8_t> &bytes);

  /// Throws MediaError if anything written has not arrived: a full disk, a program that reads no more.
  void requireWritten();

  /// Completes the output. Throws MediaError.
  virtual void commit() = 0;

 protected:
  using Seek = std::int64_t (*)(void *descriptor, std::int64_t offset, int whence);

  explicit Output(std::string path) : path_(std::move(path)) {}

  /// Has io() write to `descriptor_`, and go back by `seek`; null where there is no going back.
  void openIo(Seek seek);

  std::string path_;
  int descriptor_ = -1;
  BufferedIoPtr io_;
};

/// Standard output, as media::standardOutput() names it.
class OutputStream : public Output {
 public:
  /// Throws OutputError: a terminal, closed.
  explicit OutputStream(const std::string &path);

  std::string url() const override { return "pipe:1"; }
  void commit() override { requireWritten(); }
};

}  // namespace pyrelux::media
