#include "PixelConversion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "Dither.h"
#include "MediaErrors.h"
#include "Orientation.h"
#include "Palette.h"
#include "StandardRange.h"
#include "VectorClones.h"
#include "YuvMatrix.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

const AVPixFmtDescriptor &layoutOf(const AVFrame &frame) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

bool isGrey(const AVPixFmtDescriptor &layout) { return layout.nb_components <= 2; }

bool isPalette(const AVPixFmtDescriptor &layout) { return layout.flags & AV_PIX_FMT_FLAG_PAL; }

/// Whether red, green and blue have to be computed from luma and two colour differences.
bool isYuv(const AVPixFmtDescriptor &layout) {
  constexpr int others = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BAYER;
  const bool isXyz = std::strncmp(layout.name, "xyz", 3) == 0;
  return !isGrey(layout) && !isXyz && !(layout.flags & others);
}

/// Whether the layout's components are the picture's own: red, green and blue, or grey, as plain numbers. Such a
/// picture needs no scaler, which would round.
bool hasPlainComponents(const AVFrame &frame) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (frame.format == AV_PIX_FMT_MONOWHITE || isPalette(layout) || (layout.flags & AV_PIX_FMT_FLAG_BAYER)) return false;
  if ((layout.flags & AV_PIX_FMT_FLAG_FLOAT) && layout.comp[0].depth != 32) return false;
  return isGrey(layout) || (layout.flags & AV_PIX_FMT_FLAG_RGB);
}

std::uint32_t largestValue(const AVComponentDescriptor &component) { return (1u << component.depth) - 1; }

/// Copies one component of the frame to one channel of an image of the same size.
void readComponent(const AVFrame &frame, int component, Image &image, int channel) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isFloat = layout.flags & AV_PIX_FMT_FLAG_FLOAT;
  const std::uint32_t largest = isFloat ? 0 : largestValue(layout.comp[component]);
  const std::size_t width = static_cast<std::size_t>(image.width());
  std::vector<std::uint32_t> row(width);
  std::size_t sample = static_cast<std::size_t>(channel);
  for (int y = 0; y < image.height(); ++y) {
    av_read_image_line2(row.data(), const_cast<const std::uint8_t **>(frame.data), frame.linesize, &layout, 0, y,
                        component, image.width(), 0, sizeof row[0]);
    for (std::size_t x = 0; x < width; ++x, sample += 4) {
      const std::uint32_t value = row[x];
      if (!image.isFloat())
        image.asBytes()[sample] = static_cast<std::uint8_t>((value * 255 + largest / 2) / largest);
      else if (isFloat)
        std::memcpy(&image.asFloats()[sample], &value, sizeof value);
      else
        image.asFloats()[sample] = static_cast<float>(value) / static_cast<float>(largest);
    }
  }
}

/// The code values of a row of samples for components of certain depths: dithered to 8 bits, rounded to more.
class CodeValues {
 public:
  /// For rows of this width and components of these depths, one for each channel.
  CodeValues(int width, const std::array<int, 4> &depths)
      : values_(4 * static_cast<std::size_t>(width)), largest_(values_.size()), thresholds_(values_.size(), 0.5f) {
    for (std::size_t i = 0; i < values_.size(); ++i) largest_[i] = static_cast<float>((1u << depths[i % 4]) - 1);
    for (std::size_t c = 0; c < 4; ++c) dithers_[c] = depths[c] <= 8;
    isDithered_ = std::find(dithers_.begin(), dithers_.end(), true) != dithers_.end();
  }

  /// Four for each pixel, in the order of the samples' channels; valid until the next call.
  PYRELUX_VECTOR_CLONES
  const std::int32_t *row(const float *samples, int y) {
    if (isDithered_) setThresholds(y);
    // Suits the compiler's vectoriser.
    const std::size_t count = values_.size();
    const float *const largest = largest_.data();
    const float *const thresholds = thresholds_.data();
    std::int32_t *const to = values_.data();
    for (std::size_t i = 0; i < count; ++i) {
      // NaN fails the comparison and becomes 0.
      const float positive = samples[i] > 0.0f ? samples[i] : 0.0f;
      const float limited = positive < 1.0f ? positive : 1.0f;
      to[i] = static_cast<std::int32_t>(limited * largest[i] + thresholds[i]);
    }
    return to;
  }

 private:
  void setThresholds(int y) {
    for (std::size_t x = 0; x < values_.size() / 4; ++x) {
      const float threshold = ditherThreshold(static_cast<int>(x), y);
      for (std::size_t c = 0; c < 4; ++c) thresholds_[4 * x + c] = dithers_[c] ? threshold : 0.5f;
    }
  }

  // Four for each pixel.
  std::vector<std::int32_t> values_;
  std::vector<float> largest_;
  std::vector<float> thresholds_;
  std::array<bool, 4> dithers_;
  bool isDithered_;
};

std::uint16_t swapped(std::uint16_t word) { return static_cast<std::uint16_t>(word << 8 | word >> 8); }

/// Stores every fourth value in a component whose values have bytes of their own.
template <typename Word, typename Change>
PYRELUX_VECTOR_CLONES void storeEvery(std::uint8_t *to, int step, const std::int32_t *values, int width,
                                      Change change) {
  const auto store = [=](int bytes) {
    for (int x = 0; x < width; ++x) {
      const Word word = change(static_cast<Word>(values[4 * x]));
      std::memcpy(to + x * bytes, &word, sizeof word);
    }
  };
  // A step that is known when it is compiled suits the vectoriser.
  if (step == sizeof(Word))
    store(sizeof(Word));
  else
    store(step);
}

/// Whether a component's values have bytes of their own, all of whose bits are theirs.
bool hasOwnBytes(const AVPixFmtDescriptor &layout, int component) {
  const AVComponentDescriptor &place = layout.comp[component];
  return place.shift == 0 && place.depth <= 16 && !(layout.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_FLOAT));
}

/// Stores a channel of a row's values in a component of the frame's row, which is zero there unless it has bytes of its
/// own.
void storeComponent(AVFrame &frame, int component, const std::int32_t *values, int channel, int width, int y) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const AVComponentDescriptor &place = layout.comp[component];
  values += channel;
  if (hasOwnBytes(layout, component)) {
    std::uint8_t *to = frame.data[place.plane] + std::ptrdiff_t{frame.linesize[place.plane]} * y + place.offset;
    const auto same = [](auto word) { return word; };
    if (place.depth <= 8) return storeEvery<std::uint8_t>(to, place.step, values, width, same);
    // All supported processors are little-endian.
    if (layout.flags & AV_PIX_FMT_FLAG_BE) return storeEvery<std::uint16_t>(to, place.step, values, width, swapped);
    return storeEvery<std::uint16_t>(to, place.step, values, width, same);
  }
  std::vector<std::uint32_t> row(static_cast<std::size_t>(width));
  for (std::size_t x = 0; x < row.size(); ++x) row[x] = static_cast<std::uint32_t>(values[4 * x]);
  av_write_image_line2(row.data(), frame.data, frame.linesize, &layout, 0, y, component, width, sizeof row[0]);
}

/// Stores a channel of a row of samples in a component of floats.
void storeFloats(AVFrame &frame, int component, const float *samples, int channel, int width, int y) {
  std::vector<std::uint32_t> row(static_cast<std::size_t>(width));
  for (std::size_t x = 0; x < row.size(); ++x)
    std::memcpy(&row[x], samples + channel + 4 * static_cast<std::ptrdiff_t>(x), sizeof row[x]);
  av_write_image_line2(row.data(), frame.data, frame.linesize, &layoutOf(frame), 0, y, component, width, sizeof row[0]);
}

/// Tells the scaler where in a pixel block the subsampled colour lies. An axis without subsampling is left alone: there
/// the scaler would take any value as a shift.
void setChromaPlace(SwsContext &scaler, const AVFrame &frame, const char *horizontal, const char *vertical) {
  int x = 0;
  int y = 0;
  if (avcodec_enum_to_chroma_pos(&x, &y, frame.chroma_location) < 0) return;
  if (layoutOf(frame).log2_chroma_w == 1) av_opt_set_int(&scaler, horizontal, x, 0);
  if (layoutOf(frame).log2_chroma_h == 1) av_opt_set_int(&scaler, vertical, y, 0);
}

/// Changes the layout of a frame's pixels but not their matrix and range.
void convert(const AVFrame &from, AVFrame &to, const std::string &path) {
  const ScalerPtr scaler = allocated<ScalerPtr>(sws_alloc_context());
  const auto set = [&scaler](const char *name, std::int64_t value) { av_opt_set_int(scaler.get(), name, value, 0); };
  set("srcw", from.width);
  set("srch", from.height);
  set("src_format", from.format);
  set("dstw", to.width);
  set("dsth", to.height);
  set("dst_format", to.format);
  set("sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP);
  setChromaPlace(*scaler, from, "src_h_chr_pos", "src_v_chr_pos");
  setChromaPlace(*scaler, to, "dst_h_chr_pos", "dst_v_chr_pos");
  constexpr int sameRange = 0;
  constexpr int neutral = 1 << 16;  // contrast and saturation in 16.16 fixed point
  const int *sameMatrix = sws_getCoefficients(SWS_CS_DEFAULT);
  sws_setColorspaceDetails(scaler.get(), sameMatrix, sameRange, sameMatrix, sameRange, 0, neutral, neutral);
  if (sws_init_context(scaler.get(), nullptr, nullptr) < 0 ||
      sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize) < 0)
    failReading(path, "its pixels have a layout that cannot be converted");
}

void readAlpha(const AVFrame &frame, Image &image) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (layout.flags & AV_PIX_FMT_FLAG_ALPHA)
    readComponent(frame, layout.nb_components - 1, image, 3);
  else
    makeOpaque(image);
}

void readPlain(const AVFrame &frame, Image &image) {
  for (int channel = 0; channel < 3; ++channel)
    readComponent(frame, isGrey(layoutOf(frame)) ? 0 : channel, image, channel);
  readAlpha(frame, image);
}

/// The plane is not subsampled.
void clearPlane(AVFrame &frame, int plane) {
  std::memset(frame.data[plane], 0, static_cast<std::size_t>(frame.linesize[plane]) * frame.height);
}

/// Whether components with bytes of their own fill the plane.
bool isFilled(const AVPixFmtDescriptor &layout, int plane) {
  int bytes = 0;
  int step = 0;
  for (int component = 0; component < layout.nb_components; ++component) {
    const AVComponentDescriptor &place = layout.comp[component];
    if (place.plane != plane) continue;
    if (!hasOwnBytes(layout, component)) return false;
    bytes += place.depth <= 8 ? 1 : 2;
    step = place.step;
  }
  return bytes == step;
}

/// The rows as they are in a frame that may be larger: black right of the picture and below it.
FloatRows fitted(const FloatRows &rows, const AVFrame &frame) {
  return {frame.width, frame.height, [&rows, width = frame.width](int y, float *row) {
            const int inside = y < rows.height ? rows.width : 0;
            std::fill(row + std::ptrdiff_t{4} * inside, row + std::ptrdiff_t{4} * width, 0.0f);
            if (inside > 0) rows.fill(y, row);
          }};
}

/// Whether every pixel is four bytes of one plane, a byte for each of four components.
bool isFourBytes(const AVPixFmtDescriptor &layout) {
  for (int component = 0; component < 4; ++component) {
    const AVComponentDescriptor &place = layout.comp[component];
    if (!hasOwnBytes(layout, component) || place.depth != 8 || place.plane != 0 || place.step != 4) return false;
  }
  return layout.nb_components == 4;
}

/// Stores a row's values in such a layout.
PYRELUX_VECTOR_CLONES
void storeFourBytes(AVFrame &frame, const std::int32_t *values, int width, int y) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  std::uint8_t *to = frame.data[0] + std::ptrdiff_t{frame.linesize[0]} * y;
  int shifts[4];
  for (int c = 0; c < 4; ++c) shifts[c] = 8 * layout.comp[c].offset;
  for (int x = 0; x < width; ++x) {
    std::uint32_t pixel = 0;
    for (int c = 0; c < 4; ++c) pixel |= static_cast<std::uint32_t>(values[4 * x + c]) << shifts[c];
    std::memcpy(to + 4 * x, &pixel, sizeof pixel);
  }
}

/// Sets a layout's components from `first` on from the channels of the same number. None of them may be subsampled. The
/// rows have the frame's size.
void writeComponents(const FloatRows &rows, AVFrame &frame, int first) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isFloat = layout.flags & AV_PIX_FMT_FLAG_FLOAT;
  std::array<int, 4> depths{16, 16, 16, 16};
  for (int component = first; component < layout.nb_components; ++component) {
    const int plane = layout.comp[component].plane;
    if (!isFilled(layout, plane)) clearPlane(frame, plane);
    if (!isFloat) depths[static_cast<std::size_t>(component)] = layout.comp[component].depth;
  }
  CodeValues values(rows.width, depths);
  std::vector<float> samples(4 * static_cast<std::size_t>(rows.width));
  for (int y = 0; y < rows.height; ++y) {
    rows.fill(y, samples.data());
    if (isFloat) {
      for (int component = first; component < layout.nb_components; ++component)
        storeFloats(frame, component, samples.data(), component, rows.width, y);
      continue;
    }
    const std::int32_t *const row = values.row(samples.data(), y);
    if (first == 0 && isFourBytes(layout)) {
      storeFourBytes(frame, row, rows.width, y);
      continue;
    }
    for (int component = first; component < layout.nb_components; ++component)
      storeComponent(frame, component, row, component, rows.width, y);
  }
}

/// The scaler serves for colour that is stored for several pixels at once, which it brings to this layout of one for
/// each.
bool isSubsampled(const AVPixFmtDescriptor &layout) { return layout.log2_chroma_w || layout.log2_chroma_h; }

FramePtr allocateUnsampled(const AVFrame &frame) {
  const bool isDeep = layoutOf(frame).comp[0].depth > 8;
  return allocateFrame(isDeep ? AV_PIX_FMT_YUV444P16 : AV_PIX_FMT_YUV444P, frame.width, frame.height);
}

void readYuv(const AVFrame &frame, Image &image, const std::string &path) {
  FramePtr converted;
  if (isSubsampled(layoutOf(frame))) {
    converted = allocateUnsampled(frame);
    convert(frame, *converted, path);
  }
  const AVFrame &unsampled = converted ? *converted : frame;
  for (int channel = 0; channel < 3; ++channel) readComponent(unsampled, channel, image, channel);
  YuvMatrix(frame).toRgb(image, layoutOf(unsampled).comp[0].depth, path);
  readAlpha(frame, image);
}

void writeYuv(const FloatRows &rows, AVFrame &frame, const std::string &path) {
  frame.colorspace = AVCOL_SPC_BT709;
  frame.color_range = AVCOL_RANGE_MPEG;
  frame.chroma_location = AVCHROMA_LOC_LEFT;
  FramePtr converted;
  if (isSubsampled(layoutOf(frame))) converted = allocateUnsampled(frame);
  AVFrame &unsampled = converted ? *converted : frame;
  const YuvMatrix matrix(frame);
  const int depth = layoutOf(unsampled).comp[0].depth;
  const auto fill = [&](int y, float *row) {
    rows.fill(y, row);
    matrix.fromRgb(row, rows.width, depth);
  };
  writeComponents({rows.width, rows.height, fill}, unsampled, 0);
  if (!converted) return;
  convert(unsampled, frame, path);
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (layout.flags & AV_PIX_FMT_FLAG_ALPHA) writeComponents(rows, frame, layout.nb_components - 1);
}

Image imageOf(const FloatRows &rows) {
  Image image = Image::floats(rows.width, rows.height, Alpha::Straight);
  for (int y = 0; y < rows.height; ++y) rows.fill(y, image.asFloats().data() + std::ptrdiff_t{4} * rows.width * y);
  return image;
}

/// Rows that refer to the image.
FloatRows rowsOf(const Image &image) {
  const std::ptrdiff_t samples = std::ptrdiff_t{4} * image.width();
  return {image.width(), image.height(), [&image, samples](int y, float *row) {
            if (image.isFloat())
              std::copy_n(image.asFloats().data() + y * samples, samples, row);
            else
              std::transform(image.asBytes().data() + y * samples, image.asBytes().data() + (y + 1) * samples, row,
                             [](std::uint8_t level) { return static_cast<float>(level) / 255.0f; });
          }};
}

/// Floats for luma with differences of colour, whatever their depth.
Image withItsAlpha(const AVFrame &frame, Alpha alpha, const std::string &path) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  const bool isDeep = bitsPerComponent(frame) > 8;
  if (isYuv(layout)) {
    Image image = Image::floats(frame.width, frame.height, alpha);
    readYuv(frame, image, path);
    return image;
  }
  Image image =
      isDeep ? Image::floats(frame.width, frame.height, alpha) : Image::bytes(frame.width, frame.height, alpha);
  if (hasPlainComponents(frame)) {
    readPlain(frame, image);
  } else {
    const FramePtr rgb = allocateFrame(isDeep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA, frame.width, frame.height);
    convert(frame, *rgb, path);
    readPlain(*rgb, image);
  }
  return image;
}

}  // namespace

bool hasAlpha(const AVFrame &frame) {
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  if (!isPalette(layout)) return layout.flags & AV_PIX_FMT_FLAG_ALPHA;
  constexpr int colours = 256;
  std::uint32_t palette[colours];
  std::memcpy(palette, frame.data[1], sizeof palette);
  return std::any_of(palette, palette + colours, [](std::uint32_t colour) { return colour >> 24 != 0xFF; });
}

int bitsPerComponent(const AVFrame &frame) {
  constexpr int depths[] = {8, 10, 12, 16, 32};
  const AVPixFmtDescriptor &layout = layoutOf(frame);
  int deepest = 0;
  for (int component = 0; component < layout.nb_components; ++component)
    deepest = std::max(deepest, layout.comp[component].depth);
  return *std::lower_bound(std::begin(depths), std::end(depths) - 1, deepest);
}

Image toImage(const AVFrame &frame, std::optional<Alpha> alpha, const std::string &path) {
  Image image = withItsAlpha(frame, alpha.value_or(Alpha::Premultiplied), path);
  if (!alpha) makeOpaque(image);
  image = toStandardRange(std::move(image), frame, path);
  if (image.isFloat() && bitsPerComponent(frame) <= 8) image = toBytes(image);
  return upright(std::move(image), orientationOf(frame));
}

FramePtr allocateFrame(AVPixelFormat layout, int width, int height) {
  FramePtr frame = newFrame();
  frame->format = layout;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

void setFrame(AVFrame &frame, const FloatRows &picture, const std::string &path) {
  const FloatRows rows = fitted(picture, frame);
  if (frame.format == AV_PIX_FMT_PAL8)
    writePalette(toBytes(imageOf(rows)), frame, path);
  else if (isYuv(layoutOf(frame)))
    writeYuv(rows, frame, path);
  else
    writeComponents(rows, frame, 0);
}

void setFrame(AVFrame &frame, const Image &image, const std::string &path) { setFrame(frame, rowsOf(image), path); }

}  // namespace pyrelux::media
