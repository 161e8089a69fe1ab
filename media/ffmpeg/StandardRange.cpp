#include "StandardRange.h"

#include <algorithm>
#include <cmath>

#include "ColourSpace.h"

namespace pyrelux::media {

namespace {

/// In cd/m²: what is brighter becomes white.
constexpr double sourcePeak = 1000.0;

// SMPTE ST 2084.
constexpr double largestLuminance = 10000.0;
constexpr double m1 = 2610.0 / 16384.0;
constexpr double m2 = 2523.0 / 4096.0 * 128.0;
constexpr double c1 = 3424.0 / 4096.0;
constexpr double c2 = 2413.0 / 4096.0 * 32.0;
constexpr double c3 = 2392.0 / 4096.0 * 32.0;

double pqOf(double luminance) {
  const double power = std::pow(luminance / largestLuminance, m1);
  return std::pow((c1 + c2 * power) / (1.0 + c3 * power), m2);
}

double luminanceOf(double pq) {
  const double power = std::pow(pq, 1.0 / m2);
  return largestLuminance * std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1.0 / m1);
}

bool isWide(AVColorPrimaries primaries) {
  return primaries == AVCOL_PRI_BT2020 || primaries == AVCOL_PRI_SMPTE431 || primaries == AVCOL_PRI_SMPTE432;
}

/// Calls `change` with the three samples of every pixel.
template <typename Change>
void forEachColour(Image &image, Change change) {
  Image::Floats &samples = image.asFloats();
  for (std::size_t sample = 0; sample < samples.size(); sample += 4) change(&samples[sample]);
}

void mapTones(Image &image) {
  forEachColour(image, [](float *colour) {
    const float brightest = std::max({colour[0], colour[1], colour[2]});
    const float mapped = toneMapped(brightest);
    if (mapped == brightest) return;
    for (int channel = 0; channel < 3; ++channel) colour[channel] *= mapped / brightest;
  });
}

}  // namespace

bool isHighRange(AVColorTransferCharacteristic transfer) {
  return transfer == AVCOL_TRC_SMPTE2084 || transfer == AVCOL_TRC_ARIB_STD_B67;
}

AVColorTransferCharacteristic transferOf(const AVFrame &frame) {
  switch (frame.color_trc) {
    case AVCOL_TRC_UNSPECIFIED:
    case AVCOL_TRC_RESERVED0:
    case AVCOL_TRC_RESERVED:
    case AVCOL_TRC_BT1361_ECG:
    case AVCOL_TRC_SMPTE428:
      return AVCOL_TRC_BT709;
    default:
      return frame.color_trc;
  }
}

float toneMapped(float light) {
  // The names of the report; black is 0 on both sides.
  static const double whole = pqOf(sourcePeak);
  static const double maxLum = pqOf(referenceWhite) / whole;
  static const double ks = 1.5 * maxLum - 0.5;
  static const float knee = static_cast<float>(luminanceOf(ks * whole) / referenceWhite);
  if (!(light > knee)) return light;
  const double e1 = std::min(pqOf(std::min(light * referenceWhite, largestLuminance)) / whole, 1.0);
  const double t = (e1 - ks) / (1.0 - ks);
  const double t2 = t * t;
  const double t3 = t2 * t;
  const double e2 =
      (2.0 * t3 - 3.0 * t2 + 1.0) * ks + (t3 - 2.0 * t2 + t) * (1.0 - ks) + (-2.0 * t3 + 3.0 * t2) * maxLum;
  return static_cast<float>(luminanceOf(e2 * whole) / referenceWhite);
}

Image toStandardRange(Image image, const AVFrame &frame, const std::string &path) {
  const bool isHigh = isHighRange(frame.color_trc);
  if (!isHigh && !isWide(frame.color_primaries)) return image;
  const Alpha alpha = image.alpha();
  image = straightened(toFloat(image));
  ColourSpace from;
  from.transfer = transferOf(frame);
  // PQ and HLG are made for those of BT.2020.
  from.primaries = isHigh && frame.color_primaries == AVCOL_PRI_UNSPECIFIED ? AVCOL_PRI_BT2020 : frame.color_primaries;
  ColourSpace to;
  if (isHigh) {
    ColourSpace light = from;
    light.transfer = AVCOL_TRC_LINEAR;
    convertColours(image, from, light, path);
    mapTones(image);
    from = light;
  } else {
    to.transfer = from.transfer;
  }
  convertColours(image, from, to, path);
  forEachColour(image, [](float *colour) {
    // NaN fails the comparison and becomes 0.
    for (int channel = 0; channel < 3; ++channel)
      colour[channel] = colour[channel] > 0.0f ? std::min(colour[channel], 1.0f) : 0.0f;
  });
  return alpha == Alpha::Premultiplied ? premultiplied(image) : image;
}

}  // namespace pyrelux::media
