#include "PictureSize.h"

#include <algorithm>
#include <charconv>

#include "ValueError.h"

namespace pyrelux {

PictureSize parseSize(const std::string &text) {
  PictureSize size;
  const char *end = text.data() + text.size();
  const auto [cross, widthError] = std::from_chars(text.data(), end, size.width);
  const bool crossed = widthError == std::errc() && cross != end && *cross == 'x';
  const auto [stop, heightError] = crossed ? std::from_chars(cross + 1, end, size.height)
                                           : std::from_chars_result{text.data(), std::errc::invalid_argument};
  if (heightError != std::errc() || stop != end || std::min(size.width, size.height) < 1 ||
      std::max(size.width, size.height) > maximumSide ||
      static_cast<std::int64_t>(size.width) * size.height > maximumPixels)
    throw ValueError("'" + text + "' is not a size; write WIDTHxHEIGHT in pixels, 1920x1080, up to " +
                     std::to_string(maximumSide) + " on a side and " + std::to_string(maximumPixels) + " in all");
  return size;
}

std::string formatSize(const PictureSize &size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace pyrelux
