#include "YuvMatrix.h"

#include <algorithm>
#include <cmath>
#include <vector>

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
    case AVCOL_SPC_BT2020_CL:
      return {0.2627f, 0.0593f};
    default:
      return height < highDefinitionHeight ? bt601 : bt709;
  }
}

/// What the largest code value of `depth` bits is in units of 8 bits: 255 and a fraction.
float largestLevel(int depth) { return std::ldexp(std::ldexp(1.0f, depth) - 1.0f, 8 - depth); }

/// Calls `convert` with a pointer to the three samples of every pixel.
template <typename Convert>
void forEachPixel(Image &image, Convert convert) {
  std::vector<float> &samples = image.asFloats();
  for (std::size_t sample = 0; sample < samples.size(); sample += 4) convert(&samples[sample]);
}

float clipped(float value) {
  // Written so that NaN fails the comparison and becomes 0.
  return value > 0.0f ? std::min(value, 1.0f) : 0.0f;
}

}  // namespace

YuvMatrix::YuvMatrix(const AVFrame &frame) {
  const Weights weights = weightsOf(frame.colorspace, frame.height);
  redWeight_ = weights.red;
  blueWeight_ = weights.blue;
  const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
  const int depth = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format))->comp[0].depth;
  black_ = isFullRange ? 0.0f : 16.0f;
  lumaReach_ = isFullRange ? largestLevel(depth) : 219.0f;
  chromaReach_ = isFullRange ? largestLevel(depth) : 224.0f;
}

void YuvMatrix::toRgb(Image &image, int depth) const {
  const float toLevels = largestLevel(depth);
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

void YuvMatrix::fromRgb(Image &image, int depth) const {
  const float fromLevels = 1.0f / largestLevel(depth);
  const float greenWeight = 1.0f - redWeight_ - blueWeight_;
  forEachPixel(image, [=](float *pixel) {
    const float red = clipped(pixel[0]);
    const float blue = clipped(pixel[2]);
    const float luma = redWeight_ * red + greenWeight * clipped(pixel[1]) + blueWeight_ * blue;
    pixel[0] = (black_ + luma * lumaReach_) * fromLevels;
    pixel[1] = (neutral + (blue - luma) / (2.0f - 2.0f * blueWeight_) * chromaReach_) * fromLevels;
    pixel[2] = (neutral + (red - luma) / (2.0f - 2.0f * redWeight_) * chromaReach_) * fromLevels;
  });
}

}  // namespace pyrelux::media
