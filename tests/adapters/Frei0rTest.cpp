// The plug-in as a host sees it: a library with C functions.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Bundles.h"
#include "Frei0rParameters.h"
#include "Renderers.h"

namespace pyrelux::adapters::test {
namespace {

using Frame = std::vector<std::uint8_t>;

/// The library, loaded and initialised for as long as it lives.
class Library {
 public:
  Library() : handle_(dlopen(PYRELUX_FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(dlerror());
    find(init, "f0r_init");
    find(deinit, "f0r_deinit");
    find(pluginInfo, "f0r_get_plugin_info");
    find(paramInfo, "f0r_get_param_info");
    find(construct, "f0r_construct");
    find(destruct, "f0r_destruct");
    find(set, "f0r_set_param_value");
    find(get, "f0r_get_param_value");
    find(update, "f0r_update");
    EXPECT_EQ(init(), 1);
  }
  ~Library() {
    deinit();
    dlclose(handle_);
  }
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;

  decltype(&f0r_init) init = nullptr;
  decltype(&f0r_deinit) deinit = nullptr;
  decltype(&f0r_get_plugin_info) pluginInfo = nullptr;
  decltype(&f0r_get_param_info) paramInfo = nullptr;
  decltype(&f0r_construct) construct = nullptr;
  decltype(&f0r_destruct) destruct = nullptr;
  decltype(&f0r_set_param_value) set = nullptr;
  decltype(&f0r_get_param_value) get = nullptr;
  decltype(&f0r_update) update = nullptr;

  f0r_plugin_info_t info() const {
    f0r_plugin_info_t info = {};
    pluginInfo(&info);
    return info;
  }

  int indexOf(const std::string &name) const {
    for (int index = 0; index < info().num_params; ++index) {
      f0r_param_info_t parameter = {};
      paramInfo(&parameter, index);
      if (name == parameter.name) return index;
    }
    throw std::runtime_error("no parameter " + name);
  }

 private:
  template <typename Function>
  void find(Function &function, const char *name) {
    function = reinterpret_cast<Function>(dlsym(handle_, name));
    if (!function) throw std::runtime_error(name);
  }

  void *handle_;
};

constexpr int width = 64;
constexpr int height = 36;

/// White, with soft edges, in the middle of nothing.
Frame title(int pictureWidth = width, int pictureHeight = height) {
  Frame frame(static_cast<std::size_t>(pictureWidth) * pictureHeight * 4, 0);
  for (int y = pictureHeight / 2; y < pictureHeight * 3 / 4; ++y)
    for (int x = pictureWidth / 4; x < pictureWidth * 3 / 4; ++x) {
      std::uint8_t *pixel = &frame[(static_cast<std::size_t>(y) * pictureWidth + x) * 4];
      pixel[0] = pixel[1] = 255;
      pixel[2] = 200;
      pixel[3] = x % 8 == 0 ? 100 : 255;
    }
  return frame;
}

class Instance {
 public:
  explicit Instance(const Library &library, int pictureWidth = width, int pictureHeight = height)
      : library_(library), instance_(library.construct(pictureWidth, pictureHeight)) {
    setText("Time unit", "seconds");
    setNumber("Steps", 0.0);
  }
  ~Instance() { library_.destruct(instance_); }
  Instance(const Instance &) = delete;
  Instance &operator=(const Instance &) = delete;

  void setNumber(const std::string &name, double value) { library_.set(instance_, &value, library_.indexOf(name)); }
  void setText(const std::string &name, std::string value) {
    char *text = value.data();
    library_.set(instance_, &text, library_.indexOf(name));
  }
  double number(int index) const {
    double value = -1.0;
    library_.get(instance_, &value, index);
    return value;
  }
  std::string text(const std::string &name) const {
    char *value = nullptr;
    library_.get(instance_, &value, library_.indexOf(name));
    return value;
  }
  Frame update(double time, const Frame &input = title()) {
    Frame output(input.size(), 77);
    library_.update(instance_, time, reinterpret_cast<const std::uint32_t *>(input.data()),
                    reinterpret_cast<std::uint32_t *>(output.data()));
    return output;
  }
  f0r_instance_t get() const { return instance_; }

 private:
  const Library &library_;
  f0r_instance_t instance_;
};

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
  int expected = 3;
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
  // The same frame by the filter alone, composed here.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  host::FrameRenderer renderer(host::chooseRenderer("auto"));
  filter.parameters().set(filter.parameters().named("steps"), {10.0});
  Image input = Image::bytes(width, height, Alpha::Straight);
  input.asBytes() = title();
  const Image fire = renderer.render(filter, input, 12.0, {});

  Instance instance(library);
  const Frame over = instance.update(12.0 / 25.0);
  const Frame source = title();
  std::size_t burning = 0;
  for (std::size_t at = 0; at < over.size(); at += 4) {
    const auto sample = [at](const auto &samples, std::size_t channel) { return samples[at + channel] / 255.0; };
    const auto &drawn = fire.asBytes();
    burning += drawn[at] > 0;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const double sum =
          sample(drawn, channel) + sample(source, channel) * sample(source, 3) * (1.0 - sample(drawn, 3));
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

TEST_F(Frei0r, TakesEverySizeAndValue) {
  std::mt19937 random(2);
  for (const auto &[pictureWidth, pictureHeight] : {std::pair(1, 1), {61, 45}, {8, 300}}) {
    Instance instance(library, pictureWidth, pictureHeight);
    const Frame input = title(pictureWidth, pictureHeight);
    for (int index = 0; index < library.info().num_params; ++index) {
      f0r_param_info_t parameter = {};
      library.paramInfo(&parameter, index);
      if (parameter.type != F0R_PARAM_DOUBLE) continue;
      const double before = instance.number(index);
      for (double value : {0.0, 1.0, -7.0, 40.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        // As few copies as there can be keeps this quick.
        if (std::string(parameter.name) == "Steps") value = 0.0;
        library.set(instance.get(), &value, index);
        EXPECT_GE(instance.number(index), 0.0);
        EXPECT_LE(instance.number(index), 1.0);
        EXPECT_EQ(instance.update(std::uniform_real_distribution<>(0.0, 9.0)(random), input).size(), input.size());
      }
      library.set(instance.get(), const_cast<double *>(&before), index);
    }
  }
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

TEST_F(Frei0r, ManyThreadsGiveWhatOneGives) {
  std::vector<Frame> alone;
  {
    Instance instance(library);
    for (int frame = 0; frame < 16; ++frame) alone.push_back(instance.update(frame / 25.0));
  }
  // Four instances in four threads, frames interleaved, and all four call one more.
  Instance shared(library);
  std::vector<Frame> parallel(16);
  std::vector<Frame> together(16);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&, thread] {
      Instance instance(library);
      for (int frame = thread; frame < 16; frame += 4) {
        parallel[static_cast<std::size_t>(frame)] = instance.update(frame / 25.0);
        together[static_cast<std::size_t>(frame)] = shared.update(frame / 25.0);
      }
    });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(parallel, alone);
  EXPECT_EQ(together, alone);
}

TEST(Frei0rLoading, ManyTimes) {
  for (int load = 0; load < 200; ++load) {
    Library library;
    if (load % 50 == 0) {
      EXPECT_NE(Instance(library).update(0.0), title());
    }
  }
}

TEST(Frei0rLoading, WithoutABundleThePictureStays) {
  setenv("PYRELUX_PLUGIN_PATH", "/nowhere", 1);
  testing::internal::CaptureStderr();
  {
    Library library;
    EXPECT_EQ(library.info().num_params, 3);
    f0r_instance_t instance = library.construct(width, height);
    const Frame input = title();
    Frame output(input.size(), 0);
    for (int frame = 0; frame < 3; ++frame)
      library.update(instance, frame, reinterpret_cast<const std::uint32_t *>(input.data()),
                     reinterpret_cast<std::uint32_t *>(output.data()));
    EXPECT_EQ(output, input);
    library.destruct(instance);
  }
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_THAT(told, testing::StartsWith("pyrelux: no filter bundle in /nowhere"));
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
  unsetenv("PYRELUX_PLUGIN_PATH");
}

}  // namespace
}  // namespace pyrelux::adapters::test
