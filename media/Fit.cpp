#include "Fit.h"

#include <zimg.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>

#include "AvPtr.h"

namespace pyrelux::media {

namespace {

/// One channel as zimg wants it: rows that begin at multiples of what its widest vectors need.
class Plane {
 public:
  Plane(int width, int height)
      : stride_((static_cast<std::size_t>(width) * sizeof(float) + alignment - 1) / alignment * alignment),
        data_(static_cast<std::byte *>(::operator new(stride_ *static_cast<std::size_t>(height), place))) {}

  float *row(int y) { return reinterpret_cast<float *>(data_.get() + stride_ * static_cast<std::size_t>(y)); }
  std::ptrdiff_t stride() const { return static_cast<std::ptrdiff_t>(stride_); }

 private:
  static constexpr std::size_t alignment = 64;
  static constexpr std::align_val_t place{alignment};
  struct Delete {
    void operator()(std::byte *memory) const { ::operator delete(memory, place); }
  };

  std::size_t stride_;
  std::unique_ptr<std::byte, Delete> data_;
};

using GraphPtr = std::unique_ptr<zimg_filter_graph, Deleter<zimg_filter_graph_free>>;

zimg_image_format formatOf(int width, int height) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(width);
  format.height = static_cast<unsigned>(height);
  format.pixel_type = ZIMG_PIXEL_FLOAT;
  format.color_family = ZIMG_COLOR_GREY;
  return format;
}

[[noreturn]] void failScaling() {
  char message[200] = "";
  zimg_get_last_error(message, sizeof message);
  throw std::runtime_error(std::string("a picture cannot be scaled: ") + message);
}

/// The middle of a premultiplied picture of floats, in another size. `seenWidth` and `seenHeight` are the middle's, in
/// the picture's pixels.
Image scaled(const Image &picture, double seenWidth, double seenHeight, int width, int height) {
  zimg_image_format from = formatOf(picture.width(), picture.height());
  from.active_region = {(picture.width() - seenWidth) / 2.0, (picture.height() - seenHeight) / 2.0, seenWidth,
                        seenHeight};
  const zimg_image_format to = formatOf(width, height);
  zimg_graph_builder_params filter;
  zimg_graph_builder_params_default(&filter, ZIMG_API_VERSION);
  // Mitchell and Netravali's bicubic: B, C. "Reconstruction Filters in Computer Graphics", 1988.
  filter.resample_filter = ZIMG_RESIZE_BICUBIC;
  filter.filter_param_a = 1.0 / 3.0;
  filter.filter_param_b = 1.0 / 3.0;
  const GraphPtr graph(zimg_filter_graph_build(&from, &to, &filter));
  std::size_t bytes = 0;
  if (!graph || zimg_filter_graph_get_tmp_size(graph.get(), &bytes)) failScaling();
  Plane work(static_cast<int>(bytes / sizeof(float)) + 1, 1);
  Plane source(picture.width(), picture.height());
  Plane target(width, height);
  zimg_image_buffer_const sourceBuffer = {ZIMG_API_VERSION, {{source.row(0), source.stride(), ZIMG_BUFFER_MAX}}};
  zimg_image_buffer targetBuffer = {ZIMG_API_VERSION, {{target.row(0), target.stride(), ZIMG_BUFFER_MAX}}};
  Image result = Image::floats(width, height, Alpha::Premultiplied);
  for (std::size_t channel = 0; channel < 4; ++channel) {
    const float *sample = picture.asFloats().data() + channel;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x, sample += 4) source.row(y)[x] = *sample;
    if (zimg_filter_graph_process(graph.get(), &sourceBuffer, &targetBuffer, work.row(0), nullptr, nullptr, nullptr,
                                  nullptr))
      failScaling();
    float *scaledSample = result.asFloats().data() + channel;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x, scaledSample += 4) *scaledSample = target.row(y)[x];
  }
  return result;
}

/// The part of a line that is seen of it when it lies in another one.
struct Overlap {
  int from;  ///< its first place in the line
  int to;    ///< its first place in the other
  int length;

  Overlap(int line, int other, int start)
      : from(std::max(-start, 0)), to(std::max(start, 0)), length(std::max(0, std::min(line - from, other - to))) {}
};

template <typename Samples>
void copyPart(const Samples &from, const Overlap &x, const Overlap &y, int fromWidth, int toWidth, Samples &to) {
  if (x.length == 0) return;
  for (int row = 0; row < y.length; ++row)
    std::copy_n(from.begin() + 4 * (std::ptrdiff_t{y.from + row} * fromWidth + x.from), 4 * x.length,
                to.begin() + 4 * (std::ptrdiff_t{y.to + row} * toWidth + x.to));
}

/// In the middle of a transparent picture, or cut off evenly.
Image centred(const Image &picture, int width, int height) {
  return placed(picture, width, height, (width - picture.width()) / 2, (height - picture.height()) / 2);
}

}  // namespace

Image resized(const Image &picture, int width, int height) {
  const Image source = premultiplied(picture);
  if (source.width() == width && source.height() == height) return source;
  return scaled(toFloat(source), source.width(), source.height(), width, height);
}

Image placed(const Image &picture, int width, int height, int left, int top) {
  if (picture.width() == width && picture.height() == height && left == 0 && top == 0) return picture;
  Image result =
      picture.isFloat() ? Image::floats(width, height, picture.alpha()) : Image::bytes(width, height, picture.alpha());
  const Overlap x(picture.width(), width, left);
  const Overlap y(picture.height(), height, top);
  if (picture.isFloat())
    copyPart(picture.asFloats(), x, y, picture.width(), width, result.asFloats());
  else
    copyPart(picture.asBytes(), x, y, picture.width(), width, result.asBytes());
  return result;
}

Image fitted(const Image &picture, double pixelAspect, const PictureShape &target, Fit fit) {
  // In pixels of the target.
  const double shownWidth = picture.width() * pixelAspect / target.pixelAspect;
  const double shownHeight = picture.height();
  const double across = target.width / shownWidth;
  const double down = target.height / shownHeight;
  const Image source = premultiplied(picture);
  const auto resized = [&](double seenWidth, double seenHeight, double newWidth, double newHeight) {
    const auto side = [](double length) { return std::max(1, static_cast<int>(std::lround(length))); };
    const int width = side(newWidth);
    const int height = side(newHeight);
    const bool isWhole = seenWidth == source.width() && seenHeight == source.height();
    if (isWhole && width == source.width() && height == source.height()) return source;
    return scaled(toFloat(source), seenWidth, seenHeight, width, height);
  };
  if (fit == Fit::Stretch) return resized(source.width(), source.height(), target.width, target.height);
  if (fit == Fit::Cover) {
    // Only what is seen is scaled, however long the other side is.
    const double scale = std::max(across, down);
    return resized(source.width() * across / scale, source.height() * down / scale, target.width, target.height);
  }
  const double contained = std::min(across, down);
  const double scale = fit == Fit::Contain ? contained : fit == Fit::Shrink ? std::min(contained, 1.0) : 1.0;
  return centred(resized(source.width(), source.height(), shownWidth * scale, shownHeight * scale), target.width,
                 target.height);
}

}  // namespace pyrelux::media
