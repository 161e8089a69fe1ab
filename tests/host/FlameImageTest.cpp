// Frames drawn by OpenGL through the whole cycle, against the same frames worked out pixel by pixel.

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Filter.h"
#include "FlameFormula.h"
#include "FrameRenderer.h"
#include "ParameterIds.h"
#include "ParameterText.h"

namespace pyrelux::host {
namespace {

using testing::FormulaFrame;

/// The values that a filter gets for a parameter set, with the units worked out here once more.
class SetSource : public ParameterSource {
 public:
  SetSource(const ParameterSet &set, bool topLeft) : set_(set), topLeft_(topLeft) {}
  bool open() override { return true; }
  int intValue(std::uint32_t id, double time) override { return static_cast<int>(set_.value(id, time)[0]); }
  double floatValue(std::uint32_t id, double time) override {
    const bool angle = id == kDirection || id == kSpread;
    return angle ? set_.value(id, time)[0] * std::acos(-1.0) / 180 : set_.value(id, time)[0];
  }
  Colour colourValue(std::uint32_t id, double time) override {
    const auto v = set_.value(id, time);
    return {v[0], v[1], v[2]};
  }
  Point pointValue(std::uint32_t id, double time) override {
    const auto v = set_.value(id, time);
    return {v[0], topLeft_ ? 1 - v[1] : v[1]};
  }

 private:
  const ParameterSet &set_;
  bool topLeft_;
};

/// Four different channels, no symmetry, alpha between 0 and 1: what is mirrored, swapped or divided shows.
Image asymmetricInput(int width, int height, bool floats) {
  Image image =
      floats ? Image::floats(width, height, Alpha::Premultiplied) : Image::bytes(width, height, Alpha::Premultiplied);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double u = (x + 0.5) / width, v = (y + 0.5) / height;
      const double alpha = 0.25 + 0.7 * u * (1 - 0.5 * v);
      const double value[4] = {alpha * (0.2 + 0.8 * v), alpha * (0.9 - 0.7 * u),
                               alpha * (0.5 + 0.5 * std::sin(9 * u + 5 * v)), alpha};
      for (std::size_t c = 0; c < 4; ++c) {
        const std::size_t at = 4 * (static_cast<std::size_t>(y) * width + x) + c;
        if (floats)
          image.asFloats()[at] = static_cast<float>(value[c]);
        else
          image.asBytes()[at] = static_cast<std::uint8_t>(std::lround(value[c] * 255));
      }
    }
  }
  return image;
}

struct Scene {
  const char *name;
  int width;
  int height;
  double time;
  std::map<std::string, std::string> settings;
};

void PrintTo(const Scene &scene, std::ostream *out) { *out << scene.name; }

const Scene scenes[] = {
    {"Defaults", 64, 36, 3, {{"steps", "10"}}},
    {"OddSize", 61, 37, 7.5, {{"steps", "12"}, {"pyrelux", "3"}, {"glow", "60"}}},
    {"Cover", 64, 36, 2, {{"steps", "10"}, {"pyrelux", "2"}, {"source-opacity", "0.4"}, {"source-mode", "cover"}}},
    {"Mix", 64, 36, 2, {{"steps", "10"}, {"pyrelux", "2"}, {"source-opacity", "0.4"}, {"source-mode", "mix"}}},
    {"Crops",
     80,
     45,
     5,
     {{"steps", "10"},
      {"pyrelux", "2"},
      {"crop-left", "0.1"},
      {"crop-right", "0.25"},
      {"crop-top", "0.3"},
      {"crop-bottom", "0.05"}}},
    {"Attract",
     64,
     48,
     4,
     {{"steps", "14"}, {"pyrelux", "3"}, {"attract-repel", "66"}, {"point-attract-repel", "0.3,0.8"}, {"glow", "80"}}},
    {"Repel",
     64,
     48,
     4,
     {{"steps", "14"}, {"pyrelux", "3"}, {"attract-repel", "-55"}, {"point-attract-repel", "0.7,0.2"}, {"glow", "80"}}},
    {"Sideways",
     48,
     48,
     9,
     {{"steps", "10"},
      {"pyrelux", "4"},
      {"direction", "75"},
      {"length-of-pyrelux", "70"},
      {"weight-inner-outer", "-60"},
      {"color-inner", "#2060ff"},
      {"color-center", "0.3,0.9,0.7"},
      {"color-outer", "#ff40c0"}}},
    {"OnePixel", 1, 1, 1, {{"steps", "10"}, {"pyrelux", "2"}, {"source-opacity", "0.5"}}},
};

class FlameImage : public ::testing::TestWithParam<std::tuple<Scene, Origin, const char *>> {
 protected:
  void apply(bool deep) {
    for (const auto &[name, value] : scene().settings) {
      const ParameterDeclaration &parameter = filter.parameters().named(name);
      filter.parameters().set(parameter, parseValue(parameter, value));
    }
    filter.parameters().set(filter.parameters().named("color-depth"), {deep ? 1.0 : 0.0});
  }

  const Scene &scene() const { return std::get<0>(GetParam()); }
  Origin origin() const { return std::get<1>(GetParam()); }

  FormulaFrame expected(const Image &input) {
    const bool topLeft = origin() == Origin::TopLeft;
    SetSource source(filter.parameters(), topLeft);
    return testing::flameByFormula(input, readSnapshot(source, scene().time), scene().time, topLeft);
  }

  Image drawn(const Image &input, bool deep) {
    FrameSettings settings;
    settings.floatOutput = deep;
    settings.origin = origin();
    FrameRenderer renderer(chooseBackend(std::get<2>(GetParam())));
    return renderer.render(filter, input, scene().time, settings);
  }

  /// Where a sample is, for messages.
  std::string place(std::size_t sample) const {
    const std::size_t pixel = sample / 4;
    const auto width = static_cast<std::size_t>(scene().width);
    return std::to_string(pixel % width) + "," + std::to_string(pixel / width) + " " + "RGBA"[sample % 4];
  }

  Filter filter{findFilter({PYRELUX_TEST_BUNDLES})};
};

TEST_P(FlameImage, EightBitFollowsTheFormula) {
  apply(false);
  const Image input = asymmetricInput(scene().width, scene().height, false);
  const FormulaFrame formula = expected(input);
  const Image image = drawn(input, false);

  std::size_t compared = 0;
  double width = 0.0;
  int brightest = 0;
  for (std::size_t i = 0; i < formula.exact.size(); ++i) {
    if (formula.atAnEdge[i / 4]) continue;
    const int level = image.asBytes()[i];
    ASSERT_TRUE(level >= formula.lowest[i] && level <= formula.highest[i])
        << "at " << place(i) << ": drawn " << level << ", not in " << formula.lowest[i] << " .. " << formula.highest[i]
        << ", copies " << formula.copies[i / 4];
    ++compared;
    width += formula.highest[i] - formula.lowest[i];
    brightest = std::max(brightest, level);
  }
  // What keeps the comparison sharp.
  EXPECT_GT(compared, formula.exact.size() / 2) << "too many pixels lie at an edge";
  EXPECT_LT(width / static_cast<double>(compared), 8) << "the range is too wide to tell anything";
  EXPECT_GT(brightest, 40) << "the scene shows nothing";
}

TEST_P(FlameImage, SixteenBitFollowsTheFormula) {
  apply(true);
  const Image input = asymmetricInput(scene().width, scene().height, true);
  const FormulaFrame formula = expected(input);
  const Image image = drawn(input, true);

  for (std::size_t i = 0; i < formula.exact.size(); ++i) {
    if (formula.atAnEdge[i / 4]) continue;
    const double value = formula.exact[i];
    // A half keeps 11 bits; a renderer may cut instead of round, so each copy and each pass may lose one unit of the
    // sum so far, and small values lose a subnormal's unit.
    const double unit = std::max(value, 1.0 / 16384) / 1024;
    ASSERT_NEAR(image.asFloats()[i], value, unit * (formula.copies[i / 4] + 2))
        << "at " << place(i) << ", copies " << formula.copies[i / 4];
  }
}

INSTANTIATE_TEST_SUITE_P(Scenes, FlameImage,
                         ::testing::Combine(::testing::ValuesIn(scenes),
                                            ::testing::Values(Origin::BottomLeft, Origin::TopLeft),
                                            ::testing::Values("mesa", "soft")),
                         [](const auto &scene) {
                           return std::string(std::get<0>(scene.param).name) +
                                  (std::get<1>(scene.param) == Origin::TopLeft ? "TopLeft" : "BottomLeft") + "On" +
                                  std::get<2>(scene.param);
                         });

class FlameOrigins : public ::testing::TestWithParam<const char *> {};
INSTANTIATE_TEST_SUITE_P(Backends, FlameOrigins, ::testing::Values("mesa", "soft"));

TEST_P(FlameOrigins, ShowTheSamePicture) {
  Filter filter(findFilter({PYRELUX_TEST_BUNDLES}));
  // Without wiggle a lone tongue is straight; what leans with a tongue leans the other way when rows are turned over.
  for (const char *setting : {"pyrelux=1", "wiggle-amount=0", "steps=20", "direction=20", "attract-repel=40",
                              "point-attract-repel=0.25,0.9", "crop-top=0.2", "source-opacity=0.3"}) {
    const std::string text = setting;
    const ParameterDeclaration &parameter = filter.parameters().named(text.substr(0, text.find('=')));
    filter.parameters().set(parameter, parseValue(parameter, text.substr(text.find('=') + 1)));
  }
  FrameRenderer renderer(chooseBackend(GetParam()));
  const Image input = asymmetricInput(64, 36, false);
  FrameSettings settings;
  const Image bottomLeft = renderer.render(filter, input, 5, settings);
  settings.origin = Origin::TopLeft;
  const Image topLeft = renderer.render(filter, input, 5, settings);

  std::size_t differing = 0;
  for (std::size_t i = 0; i < bottomLeft.sampleCount(); ++i)
    if (std::abs(bottomLeft.asBytes()[i] - topLeft.asBytes()[i]) > 3) ++differing;
  // Copies' edges fall on other sides of pixel centres when the rows are turned over: one row of each copy's two.
  EXPECT_LT(differing, bottomLeft.sampleCount() / 50);
}

}  // namespace
}  // namespace pyrelux::host
