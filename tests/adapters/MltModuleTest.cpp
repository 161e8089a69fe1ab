// Tests the module in this process, with MLT's library, like a program that is linked with MLT.

#include <framework/mlt.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include "Bundles.h"
#include "FailingMemory.h"
#include "Filter.h"
#include "MltHost.h"
#include "MltParameters.h"
#include "Numbers.h"
#include "ParameterText.h"
#include "Presets.h"
#include "TemporaryFile.h"

namespace pyrelux::adapters::test {
namespace {

TEST_F(MltModule, DrawsWhatTheFilterDraws) {
  Burner burner(mlt);
  Reference reference;
  EXPECT_NE(burner.burn(0), title());
  for (const int position : {0, 1, 12}) EXPECT_EQ(burner.burn(position), reference.burn(position)) << position;
}

TEST_F(MltModule, AnimatedSpeedsAddUpFrameByFrame) {
  Burner burner(mlt, {{"turbulence-speed", "0=0;12=100;24=50"}});
  Reference reference;
  reference.setKeyframes("turbulence-speed", {{0.0, {0.0}}, {12.0, {100.0}}, {24.0, {50.0}}});
  for (int position = 0; position < length; ++position)
    EXPECT_EQ(burner.burn(position), reference.burn(position)) << position;
}

TEST_F(MltModule, AFrameIsTheSameInAnyOrder) {
  std::vector<Frame> run;
  {
    Burner burner(mlt, animated);
    for (int position = 0; position < length; ++position) run.push_back(burner.burn(position));
  }
  Burner burner(mlt, animated);
  std::vector<std::size_t> order(length);
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(1));
  for (const std::size_t position : order)
    EXPECT_EQ(burner.burn(static_cast<int>(position)), run[position]) << position;
}

TEST_F(MltModule, ManyThreadsGiveWhatOneGives) {
  std::vector<Frame> alone;
  {
    Burner burner(mlt, animated);
    for (int position = 0; position < 16; ++position) alone.push_back(burner.burn(position));
  }
  // Four filters in four threads, frames interleaved, and all four call one more.
  Burner shared(mlt, animated);
  std::vector<Frame> parallel(16);
  std::vector<Frame> together(16);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&, thread] {
      Burner burner(mlt, animated);
      for (int position = thread; position < 16; position += 4) {
        parallel[static_cast<std::size_t>(position)] = burner.burn(position);
        together[static_cast<std::size_t>(position)] = shared.burn(position);
      }
    });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(parallel, alone);
  EXPECT_EQ(together, alone);
}

TEST_F(MltModule, WhatIsSetBetweenFramesCountsAsIfFromTheStart) {
  Burner burner(mlt);
  const Frame before = burner.burn(5);
  const Settings changed{{"glow", "90"}, {"turbulence-speed", "0=0;9=100"}};
  for (const auto &[name, value] : changed) burner.set(name, value);
  EXPECT_EQ(burner.burn(6), Burner(mlt, changed).burn(6));
  for (const auto &[name, value] : changed) burner.set(name, "");
  EXPECT_EQ(burner.burn(5), before);
}

TEST_F(MltModule, TheFireAloneLeavesTheSourceOut) {
  Burner burner(mlt, {{"output", "fire"}});
  const std::size_t below = (static_cast<std::size_t>(height * 3 / 4 - 1) * width + width / 2 + 1) * 4;
  EXPECT_EQ(title()[below + 2], 200);
  // The flame is yellow at its foot: no blue.
  EXPECT_EQ(burner.burn(12)[below + 2], 0);
  burner.set("output", "over");
  EXPECT_GT(burner.burn(12)[below + 2], 0);
}

TEST_F(MltModule, TakesEverySizeAtAnyTime) {
  Burner burner(mlt);
  Reference reference;
  for (const auto &[pictureWidth, pictureHeight] : {std::pair(1, 1), {61, 45}, {32, 18}, {8, 300}, {64, 36}}) {
    const Frame input = title(pictureWidth, pictureHeight);
    EXPECT_EQ(burner.burn(7, input, pictureWidth, pictureHeight), reference.burn(7, input, pictureWidth, pictureHeight))
        << pictureWidth << "x" << pictureHeight;
  }
}

TEST_F(MltModule, APointInPixelsIsOfTheProfileWhateverThePreviewsSize) {
  const Frame half = title(width / 2, height / 2);
  const Settings attracted{{"attract-repel", "60"}};
  Burner inPixels(mlt, attracted);
  inPixels.set("point-attract-repel", "16 9");
  Burner inPercent(mlt, attracted);
  inPercent.set("point-attract-repel", "25% 25%");
  EXPECT_EQ(inPixels.burn(3), inPercent.burn(3));
  const Frame preview = inPixels.burn(3, half, width / 2, height / 2);
  EXPECT_EQ(preview, inPercent.burn(3, half, width / 2, height / 2));
  inPixels.set("point-attract-repel", "8 4.5");
  EXPECT_NE(inPixels.burn(3, half, width / 2, height / 2), preview);
}

/// A value of the parameter's, `share` (0 .. 1) of its way from one end to the other; what MLT's text for it is.
std::pair<host::ParameterValue, std::string> valueAndText(const host::ParameterDeclaration &declaration,
                                                          const std::vector<double> &shares) {
  const auto of = [](std::size_t count, double share) {
    return std::floor(share * static_cast<double>(count - 1) + 0.5);
  };
  switch (declaration.kind) {
    case host::ParameterKind::Colour: {
      host::ParameterValue value{};
      char text[8] = "#";
      for (std::size_t channel = 0; channel < 3; ++channel) {
        const auto byte = static_cast<unsigned>(of(256, shares[channel]));
        value[channel] = byte / 255.0;
        std::snprintf(text + 1 + 2 * channel, 3, "%02x", byte & 0xffu);
      }
      return {value, text};
    }
    case host::ParameterKind::Point: {
      // Sixteenths are exact however they are written.
      const host::ParameterValue value{of(17, shares[0]) / 16.0, of(17, shares[1]) / 16.0};
      return {value, formatNumber(value[0] * width) + " " + formatNumber((1.0 - value[1]) * height)};
    }
    case host::ParameterKind::Popup: {
      const double entry = of(declaration.entries.size(), shares[0]);
      return {{entry}, declaration.entries[static_cast<std::size_t>(entry)]};
    }
    default: {
      const double factor = isShare(declaration) ? 100.0 : 1.0;
      double value = declaration.minimum + (declaration.maximum - declaration.minimum) * shares[0];
      if (declaration.kind == host::ParameterKind::Integer) value = std::round(value);
      const std::string text = formatNumber(value * factor);
      return {{isShare(declaration) ? std::stod(text) / factor : value}, text};
    }
  }
}

class MltSettings : public MltModule {
 protected:
  static constexpr int smallWidth = 24;
  static constexpr int smallHeight = 16;

  void set(const host::ParameterDeclaration &declaration, const std::vector<double> &shares) {
    const auto [value, text] = valueAndText(declaration, shares);
    reference.set(declaration.keySlug(), value);
    burner.set(declaration.keySlug(), text);
  }

  /// Draws what the filter draws, without output, and never lowers the source's alpha.
  void expectSame(int position, const std::string &what) {
    const Frame input = title(smallWidth, smallHeight);
    const Frame burnt = burner.burn(position, input, smallWidth, smallHeight);
    EXPECT_EQ(burnt, reference.burn(position, input, smallWidth, smallHeight)) << what;
    for (std::size_t alpha = 3; alpha < input.size(); alpha += 4) EXPECT_GE(burnt[alpha], input[alpha]) << what;
  }

  Burner burner{mlt};
  Reference reference;
};

TEST_F(MltSettings, EveryParameterAtBothEnds) {
  testing::internal::CaptureStderr();
  for (const host::ParameterDeclaration &declaration : reference.parameters().declarations()) {
    if (declaration.kind == host::ParameterKind::Custom) continue;
    const host::ParameterValue before = reference.parameters().value(declaration.id, 0.0);
    for (const double end : {0.0, 1.0}) {
      set(declaration, {end, end, end});
      expectSame(6, declaration.keySlug());
    }
    reference.set(declaration.keySlug(), before);
    burner.set(declaration.keySlug(), "");
    if (declaration.keySlug() == "steps") burner.set("steps", "10");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MltSettings, AThousandAtRandom) {
  std::mt19937 random(3);
  std::uniform_real_distribution<> share;
  testing::internal::CaptureStderr();
  for (int trial = 0; trial < 1000; ++trial) {
    for (const host::ParameterDeclaration &declaration : reference.parameters().declarations()) {
      if (declaration.kind == host::ParameterKind::Custom) continue;
      // Few copies keep this quick.
      const double most = declaration.kind == host::ParameterKind::Integer ? 0.1 : 1.0;
      set(declaration, {share(random) * most, share(random), share(random)});
    }
    expectSame(static_cast<int>(random() % 4), "trial " + std::to_string(trial));
    if (HasFailure()) break;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

/// Tests failures: the pictures stay as they are, and one line tells the reason.
class MltTrouble : public testing::Test {
 protected:
  static void expectToldOnce(const std::string &why, const Frame &input = title(), int pictureWidth = width,
                             int pictureHeight = height, std::size_t failFrom = SIZE_MAX) {
    Mlt mlt;
    testing::internal::CaptureStderr();
    {
      Burner burner(mlt);
      Frame picture = input;
      const FailingMemory failing(failFrom);
      for (int position = 0; position < 3; ++position) {
        burner.burnInPlace(picture, position, pictureWidth, pictureHeight);
        EXPECT_TRUE(picture == input) << position;
      }
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_THAT(told, testing::StartsWith("pyrelux: "));
    EXPECT_THAT(told, testing::HasSubstr(why));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
  }
};

TEST_F(MltTrouble, NoBundle) {
  setenv("PYRELUX_PLUGIN_PATH", "/nowhere", 1);
  expectToldOnce("no filter bundle in /nowhere");
  unsetenv("PYRELUX_PLUGIN_PATH");
}

TEST_F(MltTrouble, APictureThatCantBeDrawn) { expectToldOnce("16400", title(16400, 4), 16400, 4); }

TEST_F(MltTrouble, NoMemory) {
  constexpr int large = 512;
  const Frame input = title(large, large);
  expectToldOnce("there is not enough memory", input, large, large, input.size());
}

TEST_F(MltTrouble, GoesOnWhenThereIsMemoryAgain) {
  Mlt mlt;
  Burner burner(mlt, animated);
  const Frame first = burner.burn(3);
  constexpr int large = 512;
  const Frame input = title(large, large);
  Frame picture = input;
  {
    const FailingMemory failing(input.size());
    burner.burnInPlace(picture, 4, large, large);
  }
  EXPECT_TRUE(picture == input);
  EXPECT_FALSE(burner.burn(4, input, large, large) == input);
  EXPECT_EQ(burner.burn(3), first);
}

TEST_F(MltTrouble, WhicheverAllocationFailsNoFrameIsWrong) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "takes minutes with this sanitizer";
#endif
  Mlt mlt;
  const Frame input = title();
  const TemporaryFile preset(R"({"version": 1, "parameters": {"length-of-pyrelux": 60}})");
  Settings all = animated;
  all.insert(all.end(), {{"preset", preset.path()}, {"seed", "3"}});
  const Frame burnt = Burner(mlt, all).burn(6);
  bool hasFailed = true;
  int spared = 0;
  testing::internal::CaptureStderr();
  for (; hasFailed && spared < 10000; ++spared) {
    Burner burner(mlt, animated);
    // Beforehand: what reads JSON ends the process when it lacks memory to free its own.
    burner.set("preset", preset.path());
    burner.burn(2);
    // All that is set is read, and a run begun, once more.
    burner.set("glow", "5");
    burner.burn(3);
    for (const auto &[name, value] : animated) burner.set(name, value);
    burner.set("seed", "3");
    Frame picture = input;
    {
      const FailingMemory failing(0, spared);
      burner.burnInPlace(picture, 6, width, height);
      hasFailed = failing.hasFailed();
    }
    EXPECT_TRUE(picture == burnt || picture == input) << spared;
    // What is left of the frame that failed may cost another one.
    const Frame next = burner.burn(6);
    EXPECT_TRUE(next == burnt || next == input) << spared;
    EXPECT_TRUE(burner.burn(6) == burnt) << spared;
    if (HasFailure()) break;
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(spared, 50);
  EXPECT_FALSE(hasFailed);
}

TEST(MltLoading, ManyTimes) {
  for (int load = 0; load < 200; ++load) {
    Mlt mlt;
    Burner burner(mlt);
    if (load % 50 == 0) {
      EXPECT_NE(burner.burn(0), title());
    }
  }
}

TEST(MltLoading, DescribesItself) {
  Mlt mlt;
  const mlt_properties metadata = mlt_repository_metadata(mlt_factory_repository(), mlt_service_filter_type, "pyrelux");
  ASSERT_NE(metadata, nullptr);
  EXPECT_STREQ(mlt_properties_get(metadata, "identifier"), "pyrelux");
  const auto parameters = static_cast<mlt_properties>(mlt_properties_get_data(metadata, "parameters", nullptr));
  ASSERT_NE(parameters, nullptr);
  const host::Filter filter(host::findFilter(host::defaultSearchPath()));
  int at = 2;
  const auto text = [&](const char *name) {
    const auto parameter = static_cast<mlt_properties>(mlt_properties_get_data_at(parameters, at, nullptr));
    const char *found = parameter ? mlt_properties_get(parameter, name) : nullptr;
    return std::string(found ? found : "");
  };
  for (const host::ParameterDeclaration &declaration : filter.parameters().declarations()) {
    if (declaration.kind == host::ParameterKind::Custom) continue;
    EXPECT_EQ(text("identifier"), declaration.keySlug());
    EXPECT_EQ(text("title"), declaration.label);
    EXPECT_EQ(text("animation"), "yes");
    if (declaration.hasRange()) {
      const double factor = isShare(declaration) ? 100.0 : 1.0;
      EXPECT_EQ(text("minimum"), formatNumber(declaration.minimum * factor));
      EXPECT_EQ(text("maximum"), formatNumber(declaration.maximum * factor));
      EXPECT_EQ(text("default"), formatNumber(declaration.defaultValue[0] * factor));
      EXPECT_EQ(text("unit"), isShare(declaration) ? "%" : declaration.kind == host::ParameterKind::Angle ? "°" : "");
    }
    EXPECT_EQ(text("type"), declaration.kind == host::ParameterKind::Integer  ? "integer"
                            : declaration.kind == host::ParameterKind::Colour ? "color"
                            : declaration.kind == host::ParameterKind::Point  ? "rect"
                            : declaration.kind == host::ParameterKind::Popup  ? "string"
                                                                              : "float");
    ++at;
  }
  EXPECT_EQ(text("identifier"), "output");
  const int count = at + 1;
  at = 0;
  EXPECT_EQ(text("identifier"), "preset");
  EXPECT_EQ(text("type"), "string");
  EXPECT_EQ(text("default"), "none");
  mlt_properties const presets = static_cast<mlt_properties>(mlt_properties_get_data(
      static_cast<mlt_properties>(mlt_properties_get_data_at(parameters, 0, nullptr)), "values", nullptr));
  std::vector<std::string> names{"none"};
  for (const std::string &name : project::shippedPresetNames()) names.push_back(name);
  std::vector<std::string> listed;
  for (int i = 0; i < mlt_properties_count(presets); ++i) listed.push_back(mlt_properties_get_value(presets, i));
  EXPECT_EQ(listed, names);
  at = 1;
  EXPECT_EQ(text("identifier"), "seed");
  EXPECT_EQ(text("type"), "integer");
  EXPECT_EQ(text("maximum"), "1000000");
  EXPECT_EQ(text("default"), "0");
  EXPECT_EQ(mlt_properties_count(parameters), count);
}

}  // namespace
}  // namespace pyrelux::adapters::test
