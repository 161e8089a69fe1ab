// How a fire is planned, without drawing.

#include "Fire.h"
#include "JobTest.h"
#include "OwnParameters.h"
#include "SampleParameters.h"
#include "ValueError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pyrelux::job {
namespace {

using testing::HasSubstr;

host::ParameterDeclaration number(std::uint32_t id, const std::string &key, double value, double maximum) {
  host::ParameterDeclaration parameter;
  parameter.id = id;
  parameter.key = parameter.label = key;
  parameter.defaultValue = {value};
  parameter.maximum = maximum;
  return parameter;
}

constexpr std::uint32_t lengthId = 6;
constexpr std::uint32_t opacityId = 1;

host::ParameterSet parameters() {
  return host::ParameterSet(project::withOwnParameters({number(lengthId, "Pyrelux::Length of Pyrelux", 40.0, 100.0),
                                                        number(opacityId, "Pyrelux::Source: Opacity", 0.5, 1.0)}));
}

const project::Clock clockAt24{1, {24, 1}};

Fire planned(const project::Scene &scene, const host::ParameterSet &set = parameters(), double titleShare = 0.25) {
  RenderListener silence;
  return planFire(scene, set, FrameRange{1, 48}, clockAt24, titleShare, silence);
}

/// Over 48 frames.
host::ParameterSet living(const project::Scene &scene, const host::ParameterSet &set = parameters()) {
  return withLife(set, scene, FrameRange{1, 48}, clockAt24);
}

double at(const host::ParameterSet &set, std::uint32_t id, double frame) { return set.value(id, frame)[0]; }

TEST(FireLife, CatchesFromNothingAndFlaresUp) {
  project::Scene scene;
  scene.ignite = 1.0;
  const host::ParameterSet lit = living(scene);
  EXPECT_EQ(at(lit, project::fireOpacityId, 1), 0.0);
  EXPECT_GT(at(lit, project::fireOpacityId, 5), 20.0);
  EXPECT_EQ(at(lit, project::fireOpacityId, 25), 100.0);
  EXPECT_EQ(at(lit, project::fireOpacityId, 48), 100.0);
  EXPECT_DOUBLE_EQ(at(lit, lengthId, 1), 4.0);
  EXPECT_DOUBLE_EQ(at(lit, lengthId, 1 + 0.7 * 24), 46.0);
  EXPECT_DOUBLE_EQ(at(lit, lengthId, 25), 40.0);
  EXPECT_DOUBLE_EQ(at(lit, lengthId, 48), 40.0);
}

TEST(FireLife, GoesOutAtTheEnd) {
  project::Scene scene;
  scene.die = 0.5;
  const host::ParameterSet dying = living(scene);
  EXPECT_EQ(at(dying, project::fireOpacityId, 36), 100.0);
  EXPECT_EQ(at(dying, project::fireOpacityId, 48), 0.0);
  EXPECT_DOUBLE_EQ(at(dying, lengthId, 36), 40.0);
  EXPECT_DOUBLE_EQ(at(dying, lengthId, 48), 4.0);
  scene.duration = 1.0;
  EXPECT_EQ(at(living(scene), project::fireOpacityId, 24), 0.0)
      << "at the end of the duration, whichever frames are rendered";
}

TEST(FireLife, NeedsItsTimeAndNoOtherKeyframes) {
  project::Scene scene;
  scene.ignite = 1.5;
  scene.die = 1.0;
  EXPECT_THROW(living(scene), ValueError);
  scene.die = 0.4;
  host::ParameterSet keyed = parameters();
  EXPECT_NO_THROW(living(scene, keyed));
  keyed.setKeyframes(*keyed.find(lengthId), {{1, {10}}, {9, {20}}});
  EXPECT_THROW(living(scene, keyed), ValueError);
  scene.die.reset();
  EXPECT_NO_THROW(withLife(parameters(), scene, FrameRange{1, 9}, clockAt24)) << "a part of a film that catches fire";
  EXPECT_NO_THROW(living({}, keyed));
}

TEST(FireLife, IsWithoutEffectUnlessAsked) {
  const host::ParameterSet plain = living({});
  EXPECT_FALSE(plain.isSet(lengthId));
  EXPECT_FALSE(plain.isSet(project::fireOpacityId));
}

TEST(FirePlans, ScaleTheLengthByTheTitle) {
  project::Scene scene;
  EXPECT_EQ(at(planned(scene, parameters(), 0.1).parameters, lengthId, 1), 40.0);
  scene.flameScale = project::FlameScale::Title;
  EXPECT_DOUBLE_EQ(at(planned(scene, parameters(), 0.1).parameters, lengthId, 1), 16.0);
  EXPECT_DOUBLE_EQ(at(planned(scene, parameters(), 0.25).parameters, lengthId, 1), 40.0);
  Journal journal;
  const Fire longest = planFire(scene, parameters(), FrameRange{1, 2}, clockAt24, 1.0, journal);
  EXPECT_EQ(at(longest.parameters, lengthId, 1), 100.0);
  EXPECT_THAT(journal.lines, testing::ElementsAre(HasSubstr("'length-of-pyrelux' is 100 at most")));
}

TEST(FirePlans, KeepTimeAtEveryRate) {
  project::Scene scene;
  EXPECT_EQ(planned(scene).time.at(17), 17.0);
  scene.timeBase = FrameRate{24, 1};
  RenderListener silence;
  const host::FilterTime time = planFire(scene, parameters(), FrameRange{1, 9}, {1, {60, 1}}, 1.0, silence).time;
  for (int second = 0; second < 3; ++second) EXPECT_DOUBLE_EQ(time.at(1 + 60 * second), 1.0 + 24.0 * second);
  scene.timeBase.reset();
  scene.seed = 3;
  EXPECT_EQ(planned(scene).time.at(17) - 17.0, 3.0 * (planned({}).time.at(0) + 1013.0));
}

TEST(FirePlans, GiveTheFilterItsKeyframesByItsOwnTime) {
  project::Scene scene;
  scene.seed = 2;
  host::ParameterSet keyed = parameters();
  keyed.setKeyframes(*keyed.find(lengthId), {{1, {10}}, {9, {20}}});
  const Fire fire = planned(scene, keyed);
  for (const int frame : {1, 4, 9})
    EXPECT_DOUBLE_EQ(at(fire.filterParameters(), lengthId, fire.time.at(frame)), at(keyed, lengthId, frame));
}

TEST(FirePlans, TakeTheSourceFromTheFilterWhereItIsComposed) {
  host::ParameterSet fading = parameters();
  fading.setKeyframes(*fading.find(project::fireOpacityId), {{1, {50}}, {5, {100}}});
  const Fire fire = planned({}, fading);
  EXPECT_TRUE(fire.isComposed(1));
  EXPECT_FALSE(fire.isComposed(5));
  EXPECT_EQ(at(fire.filterParameters(), opacityId, 1), 0.0);
  EXPECT_EQ(at(fire.filterParameters(), opacityId, 5), 0.5);
  EXPECT_FALSE(planned({}).isComposed(1));
  project::Scene shape;
  shape.burn = project::Burn::Shape;
  EXPECT_TRUE(planned(shape).isComposed(1));
  EXPECT_EQ(at(planned(shape).filterParameters(), opacityId, 1), 0.0);
}

TEST(FireLoops, DissolveTheirLastFrames) {
  project::Scene scene;
  scene.loops = true;
  const Fire fire = planned(scene);
  ASSERT_TRUE(fire.loop);
  EXPECT_EQ(fire.loop->blend, 12);
  EXPECT_EQ(fire.loop->shareAt(36), 0.0);
  EXPECT_DOUBLE_EQ(fire.loop->shareAt(37), (3.0 - 2.0 / 13.0) / 169.0) << "slow at both ends";
  EXPECT_DOUBLE_EQ(fire.loop->shareAt(48), 1.0 - fire.loop->shareAt(37));
  for (int frame = 37; frame <= 48; ++frame) EXPECT_GT(fire.loop->shareAt(frame), fire.loop->shareAt(frame - 1));
  EXPECT_EQ(fire.loop->leadOf(48), 0) << "the frame before the first";
  scene.loopBlend = 47;
  EXPECT_EQ(planned(scene).loop->blend, 47);
  scene.loopBlend = 48;
  EXPECT_THROW(planned(scene), ValueError);
}

TEST(FireLoops, AreLedToABitSlower) {
  project::Scene scene;
  scene.loops = true;
  scene.seed = 2;
  const Fire fire = planned(scene);
  const Fire lead = fire.lead();
  EXPECT_DOUBLE_EQ(lead.time.at(1), fire.time.at(1)) << "both come to the first frame";
  EXPECT_DOUBLE_EQ(lead.time.at(0), fire.time.at(1) - 0.9);
}

TEST(FireLoops, AreFramesInARowWithoutBeginningAndEnd) {
  RenderListener silence;
  project::Scene scene;
  scene.loops = true;
  EXPECT_THROW(planFire(scene, parameters(), FrameRange{1, 1}, clockAt24, 1.0, silence), ValueError);
  EXPECT_THROW(planFire(scene, parameters(), parseFrames("1-9x2"), clockAt24, 1.0, silence), ValueError);
  scene.ignite = 0.1;
  EXPECT_THROW(planned(scene), ValueError);
  project::Scene blendAlone;
  blendAlone.loopBlend = 3;
  EXPECT_THROW(planned(blendAlone), ValueError);
}

}  // namespace
}  // namespace pyrelux::job
