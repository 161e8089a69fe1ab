#include "VectorTongues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace pyrelux::test {

namespace {

constexpr std::size_t callsOfOneCopy = 9;

/// Reports under a place that names case, frame, tongue and entry.
class TongueCheck {
 public:
  TongueCheck(const json &expected, const FlameInputs &inputs, const WholeTongue &tongue, const Calls &drawn,
              const std::string &where)
      : expected_(expected),
        in_(inputs),
        tongue_(tongue),
        drawn_(drawn),
        where_(where + ", tongue " + std::to_string(static_cast<int>(tongue.index))) {}

  void run() {
    whole();
    draws();
    const json &entries = expected_.contains("entries") ? expected_["entries"] : json::array();
    for (std::size_t k = 0; k < entries.size(); ++k) entry(k, entries[k].get<int>());
    sums();
    texture();
  }

 private:
  std::string at(const std::string &what) const { return where_ + ", " + what; }

  void value(const char *name, double got) const {
    if (expected_.contains(name)) expectNumber(expected_[name], got, at(name));
  }

  void whole() const {
    const ColourRamp ramp = makeFlameRamp(in_.snapshot.inner, in_.snapshot.centre, in_.snapshot.outer);
    const FlameQuads quads(in_.snapshot, in_.geometry, ramp, tongue_);
    value("count", tongue_.count);
    value("weightSum", tongue_.weightSum);
    value("glowFactor", quads.glowFactor());
    value("tongueAlpha", quads.tongueAlpha());
    std::size_t copies = 0;
    for (int j = 0; j < tongue_.count; ++j) copies += tongue_.stepWeight[j] > 0.0;
    EXPECT_EQ(drawn_.size(), 2 + callsOfOneCopy * copies) << at("GL calls");
  }

  void draws() const {
    value("tongueTurbulence", tongue_.tongueTurbulence);
    value("tongueSpeed", tongue_.tongueSpeed);
    value("tongueSpread", tongue_.tongueSpread);
    // What the file takes apart further leads to the same.
    if (expected_.contains("spreadDraw"))
      expectNumber(test::number(expected_["spreadDraw"]) * test::number(expected_["spreadNoise"]), tongue_.tongueSpread,
                   at("spreadDraw and spreadNoise"));
    if (expected_.contains("draws")) {
      const json &draws = expected_["draws"];
      const auto mapped = [&draws](std::size_t i, double lo, double hi) {
        return (draws[i].get<std::int32_t>() % 71539) / 71539.0 * (hi - lo) + lo;
      };
      expectNumber(mapped(0, 0.2, 4.0), tongue_.tongueTurbulence, at("first draw"));
      expectNumber(mapped(1, 0.25, 1.0), tongue_.tongueSpeed, at("second draw"));
    }
  }

  /// The k-th listed entry of an array, or nothing.
  const json *listed(const char *name, std::size_t k) const {
    if (!expected_.contains(name) || k >= expected_[name].size()) return nullptr;
    return &expected_[name][k];
  }

  void number(const char *name, std::size_t k, int j, double got) const {
    if (const json *wanted = listed(name, k)) expectNumber(*wanted, got, at(entryName(name, j)));
  }

  static std::string entryName(const char *name, int j) { return std::string(name) + "[" + std::to_string(j) + "]"; }

  void entry(std::size_t k, int j) const {
    ASSERT_LT(j, tongue_.count) << at("entries");
    number("stepPos", k, j, tongue_.stepPos[j]);
    number("stepWeight", k, j, tongue_.stepWeight[j]);
    number("stepScaleX", k, j, tongue_.stepScaleX[j]);
    number("stepScaleY", k, j, tongue_.stepScaleY[j]);
    number("stepOffsetX", k, j, tongue_.stepOffsetX[j]);
    number("stepOffsetY", k, j, tongue_.stepOffsetY[j]);
    number("stepRotation", k, j, tongue_.stepRotation[j]);
    number("n1", k, j, tongue_.turbulence[j]);
    // Distance, angle and wiggle are not kept; the offsets they lead to are.
    const json *distance = listed("distance", k);
    const json *angle = listed("angle", k);
    const json *wiggle = listed("n2", k);
    if (distance && angle) offset("distance and angle", j, test::number(*distance), test::number(*angle));
    if (distance && wiggle) {
      const double spreads = tongue_.index == 0.0 ? 0.0 : 1.0;
      const double spread = test::number(expected_["tongueSpread"]) * test::number(expected_["stepPos"][k]) * spreads;
      offset("distance and n2", j, test::number(*distance),
             in_.snapshot.direction + spread + test::number(*wiggle) * in_.snapshot.wiggleAmount);
    }
    copy(k, j);
  }

  void offset(const char *name, int j, double distance, double angle) const {
    expectNumber(std::sin(angle) * distance, tongue_.stepOffsetX[j], at(entryName(name, j) + ", x"));
    expectNumber(std::cos(angle) * distance, tongue_.stepOffsetY[j], at(entryName(name, j) + ", y"));
  }

  void copy(std::size_t k, int j) const {
    const bool skipped = tongue_.stepWeight[j] <= 0.0;
    for (const char *name : {"ramp", "intensity", "color32", "vert32"})
      if (const json *wanted = listed(name, k)) {
        EXPECT_EQ(wanted->is_null(), skipped) << at(entryName(name, j));
      }
    if (skipped || ::testing::Test::HasFatalFailure()) return;

    std::size_t before = 0;
    for (int i = 0; i < j; ++i) before += tongue_.stepWeight[i] > 0.0;
    const std::size_t first = 1 + callsOfOneCopy * before;
    ASSERT_LE(first + callsOfOneCopy, drawn_.size()) << at(entryName("copy", j));
    const json *ramp = listed("ramp", k);
    const json *intensity = listed("intensity", k);
    if (ramp && intensity)
      for (std::size_t channel = 0; channel < 3; ++channel)
        expectNumber(static_cast<float>(test::number(*intensity) * test::number((*ramp)[channel])),
                     numberArgument(drawn_[first], channel), at(entryName("intensity and ramp", j)));
    if (const json *wanted = listed("color32", k))
      singles(*wanted, drawn_[first], "glColor4f", entryName("color32", j));
    if (const json *wanted = listed("vert32", k))
      for (std::size_t corner = 0; corner < 4; ++corner)
        singles((*wanted)[corner], drawn_[first + 2 + 2 * corner], "glVertex2f",
                entryName("vert32", j) + " corner " + std::to_string(corner));
  }

  void singles(const json &wanted, const platform::TraceCall &call, const char *name, const std::string &what) const {
    EXPECT_EQ(call.name, name) << at(what);
    ASSERT_EQ(call.arguments.size(), wanted.size()) << at(what);
    for (std::size_t i = 0; i < wanted.size(); ++i)
      expectNumber(wanted[i], numberArgument(call, i), at(what) + ", argument " + std::to_string(i));
  }

  void sums() const {
    if (!expected_.contains("sums")) return;
    const std::pair<const char *, const double *> arrays[] = {
        {"stepPos", tongue_.stepPos},          {"stepWeight", tongue_.stepWeight},
        {"stepScaleX", tongue_.stepScaleX},    {"stepScaleY", tongue_.stepScaleY},
        {"stepOffsetX", tongue_.stepOffsetX},  {"stepOffsetY", tongue_.stepOffsetY},
        {"stepRotation", tongue_.stepRotation}};
    for (const auto &[name, array] : arrays) {
      if (!expected_["sums"].contains(name)) continue;
      double sum = 0.0;
      double size = 0.0;
      for (int j = 0; j < tongue_.count; ++j) {
        sum += array[j];
        size += std::abs(array[j]);
      }
      // The file's sums are rounded once, ours after each term: by half an ulp of what the terms' sizes sum to.
      const double allowed = tongue_.count * 0.5 * std::numeric_limits<double>::epsilon() * size;
      EXPECT_NEAR(sum, test::number(expected_["sums"][name]), allowed) << at(std::string("sum of ") + name);
    }
  }

  /// The same corners for every copy.
  void texture() const {
    for (std::size_t first = 1; first + callsOfOneCopy < drawn_.size(); first += callsOfOneCopy)
      for (std::size_t corner = 0; corner < 4; ++corner) {
        const auto &call = drawn_[first + 1 + 2 * corner];
        if (expected_.contains("tex32")) singles(expected_["tex32"][corner], call, "glTexCoord2f", "tex32");
        if (expected_.contains("texUnit")) {
          const json &unit = expected_["texUnit"][corner];
          singles({test::number(unit[0]) * in_.geometry.inW, test::number(unit[1]) * in_.geometry.inH}, call,
                  "glTexCoord2f", "texUnit");
        }
      }
  }

  const json &expected_;
  const FlameInputs &in_;
  const WholeTongue &tongue_;
  const Calls &drawn_;
  const std::string where_;
};

}  // namespace

void expectTongues(const json &expected, const FlameInputs &inputs, const FrameRows &drawn, const std::string &where) {
  Phases phases = inputs.before;
  const std::vector<WholeTongue> tongues = tonguesOf(inputs.snapshot, inputs.time, phases);
  EXPECT_EQ(phases.oldFrame, inputs.after.oldFrame) << where << ": the bundle's phases and the renderer's";
  EXPECT_EQ(phases.turbulence, inputs.after.turbulence) << where << ": the bundle's phases and the renderer's";
  EXPECT_EQ(phases.wiggle, inputs.after.wiggle) << where << ": the bundle's phases and the renderer's";
  ASSERT_EQ(tongues.size(), drawn.tongues.size()) << where << ": tongues drawn";
  for (std::size_t k = 0; k < expected.size(); ++k) {
    const std::size_t index = expected[k].value("index", k);
    ASSERT_LT(index, tongues.size()) << where;
    TongueCheck(expected[k], inputs, tongues[index], drawn.tongues[index], where).run();
  }
}

}  // namespace pyrelux::test
