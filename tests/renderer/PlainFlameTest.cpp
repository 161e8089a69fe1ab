#include "PlainFlame.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

#include "FlameQuads.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::test {
namespace {

/// The seed of random frames; printed with every failure.
constexpr unsigned randomStart = 20260;

template <typename Number>
bool sameBits(Number a, Number b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

struct Scene {
  Snapshot snapshot;
  FrameGeometry geometry;
};

class RandomScenes {
 public:
  double between(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(random_); }
  int whole(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random_); }
  Colour colour() { return {between(0, 1), between(0, 1), between(0, 1)}; }

  Scene next() {
    FakeParameters p;
    p.ints[kTongues] = whole(0, 12);
    p.ints[kSteps] = whole(10, 60);
    for (const ParameterId id : {kTurbulenceAmount, kTurbulenceWavelength, kTurbulenceSpeed, kWiggleAmount, kLength})
      p.floats[id] = between(0, 100);
    for (const ParameterId id : {kGlow, kAttractRepel}) p.floats[id] = between(-100, 100);
    for (const ParameterId id : {kCropLeft, kCropRight, kCropTop, kCropBottom}) p.floats[id] = between(0, 1);
    p.floats[kWiggleTurbulence] = between(1, 100);
    p.floats[kDirection] = between(-3141, 3141);
    p.floats[kSpread] = between(0, 3.141592653589793);
    // Each end of the weight skips a copy; at 0 its two formulas meet.
    const double weights[] = {-100.0, 0.0, 100.0, between(-100, 100), between(-100, 100)};
    p.floats[kWeight] = weights[whole(0, 4)];
    for (const ParameterId id : {kColorInner, kColorCenter, kColorOuter}) p.colours[id] = colour();
    p.points[kPoint] = {between(-0.5, 1.5), between(-0.5, 1.5)};
    return {readSnapshot(p, 0.0), geometry()};
  }

  FrameGeometry geometry() {
    FrameGeometry g{};
    g.inW = g.outW = whole(1, 4096);
    g.inH = g.outH = whole(1, 2160);
    g.aspect = g.outW / g.outH * between(0.5, 2.0);
    return g;
  }

 private:
  std::mt19937 random_{randomStart};
};

/// The arguments of the drawing calls; checks that every tongue is one primitive of whole quads.
std::vector<float> drawnArguments(const Calls &calls) {
  std::vector<float> arguments;
  bool inside = false;
  std::size_t place = 0;
  for (const auto &call : calls) {
    if (call.name == "glBegin" || call.name == "glEnd") {
      EXPECT_EQ(call.name == "glEnd", inside);
      EXPECT_EQ(place % 9, 0u) << "a primitive ends amid a quad";
      inside = !inside;
      continue;
    }
    const std::size_t step = place % 9;
    EXPECT_EQ(call.name, step == 0 ? "glColor4f" : step % 2 == 1 ? "glTexCoord2f" : "glVertex2f");
    ++place;
    for (const auto &argument : call.arguments) arguments.push_back(static_cast<float>(std::get<double>(argument)));
  }
  EXPECT_FALSE(inside);
  return arguments;
}

void expectEqual(const std::vector<WholeTongue> &tongues, const PlainFlame &plain) {
  ASSERT_EQ(tongues.size(), plain.tongues.size());
  for (std::size_t i = 0; i < tongues.size(); ++i) {
    const WholeTongue &tongue = tongues[i];
    const auto &copies = plain.tongues[i].copies;
    ASSERT_EQ(static_cast<std::size_t>(tongue.count), copies.size());
    EXPECT_TRUE(sameBits(tongue.weightSum, plain.tongues[i].weightSum)) << "weightSum of tongue " << i;
    for (std::size_t j = 0; j < copies.size(); ++j) {
      ASSERT_TRUE(
          sameBits(tongue.stepPos[j], copies[j].stepPos) && sameBits(tongue.stepWeight[j], copies[j].stepWeight) &&
          sameBits(tongue.stepScaleX[j], copies[j].stepScale) && sameBits(tongue.stepScaleY[j], copies[j].stepScale))
          << "tongue " << i << ", entry " << j;
      ASSERT_TRUE(sameBits(tongue.stepOffsetX[j], copies[j].stepOffsetX) &&
                  sameBits(tongue.stepOffsetY[j], copies[j].stepOffsetY))
          << "tongue " << i << ", entry " << j << ": (" << tongue.stepOffsetX[j] << ", " << tongue.stepOffsetY[j]
          << "), expected (" << copies[j].stepOffsetX << ", " << copies[j].stepOffsetY << ")";
    }
  }
}

void compare(const Scene &scene, double time, Phases &phases) {
  Phases plainPhases = phases;
  const ColourRamp ramp = makeFlameRamp(scene.snapshot.inner, scene.snapshot.centre, scene.snapshot.outer);
  const std::vector<WholeTongue> tongues = tonguesOf(scene.snapshot, time, phases);
  std::vector<float> arguments;
  if (!tongues.empty()) {
    const HostContext context;
    platform::Trace trace;
    const FlameQuads quads(scene.snapshot, scene.geometry, ramp, tongues[0]);
    for (const WholeTongue &tongue : tongues) quads.draw(tongue);
    arguments = drawnArguments(trace.calls());
  }

  const PlainFlame plain = plainFlame(scene.snapshot, scene.geometry, time, plainPhases);
  EXPECT_TRUE(sameBits(phases.oldFrame, plainPhases.oldFrame));
  EXPECT_TRUE(sameBits(phases.turbulence, plainPhases.turbulence));
  EXPECT_TRUE(sameBits(phases.wiggle, plainPhases.wiggle));
  expectEqual(tongues, plain);
  ASSERT_EQ(arguments.size(), plain.arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i)
    ASSERT_TRUE(sameBits(arguments[i], plain.arguments[i])) << "argument " << i % 20 << " of quad " << i / 20 << ": "
                                                            << arguments[i] << ", expected " << plain.arguments[i];
}

TEST(Flame, EqualsThePlainOrderToTheBit) {
  SCOPED_TRACE("random start " + std::to_string(randomStart));
  RandomScenes random;
  Phases phases;
  for (int frame = 0; frame < 80 && !::testing::Test::HasFailure(); ++frame) {
    SCOPED_TRACE("frame " + std::to_string(frame));
    compare(random.next(), random.between(-500.0, 5000.0), phases);
  }
}

TEST(Flame, AtItsLargestEqualsThePlainOrderToTheBit) {
  RandomScenes random;
  Scene scene = random.next();
  scene.snapshot.tongues = 50.0;
  scene.snapshot.steps = maximumSteps;
  scene.snapshot.weight = -35.0;
  scene.snapshot.attract = 66.0;
  Phases phases;
  compare(scene, 1234.5, phases);
}

}  // namespace
}  // namespace pyrelux::test
