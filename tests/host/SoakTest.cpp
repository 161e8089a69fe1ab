// Many frames through the whole cycle: what a frame allocates, it gives back.

#include <gtest/gtest.h>
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

TEST(Soak, MemoryStaysFlatOverFifteenHundredFrames) {
  constexpr int width = 1280;
  constexpr int height = 720;
  constexpr int frames = 1500;
  constexpr int warmUp = 100;

  Filter filter(findFilter({PYRELUX_TEST_BUNDLES}));
  // The cycle is what is tested, so the drawing is the least that goes through all of it.
  filter.parameters().set(filter.parameters().named("pyrelux"), {1});
  filter.parameters().set(filter.parameters().named("steps"), {10});
  filter.parameters().set(filter.parameters().named("source-opacity"), {0.5});
  const ParameterDeclaration &depth = filter.parameters().named("color-depth");

  Image input = Image::bytes(width, height, Alpha::Straight);
  for (std::size_t i = 0; i < input.sampleCount(); i += 7) input.asBytes()[i] = static_cast<std::uint8_t>(i);

  FrameRenderer renderer(chooseRenderer("egl"));
  double early = 0.0;
  double largest = 0.0;
  for (int frame = 0; frame < frames; ++frame) {
    // Both depths of surface and of output take turns.
    const bool deep = frame % 2 == 1;
    filter.parameters().set(depth, {deep ? 1.0 : 0.0});
    FrameSettings settings;
    settings.floatOutput = deep;
    const Image output = renderer.render(filter, input, frame, settings);
    ASSERT_EQ(output.width(), width);
    if (frame + 1 == warmUp) early = residentMegabytes();
    if (frame + 1 > warmUp) largest = std::max(largest, residentMegabytes());
    if ((frame + 1) % 100 == 0) std::cout << "after " << frame + 1 << " frames: " << residentMegabytes() << " MB\n";
  }
  // A lost 8-bit surface a frame would be 3.7 MB times 1,400. What is allowed is one surface's worth in all, for the
  // allocator's and the texture names' bookkeeping: the filter never deletes its names.
  EXPECT_LT(largest - early, width * height * 4 / 1e6);
}

}  // namespace
}  // namespace pyrelux::host
