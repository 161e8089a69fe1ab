#include "TiffFile.h"

#include <half.h>
#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "Decoder.h"
#include "MediaErrors.h"
#include "PictureSize.h"

namespace pyrelux::media {

/// Where the library reads from.
struct TiffFile::Source {
  const std::uint8_t *data;
  tmsize_t size;
  tmsize_t position;

  static Source &of(thandle_t handle) { return *static_cast<Source *>(handle); }
  static tmsize_t read(thandle_t handle, void *to, tmsize_t count) {
    Source &self = of(handle);
    count = std::clamp<tmsize_t>(self.size - self.position, 0, count);
    std::memcpy(to, self.data + self.position, static_cast<std::size_t>(count));
    self.position += count;
    return count;
  }
  static tmsize_t write(thandle_t, void *, tmsize_t) { return -1; }
  static toff_t seek(thandle_t handle, toff_t offset, int from) {
    Source &self = of(handle);
    const toff_t base = from == SEEK_CUR ? self.position : from == SEEK_END ? self.size : 0;
    // A position past the end reads nothing, like the end itself. Limited to it, no sum can overflow.
    self.position = static_cast<tmsize_t>(std::min<toff_t>(base + offset, static_cast<toff_t>(self.size)));
    return static_cast<toff_t>(self.position);
  }
  static int close(thandle_t) { return 0; }
  static toff_t sizeOf(thandle_t handle) { return static_cast<toff_t>(of(handle).size); }
};

namespace {

template <typename Value>
Value field(TIFF *file, ttag_t tag) {
  Value value{};
  TIFFGetFieldDefaulted(file, tag, &value);
  return value;
}

float sampleAt(const std::uint8_t *bytes, int bits) {
  if (bits == 16) {
    std::uint16_t half;
    std::memcpy(&half, bytes, sizeof half);
    return imath_half_to_float(half);
  }
  float value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// The vertical resolution divided by the horizontal one; 1 where the file does not tell both.
double pixelAspectOf(TIFF *file) {
  float across = 0.0f;
  float down = 0.0f;
  if (!TIFFGetField(file, TIFFTAG_XRESOLUTION, &across) || !TIFFGetField(file, TIFFTAG_YRESOLUTION, &down)) return 1.0;
  constexpr int largestTerm = 10000;
  const AVRational aspect =
      across > 0.0f && down > 0.0f ? av_d2q(double{down} / double{across}, largestTerm) : AVRational{1, 1};
  return aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
}

/// How the samples lie in the file: in tiles, or in strips, which are tiles as wide as the picture.
struct Layout {
  explicit Layout(TIFF *file)
      : width(field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH)),
        height(field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH)),
        bits(field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE)),
        samples(field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL)),
        photometric(field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC)),
        isSeparate(field<std::uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE),
        isTiled(TIFFIsTiled(file)),
        blockWidth(isTiled ? field<std::uint32_t>(file, TIFFTAG_TILEWIDTH) : width),
        blockHeight(isTiled ? field<std::uint32_t>(file, TIFFTAG_TILELENGTH)
                            : std::min(field<std::uint32_t>(file, TIFFTAG_ROWSPERSTRIP), height)) {}

  int colours() const { return photometric == PHOTOMETRIC_RGB ? 3 : 1; }
  bool hasAlpha() const { return samples > colours(); }
  /// Grey or RGB, of floats that can be held.
  bool isReadable() const {
    return (photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_MINISBLACK) && samples >= colours() &&
           (bits == 16 || bits == 32);
  }

  std::uint32_t width;
  std::uint32_t height;
  int bits;
  int samples;  ///< of a pixel
  int photometric;
  bool isSeparate;  ///< each sample in blocks of its own
  bool isTiled;
  std::uint32_t blockWidth;
  std::uint32_t blockHeight;
};

/// The block of the plane with the pixel (x, y).
bool readBlock(TIFF *file, const Layout &layout, std::uint32_t x, std::uint32_t y, std::uint16_t plane,
               std::vector<std::uint8_t> &block) {
  const tmsize_t size = static_cast<tmsize_t>(block.size());
  if (layout.isTiled) return TIFFReadEncodedTile(file, TIFFComputeTile(file, x, y, 0, plane), block.data(), size) >= 0;
  return TIFFReadEncodedStrip(file, TIFFComputeStrip(file, y, plane), block.data(), size) >= 0;
}

/// Puts a block's samples, the first of which is the pixel's sample number `first`, into the picture at (x0, y0).
void placeBlock(const Layout &layout, const std::vector<std::uint8_t> &block, std::uint32_t x0, std::uint32_t y0,
                int first, Image &image) {
  const int count = layout.isSeparate ? 1 : layout.samples;
  const std::size_t bytes = static_cast<std::size_t>(layout.bits) / 8;
  for (std::uint32_t y = y0; y < std::min(y0 + layout.blockHeight, layout.height); ++y)
    for (std::uint32_t x = x0; x < std::min(x0 + layout.blockWidth, layout.width); ++x) {
      const std::size_t pixel = static_cast<std::size_t>(y - y0) * layout.blockWidth + (x - x0);
      float *to = &image.asFloats()[(static_cast<std::size_t>(y) * layout.width + x) * 4];
      for (int index = 0; index < count; ++index) {
        const float value = sampleAt(&block[(pixel * count + index) * bytes], layout.bits);
        const int sample = first + index;
        if (sample == layout.colours())
          to[3] = value;
        else if (sample < layout.colours())
          std::fill_n(to + sample, layout.colours() == 1 ? 3 : 1, value);
      }
    }
}

}  // namespace

void TiffFile::Close::operator()(tiff *file) const { TIFFClose(file); }

TiffFile::TiffFile(const std::uint8_t *data, std::int64_t size, const std::string &path)
    : path_(path), source_(new Source{data, static_cast<tmsize_t>(size), 0}) {
  // "m": read by the functions given, since there is nothing to map.
  file_.reset(TIFFClientOpen(path.c_str(), "rm", source_.get(), Source::read, Source::write, Source::seek,
                             Source::close, Source::sizeOf, nullptr, nullptr));
}

TiffFile::~TiffFile() = default;

Alpha TiffFile::alpha() const {
  std::uint16_t count = 0;
  const std::uint16_t *kinds = nullptr;
  if (file_) TIFFGetFieldDefaulted(file_.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
  return count > 0 && kinds[0] == EXTRASAMPLE_ASSOCALPHA ? Alpha::Premultiplied : Alpha::Straight;
}

bool TiffFile::holdsFloats() const {
  return file_ && field<std::uint16_t>(file_.get(), TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_IEEEFP;
}

Still TiffFile::readFloats(std::optional<Alpha> alpha) const {
  const Layout layout(file_.get());
  constexpr std::uint32_t farthest = 0x7FFFFFFF;
  requireReadableSize(
      {static_cast<int>(std::min(layout.width, farthest)), static_cast<int>(std::min(layout.height, farthest))}, path_);
  if (!layout.isReadable()) failReading(path_, "its floats are not grey or RGB with 16 or 32 bits");
  const tmsize_t blockSize = layout.isTiled ? TIFFTileSize(file_.get()) : TIFFStripSize(file_.get());
  const tmsize_t pixelSize = (layout.isSeparate ? 1 : layout.samples) * layout.bits / 8;
  // A block is no larger than what can be read in all, and as large as its pixels.
  if (layout.width == 0 || layout.height == 0 || layout.blockWidth == 0 || layout.blockHeight == 0 ||
      blockSize / pixelSize > maximumPixels ||
      blockSize / pixelSize / layout.blockWidth < static_cast<tmsize_t>(layout.blockHeight))
    failReading(path_, causeCutOff);

  Still still;
  still.info.width = static_cast<int>(layout.width);
  still.info.height = static_cast<int>(layout.height);
  still.info.hasAlpha = alpha && layout.hasAlpha();
  still.info.bitsPerComponent = layout.bits;
  still.info.pixelAspect = pixelAspectOf(file_.get());
  still.image = Image::floats(still.info.width, still.info.height, alpha.value_or(Alpha::Premultiplied));
  std::vector<std::uint8_t> block(static_cast<std::size_t>(blockSize));
  for (int plane = 0; plane < (layout.isSeparate ? layout.samples : 1); ++plane)
    for (std::uint32_t y = 0; y < layout.height; y += layout.blockHeight)
      for (std::uint32_t x = 0; x < layout.width; x += layout.blockWidth) {
        if (!readBlock(file_.get(), layout, x, y, static_cast<std::uint16_t>(plane), block))
          failReading(path_, causeCutOff);
        placeBlock(layout, block, x, y, plane, still.image);
      }
  if (!still.info.hasAlpha) makeOpaque(still.image);
  return still;
}

}  // namespace pyrelux::media
