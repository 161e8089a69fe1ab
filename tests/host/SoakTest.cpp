// Many frames through the whole cycle: what a frame allocates, it gives back.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>

#include "Bundles.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "Renderers.h"

namespace pyrelux::host {
namespace {

/// Memory of the process that is in use now, in MB.
double residentMegabytes() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

class Soak : public ::testing::TestWithParam<const char *> {};
INSTANTIATE_TEST_SUITE_P(Renderers, Soak, ::testing::Values("mesa", "soft"));

TEST_P(Soak, MemoryStaysFlatOverFifteenHundredFrames) {
  constexpr int width = 1280;
  constexpr int height = 720;
  constexpr int frames = 1500;
  constexpr int warmUp = 100;
  constexpr int window = 300;

  // So that a surface that is freed goes back to the system; otherwise the allocator learns to keep some.
  constexpr int ownMapping = 128 * 1024;
  ASSERT_EQ(mallopt(M_MMAP_THRESHOLD, ownMapping), 1);

  Filter filter(findFilter({PYRELUX_TEST_BUNDLES}));
  // The cycle is what is tested, so the drawing is the least that goes through all of it.
  filter.parameters().set(filter.parameters().named("pyrelux"), {1});
  filter.parameters().set(filter.parameters().named("steps"), {10});
  filter.parameters().set(filter.parameters().named("source-opacity"), {0.5});
  const ParameterDeclaration &depth = filter.parameters().named("color-depth");

  Image input = Image::bytes(width, height, Alpha::Straight);
  for (std::size_t i = 0; i < input.sampleCount(); i += 7) input.asBytes()[i] = static_cast<std::uint8_t>(i);

  FrameRenderer renderer(chooseRenderer(GetParam()));
  double early = 1e9;
  double late = 1e9;
  for (int frame = 0; frame < frames; ++frame) {
    // Both depths of surface and of output take turns.
    const bool deep = frame % 2 == 1;
    filter.parameters().set(depth, {deep ? 1.0 : 0.0});
    FrameSettings settings;
    settings.floatOutput = deep;
    const Image output = renderer.render(filter, input, frame, settings);
    ASSERT_EQ(output.width(), width);
    const double resident = residentMegabytes();
    if (frame >= warmUp && frame < warmUp + window) early = std::min(early, resident);
    if (frame >= frames - window) late = std::min(late, resident);
    if ((frame + 1) % 100 == 0) std::cout << "after " << frame + 1 << " frames: " << resident << " MB\n";
  }
  // The renderer's threads free some a little later, so the smallest of many frames are compared. A lost surface would
  // be 3.7 MB a frame; 1 MB over 1,100 frames is 900 bytes a frame, less than a texture name and its bookkeeping.
  EXPECT_LT(late - early, 1.0);
}

}  // namespace
}  // namespace pyrelux::host
