// Many frames through the whole cycle: the process does not grow. script/soak does the same with whole programs, for
// longer and in more sizes.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Filter.h"
#include "FrameRenderer.h"

namespace pyrelux::host {
namespace {

/// What of the process is in memory, in MB.
double residentMegabytes() {
  std::size_t all = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return static_cast<double>(resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) / 1e6;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct Run {
  const char *backend;
  int width;
  int height;
  int warmUp;
  int frames;
};

class Soak : public ::testing::TestWithParam<Run> {
 protected:
  Soak() {
    // The cycle is what is tested, so the drawing is the least that goes through all of it.
    filter.parameters().set(filter.parameters().named("pyrelux"), {1});
    filter.parameters().set(filter.parameters().named("steps"), {10});
    filter.parameters().set(filter.parameters().named("source-opacity"), {0.5});
    for (std::size_t i = 0; i < input.sampleCount(); i += 7) input.asBytes()[i] = static_cast<std::uint8_t>(i);
  }

  /// Both depths of surface and of output take turns.
  void render(FrameRenderer &renderer, int frame, Image &output) {
    const bool deep = frame % 2 == 1;
    filter.parameters().set(filter.parameters().named("color-depth"), {deep ? 1.0 : 0.0});
    FrameSettings settings;
    settings.floatOutput = deep;
    renderer.render(filter, input, frame, settings, output);
  }

  Filter filter{findFilter({PYRELUX_TEST_BUNDLES})};
  Image input = Image::bytes(GetParam().width, GetParam().height, Alpha::Straight);
};

TEST_P(Soak, TheProcessDoesNotGrow) {
  constexpr int window = 50;
  const int warmUp = GetParam().warmUp;
  const int frames = GetParam().frames;
  FrameRenderer renderer(chooseBackend(GetParam().backend));
  std::vector<double> early;
  std::vector<double> late;
  Image output;
  Image deepOutput;
  for (int frame = 0; frame < frames; ++frame) {
    render(renderer, frame, frame % 2 ? deepOutput : output);
    const double resident = residentMegabytes();
    if (frame >= warmUp && frame < warmUp + window) early.push_back(resident);
    if (frame >= frames - window) late.push_back(resident);
    if ((frame + 1) % 500 == 0) std::cout << "after " << frame + 1 << " frames: " << resident << " MB\n";
  }
  // Medians, as freed surfaces go back to the system a little later now and then. The names of textures that
  // the filter leaves behind would be 0.8 MB after 6000 frames, small blocks that are not used again 100 MB; a lost
  // surface of a large frame is 3.7 MB.
  EXPECT_LT(median(late) - median(early), GetParam().width < 100 ? 0.4 : 4.0);

  // And the last frame is what a new renderer draws. The filter starts anew too, as its frames depend on those before.
  filter.restart();
  render(renderer, frames, output);
  FrameRenderer fresh(chooseBackend(GetParam().backend));
  Image expected;
  filter.restart();
  render(fresh, frames, expected);
  EXPECT_EQ(output.asBytes(), expected.asBytes());
}

// Small pictures draw on the allocator, large ones on the system. Mesa compiles its shaders in every frame, which takes
// too long for many.
INSTANTIATE_TEST_SUITE_P(Runs, Soak,
                         ::testing::Values(Run{"soft", 64, 36, 500, 6000}, Run{"soft", 1280, 720, 100, 300},
                                           Run{"mesa", 1280, 720, 50, 150}),
                         [](const auto &run) { return run.param.backend + std::to_string(run.param.width); });

}  // namespace
}  // namespace pyrelux::host
