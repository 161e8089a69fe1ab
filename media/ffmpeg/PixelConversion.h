#pragma once

#include <functional>
#include <optional>
#include <string>

#include "AvPtr.h"
#include "Image.h"

/// Between the libraries' many layouts of pixels and the two of an Image.
namespace pyrelux::media {

/// Whether the picture can be anything but opaque.
bool hasAlpha(const AVFrame &frame);

/// 8, 10, 12, 16 or 32: the smallest of them that holds the picture's components.
int bitsPerComponent(const AVFrame &frame);

/// The picture as bytes if it has 8 bits or less, else as floats; `alpha` tells what its colour means, and nothing that
/// the picture is to be opaque. RGB and grey
/// come in exactly, floats unclipped; YUV by the frame's own matrix and range; high dynamic range and wide gamuts as
/// toStandardRange() has it. Upright by the frame's display matrix. Throws MediaError, naming `path`, for a layout that
/// cannot be converted.
Image toImage(const AVFrame &frame, std::optional<Alpha> alpha, const std::string &path);

/// A picture that is made row by row, so that a row is still in the cache when it is converted.
struct FloatRows {
  int width;
  int height;
  /// Fills row y, counted from the top: four interleaved samples for each pixel.
  std::function<void(int y, float *row)> fill;
};

/// Sets a frame of an encoder's layout to a picture; `frame` may be larger: the rest, to the right and below, is black.
/// Colour and alpha are taken as they stand. Integer layouts clip to 0 .. 1 and round; 8 bits are dithered, which
/// changes no exact level. A YUV layout gets the BT.709 matrix and limited range, a palette's layout the best one for
/// the picture. Throws MediaError, naming `path`, for a layout that cannot be converted.
void setFrame(AVFrame &frame, const FloatRows &rows, const std::string &path);
void setFrame(AVFrame &frame, const Image &image, const std::string &path);

/// A frame with undefined pixels. Throws std::bad_alloc.
FramePtr allocateFrame(AVPixelFormat layout, int width, int height);

}  // namespace pyrelux::media
