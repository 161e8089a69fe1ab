#include "Output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "LibraryCause.h"
#include "MediaErrors.h"
#include "StandardStream.h"

namespace pyrelux::media {

namespace {

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

}  // namespace

void Output::openIo(Seek seek) {
  constexpr int bufferSize = 1 << 16;
  auto *buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
  // Of a type that libraries before and after a change of theirs take.
  const auto deliver = [](void *descriptor, auto *data, int size) {
    const int error = writeAll(*static_cast<int *>(descriptor), data, size);
    return error ? AVERROR(error) : size;
  };
  if (buffer) io_.reset(avio_alloc_context(buffer, bufferSize, 1, &descriptor_, nullptr, deliver, seek));
  if (io_) return;
  av_free(buffer);
  throw std::bad_alloc();
}

void Output::write(const std::vector<std::uint8_t> &bytes) {
  // The library takes no more at a time than an int tells.
  constexpr std::size_t most = std::size_t{1} << 30;
  for (std::size_t begin = 0; begin < bytes.size(); begin += most)
    avio_write(io_.get(), &bytes[begin], static_cast<int>(std::min(most, bytes.size() - begin)));
}

void Output::requireWritten() {
  if (!io_) return;
  avio_flush(io_.get());
  if (io_->error < 0) failWriting(path_, libraryCause(io_->error));
}

OutputStream::OutputStream(const std::string &path) : Output(path) {
  requireStandardOutput();
  descriptor_ = STDOUT_FILENO;
  openIo(nullptr);
}

}  // namespace pyrelux::media
