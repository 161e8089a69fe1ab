// Presets and seeds in the MLT module.

#include <gmock/gmock.h>

#include <algorithm>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Canvas.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "Loaded.h"
#include "MltHost.h"
#include "SequentialRenderer.h"
#include "StaticEffect.h"
#include "TemporaryFile.h"

namespace pyrelux::adapters::test {
namespace {

class MltPresets : public MltModule {
 protected:
  const TemporaryFile look{R"({"version": 1, "parameters": {"glow": 50, "length-of-pyrelux": 60, "steps": 10}})"};
  const TemporaryFile other{R"({"version": 1, "parameters": {"glow": -20}})"};
};

TEST_F(MltPresets, AreDrawnAsTheirParametersAre) {
  Burner burner(mlt, {{"preset", look.path()}, {"steps", ""}});
  Reference reference;
  reference.set("glow", {50.0});
  reference.set("length-of-pyrelux", {60.0});
  EXPECT_EQ(burner.burn(6), reference.burn(6));
  burner.set("glow", "70");
  reference.set("glow", {70.0});
  EXPECT_EQ(burner.burn(6), reference.burn(6));
}

TEST_F(MltPresets, ChangeWhileRunning) {
  Burner burner(mlt, animated);
  for (const std::string &preset : {look.path(), other.path(), std::string("none"), look.path(), std::string()}) {
    burner.set("preset", preset);
    Settings settings = animated;
    settings.emplace_back("preset", preset);
    EXPECT_EQ(burner.burn(6), Burner(mlt, settings).burn(6)) << preset;
  }
  EXPECT_EQ(burner.burn(7), Burner(mlt, animated).burn(7));
}

TEST_F(MltPresets, BurnAtTheirTimeBase) {
  const TemporaryFile doubled(R"({"version": 1, "time-base": 50, "parameters": {"turbulence-speed":
      [{"frame": 0, "value": 0}, {"frame": 12, "value": 100}]}})");
  mlt.profile()->frame_rate_num = 25;
  mlt.profile()->frame_rate_den = 1;
  Reference reference;
  reference.setKeyframes("turbulence-speed", {{0.0, {0.0}}, {12.0, {100.0}}});
  reference.time = {0.0, 2.0};
  EXPECT_EQ(Burner(mlt, {{"preset", doubled.path()}}).burn(9), reference.burn(9));
}

TEST_F(MltPresets, ThatCantBeUsedAreToldOfOnce) {
  const Frame plain = Burner(mlt).burn(3);
  testing::internal::CaptureStderr();
  Burner burner(mlt, {{"preset", "bogus"}});
  for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(burner.burn(3), plain);
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_THAT(told, testing::StartsWith("pyrelux: there is no preset 'bogus'; there are "));
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST_F(MltPresets, LoadNoneOfFFmpegsLibraries) {
  EXPECT_NE(Burner(mlt, {{"preset", "torch"}}).burn(3), Burner(mlt).burn(3));
  EXPECT_THAT(loadedFromFFmpeg(), testing::IsEmpty());
}

TEST_F(MltPresets, ASeedIsAnotherStretchOfTheFiltersTime) {
  // The host library's frames from there on, with the host's keyframes in that stretch.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  host::FrameRenderer renderer(host::chooseBackend("auto"));
  host::ParameterSet &parameters = filter.parameters();
  parameters = parametersOf(filter.info());
  parameters.set(parameters.named("steps"), {10.0});
  parameters.setKeyframes(parameters.named("turbulence-speed"), {{7091.0, {0.0}}, {7103.0, {100.0}}});
  host::SequentialRenderer run(filter, renderer, 7091);
  host::FrameSettings settings;
  settings.floatOutput = true;
  Burner burner(mlt, {{"seed", "7"}, {"turbulence-speed", "0=0;12=100"}});
  for (const int position : {0, 9, 4}) {
    Frame expected(title().size());
    Canvas().paint(title().data(), expected.data(), width, height, Composition::OverSource,
                   [&](const Image &input, Image &fire) { run.render(7091 + position, input, settings, fire); });
    EXPECT_EQ(burner.burn(position), expected) << position;
  }
  const Frame seventh = burner.burn(4);
  burner.set("seed", "0");
  EXPECT_EQ(burner.burn(4), Burner(mlt, {{"turbulence-speed", "0=0;12=100"}}).burn(4));
  burner.set("seed", "7");
  EXPECT_EQ(burner.burn(4), seventh);
}

}  // namespace
}  // namespace pyrelux::adapters::test
