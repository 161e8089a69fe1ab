#include "RawStill.h"

#include "LibraryCause.h"
#include "MediaErrors.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace pyrelux::media {

std::vector<std::uint8_t> encodeRaw(const AVFrame &frame, const StillNotes &notes) {
  const auto layout = static_cast<AVPixelFormat>(frame.format);
  const int size = av_image_get_buffer_size(layout, frame.width, frame.height, 1);
  if (size < 0) failEncoding(notes.path, libraryCause(size));
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(size));
  av_image_copy_to_buffer(pixels.data(), size, frame.data, frame.linesize, layout, frame.width, frame.height, 1);
  return pixels;
}

}  // namespace pyrelux::media
