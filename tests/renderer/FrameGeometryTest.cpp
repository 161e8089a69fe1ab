// Tests the sizes that readGeometry() takes from a frame's images.

#include "FrameGeometry.h"

#include <gtest/gtest.h>

#include "FakeHost.h"

namespace pyrelux {
namespace {

TEST(FrameGeometry, IsReadFromTheImages) {
  test::FakeImage output(64, 36);
  test::FakeImage input(32, 24);
  output.edges = {2.0, 62.0, 35.0, 1.0};
  output.originCode = 2;
  input.edges = {0.0, 1.0, 0.5, 0.0};
  input.aspect = 1.25;
  const FrameGeometry geometry = readGeometry(output, input);
  EXPECT_EQ(geometry.outW, 64.0);
  EXPECT_EQ(geometry.outH, 36.0);
  EXPECT_EQ(geometry.inW, 32.0);
  EXPECT_EQ(geometry.inH, 24.0);
  EXPECT_EQ(geometry.outTexW, 60.0);
  EXPECT_EQ(geometry.outTexH, 34.0);
  EXPECT_EQ(geometry.inTexW, 1.0);
  EXPECT_EQ(geometry.inTexH, 0.5);
  EXPECT_EQ(geometry.origin, 2.0);
  EXPECT_EQ(geometry.aspect, 64.0 / 36.0 * 1.25) << "the shape of the picture on the screen";
}

}  // namespace
}  // namespace pyrelux
