#include "PngEncoder.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

using Bytes = std::vector<std::uint8_t>;

void addNumber(Bytes &bytes, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

void addChunk(Bytes &file, std::string_view type, const std::uint8_t *data, std::size_t size) {
  addNumber(file, static_cast<std::uint32_t>(size));
  const std::size_t start = file.size();
  file.insert(file.end(), type.begin(), type.end());
  file.insert(file.end(), data, data + size);
  addNumber(file, libdeflate_crc32(0, &file[start], file.size() - start));
}

void addChunk(Bytes &file, std::string_view type, const Bytes &data) { addChunk(file, type, data.data(), data.size()); }

void addNumbers(Bytes &file, std::string_view type, std::initializer_list<std::uint32_t> numbers) {
  Bytes data;
  for (const std::uint32_t number : numbers) addNumber(data, number);
  addChunk(file, type, data);
}

void addHeader(Bytes &file, const AVFrame &frame, const AVPixFmtDescriptor &layout) {
  constexpr std::uint8_t colour = 2, colourAndAlpha = 6;
  Bytes data;
  addNumber(data, static_cast<std::uint32_t>(frame.width));
  addNumber(data, static_cast<std::uint32_t>(frame.height));
  data.push_back(static_cast<std::uint8_t>(layout.comp[0].depth));
  data.push_back(layout.flags & AV_PIX_FMT_FLAG_ALPHA ? colourAndAlpha : colour);
  data.insert(data.end(), {0, 0, 0});  // the only compression and set of filters that there are; rows in order
  addChunk(file, "IHDR", data);
}

/// For readers that know it, and in numbers for those that do not.
void addSrgb(Bytes &file) {
  addChunk(file, "sRGB", {1});  // relative colorimetric
  addNumbers(file, "cHRM", {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000});
  addNumbers(file, "gAMA", {45455});
}

/// The ratio's terms in the order in which FFmpeg, and who uses it, reads them: the format's own is the other one.
void addPixelAspect(Bytes &file, double pixelAspect) {
  if (pixelAspect == 1.0) return;
  constexpr int largestTerm = 10000;
  const AVRational ratio = av_d2q(pixelAspect, largestTerm);
  Bytes data;
  addNumber(data, static_cast<std::uint32_t>(ratio.num));
  addNumber(data, static_cast<std::uint32_t>(ratio.den));
  data.push_back(0);  // of no unit
  addChunk(file, "pHYs", data);
}

/// A row of a picture behind a black pixel, which is where its first pixel's left neighbour is read.
class Row {
 public:
  Row(std::size_t size, std::size_t pixel) : pixel_(pixel), bytes_(pixel + size) {}

  void set(const std::uint8_t *from) { std::memcpy(&bytes_[pixel_], from, bytes_.size() - pixel_); }
  const std::uint8_t *begin() const { return &bytes_[pixel_]; }
  const std::uint8_t *left() const { return bytes_.data(); }
  std::size_t size() const { return bytes_.size() - pixel_; }

 private:
  std::size_t pixel_;
  Bytes bytes_;
};

/// The neighbour that is nearest to left + above - corner; of those as near, the first in this order.
int paeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner);
  const int toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return left;
  return toAbove <= toCorner ? above : corner;
}

/// Writes what `predict` leaves of a row, as the filter of that number. Returns how much that is.
template <typename Predict>
std::uint32_t filter(std::uint8_t number, const Row &row, const Row &above, Bytes &left, Predict predict) {
  left[0] = number;
  std::uint8_t *const to = &left[1];
  const std::uint8_t *const here = row.begin(), *const before = row.left();
  const std::uint8_t *const up = above.begin(), *const corner = above.left();
  const std::size_t size = row.size();
  for (std::size_t i = 0; i < size; ++i)
    to[i] = static_cast<std::uint8_t>(here[i] - predict(before[i], up[i], corner[i]));
  std::uint32_t amount = 0;
  for (std::size_t i = 0; i < size; ++i)
    amount += static_cast<std::uint32_t>(std::abs(static_cast<std::int8_t>(to[i])));
  return amount;
}

/// All rows, each by the filter that leaves least of it, which is what compresses well.
Bytes filtered(const AVFrame &frame, std::size_t pixel, PngEffort effort) {
  const std::size_t size = static_cast<std::size_t>(frame.width) * pixel;
  const std::size_t height = static_cast<std::size_t>(frame.height);
  Bytes all;
  all.reserve(height * (1 + size));
  Row row(size, pixel), above(size, pixel);
  std::array<Bytes, 2> left{Bytes(1 + size), Bytes(1 + size)};
  for (int y = 0; y < frame.height; ++y) {
    row.set(frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0]);
    std::uint32_t least = filter(1, row, above, left[0], [](int before, int, int) { return before; });
    const auto attempt = [&](std::uint8_t number, auto predict) {
      const std::uint32_t amount = filter(number, row, above, left[1], predict);
      if (amount >= least) return;
      least = amount;
      std::swap(left[0], left[1]);
    };
    if (effort == PngEffort::Usual) {
      attempt(2, [](int, int up, int) { return up; });
      attempt(3, [](int before, int up, int) { return (before + up) / 2; });
      attempt(4, paeth);
    }
    all.insert(all.end(), left[0].begin(), left[0].end());
    std::swap(row, above);
  }
  return all;
}

struct FreeCompressor {
  void operator()(libdeflate_compressor *compressor) const { libdeflate_free_compressor(compressor); }
};

Bytes compressed(const Bytes &data, PngEffort effort) {
  constexpr int usualLevel = 6, leastLevel = 1;
  const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
      libdeflate_alloc_compressor(effort == PngEffort::Usual ? usualLevel : leastLevel));
  if (!compressor) throw std::bad_alloc();
  // Memory that nothing is written to costs nothing, which a vector's would.
  const std::size_t most = libdeflate_zlib_compress_bound(compressor.get(), data.size());
  const std::unique_ptr<std::uint8_t[]> result(new std::uint8_t[most]);
  return {result.get(),
          result.get() + libdeflate_zlib_compress(compressor.get(), data.data(), data.size(), result.get(), most)};
}

}  // namespace

Bytes encodePng(const AVFrame &frame, const StillNotes &notes) {
  return encodePng(frame, notes.pixelAspect, PngEffort::Usual);
}

Bytes encodePng(const AVFrame &frame, double pixelAspect, PngEffort effort) {
  const AVPixFmtDescriptor &layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  const std::size_t pixel = static_cast<std::size_t>(av_get_padded_bits_per_pixel(&layout) / 8);
  const Bytes data = compressed(filtered(frame, pixel, effort), effort);
  Bytes file{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  file.reserve(data.size() + 4096);
  addHeader(file, frame, layout);
  addPixelAspect(file, pixelAspect);
  addSrgb(file);
  // A chunk's size is below 2^31.
  constexpr std::size_t most = std::size_t{1} << 30;
  for (std::size_t begin = 0; begin < data.size(); begin += most)
    addChunk(file, "IDAT", &data[begin], std::min(most, data.size() - begin));
  addChunk(file, "IEND", Bytes{});
  return file;
}

}  // namespace pyrelux::media
