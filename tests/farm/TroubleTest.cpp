// Which frames are given up, by what tasks left.

#include "Trouble.h"

#include "FarmFolder.h"
#include "Status.h"

namespace pyrelux::farm::test {
namespace {

using testing::ElementsAre;

constexpr double longAfter = 100000.0;

/// One that failed and had finished nothing.
Attempt failedAt(const std::string &node, int round = 1) {
  Attempt attempt;
  attempt.node = node;
  attempt.round = round;
  attempt.frames = parseFrames("1-3");
  attempt.end = AttemptEnd{1, "no disk", 10.0, {}};
  return attempt;
}

class Trouble : public FarmFolder {
 protected:
  static std::vector<std::int64_t> givenUp(const std::vector<Attempt> &all, int countsFrom = 1) {
    Attempts attempts;
    attempts.all = all;
    attempts.countsFrom = countsFrom;
    return whatIsMissing(tenFrames(), attempts, longAfter).givenUp;
  }

  /// One that finished some frames, and failed at the third.
  static Attempt failedAtTheThird(const std::string &node) {
    Attempt attempt = failedAt(node);
    attempt.finished = 2;
    attempt.end->failed[3] = "cut off";
    return attempt;
  }
};

TEST_F(Trouble, EndsAfterThreeFailuresOfAFrame) {
  EXPECT_THAT(givenUp({failedAtTheThird("a"), failedAtTheThird("a")}), ElementsAre());
  EXPECT_THAT(givenUp({failedAtTheThird("a"), failedAtTheThird("a"), failedAtTheThird("a")}), ElementsAre(3));
}

TEST_F(Trouble, OfATaskCountsANodeOncePerRound) {
  EXPECT_THAT(givenUp({failedAt("a"), failedAt("a"), failedAt("a")}), ElementsAre());
  EXPECT_THAT(givenUp({failedAt("a"), failedAt("b"), failedAt("c")}), ElementsAre(1, 2, 3));
  EXPECT_THAT(givenUp({failedAt("a", 1), failedAt("a", 2), failedAt("a", 3)}), ElementsAre(1, 2, 3));
}

TEST_F(Trouble, CountsATaskThatDiedWithNothing) {
  std::vector<Attempt> died{failedAt("a"), failedAt("b"), failedAt("c")};
  for (Attempt &attempt : died) attempt.end.reset();
  EXPECT_THAT(givenUp(died), ElementsAre(1, 2, 3));
  died[2].lastSign = longAfter - 1;
  EXPECT_THAT(givenUp(died), ElementsAre()) << "the third still runs";
  died[2].lastSign = 0;
  died[2].finished = 1;
  EXPECT_THAT(givenUp(died), ElementsAre()) << "it got somewhere";
}

TEST_F(Trouble, IsNoneWhereATaskWasToldToStop) {
  std::vector<Attempt> stopped{failedAt("a"), failedAt("b"), failedAt("c")};
  for (Attempt &attempt : stopped) attempt.end->exitCode = 143;
  EXPECT_THAT(givenUp(stopped), ElementsAre());
}

TEST_F(Trouble, OfEarlierRoundsIsForgottenByOneAnew) {
  const std::vector<Attempt> all{failedAt("a", 1), failedAt("b", 1), failedAt("c", 2)};
  EXPECT_THAT(givenUp(all, 1), ElementsAre(1, 2, 3));
  EXPECT_THAT(givenUp(all, 2), ElementsAre());
}

TEST_F(Trouble, IsTold) {
  Attempts attempts;
  attempts.all = {failedAt("a"), failedAt("b"), failedAt("c")};
  attempts.frames[2].emplace_back();
  const Status status = statusOf(tenFrames(), attempts, longAfter);
  ASSERT_EQ(status.failed.size(), 2u);
  EXPECT_EQ(status.failed[1].frame, 3);
  EXPECT_TRUE(status.failed[1].isGivenUp);
  EXPECT_EQ(status.failed[1].cause, "no disk");
  EXPECT_THAT(status.failed[1].nodes, ElementsAre("a", "b", "c"));
}

TEST_F(Trouble, IsForgottenByTheNewestRoundAnew) {
  EXPECT_EQ(newestAnew(folder()), 1);
  for (const bool isAnew : {false, true, true, false}) addRound(folder(), {parseFrames("1")}, isAnew);
  EXPECT_EQ(newestAnew(folder()), 3);
  EXPECT_EQ(readAttempts(folder()).countsFrom, 3);
}

}  // namespace
}  // namespace pyrelux::farm::test
