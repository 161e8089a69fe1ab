// Compares the soft backend with Mesa: the flame pass alone and whole frames, by turns in one run. Prints a table or
// JSON.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "Backends.h"
#include "Bundles.h"
#include "ColourRamp.h"
#include "Contexts.h"
#include "Filter.h"
#include "FlamePath.h"
#include "FlameQuads.h"
#include "FrameRenderer.h"
#include "NumericHelpers.h"
#include "Pictures.h"
#include "Snapshots.h"

namespace {

using namespace pyrelux;
using bench::Picture;
using Json = nlohmann::ordered_json;

struct Scene {
  int width = 1920;
  int height = 1080;
  Picture picture = Picture::Opaque;
  int bits = 8;
  int tongues = 6;
  int steps = 40;
  double attract = 0;
  bool wholeFrame = false;
  /// The number of tongues that Mesa draws; its time is scaled up. 0: all.
  int mesaTongues = 0;

  std::string name() const {
    std::string text = std::to_string(width) + "x" + std::to_string(height) + ", " + std::to_string(bits) + " bit, " +
                       bench::pictureName(picture) + ", " + std::to_string(tongues) + "x" + std::to_string(steps);
    if (attract != 0) text += ", attract " + std::to_string(static_cast<int>(attract));
    return text + (wholeFrame ? ", whole frame" : ", flame");
  }
};

Snapshot snapshotOf(const Scene &scene) {
  Snapshot s = bench::defaultSnapshot();
  s.tongues = scene.tongues;
  s.attract = scene.attract;
  s.steps = scene.steps;
  return s;
}

double milliseconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Draws one scene with one backend and measures the time.
class Drawer {
 public:
  virtual ~Drawer() = default;
  virtual double draw() = 0;
};

class FlameDrawer : public Drawer {
 public:
  FlameDrawer(const Scene &scene, std::int32_t backendId, int tongues)
      : snapshot_(snapshotOf(scene)),
        tongues_(tongues ? tongues : scene.tongues),
        context_(backendId, scene.bits == 16, scene.width, scene.height) {
    const double w = scene.width, h = scene.height;
    geometry_ = {w, h, w, h, w, h, w, h, 0, w / h};
    context_.upload(bench::makePicture(scene.picture, scene.width, scene.height));
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
  }

  double draw() override {
    context_.makeCurrent();
    double oldFrame = 0, turbulencePhase = 0, wigglePhase = 0;
    const auto start = std::chrono::steady_clock::now();
    glClear(GL_COLOR_BUFFER_BIT);
    const ColourRamp ramp = makeFlameRamp(snapshot_.inner, snapshot_.centre, snapshot_.outer);
    const FlamePath path(snapshot_, 10, {oldFrame, turbulencePhase, wigglePhase});
    const FlameQuads quads(snapshot_, geometry_, ramp, path.common());
    for (int i = 0; i < tongues_; ++i) quads.draw(path.tongue(i));
    glFinish();
    return milliseconds(start) * snapshot_.tongues / tongues_;
  }

 private:
  Snapshot snapshot_;
  int tongues_;
  FrameGeometry geometry_;
  bench::BenchContext context_;
};

class FrameDrawer : public Drawer {
 public:
  FrameDrawer(const Scene &scene, std::int32_t backendId)
      : filter_(host::findFilter({PYRELUX_BENCH_BUNDLES})),
        renderer_(backendId),
        input_(bench::makePicture(scene.picture, scene.width, scene.height)) {
    settings_.floatOutput = scene.bits == 16;
    set("color-depth", settings_.floatOutput ? 1 : 0);
    set("pyrelux", scene.tongues);
    set("steps", scene.steps);
    set("attract-repel", scene.attract);
  }

  double draw() override {
    const auto start = std::chrono::steady_clock::now();
    renderer_.render(filter_, input_, 10, settings_, frame_);
    return milliseconds(start);
  }

 private:
  void set(const char *name, double value) { filter_.parameters().set(filter_.parameters().named(name), {value}); }

  host::Filter filter_;
  host::FrameRenderer renderer_;
  host::FrameSettings settings_;
  Image input_;
  Image frame_;
};

std::unique_ptr<Drawer> makeDrawer(const Scene &scene, std::int32_t backendId, int tongues) {
  if (scene.wholeFrame) return std::make_unique<FrameDrawer>(scene, backendId);
  return std::make_unique<FlameDrawer>(scene, backendId, tongues);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// The threads that the soft backend draws with.
int threads() {
  const char *asked = std::getenv("PYRELUX_THREADS");
  return asked ? std::atoi(asked) : static_cast<int>(std::thread::hardware_concurrency());
}

/// Runs both backends by turns: Mesa once, ours a few times, because it is much faster.
Json measure(const Scene &scene, int rounds) {
  constexpr int oursInARound = 5;
  const auto mesa = makeDrawer(scene, platform::kBackendMesa, scene.mesaTongues);
  const auto ours = makeDrawer(scene, platform::kBackendSoft, 0);
  ours->draw();
  std::vector<double> mesaTimes, ourTimes;
  double all = 0, parallel = 0;
  for (int round = 0; round < rounds; ++round) {
    mesaTimes.push_back(mesa->draw());
    const auto before = platform::softTimeInParallel();
    for (int i = 0; i < oursInARound; ++i) {
      ourTimes.push_back(ours->draw());
      all += ourTimes.back();
    }
    parallel += std::chrono::duration<double, std::milli>(platform::softTimeInParallel() - before).count();
  }
  Json row;
  row["scene"] = scene.name();
  row["mesa_ms"] = median(mesaTimes);
  row["mesa_scaled"] = scene.mesaTongues != 0;
  row["soft_ms"] = median(ourTimes);
  row["soft_fastest_ms"] = *std::min_element(ourTimes.begin(), ourTimes.end());
  row["ratio"] = median(mesaTimes) / median(ourTimes);
  // Of the time that one core would take.
  const double serial = all - parallel;
  row["serial_share"] = serial / (serial + parallel * threads());
  return row;
}

std::vector<Scene> scenes(bool quick) {
  std::vector<Scene> all;
  const auto add = [&](auto change) {
    Scene scene;
    change(scene);
    all.push_back(scene);
  };
  for (const int bits : {8, 16})
    for (const Picture picture : {Picture::Opaque, Picture::Random, Picture::Title}) {
      add([&](Scene &s) { s.bits = bits, s.picture = picture; });
      add([&](Scene &s) { s.bits = bits, s.picture = picture, s.wholeFrame = true; });
    }
  if (quick) return all;
  for (const int bits : {8, 16})
    for (const Picture picture : {Picture::Opaque, Picture::Title}) {
      add([&](Scene &s) { s.bits = bits, s.picture = picture, s.tongues = 50, s.steps = 300, s.mesaTongues = 1; });
      add([&](Scene &s) { s.bits = bits, s.picture = picture, s.attract = 50; });
    }
  for (const auto &size : {std::pair(1280, 720), std::pair(3840, 2160)})
    for (const Picture picture : {Picture::Opaque, Picture::Title}) {
      add([&](Scene &s) { std::tie(s.width, s.height) = size, s.picture = picture; });
      add([&](Scene &s) { std::tie(s.width, s.height) = size, s.picture = picture, s.wholeFrame = true; });
    }
  return all;
}

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);)
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  return "unknown";
}

}  // namespace

int main(int argc, char **argv) {
  CLI::App app("The soft backend against Mesa, by turns in one run.");
  int rounds = 3;
  bool quick = false;
  bool append = false;
  std::string only;
  std::string label;
  std::string jsonPath;
  app.add_option("--rounds", rounds, "Rounds for each scene; medians are printed")->capture_default_str();
  app.add_flag("--quick", quick, "Only the defaults at 1920x1080");
  app.add_option("--only", only, "Only the scenes with this in their name, such as \"8 bit, title\"")
      ->type_name("TEXT");
  app.add_option("--label", label, "What to add to the scenes' names, such as what the environment changes")
      ->type_name("TEXT");
  CLI::Option *json = app.add_option("--json", jsonPath, "Write the table to this file as well")->type_name("FILE");
  app.add_flag("--append", append, "Go on with the table in the file that --json names")->needs(json);
  CLI11_PARSE(app, argc, argv);

  const host::FrameRenderer soft(platform::kBackendSoft);
  const host::FrameRenderer mesa(platform::kBackendMesa);
  Json document;
  if (append) {
    std::ifstream(jsonPath) >> document;
  } else {
    document = {{"processor", processorName()},
                {"cores", std::thread::hardware_concurrency()},
                {"soft", soft.description()},
                {"mesa", mesa.description()}};
    document["rows"] = Json::array();
    std::printf("%s, %u cores\n%s\n%s\n\n", processorName().c_str(), std::thread::hardware_concurrency(),
                soft.description().c_str(), mesa.description().c_str());
    std::printf("| scene | Mesa ms | soft ms | ratio | on one core only |\n|---|---|---|---|---|\n");
  }
  for (const Scene &scene : scenes(quick)) {
    if (scene.name().find(only) == std::string::npos) continue;
    Json row = measure(scene, rounds);
    if (!label.empty()) {
      row["scene"] = scene.name() + ", " + label;
      row["soft"] = soft.description();
    }
    std::printf("| %s | %.0f%s | %.1f | %.1f | %.1f %% |\n", row["scene"].get<std::string>().c_str(),
                row["mesa_ms"].get<double>(), row["mesa_scaled"].get<bool>() ? " (scaled from a part)" : "",
                row["soft_ms"].get<double>(), row["ratio"].get<double>(), 100 * row["serial_share"].get<double>());
    std::fflush(stdout);
    document["rows"].push_back(row);
  }
  if (!jsonPath.empty()) std::ofstream(jsonPath) << document.dump(2) << '\n';
  return 0;
}
