#pragma once

#include <string>

namespace pyrelux::cli {

/// Of a picture that is drawn, in pixels.
struct PictureSize {
  int width = 1920;
  int height = 1080;
};

/// "1920x1080", no larger than pictures that are read. Throws UsageError.
PictureSize parseSize(const std::string &text);

/// The text that parseSize() turns into this one.
std::string formatSize(const PictureSize &size);

}  // namespace pyrelux::cli
