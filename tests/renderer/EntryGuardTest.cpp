#include "EntryGuard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ctime>

namespace pyrelux {
namespace {

/// A clock that advances by `step` at every reading. It is global, because the guard takes a plain function.
struct FakeClock {
  std::int64_t now = 0;
  std::int64_t step = 50000;
  std::int64_t looks = 0;
  std::int64_t clearAtLook = -1;  ///< the reading at which the render inside leaves its body
};

FakeClock fake;

std::clock_t look() {
  if (++fake.looks == fake.clearAtLook) functionActive = false;
  const std::int64_t now = fake.now;
  fake.now += fake.step;
  return static_cast<std::clock_t>(now);
}

class EntryGuardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    functionActive = false;
    fake = FakeClock{};
  }
  void TearDown() override { functionActive = false; }
};

TEST_F(EntryGuardTest, EntersAtOnceWhenNobodyIsInside) {
  const EntryGuard guard(look);
  EXPECT_TRUE(guard.entered());
  EXPECT_TRUE(functionActive);
  EXPECT_EQ(fake.looks, 0);
}

TEST_F(EntryGuardTest, LeavingLetsTheNextIn) {
  { const EntryGuard guard(look); }
  EXPECT_FALSE(functionActive);
  EXPECT_TRUE(EntryGuard(look).entered());
}

TEST_F(EntryGuardTest, GivesUpAfterAHundredAndFiftyOneWaits) {
  functionActive = true;
  fake.step = 200000;  // a wait is two looks: its start and its end
  {
    const EntryGuard guard(look);
    EXPECT_FALSE(guard.entered());
    EXPECT_TRUE(functionActive);
  }
  EXPECT_EQ(fake.looks, 151 * 2);
  EXPECT_TRUE(functionActive) << "who gave up must not clear the flag of who is inside";
}

TEST_F(EntryGuardTest, AWaitIsAFifthOfASecond) {
  functionActive = true;
  fake.step = 1000;
  fake.clearAtLook = 2;
  const EntryGuard guard(look);
  EXPECT_TRUE(guard.entered());
  // Readings at 0, 1000, …, 200000.
  EXPECT_EQ(fake.looks, 201);
}

TEST_F(EntryGuardTest, AWaitJustShortOfAFifthGoesOn) {
  functionActive = true;
  fake.step = 199999;
  fake.clearAtLook = 1;
  const EntryGuard guard(look);
  EXPECT_EQ(fake.looks, 3);
}

TEST_F(EntryGuardTest, EntersAfterTheWaitInWhichTheFlagIsCleared) {
  functionActive = true;
  fake.clearAtLook = 8;  // in the second wait of five looks each
  {
    const EntryGuard guard(look);
    EXPECT_TRUE(guard.entered());
    EXPECT_TRUE(functionActive);
    EXPECT_EQ(fake.looks, 10);
  }
  EXPECT_FALSE(functionActive);
}

TEST_F(EntryGuardTest, EntersWhenTheFlagIsClearedInTheLastWaitButOne) {
  functionActive = true;
  fake.step = 200000;
  fake.clearAtLook = 150 * 2;
  const EntryGuard guard(look);
  EXPECT_TRUE(guard.entered());
  EXPECT_EQ(fake.looks, 150 * 2);
}

TEST_F(EntryGuardTest, GivesUpEvenWhenTheFlagIsClearedInTheLastWait) {
  functionActive = true;
  fake.step = 200000;
  fake.clearAtLook = 151 * 2;
  const EntryGuard guard(look);
  EXPECT_FALSE(guard.entered());
  EXPECT_FALSE(functionActive);
}

TEST_F(EntryGuardTest, WaitsEndWhereSinglesAreCoarserThanTheClock) {
  // Above 2^24 single precision can't represent every microsecond. A wait is then inexact, and still ends.
  for (const int power : {24, 25, 31, 40}) {
    for (const std::int64_t offset : {-1, 0, 1, 2, 3, 5}) {
      functionActive = true;
      fake = FakeClock{};
      fake.now = (std::int64_t{1} << power) + offset;
      fake.step = 1000;
      fake.clearAtLook = 1;
      const EntryGuard guard(look);
      EXPECT_TRUE(guard.entered());
      const double spacing = std::exp2(power - 23);
      EXPECT_NEAR(static_cast<double>(fake.looks - 1) * 1000.0, 200000.0, 1000.0 + 2.0 * spacing)
          << "from 2^" << power << " + " << offset;
      functionActive = false;
    }
  }
}

}  // namespace
}  // namespace pyrelux
