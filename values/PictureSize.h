#pragma once

#include <cstdint>
#include <string>

namespace pyrelux {

/// The largest picture that is read or drawn, in pixels along one side and in all.
constexpr int maximumSide = 16384;
constexpr std::int64_t maximumPixels = 16384LL * 8192;

/// Of a picture, in pixels.
struct PictureSize {
  int width = 1920;
  int height = 1080;
};

/// "1920x1080", no larger than that. Throws ValueError.
PictureSize parseSize(const std::string &text);

/// The text that parseSize() turns into this one.
std::string formatSize(const PictureSize &size);

}  // namespace pyrelux
