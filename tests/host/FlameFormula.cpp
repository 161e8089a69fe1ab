#include "FlameFormula.h"

#include <algorithm>
#include <cmath>

#include "ColourRamp.h"
#include "FlamePath.h"

namespace pyrelux::testing {

namespace {

struct Rgba {
  double v[4] = {0, 0, 0, 0};
};

/// The input as its texture lies in memory: row 0 first, at the bottom of the coordinates.
class Texture {
 public:
  Texture(const Image &image, bool topLeft) : image_(image), topLeft_(topLeft) {}
  int width() const { return image_.width(); }
  int height() const { return image_.height(); }

  Rgba texel(int s, int t) const {
    s = std::clamp(s, 0, width() - 1);
    t = std::clamp(t, 0, height() - 1);
    const int row = topLeft_ ? t : height() - 1 - t;
    const std::size_t at = 4 * (static_cast<std::size_t>(row) * width() + s);
    Rgba value;
    for (std::size_t c = 0; c < 4; ++c)
      value.v[c] = image_.isFloat() ? image_.asFloats()[at + c] : image_.asBytes()[at + c] / 255.0;
    return value;
  }

  /// Linear filtering with texel centres at halves, edges clamped.
  Rgba sample(double s, double t) const {
    const double s0 = std::floor(s - 0.5);
    const double t0 = std::floor(t - 0.5);
    const double fs = s - 0.5 - s0;
    const double ft = t - 0.5 - t0;
    const int i = static_cast<int>(s0);
    const int j = static_cast<int>(t0);
    Rgba value;
    for (int c = 0; c < 4; ++c)
      value.v[c] = (texel(i, j).v[c] * (1 - fs) + texel(i + 1, j).v[c] * fs) * (1 - ft) +
                   (texel(i, j + 1).v[c] * (1 - fs) + texel(i + 1, j + 1).v[c] * fs) * ft;
    return value;
  }

 private:
  const Image &image_;
  bool topLeft_;
};

/// A running sum, as it is and in 8-bit levels.
struct Sum {
  double exact = 0;
  double lowest = 0;
  double highest = 0;

  /// `slack` is in levels.
  void add(double value, double slack) {
    exact += value;
    lowest = std::min(255.0, lowest + std::round(std::max(0.0, value * 255 - slack)));
    highest = std::min(255.0, highest + std::round(value * 255 + slack));
  }
};

/// Where one copy lies, in pixels from the lower left.
struct Placement {
  double x0, x1, y0, y1;
};

}  // namespace

FormulaFrame flameByFormula(const Image &input, Snapshot s, double time, bool topLeft) {
  // How far a renderer's filtered 8-bit texel may be off, in levels: its three interpolations round to 8 bits each, and
  // the position between the texels has 8 bits as well.
  constexpr double texelSlack = 1.25;
  // Rasterisers place vertices on a grid of 1/256 pixel.
  constexpr double edgeSlack = 1.0 / 128;

  fixOrientation(s, topLeft ? 2.0 : 0.0);
  const Texture texture(input, topLeft);
  const int width = input.width();
  const int height = input.height();
  FormulaFrame frame;
  frame.width = width;
  frame.height = height;
  const auto pixels = static_cast<std::size_t>(width) * height;
  std::vector<Sum> surface(pixels * 4);
  frame.copies.assign(pixels, 0);
  frame.atAnEdge.assign(pixels, false);
  // Pixels are numbered as the frame is, from the top, whichever way the texture's rows run.
  const auto pixelAt = [&](int x, int y) { return static_cast<std::size_t>(topLeft ? y : height - 1 - y) * width + x; };
  const ColourRamp ramp = makeFlameRamp(s.inner, s.centre, s.outer);

  double oldFrame = 0, turbulencePhase = 0, wigglePhase = 0;
  const FlamePath path(s, time, {oldFrame, turbulencePhase, wigglePhase});
  const CommonSteps &common = path.common();
  for (double index = 0; index < s.tongues; ++index) {
    const Tongue tongue = path.tongue(index);
    const double g = (s.glow + 9.5) * static_cast<double>(0.02820079f);
    const double alpha = static_cast<double>(1.0f / static_cast<float>(common.count)) / s.tongues *
                             (1 / (g * g) + static_cast<double>(0.9f)) +
                         1.0 / 256;
    for (int i = 0; i < common.count; ++i) {
      if (common.stepWeight[i] <= 0) continue;
      const Colour tint = ramp.evaluate(common.stepPos[i]);
      const double intensity = common.stepWeight[i] / (s.glow * common.weightSum / 100 * s.tongues);
      const double colour[4] = {std::clamp(intensity * tint.red, 0.0, 1.0),
                                std::clamp(intensity * tint.green, 0.0, 1.0),
                                std::clamp(intensity * tint.blue, 0.0, 1.0), std::clamp(alpha, 0.0, 1.0)};
      // An image's point p lies at (p + offset - about) * scale + about.
      const auto place = [&](double p, double offset, double about) {
        return (p + offset - about) * common.stepScaleX[i] + about;
      };
      const Placement at{place(s.cropLeft, tongue.stepOffsetX[i], s.point.x) * width,
                         place(1 - s.cropRight, tongue.stepOffsetX[i], s.point.x) * width,
                         place(s.cropBottom, tongue.stepOffsetY[i], s.point.y) * height,
                         place(1 - s.cropTop, tongue.stepOffsetY[i], s.point.y) * height};
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const double cx = x + 0.5, cy = y + 0.5;
          const std::size_t pixel = pixelAt(x, y);
          if (std::min({std::abs(cx - at.x0), std::abs(cx - at.x1), std::abs(cy - at.y0), std::abs(cy - at.y1)}) <
              edgeSlack)
            frame.atAnEdge[pixel] = true;
          if (cx < at.x0 || cx >= at.x1 || cy < at.y0 || cy >= at.y1) continue;
          const double u = (cx - at.x0) / (at.x1 - at.x0), v = (cy - at.y0) / (at.y1 - at.y0);
          const Rgba texel = texture.sample((s.cropLeft + u * (1 - s.cropRight - s.cropLeft)) * width,
                                            (s.cropBottom + v * (1 - s.cropTop - s.cropBottom)) * height);
          ++frame.copies[pixel];
          for (std::size_t c = 0; c < 4; ++c)
            surface[4 * pixel + c].add(texel.v[c] * colour[c], texelSlack * colour[c]);
        }
      }
    }
  }

  frame.exact.resize(pixels * 4);
  frame.lowest.resize(pixels * 4);
  frame.highest.resize(pixels * 4);
  const double o = std::max(0.0, s.opacity);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgba source = texture.texel(x, y);
      const double keep = s.mode == 0 ? 1 - source.v[3] * o : 1.0;
      for (std::size_t c = 0; c < 4; ++c) {
        const std::size_t at = 4 * pixelAt(x, y) + c;
        const Sum &flame = surface[at];
        // The source pass rounds its two products and its sum; without it the output is the surface.
        const double slack = o > 0 ? 1.5 : 0.0;
        const double drawn = source.v[c] * o;
        frame.exact[at] = drawn + flame.exact * keep;
        frame.lowest[at] = std::min(255.0, drawn * 255 + flame.lowest * keep) - slack;
        frame.highest[at] = std::min(255.0, drawn * 255 + flame.highest * keep) + slack;
      }
    }
  }
  return frame;
}

}  // namespace pyrelux::testing
