#pragma once

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

/// A picture of an encoder's layout. `width` and `height` may exceed the image's; the rest, to the right and below, is
/// black. Colour and alpha are taken as they stand; integer layouts clip to 0 .. 1. A YUV layout gets the BT.709
/// matrix and limited range, a palette's layout the best one for the picture. Throws MediaError, naming `path`, for a
/// layout that cannot be converted.
FramePtr toFrame(const Image &image, AVPixelFormat layout, int width, int height, const std::string &path);

}  // namespace pyrelux::media
