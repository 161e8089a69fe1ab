#include "DraftScale.h"

#include <gtest/gtest.h>

namespace pyrelux::studio {
namespace {

void take(DraftScale &scale, double wholeMilliseconds, int times) {
  for (int time = 0; time < times; ++time) {
    const int now = scale.choose(DraftSize::Auto, 1.0);
    scale.took(now, wholeMilliseconds / (now * now));
  }
}

TEST(DraftScale, IsWholeWhileThatKeepsUp) {
  DraftScale scale;
  take(scale, 39.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 1);
}

TEST(DraftScale, IsHalvedUntilItKeepsUp) {
  DraftScale scale;
  take(scale, 80.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 2);
  take(scale, 400.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 4);
  take(scale, 4000.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 4);
}

TEST(DraftScale, GrowsAgainOnceDrawingIsQuick) {
  DraftScale scale;
  take(scale, 4000.0, 50);
  take(scale, 5.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 1);
}

TEST(DraftScale, DoesNotChangeToAndFro) {
  DraftScale scale;
  take(scale, 45.0, 20);
  for (int time = 0; time < 50; ++time) {
    take(scale, 45.0, 1);
    EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 2);
  }
}

TEST(DraftScale, TakesALateDraftForAnAccident) {
  DraftScale scale;
  take(scale, 20.0, 9);
  take(scale, 900.0, 1);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 1);
}

TEST(DraftScale, IsWhatIsAskedFor) {
  DraftScale scale;
  take(scale, 4000.0, 50);
  EXPECT_EQ(scale.choose(DraftSize::Whole, 0.1), 1);
  EXPECT_EQ(scale.choose(DraftSize::Half, 1.0), 2);
  EXPECT_EQ(scale.choose(DraftSize::Quarter, 1.0), 4);
}

TEST(DraftScale, DrawsNoMoreThanIsSeen) {
  const DraftScale scale;
  EXPECT_EQ(scale.choose(DraftSize::Auto, 0.6), 1);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 0.5), 2);
  EXPECT_EQ(scale.choose(DraftSize::Auto, 0.25), 4);
}

TEST(DraftScale, ForgetsAnotherPicturesTimes) {
  DraftScale scale;
  take(scale, 4000.0, 50);
  scale.forget();
  EXPECT_EQ(scale.choose(DraftSize::Auto, 1.0), 1);
}

}  // namespace
}  // namespace pyrelux::studio
