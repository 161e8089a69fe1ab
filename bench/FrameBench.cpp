// Measures a whole frame, from the input in memory to the output in memory, on a backend that draws.

#include <benchmark/benchmark.h>

#include "BackendChoice.h"
#include "Bundles.h"
#include "Filter.h"
#include "FrameRenderer.h"
#include "Pictures.h"

namespace {

using namespace pyrelux;

/// Arguments: width, height, bits.
void wholeFrame(benchmark::State &state, const char *backend) {
  host::Filter filter(host::findFilter({PYRELUX_BENCH_BUNDLES}));
  host::FrameRenderer renderer(host::chooseBackend(backend));
  const Image input =
      bench::makePicture(bench::Picture::Title, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  host::FrameSettings settings;
  settings.floatOutput = state.range(2) == 16;
  filter.parameters().set(filter.parameters().named("color-depth"), {settings.floatOutput ? 1.0 : 0.0});
  double time = 0;
  Image frame;
  for (auto _ : state) {
    renderer.render(filter, input, time += 1, settings, frame);
    benchmark::DoNotOptimize(frame);
  }
  state.SetLabel(renderer.description());
  state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK_CAPTURE(wholeFrame, soft, "soft")
    ->Args({320, 180, 8})
    ->Args({1280, 720, 8})
    ->Args({1920, 1080, 8})
    ->Args({1920, 1080, 16})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(wholeFrame, egl, "egl")
    ->Args({320, 180, 8})
    ->Args({320, 180, 16})
    ->Args({1280, 720, 8})
    ->Args({1280, 720, 16})
    ->Args({1920, 1080, 8})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
