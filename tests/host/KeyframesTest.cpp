// Values between keyframes, against numbers worked out elsewhere in 60 decimal digits.

#include "Keyframes.h"

#include <gtest/gtest.h>

namespace pyrelux::host {
namespace {

double progress(Ease ease, double elapsed, const TimingCurve &curve = {}) {
  return progressAt({0.0, {}, ease, curve}, elapsed);
}

TEST(Keyframes, EasesFollowTheirCurves) {
  const struct {
    Ease ease;
    double elapsed, expected;
  } rows[] = {
      {Ease::Hold, 0.1, 0.0},
      {Ease::Hold, 0.999, 0.0},
      {Ease::Linear, 0.1, 0.1},
      {Ease::Linear, 0.75, 0.75},
      {Ease::EaseIn, 0.1, 0.01702660965156294},
      {Ease::EaseIn, 0.25, 0.09346465071882486},
      {Ease::EaseIn, 0.5, 0.31535681257253930},
      {Ease::EaseIn, 0.9, 0.83942784576246653},
      {Ease::EaseOut, 0.1, 0.16057215423753347},
      {Ease::EaseOut, 0.5, 0.68464318742746070},
      {Ease::EaseOut, 0.75, 0.90653534928117514},
      {Ease::EaseOut, 0.9, 0.98297339034843706},
      {Ease::Ease, 0.1, 0.01972245354831120},
      {Ease::Ease, 0.25, 0.12916193104731981},
      {Ease::Ease, 0.5, 0.5},
      {Ease::Ease, 0.75, 0.87083806895268019},
  };
  for (const auto &row : rows)
    EXPECT_NEAR(progress(row.ease, row.elapsed), row.expected, 4e-16) << easeName(row.ease) << " " << row.elapsed;
}

TEST(Keyframes, CurvesOfOnesOwnAreSolvedExactly) {
  const struct {
    TimingCurve curve;
    double elapsed, expected, tolerance;
  } rows[] = {
      {{0.25, 0.1, 0.25, 1}, 0.001, 0.00040480782215491, 1e-17},
      {{0.25, 0.1, 0.25, 1}, 0.5, 0.80240338758485699, 4e-16},
      {{0.25, 0.1, 0.25, 1}, 0.8, 0.97562535562356664, 4e-16},
      // Beyond both keyframes.
      {{0.9, -0.4, 0.2, 1.7}, 0.3, -0.03248330793029281, 4e-16},
      {{0.9, -0.4, 0.2, 1.7}, 0.8, 1.13198270692953845, 4e-16},
      {{0.68, -0.55, 0.265, 1.55}, 0.001, -0.00080755005944422, 1e-16},
      {{0.68, -0.55, 0.265, 1.55}, 0.5, 0.60667989722377169, 1e-15},
      // Flat at both ends and upright in the middle, where an ulp of time is much of the way.
      {{1, 0, 0, 1}, 0.001, 0.00000033370419826, 1e-17},
      {{1, 0, 0, 1}, 0.3, 0.04739527520394201, 4e-16},
      {{1, 0, 0, 1}, 0.8, 0.98257449897631193, 4e-16},
      {{0, 1, 1, 0}, 0.001, 0.05311076157643483, 4e-16},
      {{0, 1, 1, 0}, 0.8, 0.53857782374977862, 4e-16},
      {{0, 100, 0, -100}, 0.5, -28.35431465746300293, 2e-13},
  };
  for (const auto &row : rows)
    EXPECT_NEAR(progress(Ease::Bezier, row.elapsed, row.curve), row.expected, row.tolerance)
        << row.curve[0] << " " << row.elapsed;
}

TEST(Keyframes, EveryEaseBeginsAndEndsOnItsKeyframes) {
  for (const Ease ease : {Ease::Hold, Ease::Linear, Ease::EaseIn, Ease::EaseOut, Ease::Ease, Ease::Bezier}) {
    const std::vector<Keyframe> keyframes{{10.0, {0.1}, ease, {0.3, 7, 0.4, -3}}, {20.0, {0.7}}};
    EXPECT_EQ(interpolate(keyframes, 10.0)[0], 0.1) << easeName(ease);
    EXPECT_EQ(interpolate(keyframes, 20.0)[0], 0.7) << easeName(ease);
  }
}

TEST(Keyframes, BeforeTheFirstAndAfterTheLastTheValueStays) {
  const std::vector<Keyframe> keyframes{{-5.0, {3.0}, Ease::EaseIn}, {5.0, {4.0}, Ease::EaseOut}};
  EXPECT_EQ(interpolate(keyframes, -5.001)[0], 3.0);
  EXPECT_EQ(interpolate(keyframes, -1e9)[0], 3.0);
  EXPECT_EQ(interpolate(keyframes, 5.001)[0], 4.0);
  EXPECT_EQ(interpolate(keyframes, 1e9)[0], 4.0);
  EXPECT_EQ(interpolate({{12.0, {8.0}}}, 0.0)[0], 8.0);
}

TEST(Keyframes, AnEaseBelongsToTheTimeAfterItsKeyframe) {
  const std::vector<Keyframe> keyframes{{0, {0.0}, Ease::Hold}, {10, {10.0}, Ease::Linear}, {20, {0.0}, Ease::EaseIn}};
  EXPECT_EQ(interpolate(keyframes, 9.99)[0], 0.0);
  EXPECT_EQ(interpolate(keyframes, 10.0)[0], 10.0);
  EXPECT_EQ(interpolate(keyframes, 12.5)[0], 7.5);
  EXPECT_EQ(interpolate(keyframes, 19.0)[0], 1.0);
}

TEST(Keyframes, EveryComponentGoesItsWay) {
  const std::vector<Keyframe> keyframes{{1, {0.0, 1.0, 0.25}}, {5, {1.0, 0.0, 0.25}}};
  EXPECT_EQ(interpolate(keyframes, 2.0), (ParameterValue{0.25, 0.75, 0.25}));
  EXPECT_EQ(interpolate(keyframes, 3.5), (ParameterValue{0.625, 0.375, 0.25}));
}

TEST(Keyframes, EasesHaveWords) {
  for (const std::string &name : easeNames()) EXPECT_EQ(easeName(easeNamed(name).value()), name);
  EXPECT_EQ(easeNamed("bezier"), Ease::Bezier);
  EXPECT_EQ(easeNamed("ease-out"), Ease::EaseOut);
  EXPECT_EQ(easeNamed("Linear"), std::nullopt);
  EXPECT_EQ(easeNamed(""), std::nullopt);
}

}  // namespace
}  // namespace pyrelux::host
