#include "YuvMatrix.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "FourPixels.h"
#include "StandardRange.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

constexpr int highDefinitionHeight = 720;
constexpr float neutral = 128.0f;

struct Weights {
  float red;
  float blue;
};

Weights weightsOf(AVColorSpace space, int height) {
  constexpr Weights bt601 = {0.299f, 0.114f};
  constexpr Weights bt709 = {0.2126f, 0.0722f};
  switch (space) {
    case AVCOL_SPC_BT709:
      return bt709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
      return bt601;
    case AVCOL_SPC_FCC:
      return {0.30f, 0.11f};
    case AVCOL_SPC_SMPTE240M:
      return {0.212f, 0.087f};
    case AVCOL_SPC_BT2020_NCL:
      return {0.2627f, 0.0593f};
    default:
      return height < highDefinitionHeight ? bt601 : bt709;
  }
}

/// YCgCo has no weights, ICtCp a curve and a matrix more; constant luminance is that of linear light.
std::optional<ColourSpace> specialSpaceOf(const AVFrame &frame) {
  AVColorPrimaries usual = AVCOL_PRI_BT709;
  switch (frame.colorspace) {
    case AVCOL_SPC_YCGCO:
    case AVCOL_SPC_CHROMA_DERIVED_NCL:
    case AVCOL_SPC_CHROMA_DERIVED_CL:
    case AVCOL_SPC_SMPTE2085:
      break;
    case AVCOL_SPC_BT2020_CL:
    case AVCOL_SPC_ICTCP:
      usual = AVCOL_PRI_BT2020;
      break;
    default:
      return std::nullopt;
  }
  const AVColorPrimaries primaries = frame.color_primaries;
  return ColourSpace{frame.colorspace, transferOf(frame), primaries == AVCOL_PRI_UNSPECIFIED ? usual : primaries};
}

// BT.2020's curve between light and signal, for 12 bits, which serves 10 as well.
constexpr float alpha2020 = 1.0993f;
constexpr float beta2020 = 0.0181f;

float toLight(float signal) {
  return signal < 4.5f * beta2020 ? signal / 4.5f : std::pow((signal + alpha2020 - 1.0f) / alpha2020, 1.0f / 0.45f);
}

float toSignal(float light) {
  return light < beta2020 ? 4.5f * light : alpha2020 * std::pow(light, 0.45f) - (alpha2020 - 1.0f);
}

/// What the largest code value of `depth` bits is in units of 8 bits: 255 and a fraction.
float largestLevel(int depth) { return std::ldexp(std::ldexp(1.0f, depth) - 1.0f, 8 - depth); }

/// Calls `convert` with a pointer to the three samples of every pixel.
template <typename Convert>
void forEachPixel(Image &image, Convert convert) {
  std::vector<float> &samples = image.asFloats();
  for (std::size_t sample = 0; sample < samples.size(); sample += 4) convert(&samples[sample]);
}

}  // namespace

YuvMatrix::YuvMatrix(const AVFrame &frame) : special_(specialSpaceOf(frame)) {
  const Weights weights = weightsOf(frame.colorspace, frame.height);
  redWeight_ = weights.red;
  blueWeight_ = weights.blue;
  const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
  const int depth = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format))->comp[0].depth;
  black_ = isFullRange ? 0.0f : 16.0f;
  lumaReach_ = isFullRange ? largestLevel(depth) : 219.0f;
  chromaReach_ = isFullRange ? largestLevel(depth) : 224.0f;
}

void YuvMatrix::toRgb(Image &image, int depth, const std::string &path) const {
  const float toLevels = largestLevel(depth);
  if (special_ && special_->matrix == AVCOL_SPC_BT2020_CL && !isHighRange(special_->transfer))
    return constantLuminanceToRgb(image, toLevels);
  if (special_) {
    if (special_->matrix == AVCOL_SPC_BT2020_CL || special_->matrix == AVCOL_SPC_CHROMA_DERIVED_CL)
      failConverting(*special_, path);
    forEachPixel(image, [=](float *pixel) {
      pixel[0] = (pixel[0] * toLevels - black_) / lumaReach_;
      for (const int difference : {1, 2}) pixel[difference] = (pixel[difference] * toLevels - neutral) / chromaReach_;
    });
    convertColours(image, *special_, {AVCOL_SPC_RGB, special_->transfer, special_->primaries}, path);
    return;
  }
  const float greenWeight = 1.0f - redWeight_ - blueWeight_;
  forEachPixel(image, [=](float *pixel) {
    const float luma = (pixel[0] * toLevels - black_) / lumaReach_;
    const float blue = luma + (pixel[1] * toLevels - neutral) / chromaReach_ * (2.0f - 2.0f * blueWeight_);
    const float red = luma + (pixel[2] * toLevels - neutral) / chromaReach_ * (2.0f - 2.0f * redWeight_);
    pixel[0] = red;
    pixel[1] = (luma - redWeight_ * red - blueWeight_ * blue) / greenWeight;
    pixel[2] = blue;
  });
}

/// Rec. ITU-R BT.2020-2, table 4.
void YuvMatrix::constantLuminanceToRgb(Image &image, float toLevels) const {
  constexpr float redWeight = 0.2627f, greenWeight = 0.6780f, blueWeight = 0.0593f;
  forEachPixel(image, [=](float *pixel) {
    const float luma = (pixel[0] * toLevels - black_) / lumaReach_;
    const float blueness = (pixel[1] * toLevels - neutral) / chromaReach_;
    const float redness = (pixel[2] * toLevels - neutral) / chromaReach_;
    const float blue = luma + blueness * (blueness <= 0.0f ? 1.9404f : 1.5816f);
    const float red = luma + redness * (redness <= 0.0f ? 1.7184f : 0.9936f);
    pixel[0] = red;
    pixel[1] = toSignal((toLight(luma) - redWeight * toLight(red) - blueWeight * toLight(blue)) / greenWeight);
    pixel[2] = blue;
  });
}

void YuvMatrix::fromRgb(float *row, int width, int depth) const {
  const float fromLevels = 1.0f / largestLevel(depth);
  const float redWeight = redWeight_, blueWeight = blueWeight_, greenWeight = 1.0f - redWeight_ - blueWeight_;
  const float black = black_, lumaReach = lumaReach_, chromaReach = chromaReach_;
  convertRow(row, width, row, [=](FourPixels &pixels, int) {
    const FourFloats red = limited(pixels.red);
    const FourFloats blue = limited(pixels.blue);
    const FourFloats luma = redWeight * red + greenWeight * limited(pixels.green) + blueWeight * blue;
    pixels.red = (black + luma * lumaReach) * fromLevels;
    pixels.green = (neutral + (blue - luma) / (2.0f - 2.0f * blueWeight) * chromaReach) * fromLevels;
    pixels.blue = (neutral + (red - luma) / (2.0f - 2.0f * redWeight) * chromaReach) * fromLevels;
  });
}

}  // namespace pyrelux::media
