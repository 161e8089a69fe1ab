// Parameters by a filter's own times.

#include "FilterTime.h"

#include <gtest/gtest.h>

#include "SampleParameters.h"

namespace pyrelux::host {
namespace {

using namespace test;

TEST(FilterTimes, TellTheFrameOfATime) {
  const FilterTime time{2026.0, 0.4};
  for (const std::int64_t frame : {-3, 0, 1, 7, 1000000}) EXPECT_EQ(time.frameAt(time.at(frame)), frame);
}

TEST(FilterTimes, MoveKeyframesAndCurves) {
  ParameterSet parameters(sampleDeclarations());
  parameters.setKeyframes(sample(kGlow), {{0.0, {0.0}}, {8.0, {40.0}}});
  parameters.setCurve(sample(kWeight), [](double frame) { return ParameterValue{frame * frame}; });
  parameters.set(sample(kDirection), {30.0});
  for (const FilterTime &time : {FilterTime{}, FilterTime{1013.0, 1.0}, FilterTime{5.0, 0.4}}) {
    const ParameterSet moved = inFilterTime(parameters, time);
    for (const std::int64_t frame : {0, 1, 3, 8, 9})
      for (const SampleId id : {kGlow, kWeight, kDirection})
        EXPECT_NEAR(moved.value(id, time.at(frame))[0], parameters.value(id, static_cast<double>(frame))[0], 1e-9)
            << id << " at " << frame << " from " << time.origin;
    EXPECT_FALSE(moved.isSet(kTongues));
  }
}

}  // namespace
}  // namespace pyrelux::host
