#include "FrameList.h"
#include "FrameRate.h"
#include "Refusal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pyrelux {
namespace {

struct ValidRange {
  const char *text;
  std::int64_t first, last, count;
};

TEST(FrameList, IsOneFrameOrTwoJoinedByADash) {
  for (const ValidRange &row : {ValidRange{"7", 7, 7, 1},
                                {"1-48", 1, 48, 48},
                                {"0", 0, 0, 1},
                                {"0-0", 0, 0, 1},
                                {"5-5", 5, 5, 1},
                                {"0007-0010", 7, 10, 4},
                                {"1001-1100", 1001, 1100, 100},
                                {"999999999999999999", 999999999999999999, 999999999999999999, 1},
                                {"0-999999999999999999", 0, 999999999999999999, 1000000000000000000}}) {
    SCOPED_TRACE(row.text);
    const FrameList frames = parseFrames(row.text);
    EXPECT_EQ(frames.first(), row.first);
    EXPECT_EQ(frames.last(), row.last);
    EXPECT_EQ(frames.count(), row.count);
  }
}

TEST(FrameList, RefusesEverythingElseAndRepeatsIt) {
  for (const char *text : {"",
                           "-",
                           "-1",
                           "1-",
                           "--",
                           "1--2",
                           "-1-2",
                           "1-2-3",
                           "1-2-",
                           "a",
                           "1-b",
                           "a-2",
                           " 1",
                           "1 ",
                           "1 -2",
                           "1- 2",
                           "+1",
                           "1-+2",
                           "1.5",
                           "1.0-2",
                           "1e3",
                           "0x10",
                           "1..4",
                           "1:4",
                           ",",
                           "1,",
                           ",1",
                           "1,,2",
                           "1, 2",
                           "1x2",
                           "x2",
                           "1-4x",
                           "1-4x0",
                           "1-4x-1",
                           "1-4x2x2",
                           "1-x2",
                           "1;4",
                           "1/4",
                           "nan",
                           "inf",
                           "1000000000000000000",
                           "1-1000000000000000000",
                           "99999999999999999999",
                           "1-99999999999999999999",
                           "-0",
                           "\xC2\xBD"}) {
    SCOPED_TRACE(text);
    const std::string message = refusal(parseFrames, text);
    EXPECT_THAT(message, testing::HasSubstr("'" + std::string(text) + "'"));
    EXPECT_THAT(message, testing::HasSubstr("1-48"));
  }
}

TEST(FrameList, MayNotEndBeforeItBegins) {
  EXPECT_THAT(refusal(parseFrames, "5-2"), testing::AllOf(testing::HasSubstr("'5-2'"), testing::HasSubstr("ends")));
  EXPECT_THAT(refusal(parseFrames, "1-0"), testing::HasSubstr("ends"));
}

std::vector<std::int64_t> framesOf(const std::string &text) {
  std::vector<std::int64_t> frames;
  parseFrames(text).forEach([&](std::int64_t frame) {
    frames.push_back(frame);
    return true;
  });
  EXPECT_EQ(parseFrames(text).count(), static_cast<std::int64_t>(frames.size()));
  return frames;
}

TEST(FrameList, MayHaveStepsAndParts) {
  using testing::ElementsAre;
  EXPECT_THAT(framesOf("1-4"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(framesOf("1-9x4"), ElementsAre(1, 5, 9));
  EXPECT_THAT(framesOf("1-10x4"), ElementsAre(1, 5, 9));
  EXPECT_EQ(parseFrames("1-10x4").last(), 9);
  EXPECT_THAT(framesOf("3-4x7"), ElementsAre(3));
  EXPECT_THAT(framesOf("1,5,9-12"), ElementsAre(1, 5, 9, 10, 11, 12));
  EXPECT_THAT(framesOf("0-5x5,6-10x2"), ElementsAre(0, 5, 6, 8, 10));
}

TEST(FrameList, MayBeLeftInTheMiddle) {
  std::int64_t last = 0;
  parseFrames("1-3,5-9").forEach([&](std::int64_t frame) {
    last = frame;
    return frame < 2;
  });
  EXPECT_EQ(last, 2);
}

TEST(FrameList, PartsDoNotGoBackOrOverlap) {
  for (const char *text : {"5,1", "1,1", "1-5,5", "1-5,3-9"})
    EXPECT_THAT(refusal(parseFrames, text),
                testing::AllOf(testing::HasSubstr("'" + std::string(text) + "'"), testing::HasSubstr("ascending")));
  EXPECT_THAT(refusal(parseFrames, "1,9-7"), testing::HasSubstr("ends"));
}

struct ValidRate {
  const char *text;
  std::int64_t numerator, denominator;
};

TEST(FrameRate, IsWholeOrAFractionOrADecimal) {
  for (const ValidRate &row : {ValidRate{"24", 24, 1},
                               {"1", 1, 1},
                               {"1000", 1000, 1},
                               {"025", 25, 1},
                               {"30000/1001", 30000, 1001},
                               {"1/2", 1, 2},
                               {"24/1", 24, 1},
                               {"2000/2", 2000, 2},
                               {"1/1000", 1, 1000},
                               {"1000000/999999", 1000000, 999999},
                               {"12.5", 25, 2},
                               {"0.5", 1, 2},
                               {"24.0", 24, 1},
                               {"30.000", 30, 1},
                               {"1000.0", 1000, 1},
                               {"15.625", 125, 8}}) {
    SCOPED_TRACE(row.text);
    const FrameRate rate = parseFrameRate(row.text);
    EXPECT_EQ(rate.numerator * row.denominator, row.numerator * rate.denominator);
  }
}

TEST(FrameRate, TheDecimalNamesOfNtscRatesMeanTheirFractions) {
  for (const ValidRate &row : {ValidRate{"23.976", 24000, 1001},
                               {"23.98", 24000, 1001},
                               {"23.976024", 24000, 1001},
                               {"29.97", 30000, 1001},
                               {"29.970", 30000, 1001},
                               {"47.952", 48000, 1001},
                               {"59.94", 60000, 1001},
                               {"119.88", 120000, 1001}}) {
    SCOPED_TRACE(row.text);
    const FrameRate rate = parseFrameRate(row.text);
    EXPECT_EQ(rate.numerator, row.numerator);
    EXPECT_EQ(rate.denominator, row.denominator);
  }
}

TEST(FrameRate, RatesNearTheNtscOnesStayWhatTheyAre) {
  for (const ValidRate &row :
       {ValidRate{"23.9", 239, 10}, {"29.9", 299, 10}, {"59.9", 599, 10}, {"30.03", 3003, 100}}) {
    SCOPED_TRACE(row.text);
    const FrameRate rate = parseFrameRate(row.text);
    EXPECT_EQ(rate.numerator * row.denominator, row.numerator * rate.denominator);
  }
}

TEST(FrameRate, RefusesEverythingElseAndRepeatsIt) {
  for (const char *text : {"",
                           "0",
                           "-24",
                           "+24",
                           "0/1",
                           "24/0",
                           "0/0",
                           "/",
                           "24/",
                           "/1",
                           "24/1/1",
                           "24//1",
                           "-24/1",
                           "24/-1",
                           "24.0/1",
                           "1001",
                           "1000.001",
                           "1001/1",
                           "2147483648",
                           "1/2147483648",
                           "1/1001",
                           "1000001/1000000",
                           "999999/1000001",
                           "0.0005",
                           "2001/2",
                           "nan",
                           "inf",
                           "-inf",
                           "infinity",
                           "1e2",
                           "0x18",
                           "24fps",
                           "24 ",
                           " 24",
                           "24,0",
                           "0.0",
                           "-0.5",
                           "abc",
                           ".",
                           "1e999",
                           "24.0.1"}) {
    SCOPED_TRACE(text);
    const std::string message = refusal(parseFrameRate, text);
    EXPECT_THAT(message, testing::HasSubstr("'" + std::string(text) + "'"));
    EXPECT_THAT(message, testing::HasSubstr("frames per second"));
  }
}

}  // namespace
}  // namespace pyrelux
