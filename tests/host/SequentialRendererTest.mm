// Frames are the same however they are reached.

#include "SequentialRenderer.h"

#include <gtest/gtest.h>

#include <cstring>

#include "BackendChoice.h"
#include "Backends.h"
#include "Bundles.h"
#include "FilterObjects.h"
#include "Foundation.h"
#include "HostError.h"

namespace pyrelux::host {

/// What the filter object carries from frame to frame.
struct FilterState {
  double oldFrame, turbulence, wiggle;

  static FilterState of(const Filter &filter) {
    const AutoreleasePool pool;
    const auto field = [&](NSString *name) { return [[filter.objects_->filter valueForKey:name] doubleValue]; };
    return {field(@"oldFrame"), field(@"currentFrame_for_turbulenceSpeed"),
            field(@"currentFrame_for_wiggleTurbulence")};
  }
  bool operator==(const FilterState &other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};

namespace {

class SequentialRendererTest : public ::testing::Test {
 protected:
  SequentialRendererTest() : filter_(findFilter({PYRELUX_TEST_BUNDLES})), renderer_(chooseBackend("soft")) {
    set("turbulence-speed", 37.3);
    set("wiggle-turbulence", 21.7);
    set("pyrelux", 3);
    set("steps", 12);
    for (std::size_t i = 0; i < input_.sampleCount(); ++i)
      input_.asBytes()[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : i * 31);
  }

  void set(const char *name, double value) { filter_.parameters().set(filter_.parameters().named(name), {value}); }

  void setKeys(const char *name, const std::vector<Keyframe> &keyframes) {
    filter_.parameters().setKeyframes(filter_.parameters().named(name), keyframes);
  }

  void expectTheSameHoweverReached();

  Image::Bytes frameAlone(std::int64_t number) {
    SequentialRenderer frames(filter_, renderer_, 1);
    return frame(frames, number);
  }

  Image::Bytes frame(SequentialRenderer &frames, std::int64_t number) {
    Image image;
    frames.render(number, input_, {}, image);
    return image.asBytes();
  }

  Filter filter_;
  FrameRenderer renderer_;
  Image input_ = Image::bytes(24, 16, Alpha::Premultiplied);
};

TEST_F(SequentialRendererTest, FramesAreTheSameHoweverTheyAreReached) { expectTheSameHoweverReached(); }

TEST_F(SequentialRendererTest, TheListenerMayEndAPreRoll) {
  SequentialRenderer frames(filter_, renderer_, 1);
  std::vector<std::int64_t> told;
  frames.setPreRollListener([&told](std::int64_t next, std::int64_t frame) {
    EXPECT_EQ(frame, 1000000000);
    told.push_back(next);
    return next < 3;
  });
  EXPECT_THROW(frame(frames, 1000000000), HostError);
  EXPECT_EQ(told, (std::vector<std::int64_t>{1, 2, 3}));
  frames.setPreRollListener({});
  EXPECT_EQ(frame(frames, 5), frameAlone(5));
}

TEST_F(SequentialRendererTest, FramesAreTheSameHoweverTheyAreReachedWithKeyframes) {
  const Image::Bytes constant = frameAlone(31);
  setKeys("turbulence-speed", {{3.5, {80.0}, Ease::EaseIn}, {17.0, {5.0}, Ease::Hold}, {29.0, {60.0}}, {36.0, {11.0}}});
  setKeys("wiggle-turbulence", {{-4.0, {9.0}, Ease::Bezier, {0.9, -0.4, 0.2, 1.7}}, {33.0, {70.0}}});
  // What a pre-roll leaves out may change, too.
  setKeys("pyrelux", {{1.0, {1.0}}, {40.0, {6.0}}});
  setKeys("steps", {{1.0, {30.0}, Ease::EaseOut}, {40.0, {10.0}}});
  setKeys("color-depth", {{1.0, {0.0}}, {20.0, {1.0}}});
  setKeys("source-opacity", {{10.0, {0.0}}, {30.0, {1.0}}});
  EXPECT_NE(frameAlone(31), constant);
  expectTheSameHoweverReached();
}

TEST_F(SequentialRendererTest, PhasesAreTheSumOfKeyframedSpeeds) {
  setKeys("wiggle-turbulence", {{2.0, {10.0}}, {6.0, {50.0}}});
  SequentialRenderer frames(filter_, renderer_, 1);
  frame(frames, 8);
  // At the frames 1 to 8, a 200th of the speed each.
  EXPECT_NEAR(FilterState::of(filter_).wiggle, (10 + 10 + 20 + 30 + 40 + 50 + 50 + 50) / 200.0, 1e-12);
}

void SequentialRendererTest::expectTheSameHoweverReached() {
  std::vector<Image::Bytes> canonical;
  filter_.restart();
  Image image;
  for (int number = 1; number <= 40; ++number) {
    renderer_.render(filter_, input_, number, {}, image);
    canonical.push_back(image.asBytes());
  }
  EXPECT_NE(canonical[20], canonical[30]);
  const auto expectSame = [&](SequentialRenderer &frames, std::int64_t number) {
    EXPECT_EQ(frame(frames, number), canonical[static_cast<std::size_t>(number - 1)]) << "frame " << number;
  };
  {
    SCOPED_TRACE("one late");
    SequentialRenderer frames(filter_, renderer_, 1);
    expectSame(frames, 31);
  }
  SequentialRenderer frames(filter_, renderer_, 1);
  SCOPED_TRACE("in any order");
  for (const std::int64_t number : {1, 2, 3, 8, 15, 22, 40, 21, 21, 4, 5, 39}) expectSame(frames, number);
}

TEST_F(SequentialRendererTest, RunningUpDrawsLittleAndLeavesTheFilterAsRenderingDoes) {
  Image image;
  for (int number = 1; number < 200; ++number) renderer_.render(filter_, input_, number, {}, image);
  const FilterState rendered = FilterState::of(filter_);
  renderer_.render(filter_, input_, 200, {}, image);
  const FilterState afterwards = FilterState::of(filter_);
  EXPECT_EQ(rendered.oldFrame, 199.0);
  EXPECT_NE(rendered.turbulence, 0.0);
  EXPECT_NE(rendered.wiggle, 0.0);

  SequentialRenderer frames(filter_, renderer_, 1);
  const std::uint64_t before = platform::nullBackendQuads();
  frame(frames, 200);
  // One tongue of ten steps, the output pass; the source pass is off.
  EXPECT_EQ(platform::nullBackendQuads() - before, 199u * (11 + 1));
  EXPECT_EQ(FilterState::of(filter_), afterwards);
  EXPECT_EQ(filter_.parameters().value(filter_.parameters().named("pyrelux").id, 0.0)[0], 3.0);
  EXPECT_EQ(filter_.parameters().value(filter_.parameters().named("steps").id, 0.0)[0], 12.0);
}

TEST_F(SequentialRendererTest, TheFramesBeforeAreThoseFromTheFirstOn) {
  Image image;
  renderer_.render(filter_, input_, 100, {}, image);
  renderer_.render(filter_, input_, 101, {}, image);
  const FilterState canonical = FilterState::of(filter_);
  SequentialRenderer frames(filter_, renderer_, 100);
  const std::uint64_t before = platform::nullBackendQuads();
  frame(frames, 101);
  EXPECT_EQ(FilterState::of(filter_), canonical);
  EXPECT_EQ(platform::nullBackendQuads() - before, 12u);

  // One before the first begins a run of its own, which those after it have nothing to do with.
  frame(frames, 50);
  frame(frames, 101);
  EXPECT_EQ(FilterState::of(filter_), canonical);
}

TEST_F(SequentialRendererTest, AfterAnEditAFrameIsWhatAFreshRunGives) {
  SequentialRenderer frames(filter_, renderer_, 1);
  frame(frames, 5);
  filter_.edit(filter_.parameters().named("wiggle-turbulence"), {80.0});
  const Image::Bytes edited = frame(frames, 6);
  const FilterState state = FilterState::of(filter_);
  EXPECT_EQ(edited, frameAlone(6));
  EXPECT_EQ(state, FilterState::of(filter_));
  // Whoever sets the values, and whichever frame comes next.
  frame(frames, 7);
  set("turbulence-speed", 5.0);
  EXPECT_EQ(frame(frames, 20), frameAlone(20));
}

TEST_F(SequentialRendererTest, AnEditThatChangesNothingKeepsTheRun) {
  SequentialRenderer frames(filter_, renderer_, 1);
  frame(frames, 5);
  const std::uint64_t before = platform::nullBackendQuads();
  filter_.edit(filter_.parameters().named("steps"), {12.0});
  frame(frames, 6);
  EXPECT_EQ(platform::nullBackendQuads(), before);
}

TEST_F(SequentialRendererTest, AFrameThatFailsIsForgotten) {
  SequentialRenderer frames(filter_, renderer_, 1);
  const Image::Bytes third = frame(frames, 3);
  Image image;
  EXPECT_THROW(frames.render(4, Image::bytes(100000, 1, Alpha::Premultiplied), {}, image), HostError);
  EXPECT_EQ(frame(frames, 3), third);
}

TEST_F(SequentialRendererTest, RestartingForgetsWhatWasRendered) {
  Image image;
  renderer_.render(filter_, input_, 7, {}, image);
  filter_.restart();
  const FilterState state = FilterState::of(filter_);
  EXPECT_EQ(state.oldFrame, 0.0);
  EXPECT_EQ(state.turbulence, 0.0);
  EXPECT_EQ(state.wiggle, 0.0);
}

}  // namespace
}  // namespace pyrelux::host
