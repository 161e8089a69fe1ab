#include "PngBytes.h"

#include <new>

#include "AvPtr.h"
#include "StillEncoder.h"

namespace pyrelux::media {

namespace {

/// Memory that grows with what is written.
class MemoryFile {
 public:
  MemoryFile() {
    if (avio_open_dyn_buf(&io_) < 0) throw std::bad_alloc();
  }
  ~MemoryFile() {
    if (io_) bytes();
  }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  AVIOContext &io() { return *io_; }

  /// Everything written; nothing can be written any more.
  std::vector<std::uint8_t> bytes() {
    std::uint8_t *memory = nullptr;
    const int size = avio_close_dyn_buf(io_, &memory);
    io_ = nullptr;
    std::vector<std::uint8_t> result(memory, memory + size);
    av_free(memory);
    return result;
  }

 private:
  AVIOContext *io_ = nullptr;
};

}  // namespace

std::vector<std::uint8_t> pngBytes(const Image &image, int bits, double pixelAspect, PngEffort effort) {
  const char *const path = "picture.png";
  Codec codec = formatOf(path).codec({}, path);
  if (effort == PngEffort::Least) codec.options = {{"pred", "sub"}, {"compression_level", "1"}};
  OutputFormat format;
  format.width = image.width();
  format.height = image.height();
  format.bits = bits;
  format.pixelAspect = pixelAspect;
  MemoryFile file;
  StillEncoder::open(path, codec, format)->encode(image, file.io());
  return file.bytes();
}

}  // namespace pyrelux::media
