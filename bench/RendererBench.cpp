// Measures the filter's own work: path, ramp and quads, with the backend that draws nothing.

#include <benchmark/benchmark.h>

#include <vector>

#include "Backends.h"
#include "ColourRamp.h"
#include "Contexts.h"
#include "FlamePath.h"
#include "FlameQuads.h"
#include "NoiseSets.h"
#include "Snapshots.h"

namespace {

using namespace pyrelux;

/// Arguments: tongues, steps.
void flameWithoutGL(benchmark::State &state) {
  const bench::BenchContext context(platform::kBackendNull);
  Snapshot snapshot = bench::defaultSnapshot();
  snapshot.tongues = static_cast<double>(state.range(0));
  snapshot.steps = static_cast<double>(state.range(1));
  const FrameGeometry geometry{1920, 1080, 1920, 1080, 1920, 1080, 1920, 1080, 0, 1920.0 / 1080.0};
  double oldFrame = 0, turbulencePhase = 0, wigglePhase = 0, time = 0;
  const std::uint64_t before = platform::nullBackendQuads();
  for (auto _ : state) {
    const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
    const FlamePath path(snapshot, time, {oldFrame, turbulencePhase, wigglePhase});
    const FlameQuads quads(snapshot, geometry, ramp, path.common());
    for (double i = 0.0; i < snapshot.tongues; i += 1.0) quads.draw(path.tongue(i));
    time += 1;
  }
  state.counters["quads"] =
      static_cast<double>(platform::nullBackendQuads() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(flameWithoutGL)->Args({6, 40})->Args({50, 300})->Unit(benchmark::kMillisecond);

void noiseOfTenOctaves(benchmark::State &state) {
  double x = 0;
  for (auto _ : state) benchmark::DoNotOptimize(noise(x += 0.1, 10, -1, 1));
}
BENCHMARK(noiseOfTenOctaves);

/// One tongue's steps, with each set of instructions that the processor has. Argument: which.
void noiseOfATongue(benchmark::State &state) {
  int count = 0;
  const NoiseSet *const *sets = availableNoise(count);
  if (state.range(0) >= count) {
    state.SkipWithError("not of this processor");
    return;
  }
  const NoiseSet &set = *sets[state.range(0)];
  state.SetLabel(set.name);
  std::vector<double> x(301), sums(301);
  double start = 0;
  for (auto _ : state) {
    if (start > 1e4) start = 0;
    for (double &value : x) value = start += 0.1;
    set.sums(x.data(), 301, 10, sums.data());
    benchmark::DoNotOptimize(sums.data());
  }
}
BENCHMARK(noiseOfATongue)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace
