// Tests the plug-in's C functions as a host calls them.

#include <gmock/gmock.h>

#include <algorithm>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "Frei0rLibrary.h"

namespace pyrelux::adapters::test {
namespace {

class Frei0r : public testing::Test {
 protected:
  Library library;
};

TEST_F(Frei0r, TellsWhatItIs) {
  const f0r_plugin_info_t info = library.info();
  EXPECT_STREQ(info.name, "Pyrelux");
  EXPECT_EQ(info.plugin_type, F0R_PLUGIN_TYPE_FILTER);
  EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);
  EXPECT_EQ(info.frei0r_version, FREI0R_MAJOR_VERSION);
}

TEST_F(Frei0r, HasTheFiltersParametersAndItsOwn) {
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  int expected = 5;
  for (const auto &declaration : filter.parameters().declarations()) {
    if (declaration.kind == host::ParameterKind::Custom) continue;
    expected += declaration.kind == host::ParameterKind::Point ? 2 : 1;
    const std::string name = declaration.label + (declaration.kind == host::ParameterKind::Point ? " X" : "");
    EXPECT_NO_THROW(library.indexOf(name)) << name;
  }
  EXPECT_EQ(library.info().num_params, expected);
}

TEST_F(Frei0r, DefaultsAreTheFilters) {
  Instance instance(library);
  EXPECT_DOUBLE_EQ(instance.number(library.indexOf("Glow")), 0.6);
  EXPECT_DOUBLE_EQ(instance.number(library.indexOf("Direction")), 0.5);
  EXPECT_DOUBLE_EQ(instance.number(library.indexOf("Point (Attract <> Repel) Y")), 0.5);
  EXPECT_DOUBLE_EQ(instance.number(library.indexOf("Source: Mode")), 0.0);
  f0r_param_color_t colour = {};
  library.get(instance.get(), &colour, library.indexOf("Color Center"));
  EXPECT_EQ(colour.r, 1.0f);
  EXPECT_EQ(colour.g, 0.5f);
  EXPECT_EQ(colour.b, 0.0f);
  EXPECT_EQ(instance.text("Frame rate"), "25");
  EXPECT_EQ(instance.text("Output"), "over");
  EXPECT_EQ(instance.text("Preset"), "none");
  EXPECT_EQ(instance.text("Seed"), "0");
}

TEST_F(Frei0r, WhatIsSetIsRead) {
  Instance instance(library);
  const int glow = library.indexOf("Glow");
  instance.setNumber("Glow", 0.25);
  EXPECT_DOUBLE_EQ(instance.number(glow), 0.25);
  instance.setNumber("Glow", 25.0);
  EXPECT_DOUBLE_EQ(instance.number(glow), 1.0);
  instance.setText("Frame rate", "30000/1001");
  EXPECT_EQ(instance.text("Frame rate"), "30000/1001");
  instance.setText("Frame rate", "many");
  EXPECT_EQ(instance.text("Frame rate"), "30000/1001");
}

TEST_F(Frei0r, DrawsWhatTheFilterDrawsOverTheSource) {
  // The same frame, drawn by the filter and composed here.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  host::FrameRenderer renderer(host::chooseBackend("auto"));
  filter.parameters().set(filter.parameters().named("steps"), {10.0});
  filter.parameters().set(filter.parameters().named("color-depth"), {1.0});
  Image input = Image::bytes(width, height, Alpha::Straight);
  input.asBytes() = title();
  host::FrameSettings settings;
  settings.floatOutput = true;
  const Image fire = renderer.render(filter, input, 12.0, settings);

  Instance instance(library);
  const Frame over = instance.update(12.0 / 25.0);
  const Frame source = title();
  std::size_t burning = 0;
  for (std::size_t at = 0; at < over.size(); at += 4) {
    const auto sample = [at](const auto &samples, std::size_t channel) { return samples[at + channel] / 255.0; };
    const float *const drawn = &fire.asFloats()[at];
    const double alpha = std::min(drawn[3], 1.0f);
    burning += drawn[0] > 0.0f;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const double sum = drawn[channel] + sample(source, channel) * sample(source, 3) * (1.0 - alpha);
      // Over black, where straight alpha has to give the same light.
      EXPECT_NEAR(255.0 * sample(over, channel) * sample(over, 3), 255.0 * std::min(sum, 1.0), 1.0) << at;
    }
  }
  EXPECT_GT(burning, 100u);
}

TEST_F(Frei0r, AFrameDependsOnItsTimeAlone) {
  Instance instance(library);
  const Frame twelfth = instance.update(0.48);
  const Frame fortieth = instance.update(1.6);
  EXPECT_NE(twelfth, fortieth);
  EXPECT_EQ(instance.update(0.48), twelfth);
  Instance other(library);
  EXPECT_EQ(other.update(1.6), fortieth);
}

TEST_F(Frei0r, TimesAreInTheUnitThatIsSet) {
  Instance instance(library);
  const Frame twelfth = instance.update(0.48);
  instance.setText("Time unit", "milliseconds");
  EXPECT_EQ(instance.update(480.0), twelfth);
  instance.setText("Frame rate", "50");
  EXPECT_EQ(instance.update(240.0), twelfth);
}

TEST_F(Frei0r, TheDecimalNameOfARateIsItsFraction) {
  // After a day and a bit, 23.976 and 24000/1001 frames a second are two frames apart.
  constexpr double time = 1e5;
  Instance instance(library);
  instance.setText("Frame rate", "24000/1001");
  const Frame exact = instance.update(time);
  instance.setText("Frame rate", "23.976");
  EXPECT_EQ(instance.update(time), exact);
  instance.setText("Frame rate", "24");
  EXPECT_NE(instance.update(time), exact);
}

TEST_F(Frei0r, TheFireAloneLeavesTheSourceOut) {
  Instance instance(library);
  instance.setText("Output", "fire");
  const Frame fire = instance.update(0.48);
  const std::size_t below = (static_cast<std::size_t>(height * 3 / 4 - 1) * width + width / 2 + 1) * 4;
  EXPECT_EQ(title()[below + 2], 200);
  // The flame is yellow at its foot: no blue.
  EXPECT_EQ(fire[below + 2], 0);
  instance.setText("Output", "over");
  EXPECT_GT(instance.update(0.48)[below + 2], 0);
}

TEST_F(Frei0r, IndicesOutOfRangeAreHarmless) {
  Instance instance(library);
  double value = 0.5;
  for (const int index : {-1, 1000}) {
    library.set(instance.get(), &value, index);
    library.get(instance.get(), &value, index);
    EXPECT_EQ(value, 0.5);
    f0r_param_info_t parameter = {};
    library.paramInfo(&parameter, index);
    EXPECT_EQ(parameter.name, nullptr);
  }
}

TEST_F(Frei0r, IsThereUntilTheLastOneIsDone) {
  f0r_param_info_t first = {};
  library.paramInfo(&first, 0);
  EXPECT_EQ(library.init(), 1);
  EXPECT_EQ(library.init(), 1);
  library.deinit();
  library.deinit();
  f0r_param_info_t still = {};
  library.paramInfo(&still, 0);
  EXPECT_EQ(still.name, first.name);
  EXPECT_STREQ(first.name, "Frame rate");
  // More calls than of f0r_init().
  library.deinit();
  library.deinit();
  EXPECT_EQ(library.init(), 1);
  EXPECT_NE(Instance(library).update(0.4), title());
}

TEST(Frei0rLoading, AnInstanceOutlivesTheEnd) {
  Library library;
  Instance instance(library);
  const Frame expected = instance.update(0.4);
  library.deinit();
  EXPECT_EQ(instance.update(0.4), expected);
  EXPECT_EQ(library.init(), 1);
}

TEST(Frei0rLoading, ManyTimes) {
  for (int load = 0; load < 200; ++load) {
    Library library;
    if (load % 50 == 0) {
      EXPECT_NE(Instance(library).update(0.0), title());
    }
  }
}

}  // namespace
}  // namespace pyrelux::adapters::test
