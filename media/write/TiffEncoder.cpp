#include "TiffEncoder.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

/// The file that grows in memory. Nothing may be thrown through the library, so a lack of memory is a failure to write.
struct Growing {
  std::vector<std::uint8_t> bytes;
  std::size_t position = 0;

  static Growing &of(thandle_t handle) { return *static_cast<Growing *>(handle); }
  static tmsize_t read(thandle_t, void *, tmsize_t) { return -1; }
  static tmsize_t write(thandle_t handle, void *from, tmsize_t count) {
    Growing &self = of(handle);
    const std::size_t size = static_cast<std::size_t>(count);
    try {
      self.bytes.resize(std::max(self.bytes.size(), self.position + size));
    } catch (const std::exception &) {
      return -1;
    }
    std::memcpy(self.bytes.data() + self.position, from, size);
    self.position += size;
    return count;
  }
  static toff_t seek(thandle_t handle, toff_t offset, int from) {
    Growing &self = of(handle);
    const std::size_t base = from == SEEK_CUR ? self.position : from == SEEK_END ? self.bytes.size() : 0;
    self.position = base + static_cast<std::size_t>(offset);
    return self.position;
  }
  static int close(thandle_t) { return 0; }
  static toff_t sizeOf(thandle_t handle) { return of(handle).bytes.size(); }
};

struct CloseTiff {
  void operator()(TIFF *file) const { TIFFClose(file); }
};

/// Readers divide the vertical resolution by the horizontal one. Whole numbers keep the ratio exactly.
void setResolution(TIFF *file, double pixelAspect) {
  constexpr int perInch = 72;
  constexpr int largestTerm = 10000;
  const AVRational ratio = av_d2q(pixelAspect, largestTerm);
  const int scale = std::max(1, perInch / ratio.den);
  TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(file, TIFFTAG_XRESOLUTION, static_cast<double>(ratio.den) * scale);
  TIFFSetField(file, TIFFTAG_YRESOLUTION, static_cast<double>(ratio.num) * scale);
}

/// Rows of a strip: enough to compress well, few enough to be read with little memory.
constexpr int stripHeight = 64;

bool writeStrips(TIFF *file, const AVFrame &frame, std::size_t rowSize) {
  std::vector<std::uint8_t> strip(rowSize * static_cast<std::size_t>(std::min(stripHeight, frame.height)));
  for (int top = 0; top < frame.height; top += stripHeight) {
    const int rows = std::min(stripHeight, frame.height - top);
    for (int row = 0; row < rows; ++row)
      std::memcpy(&strip[static_cast<std::size_t>(row) * rowSize],
                  frame.data[0] + static_cast<std::ptrdiff_t>(top + row) * frame.linesize[0], rowSize);
    const tmsize_t size = static_cast<tmsize_t>(rowSize * static_cast<std::size_t>(rows));
    if (TIFFWriteEncodedStrip(file, static_cast<std::uint32_t>(top / stripHeight), strip.data(), size) != size)
      return false;
  }
  return TIFFWriteDirectory(file);
}

}  // namespace

std::vector<std::uint8_t> encodeTiff(const AVFrame &frame, const StillNotes &notes) {
  const AVPixFmtDescriptor &layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  const int bits = layout.comp[0].depth;
  const int samples = layout.nb_components;
  Growing target;
  {
    const std::unique_ptr<TIFF, CloseTiff> file(TIFFClientOpen(notes.path.c_str(), "wl", &target, Growing::read,
                                                               Growing::write, Growing::seek, Growing::close,
                                                               Growing::sizeOf, nullptr, nullptr));
    if (!file) throw std::bad_alloc();
    TIFFSetField(file.get(), TIFFTAG_IMAGEWIDTH, frame.width);
    TIFFSetField(file.get(), TIFFTAG_IMAGELENGTH, frame.height);
    TIFFSetField(file.get(), TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(file.get(), TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(file.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(file.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file.get(), TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(file.get(), TIFFTAG_ROWSPERSTRIP, stripHeight);
    const std::uint16_t alpha =
        notes.alpha == AlphaUse::Premultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
    if (layout.flags & AV_PIX_FMT_FLAG_ALPHA) TIFFSetField(file.get(), TIFFTAG_EXTRASAMPLES, 1, &alpha);
    setResolution(file.get(), notes.pixelAspect);
    const std::size_t rowSize =
        static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(samples) * static_cast<std::size_t>(bits / 8);
    // Memory is all that can be missing.
    if (!writeStrips(file.get(), frame, rowSize)) throw std::bad_alloc();
  }
  return std::move(target.bytes);
}

}  // namespace pyrelux::media
