// Presets and seeds in the frei0r plug-in.

#include <gmock/gmock.h>

#include <algorithm>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Canvas.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "Frei0rLibrary.h"
#include "Loaded.h"
#include "StaticEffect.h"
#include "TemporaryFile.h"

namespace pyrelux::adapters::test {
namespace {

/// What the host library draws with 10 steps, the glow and the length of the file below, at a time of the filter's.
Frame drawn(double time, double glow, double length) {
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  host::FrameRenderer renderer(host::chooseBackend("auto"));
  host::ParameterSet &parameters = filter.parameters();
  parameters = parametersOf(filter.info());
  parameters.set(parameters.named("steps"), {10.0});
  parameters.set(parameters.named("glow"), {glow});
  parameters.set(parameters.named("length-of-pyrelux"), {length});
  host::FrameSettings settings;
  settings.floatOutput = true;
  Frame output(title().size());
  Canvas().paint(title().data(), output.data(), width, height, Composition::OverSource,
                 [&](const Image &input, Image &fire) { fire = renderer.render(filter, input, time, settings); });
  return output;
}

class Frei0rPresets : public testing::Test {
 protected:
  Library library;
  Instance instance{library};
  const TemporaryFile look{R"({"version": 1, "parameters": {"glow": 50, "length-of-pyrelux": 60}})"};
  const TemporaryFile other{R"({"version": 1, "parameters": {"glow": -20}})"};
};

TEST_F(Frei0rPresets, AreDrawnAsTheHostLibraryDrawsTheirParameters) {
  EXPECT_EQ(instance.update(0.48), drawn(12.0, 20.0, 30.0));
  instance.setText("Preset", look.path());
  EXPECT_EQ(instance.update(0.48), drawn(12.0, 50.0, 60.0));
  EXPECT_EQ(instance.text("Preset"), look.path());
}

TEST_F(Frei0rPresets, ChangeWhileRunning) {
  for (const auto &[preset, glow, length] : {std::tuple(look.path(), 50.0, 60.0),
                                             {other.path(), -20.0, 30.0},
                                             {std::string("none"), 20.0, 30.0},
                                             {look.path(), 50.0, 60.0}}) {
    instance.setText("Preset", preset);
    EXPECT_EQ(instance.update(0.2), drawn(5.0, glow, length));
  }
}

TEST_F(Frei0rPresets, LoseAgainstWhatIsSetAndHoldAgainstDefaults) {
  instance.setText("Preset", look.path());
  // As programs do that give every parameter.
  for (int index = 5; index < library.info().num_params; ++index) {
    f0r_param_info_t parameter = {};
    library.paramInfo(&parameter, index);
    double number = 0.0;
    f0r_param_color_t colour = {};
    void *value = parameter.type == F0R_PARAM_COLOR ? static_cast<void *>(&colour) : &number;
    library.get(instance.get(), value, index);
    library.set(instance.get(), value, index);
  }
  EXPECT_EQ(instance.update(0.2), drawn(5.0, 50.0, 60.0));
  instance.setNumber("Glow", 0.25);
  EXPECT_EQ(instance.update(0.2), drawn(5.0, -50.0, 60.0));
  // Whatever the order.
  instance.setText("Preset", other.path());
  EXPECT_EQ(instance.update(0.2), drawn(5.0, -50.0, 30.0));
  instance.setNumber("Glow", 0.6);
  EXPECT_EQ(instance.update(0.2), drawn(5.0, -20.0, 30.0));
}

TEST_F(Frei0rPresets, KeepTheirKeyframes) {
  const TemporaryFile keyed(
      R"({"version": 1, "parameters": {"glow": [{"frame": 0, "value": 0}, {"frame": 10, "value": 50}]}})");
  instance.setText("Preset", keyed.path());
  EXPECT_EQ(instance.update(0.2), drawn(5.0, 25.0, 30.0));
  instance.setText("Seed", "2");
  EXPECT_EQ(instance.update(0.2), drawn(2026.0 + 5.0, 25.0, 30.0));
}

TEST_F(Frei0rPresets, BurnAtTheirTimeBase) {
  const TemporaryFile slow(R"({"version": 1, "time-base": 24})");
  instance.setText("Preset", slow.path());
  instance.setText("Frame rate", "48");
  EXPECT_EQ(instance.update(0.5), drawn(12.0, 20.0, 30.0));
  instance.setText("Frame rate", "24");
  EXPECT_EQ(instance.update(0.5), drawn(12.0, 20.0, 30.0));
}

TEST_F(Frei0rPresets, ThatCantBeUsedAreToldOfOnce) {
  const Frame plain = instance.update(0.2);
  testing::internal::CaptureStderr();
  for (int frame = 0; frame < 3; ++frame) {
    instance.setText("Preset", "bogus");
    EXPECT_EQ(instance.update(0.2), plain);
  }
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_THAT(told, testing::StartsWith("pyrelux: there is no preset 'bogus'; there are "));
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST_F(Frei0rPresets, ASeedIsAnotherStretchOfTime) {
  instance.setText("Seed", "7");
  const Frame seventh = instance.update(0.48);
  EXPECT_EQ(seventh, drawn(7 * 1013.0 + 12.0, 20.0, 30.0));
  EXPECT_NE(seventh, drawn(12.0, 20.0, 30.0));
  Instance again(library);
  again.setText("Seed", "7");
  EXPECT_EQ(again.update(0.48), seventh);
  instance.setText("Seed", "0");
  EXPECT_EQ(instance.update(0.48), drawn(12.0, 20.0, 30.0));
}

TEST_F(Frei0rPresets, LoadNoneOfFFmpegsLibraries) {
  instance.setText("Preset", "torch");
  instance.update(0.2);
  EXPECT_THAT(loadedFromFFmpeg(), testing::IsEmpty());
}

}  // namespace
}  // namespace pyrelux::adapters::test
