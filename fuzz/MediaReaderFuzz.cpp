// Any bytes as a picture or movie: they are refused as an input, or the frames they promise can be asked for.

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "MediaErrors.h"
#include "Reader.h"
#include "Require.h"

namespace {

using namespace pyrelux;

// The name matters to one of them only, and ought not to matter to the others.
constexpr const char *extensions[] = {".png", ".tga", ".exr", ".mov", ".mkv", ".mp4", ".jpg", ".tif"};

/// A file in memory where there is such a folder, with a name that no other process has.
class ShortLivedFile {
 public:
  ShortLivedFile(const char *extension, const std::uint8_t *data, std::size_t size) {
    const std::filesystem::path memory = "/dev/shm";
    const auto folder = std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    path_ = (folder / ("pyrelux-fuzz-" + std::to_string(getpid()) + extension)).string();
    std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char *>(data), static_cast<long>(size));
  }
  ~ShortLivedFile() { std::filesystem::remove(path_); }
  ShortLivedFile(const ShortLivedFile &) = delete;
  ShortLivedFile &operator=(const ShortLivedFile &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

void readFrame(media::Reader &reader, std::int64_t frame) {
  try {
    const Image image = reader.read(frame);
    fuzz::require(image.width() == reader.info().width && image.height() == reader.info().height,
                  "a frame has the size that was promised");
  } catch (const media::InputError &) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  const ShortLivedFile file(extensions[data[0] % std::size(extensions)], data + 1, size - 1);
  try {
    const auto reader = media::Reader::open(file.path());
    const media::InputInfo &info = reader->info();
    fuzz::require(info.width > 0 && info.height > 0 && info.pixelAspect > 0.0, "there is a picture");
    fuzz::require(info.firstFrame <= info.lastFrame, "there is a frame");
    fuzz::require(info.frameRate.numerator > 0 && info.frameRate.denominator > 0, "there is a rate");
    // The last of very many would take very long to get at.
    constexpr std::int64_t farthest = 50;
    for (const std::int64_t frame : {info.firstFrame, std::min(info.lastFrame, info.firstFrame + farthest)})
      readFrame(*reader, frame);
  } catch (const media::InputError &) {
  }
  return 0;
}
