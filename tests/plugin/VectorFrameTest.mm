#import "RecordingHost.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "Backends.h"
#include "FrameRows.h"
#include "HostContext.h"
#include "VectorTongues.h"

namespace pyrelux::test {
namespace {

/// A host's input for one frame; keys that the file omits have an ordinary host's values.
struct HostFrame {
  explicit HostFrame(const json &host)
      : inWidth(host.value("inW", 320u)),
        inHeight(host.value("inH", 180u)),
        outWidth(host.value("outW", inWidth)),
        outHeight(host.value("outH", inHeight)),
        pixelAspect(host.value("pixelAspect", 1.0)),
        origin(host.value("origin", 0u)),
        imageType(host.value("imageType", 2u)),
        api(host.value("api", true)),
        cleanup(host.value("cleanup", true)) {
    outTex = {0.0, static_cast<double>(outWidth), 0.0, static_cast<double>(outHeight)};
    if (host.contains("outTex")) {
      const json &edges = host["outTex"];
      outTex = {pyrelux::test::number(edges[0]), pyrelux::test::number(edges[1]), pyrelux::test::number(edges[2]),
                pyrelux::test::number(edges[3])};
    }
  }

  NSUInteger inWidth, inHeight, outWidth, outHeight;
  double pixelAspect;
  NSUInteger origin, imageType;
  bool api, cleanup;
  TextureEdges outTex;

  FxImageInfo info(NSUInteger width, NSUInteger height) const {
    FxImageInfo made = {};
    made.width = width;
    made.height = height;
    made.channels = 4;
    made.origin = origin;
    made.isPremultiplied = YES;
    made.pixelAspect = pixelAspect;
    return made;
  }

  RecordingTexture *input() const {
    return [[[RecordingTexture alloc] initWithRole:"input" info:info(inWidth, inHeight) type:2] autorelease];
  }
  RecordingTexture *output() const {
    RecordingTexture *texture = [[[RecordingTexture alloc] initWithRole:"output"
                                                                   info:info(outWidth, outHeight)
                                                                   type:imageType] autorelease];
    [texture setEdges:outTex];
    return texture;
  }

  /// The geometry that the renderer reads from such images.
  FrameGeometry geometry() const {
    FakeImage output(outWidth, outHeight);
    FakeImage input(inWidth, inHeight);
    output.edges = outTex;
    output.originCode = origin;
    input.aspect = pixelAspect;
    return readGeometry(output, input);
  }
};

/// One filter and its host's objects, for the frames of one case.
class CaseRun {
 public:
  explicit CaseRun(std::string name)
      : name_(std::move(name)),
        rows_(context_.handle()),
        manager_([[RecordingAPIManager alloc] init]),
        retrieval_([[RecordingParameters alloc] initWithValues:&values_]),
        filter_([[filterClass() alloc] initWithAPIManager:manager_]) {}

  ~CaseRun() {
    // A surface that one case leaves behind must not affect another.
    [filter_ frameCleanup];
    [filter_ release];
    [retrieval_ release];
    [manager_ release];
  }

  void frame(std::size_t number, const json &frame) {
    const json &expected = frame["expected"];
    const HostFrame host(frame.value("host", json::object()));
    const double time = frame.value("time", 0.0);
    const std::string where =
        "case \"" + name_ + "\", frame " + std::to_string(number) + " (time " + json(time).dump() + ")";

    values_ = parametersFrom(frame.value("params", json::object()));
    [manager_ offerRetrieval:host.api ? retrieval_ : nil];
    FxRenderInfo info = {};
    info.frame = time;
    info.sharedContext = context_.handle();

    const Phases before = phases();
    trace_.takeCalls();
    const BOOL drawn = [filter_ renderOutput:host.output() withInput:host.input() withInfo:info];
    if (host.cleanup) {
      EXPECT_TRUE([filter_ frameCleanup]) << where;
    }
    const FrameRows got = rows_.write(trace_.takeCalls());
    const Phases after = phases();

    EXPECT_EQ(drawn != NO, expected.value("ok", true)) << where;
    EXPECT_EQ(CGLGetCurrentContext(), context_.handle()) << where;
    comparePhases(expected, "before", before, where);
    comparePhases(expected, "after", after, where);
    if (expected.contains("calls")) expectRows(expected["calls"], got.rows, where);
    compareDrawing(expected, {snapshot(host.origin), host.geometry(), time, before, after}, host, got, where);
  }

 private:
  Phases phases() const {
    return {fieldOf<double>(filter_, "oldFrame"), fieldOf<double>(filter_, "currentFrame_for_turbulenceSpeed"),
            fieldOf<double>(filter_, "currentFrame_for_wiggleTurbulence")};
  }

  Snapshot snapshot(NSUInteger origin) {
    Snapshot s = readSnapshot(values_, 0.0);
    fixOrientation(s, static_cast<double>(origin));
    return s;
  }

  static void comparePhases(const json &expected, const char *when, const Phases &got, const std::string &where) {
    if (!expected.contains(when)) return;
    const std::pair<const char *, double> fields[] = {
        {"oldFrame", got.oldFrame}, {"turbulence", got.turbulence}, {"wiggle", got.wiggle}};
    for (const auto &[name, value] : fields)
      if (expected[when].contains(name)) expectNumber(expected[when][name], value, where + ", " + name + " " + when);
  }

  static void compareFields(const json &expected, const std::function<json(const std::string &)> &got,
                            const std::string &where) {
    for (const auto &[name, wanted] : expected.items()) {
      const json value = got(name);
      ASSERT_FALSE(value.is_null()) << where << " is not known: " << name;
      if (!value.is_array())
        expectNumber(wanted, value.get<double>(), where + " " + name);
      else
        for (std::size_t i = 0; i < value.size(); ++i)
          expectNumber(wanted[i], value[i].get<double>(), where + " " + name);
    }
  }

  static void compareDrawing(const json &expected, const FlameInputs &inputs, const HostFrame &host,
                             const FrameRows &got, const std::string &where) {
    if (expected.contains("snapshot"))
      compareFields(
          expected["snapshot"], [&inputs](const std::string &name) { return snapshotField(inputs.snapshot, name); },
          where + ", snapshot");
    if (expected.contains("geom")) {
      const FrameGeometry &g = inputs.geometry;
      const json fields = {{"inW", g.inW},         {"inH", g.inH},
                           {"outW", g.outW},       {"outH", g.outH},
                           {"inTexW", g.inTexW},   {"inTexH", g.inTexH},
                           {"outTexW", g.outTexW}, {"outTexH", g.outTexH},
                           {"origin", g.origin},   {"pixelAspect", host.pixelAspect},
                           {"aspect", g.aspect}};
      compareFields(
          expected["geom"], [&fields](const std::string &name) { return fields.value(name, json()); },
          where + ", geometry");
    }
    if (expected.contains("bitDepth"))
      expectNumber(expected["bitDepth"], inputs.snapshot.bitDepth(), where + ", bitDepth");
    EXPECT_EQ(got.tongues.size(), expected.value("tongue_count", got.tongues.size())) << where << ", tongue_count";
    if (expected.contains("flame_calls")) {
      std::size_t calls = 0;
      for (const Calls &tongue : got.tongues) calls += tongue.size();
      EXPECT_EQ(calls, expected["flame_calls"].get<std::size_t>()) << where << ", flame_calls";
    }
    if (expected.contains("flame_sha256")) {
      EXPECT_EQ(flameHash(got.tongues), expected["flame_sha256"].get<std::string>()) << where << ", flame_sha256";
    }
    if (expected.contains("tongues")) expectTongues(expected["tongues"], inputs, got, where);
    compareOverlays(expected, got, where);
  }

  static void compareOverlays(const json &expected, const FrameRows &got, const std::string &where) {
    const std::vector<json> overlays = got.overlays();
    std::size_t next = 0;
    for (const char *name : {"output_quad", "source_quad"}) {
      if (!expected.contains(name)) continue;
      if (expected[name].is_null()) {
        EXPECT_LE(overlays.size(), next) << where << ", " << name << " is drawn";
        continue;
      }
      ASSERT_LT(next, overlays.size()) << where << ", " << name << " is missing";
      // Rows of the file's quads have no layer.
      const auto withLayer = [](const json &rows) {
        json list = json::array();
        for (const json &row : rows) list.push_back(json::array({"gl", row[0], row[1]}));
        return list;
      };
      expectRows(withLayer(expected[name]), withLayer(overlays[next++]), where + ", " + name);
    }
  }

  std::string name_;
  HostContext context_;
  platform::Trace trace_;
  RowWriter rows_;
  FakeParameters values_;
  RecordingAPIManager *manager_;
  RecordingParameters *retrieval_;
  id<TestedFilter> filter_;
};

TEST(vectors, EveryFrameOfEveryCase) {
  const Pool pool;
  int run = 0;
  for (const json &each : vectorPart({"cases"})) {
    const std::string name = each.value("name", "unnamed");
    const std::string rng = each.value("rng", "minstd");
    if (rng != "minstd") {
      std::printf("NOT TESTED: case \"%s\" was worked out with the generator %s\n", name.c_str(), rng.c_str());
      continue;
    }
    CaseRun frames(name);
    for (std::size_t i = 0; i < each["frames"].size(); ++i) frames.frame(i, each["frames"][i]);
    ++run;
  }
  EXPECT_GT(run, 0) << "the file has no case for this generator";
}

}  // namespace
}  // namespace pyrelux::test
