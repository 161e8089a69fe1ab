#include "OffscreenSurface.h"

#include <OpenGL/gl.h>
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <ostream>

#include "FailingCGL.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

class OffscreenSurfaceTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(pbuffer_created, 0) << "a test before left its surface"; }
  void TearDown() override {
    cleanUpSurface();
    EXPECT_EQ(pbuffer_created, 0);
    EXPECT_EQ(pbuffer_on, 0);
  }

  std::vector<std::string> callNamesSince() { return callNames(trace.takeCalls()); }

  HostContext host;
  platform::Trace trace;
};

TEST_F(OffscreenSurfaceTest, StartsWithARecordThatIsNeverUsed) {
  // Allocated when the program was loaded.
  EXPECT_NE(pbuffer, nullptr);
}

TEST_F(OffscreenSurfaceTest, BeginningMakesTheSurfaceAndMakesItCurrent) {
  beginSurface(320.0, 180.0, 8.0);
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 1);
  EXPECT_EQ(sharedContext, host.handle());
  EXPECT_EQ(initWidth, 320.0);
  EXPECT_EQ(initHeight, 180.0);
  EXPECT_EQ(initBitDepth, 8.0);
  EXPECT_EQ(pbuffer->width, 320);
  EXPECT_EQ(pbuffer->height, 180);
  EXPECT_EQ(CGLGetCurrentContext(), pbuffer->context);
}

TEST_F(OffscreenSurfaceTest, SizesAreTruncated) {
  beginSurface(320.9, 180.5, 8.0);
  EXPECT_EQ(pbuffer->width, 320);
  EXPECT_EQ(pbuffer->height, 180);
  EXPECT_EQ(initWidth, 320.9);
}

TEST_F(OffscreenSurfaceTest, EndingMakesTheHostsContextCurrentWithTheImageBound) {
  beginSurface(320.0, 180.0, 8.0);
  trace.takeCalls();
  endAndUseSurface();
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 0);
  EXPECT_NE(pbuffer->texture, 0u);
  EXPECT_FALSE(pbuffer->written);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
  EXPECT_THAT(callNamesSince(), IsSupersetOf({"CGLTexImagePBuffer", "glEnable"}));
}

TEST_F(OffscreenSurfaceTest, CleanUpDestroysAndASecondOneDoesNothing) {
  beginSurface(320.0, 180.0, 8.0);
  endAndUseSurface();
  trace.takeCalls();
  cleanUpSurface();
  EXPECT_THAT(callNamesSince(), ElementsAre("CGLDestroyPBuffer", "CGLDestroyContext"));
  EXPECT_EQ(pbuffer_created, 0);
  EXPECT_EQ(initWidth, 320.0) << "the size is kept";
  EXPECT_EQ(sharedContext, host.handle());
  cleanUpSurface();
  EXPECT_THAT(callNamesSince(), IsEmpty());
}

TEST_F(OffscreenSurfaceTest, CleanUpOfABegunSurfaceEndsItFirst) {
  beginSurface(320.0, 180.0, 8.0);
  trace.takeCalls();
  cleanUpSurface();
  EXPECT_THAT(callNamesSince(),
              ElementsAre("glFlush", "CGLSetCurrentContext", "CGLDestroyPBuffer", "CGLDestroyContext"));
  EXPECT_EQ(pbuffer_on, 0);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST_F(OffscreenSurfaceTest, EachFrameGetsASurfaceAndATextureOfItsOwn) {
  beginSurface(320.0, 180.0, 8.0);
  endAndUseSurface();
  const GLuint first = pbuffer->texture;
  cleanUpSurface();
  beginSurface(320.0, 180.0, 8.0);
  EXPECT_EQ(pbuffer->texture, 0u);
  endAndUseSurface();
  EXPECT_NE(pbuffer->texture, first);
}

TEST_F(OffscreenSurfaceTest, OneThatOutlivedItsFrameIsUsedAgain) {
  beginSurface(320.0, 180.0, 8.0);
  endAndUseSurface();
  const VaroPBuffer_tag *const record = pbuffer;
  trace.takeCalls();
  beginSurface(320.0, 180.0, 8.0);
  EXPECT_EQ(pbuffer, record);
  EXPECT_EQ(callNamesSince().front(), "CGLGetCurrentContext");
  endAndUseSurface();
  EXPECT_THAT(callNamesSince(), ::testing::Not(::testing::Contains("CGLTexImagePBuffer")));
}

TEST_F(OffscreenSurfaceTest, BeginningTwiceBeginsOnce) {
  beginSurface(320.0, 180.0, 8.0);
  trace.takeCalls();
  beginSurface(320.0, 180.0, 8.0);
  EXPECT_THAT(callNamesSince(), IsEmpty());
}

struct Change {
  double width, height, bitDepth;
};

void PrintTo(const Change &change, std::ostream *out) {
  *out << change.width << " x " << change.height << ", " << change.bitDepth << " bits";
}

class OffscreenSurfaceChangeTest : public OffscreenSurfaceTest, public ::testing::WithParamInterface<Change> {};

TEST_P(OffscreenSurfaceChangeTest, MakesTheSurfaceAnew) {
  beginSurface(320.0, 180.0, 8.0);
  endAndUseSurface();
  trace.takeCalls();
  const auto [width, height, bitDepth] = GetParam();
  beginSurface(width, height, bitDepth);
  const std::vector<std::string> names = callNamesSince();
  ASSERT_GE(names.size(), 9u);
  EXPECT_THAT(std::vector<std::string>(names.begin(), names.begin() + 9),
              ElementsAre("CGLDestroyPBuffer", "CGLDestroyContext", "glFlush", "glFinish", "CGLGetCurrentContext",
                          "CGLChoosePixelFormat", "CGLCreateContext", "CGLDestroyPixelFormat", "CGLCreatePBuffer"));
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 1);
  EXPECT_EQ(initWidth, width);
  EXPECT_EQ(initHeight, height);
  EXPECT_EQ(initBitDepth, bitDepth);
  EXPECT_EQ(pbuffer->width, static_cast<int>(width));
  EXPECT_EQ(pbuffer->height, static_cast<int>(height));
  EXPECT_EQ(sharedContext, host.handle());
}

INSTANTIATE_TEST_SUITE_P(Of, OffscreenSurfaceChangeTest,
                         ::testing::Values(Change{321.0, 180.0, 8.0}, Change{320.0, 181.0, 8.0},
                                           Change{320.0, 180.0, 16.0}),
                         [](const ::testing::TestParamInfo<Change> &change) {
                           return change.index == 0 ? "Width" : change.index == 1 ? "Height" : "BitDepth";
                         });

TEST_F(OffscreenSurfaceTest, AnotherSizeAfterACleanUpDestroysNothing) {
  beginSurface(320.0, 180.0, 8.0);
  endAndUseSurface();
  cleanUpSurface();
  trace.takeCalls();
  beginSurface(64.0, 48.0, 16.0);
  const auto names = callNamesSince();
  EXPECT_EQ(names.at(0), "CGLGetCurrentContext");
  EXPECT_EQ(names.at(1), "CGLChoosePixelFormat");
  EXPECT_EQ(initWidth, 64.0);
}

TEST_F(OffscreenSurfaceTest, AChangeWhileBegunIsNotEndedFirst) {
  beginSurface(320.0, 180.0, 8.0);
  trace.takeCalls();
  beginSurface(64.0, 48.0, 8.0);
  EXPECT_EQ(callNamesSince().front(), "CGLDestroyPBuffer");
  EXPECT_EQ(pbuffer_on, 1);
  EXPECT_EQ(pbuffer->width, 64);
}

TEST_F(OffscreenSurfaceTest, ThatCantBeMadeCountsAsMade) {
  Refusals refused;
  refused.pixelFormat = true;
  beginSurface(320.0, 180.0, 8.0);
  EXPECT_EQ(pbuffer_created, 1);
  EXPECT_EQ(pbuffer_on, 1);
  endAndUseSurface();
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
  cleanUpSurface();
  EXPECT_EQ(pbuffer_created, 0);
}

// --- The state that every pass starts from

TEST_F(OffscreenSurfaceTest, InitOpenGlResetsTheFixedFunctionState) {
  initOpenGl();
  EXPECT_THAT(TraceText()(trace.takeCalls()),
              ElementsAre("glOrtho(-1, 1, -1, 1, -1, 1)", "glShadeModel(7424)", "glDisable(3553)", "glDisable(2896)",
                          "glPolygonMode(1032, 6914)", "glDisable(2881)", "glEnable(3008)", "glAlphaFunc(519, 1)",
                          "glTexParameterf(3553, 10241, 9987)", "glTexParameterf(3553, 10240, 9729)", "glEnable(3042)",
                          "glBlendFunc(1, 771)", "glDisable(2929)", "glColorMask(1, 1, 1, 1)"));
}

TEST_F(OffscreenSurfaceTest, ClearingIsToTransparentBlack) {
  clearToTransparent();
  EXPECT_THAT(TraceText()(trace.takeCalls()), ElementsAre("glClearColor(0, 0, 0, 0)", "glClear(16640)"));
}

/// Transforms a point by the modelview matrix that the calls leave; the projection is the identity.
class Mapping {
 public:
  void apply(const Calls &calls) {
    for (const auto &call : calls) {
      if (call.name == "glMatrixMode") mode_ = static_cast<GLenum>(numberArgument(call, 0));
      if (call.name == "glLoadIdentity") orthos(mode_).clear();
      if (call.name == "glOrtho") {
        std::array<double, 6> volume;
        for (std::size_t i = 0; i < 6; ++i) volume[i] = numberArgument(call, i);
        orthos(mode_).push_back(volume);
      }
    }
  }

  std::array<double, 3> operator()(std::array<double, 3> point) const {
    // The matrix that is multiplied last acts on the point first; the projection acts last.
    for (const auto *stack : {&modelview_, &projection_})
      for (auto volume = stack->rbegin(); volume != stack->rend(); ++volume)
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const double lo = (*volume)[2 * axis];
          const double hi = (*volume)[2 * axis + 1];
          const double sign = axis == 2 ? -1.0 : 1.0;
          point[axis] = sign * 2.0 / (hi - lo) * point[axis] - (hi + lo) / (hi - lo);
        }
    return point;
  }

 private:
  using Volumes = std::vector<std::array<double, 6>>;
  Volumes &orthos(GLenum mode) { return mode == GL_PROJECTION ? projection_ : modelview_; }
  Volumes modelview_;
  Volumes projection_;
  GLenum mode_ = GL_MODELVIEW;
};

TEST_F(OffscreenSurfaceTest, InitOpenGlTwiceLeavesTheMapping) {
  Mapping once;
  initOpenGl();
  once.apply(trace.calls());
  EXPECT_THAT(once({0.3, -0.7, 0.5}), ElementsAre(0.3, -0.7, -0.5));
  Mapping twice;
  initOpenGl();
  twice.apply(trace.calls());
  EXPECT_THAT(twice({0.3, -0.7, 0.5}), ElementsAre(0.3, -0.7, 0.5));
}

TEST_F(OffscreenSurfaceTest, ABegunSurfaceIsAddressedInPixelsFromItsLowerLeft) {
  beginSurface(320.0, 180.0, 8.0);
  initOpenGl();
  Mapping mapping;
  mapping.apply(trace.calls());
  const auto lower = mapping({0.0, 0.0, 0.0});
  EXPECT_EQ(lower[0], -1.0);
  EXPECT_EQ(lower[1], -1.0);
  const auto upper = mapping({320.0, 180.0, 0.0});
  EXPECT_EQ(upper[0], 1.0);
  EXPECT_EQ(upper[1], 1.0);
}

}  // namespace
}  // namespace pyrelux::test
