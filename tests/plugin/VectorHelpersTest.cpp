#include <gtest/gtest.h>

#include <cmath>

#include "ColourRamp.h"
#include "FlameQuads.h"
#include "HostContext.h"
#include "NumericHelpers.h"
#include "OffscreenSurface.h"
#include "TraceText.h"
#include "VectorFile.h"

namespace pyrelux::test {
namespace {

std::string where(const json &entry) { return entry.dump(); }

void expectColour(const json &expected, const Colour &got, const std::string &place) {
  expectNumber(expected[0], got.red, place + " red");
  expectNumber(expected[1], got.green, place + " green");
  expectNumber(expected[2], got.blue, place + " blue");
}

TEST(vectors, FileIsOfTheKnownFormat) { EXPECT_EQ(vectors().value("format", 0), 1); }

TEST(vectors, GeneratorDraws) {
  for (const auto &[seed, draws] : vectorPart({"rng", "minstd", "draws"}).items()) {
    seedGenerator(std::stoi(seed));
    for (const json &draw : draws) EXPECT_EQ(nextGeneratorValue(), draw.get<std::int32_t>()) << "seed " << seed;
  }
}

TEST(vectors, Noise) {
  for (const json &entry : vectorPart({"helpers", "noise"}))
    expectNumber(entry["result"],
                 noise(number(entry["x"]), number(entry["octaves"]), number(entry["lo"]), number(entry["hi"])),
                 where(entry));
}

/// Seeds the generator so that its next value is `value`: the state before is value / 16807 modulo 2^31 - 1.
void makeNextGeneratorValue(std::int64_t value) {
  constexpr std::int64_t modulus = 2147483647;
  std::int64_t inverse = 1;  // 16807 to the power of modulus - 2, by Fermat
  std::int64_t power = 16807;
  for (std::int64_t exponent = modulus - 2; exponent > 0; exponent /= 2) {
    if (exponent % 2 == 1) inverse = inverse * power % modulus;
    power = power * power % modulus;
  }
  const auto before = static_cast<std::int32_t>(value * inverse % modulus);
  seedGenerator(before);
  ASSERT_EQ(nextGeneratorValue(), value);
  seedGenerator(before);
}

TEST(vectors, Rnd) {
  constexpr std::int64_t largest = 2147483646;
  for (const json &entry : vectorPart({"helpers", "rnd"})) {
    std::int64_t value = entry["rand"].get<std::int64_t>();
    // The generator never gives 0 nor 2^31 - 1. A value with the same remainder is mapped to the same result; that
    // only the remainder counts is seen from the entries that can be given as they stand, such as 71539.
    if (value < 1 || value > largest) value = value % 71539 + (value % 71539 == 0 ? 71539 : 0);
    makeNextGeneratorValue(value);
    expectNumber(entry["result"], rnd(number(entry["lo"]), number(entry["hi"])), where(entry));
  }
}

TEST(vectors, Rotate2DPoint) {
  for (const json &entry : vectorPart({"helpers", "rotate2DPoint"})) {
    double x = number(entry["x"]);
    double y = number(entry["y"]);
    rotate2DPoint(&x, &y, number(entry["angle"]), number(entry["cx"]), number(entry["cy"]), number(entry["aspect"]));
    expectNumber(entry["result"][0], x, where(entry) + " x");
    expectNumber(entry["result"][1], y, where(entry) + " y");
  }
}

TEST(vectors, Interpolate) {
  for (const json &entry : vectorPart({"helpers", "interpolate"}))
    expectNumber(entry["result"], interpolate(number(entry["a"]), number(entry["b"]), number(entry["t"])),
                 where(entry));
}

TEST(vectors, Bias) {
  for (const json &entry : vectorPart({"helpers", "bias"}))
    expectNumber(entry["result"], biased(number(entry["u"]), number(entry["bias"])), where(entry));
}

TEST(vectors, Shape) {
  for (const json &entry : vectorPart({"helpers", "shape"}))
    expectNumber(entry["result"], curveShape(entry["curveType"].get<std::int32_t>(), number(entry["u"])), where(entry));
}

TEST(vectors, DefaultRamp) {
  const Snapshot s = defaultSnapshot();
  const ColourRamp ramp = makeFlameRamp(s.inner, s.centre, s.outer);
  for (const json &entry : vectorPart({"helpers", "ramp_default"}))
    expectColour(entry["result"], ramp.evaluate(number(entry["p"])), where(entry));
}

TEST(vectors, RampStops) {
  const auto colour = [](const json &list) { return Colour{number(list[0]), number(list[1]), number(list[2])}; };
  for (const json &entry : vectorPart({"helpers", "ramp_stops"})) {
    ColourRamp ramp;
    ramp.addStop(entry["curveType"].get<std::int32_t>(), number(entry["start"]), number(entry["end"]),
                 number(entry["bias"]), colour(entry["colour"]), colour(entry["gain"]));
    expectColour(entry["result"], ramp.evaluate(number(entry["p"])), where(entry));
  }
}

/// The value that a parameter takes in the snapshot, by its name in the file.
TEST(vectors, SnapshotRescalings) {
  const std::map<std::string, std::uint32_t> ids = {{"tongues", kTongues},
                                                    {"turbAmount", kTurbulenceAmount},
                                                    {"turbWavelength", kTurbulenceWavelength},
                                                    {"turbSpeed", kTurbulenceSpeed},
                                                    {"wiggleAmount", kWiggleAmount},
                                                    {"wiggleTurbulence", kWiggleTurbulence},
                                                    {"glow", kGlow},
                                                    {"direction", kDirection},
                                                    {"spread", kSpread},
                                                    {"length", kLength},
                                                    {"attract", kAttractRepel},
                                                    {"opacity", kSourceOpacity},
                                                    {"mode", kSourceMode},
                                                    {"weight", kWeight},
                                                    {"steps", kSteps},
                                                    {"cropLeft", kCropLeft},
                                                    {"cropRight", kCropRight},
                                                    {"cropTop", kCropTop},
                                                    {"cropBottom", kCropBottom},
                                                    {"depth", kColorDepth},
                                                    {"inner", kColorInner},
                                                    {"centre", kColorCenter},
                                                    {"outer", kColorOuter},
                                                    {"point", kPoint}};
  for (const json &entry : vectorPart({"helpers", "snapshot"})) {
    const std::string name = entry["name"].get<std::string>();
    ASSERT_TRUE(ids.count(name)) << where(entry);
    FakeParameters parameters = parametersFrom({{std::to_string(ids.at(name)), entry["value"]}});
    const json got = snapshotField(readSnapshot(parameters, 0.0), name);
    if (!got.is_array())
      expectNumber(entry["result"], got.get<double>(), where(entry));
    else
      for (std::size_t i = 0; i < got.size(); ++i) expectNumber(entry["result"][i], got[i].get<double>(), where(entry));
  }
}

TEST(vectors, SnapshotReads) {
  FakeParameters parameters;
  readSnapshot(parameters, 0.0);
  std::vector<std::string> expected;
  const std::map<std::string, std::string> kinds = {{"getIntValue:fromParm:atTime:", "int"},
                                                    {"getFloatValue:fromParm:atTime:", "float"},
                                                    {"getRedValue:greenValue:blueValue:fromParm:atTime:", "colour"},
                                                    {"getXValue:YValue:fromParm:atTime:", "point"}};
  const json &reads = vectorPart({"reads"});
  if (reads.empty()) GTEST_SKIP() << "the file lists no reads";
  for (const json &read : reads)
    expected.push_back(kinds.at(read[1].get<std::string>()) + " " + std::to_string(read[0].get<int>()));
  EXPECT_EQ(parameters.asked, expected);
}

TEST(vectors, PixelFormats) {
  const HostContext host;
  platform::Trace trace;
  for (const json &entry : vectorPart({"helpers", "pixel_format"})) {
    trace.takeCalls();
    VaroPBuffer_tag *record =
        PBuffer_Create(host.handle(), 8, 8, entry["bitDepth"].get<int>(), entry["flags"].get<int>());
    const auto calls = trace.takeCalls();
    PBuffer_Destroy(record);
    ASSERT_EQ(calls.at(0).name, "CGLChoosePixelFormat");
    EXPECT_EQ(std::get<std::vector<double>>(calls[0].arguments.at(0)), entry["result"].get<std::vector<double>>())
        << where(entry);
  }
}

TEST(vectors, InitOpenGl) {
  const json &expected = vectorPart({"helpers", "initOpenGl"});
  if (expected.empty()) GTEST_SKIP() << "the file does not list the calls of initOpenGl";
  const HostContext host;
  platform::Trace trace;
  initOpenGl();
  ASSERT_EQ(trace.calls().size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(trace.calls()[i].name, expected[i][0].get<std::string>());
    ASSERT_EQ(trace.calls()[i].arguments.size(), expected[i][1].size());
    for (std::size_t k = 0; k < expected[i][1].size(); ++k)
      expectNumber(expected[i][1][k], numberArgument(trace.calls()[i], k), trace.calls()[i].name);
  }
}

/// Checks each single-precision literal by a result that depends on it. The tolerance of 1e-13 is far below the 1e-9 by
/// which the literals differ from doubles with the same digits.
TEST(vectors, Literals) {
  constexpr double close = 1e-13;
  const json &literals = vectorPart({"literals"});
  const auto literal = [&literals](const char *name) { return number(literals[name]); };
  const Colour white = {1.0, 1.0, 1.0};
  const Colour black = {};

  for (const auto &[name, value] : literals.items()) {
    SCOPED_TRACE(name);
    if (name == "F_1_01") {
      EXPECT_NEAR(makeFlameRamp(white, black, black).evaluate(0.0).red, value.get<double>(), close);
    } else if (name == "F_1_033") {
      const double shape = curveShape(12, biased(0.5, 0.5));
      EXPECT_NEAR(makeFlameRamp(black, white, black).evaluate(0.5).green, shape * value.get<double>(), close);
    } else if (name == "F_1_009") {
      EXPECT_NEAR(makeFlameRamp(black, black, white).evaluate(1.0).blue, value.get<double>(), close);
    } else if (name == "F_0_1736" || name == "F_0_03" || name == "F_0_14" || name == "F_2_54") {
      for (const double bias : {0.0, 0.3, 1.0}) {
        const double rise = 1.0 - std::pow(0.7, literal("F_0_1736") / (std::pow(bias, 2.8) + literal("F_0_03")));
        const double fall = std::pow(0.3, std::pow(bias, literal("F_2_54")) * 5.0 + literal("F_0_14"));
        EXPECT_NEAR(biased(0.3, bias), (rise + fall) / 2.0, close) << "bias " << bias;
      }
    } else if (name == "F_0_9" || name == "F_GLOW") {
      Snapshot s = defaultSnapshot();
      const FrameGeometry geometry{};
      const ColourRamp ramp = makeFlameRamp(s.inner, s.centre, s.outer);
      const CommonSteps common{};
      for (const double glow : {1.0, 40.6}) {
        s.glow = glow;
        const double root = (glow + 9.5) * literal("F_GLOW");
        EXPECT_NEAR(FlameQuads(s, geometry, ramp, common).glowFactor(), 1.0 / (root * root) + literal("F_0_9"), close);
      }
    } else {
      ADD_FAILURE() << "no result is known to depend on this literal";
    }
  }
}

}  // namespace
}  // namespace pyrelux::test
