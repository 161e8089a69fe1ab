// What is told of a farm from its folder.

#include "Status.h"

#include "FarmFolder.h"

namespace pyrelux::farm::test {
namespace {

Attempt attemptAt(const std::string &node, double started, std::int64_t finished, double lastSign) {
  Attempt attempt;
  attempt.node = node;
  attempt.started = started;
  attempt.finished = finished;
  attempt.lastSign = lastSign;
  attempt.frames = parseFrames("1-10");
  return attempt;
}

Attempt endedAt(const std::string &node, double started, std::int64_t finished, int exitCode) {
  Attempt attempt = attemptAt(node, started, finished, started + 10);
  attempt.end = AttemptEnd{exitCode, exitCode ? "no disk" : "", 10.0, {}};
  return attempt;
}

class StatusTest : public FarmFolder {};

TEST_F(StatusTest, CountsByNodeAndForesees) {
  Attempts attempts;
  attempts.all = {attemptAt("a", 1000, 4, 1020), endedAt("b", 1000, 1, 0), attemptAt("b", 100, 0, 110)};
  for (const std::int64_t frame : {1, 2, 3, 4, 5}) attempts.frames[frame].emplace_back();
  const Status status = statusOf(tenFrames(), attempts, 1021);
  EXPECT_EQ(status.total, 10);
  EXPECT_EQ(status.done, 5);
  EXPECT_EQ(status.missing, 5);
  ASSERT_EQ(status.nodes.size(), 2u);
  EXPECT_EQ(status.nodes[0].node, "a");
  EXPECT_EQ(status.nodes[0].running, 1);
  EXPECT_DOUBLE_EQ(status.nodes[0].framesPerSecond, 0.2);
  EXPECT_EQ(status.nodes[1].running, 0);
  EXPECT_EQ(status.nodes[1].lost, 1) << "no sign for a long time";
  EXPECT_DOUBLE_EQ(status.framesPerSecond, 0.2) << "of what runs";
  EXPECT_DOUBLE_EQ(status.secondsLeft, 25.0);
}

TEST_F(StatusTest, ForeseesByThePlanWhereNothingRuns) {
  EXPECT_DOUBLE_EQ(statusOf(tenFrames(), {}, 0).secondsLeft, 10.0);
}

TEST_F(StatusTest, CallsANodeBadAfterThreeFailuresInARow) {
  Attempts attempts;
  attempts.all = {endedAt("a", 1, 0, 1), endedAt("a", 2, 0, 1)};
  EXPECT_FALSE(statusOf(tenFrames(), attempts, 99).nodes[0].isBad);
  attempts.all.push_back(endedAt("a", 3, 0, 3));
  EXPECT_TRUE(statusOf(tenFrames(), attempts, 99).nodes[0].isBad);
  attempts.all.push_back(endedAt("a", 4, 2, 0));
  EXPECT_FALSE(statusOf(tenFrames(), attempts, 99).nodes[0].isBad) << "it has finished something since";
}

TEST_F(StatusTest, DoesNotBlameANodeForASignal) {
  Attempts attempts;
  for (int time = 1; time <= 3; ++time) attempts.all.push_back(endedAt("a", time, 0, 143));
  const Status status = statusOf(tenFrames(), attempts, 99);
  EXPECT_EQ(status.nodes[0].failed, 0);
  EXPECT_FALSE(status.nodes[0].isBad);
}

TEST_F(StatusTest, NamesFailuresUntilAnotherTaskHasTheFrame) {
  Attempts attempts;
  for (const char *node : {"a", "b", "a"}) {
    attempts.all.push_back(endedAt(node, 1, 0, 1));
    attempts.all.back().end->failed = {{3, "cut off"}, {4, "cut off"}};
  }
  attempts.frames[4].emplace_back();
  const Status status = statusOf(tenFrames(), attempts, 99);
  ASSERT_EQ(status.failed.size(), 1u);
  EXPECT_EQ(status.failed[0].frame, 3);
  EXPECT_THAT(status.failed[0].nodes, testing::ElementsAre("a", "b"));
  EXPECT_THAT(whyMissing(attempts, 3), testing::HasSubstr("cut off"));
  EXPECT_THAT(whyMissing({}, 3), testing::HasSubstr("no task"));
}

}  // namespace
}  // namespace pyrelux::farm::test
