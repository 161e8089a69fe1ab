#include "FrameRange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pyrelux::cli {
namespace {

/// What parsing throws; empty if nothing.
template <typename Parser>
std::string refusal(Parser parse, const std::string &text) {
  try {
    parse(text);
  } catch (const UsageError &error) {
    return error.what();
  }
  return {};
}

struct ValidRange {
  const char *text;
  std::int64_t first, last, count;
};

TEST(FrameRange, IsOneFrameOrTwoJoinedByADash) {
  for (const ValidRange &row : {ValidRange{"7", 7, 7, 1},
                                {"1-48", 1, 48, 48},
                                {"0", 0, 0, 1},
                                {"0-0", 0, 0, 1},
                                {"5-5", 5, 5, 1},
                                {"0007-0010", 7, 10, 4},
                                {"1001-1100", 1001, 1100, 100},
                                {"2147483647", 2147483647, 2147483647, 1},
                                {"0-2147483647", 0, 2147483647, 2147483648}}) {
    SCOPED_TRACE(row.text);
    const FrameRange range = parseFrameRange(row.text);
    EXPECT_EQ(range.first, row.first);
    EXPECT_EQ(range.last, row.last);
    EXPECT_EQ(range.count(), row.count);
  }
}

TEST(FrameRange, RefusesEverythingElseAndRepeatsIt) {
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
                           "1,4",
                           "1/4",
                           "nan",
                           "inf",
                           "2147483648",
                           "1-2147483648",
                           "99999999999999999999",
                           "1-99999999999999999999",
                           "-0",
                           "\xC2\xBD"}) {
    SCOPED_TRACE(text);
    const std::string message = refusal(parseFrameRange, text);
    EXPECT_THAT(message, testing::HasSubstr("'" + std::string(text) + "'"));
    EXPECT_THAT(message, testing::HasSubstr("1-48"));
  }
}

TEST(FrameRange, MayNotEndBeforeItBegins) {
  EXPECT_THAT(refusal(parseFrameRange, "5-2"), testing::AllOf(testing::HasSubstr("'5-2'"), testing::HasSubstr("ends")));
  EXPECT_THAT(refusal(parseFrameRange, "1-0"), testing::HasSubstr("ends"));
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
                               {"1/2147483647", 1, 2147483647},
                               {"12.5", 25, 2},
                               {"0.5", 1, 2},
                               {"24.0", 24, 1},
                               {"30.000", 30, 1},
                               {"1000.0", 1000, 1},
                               {"15.625", 125, 8}}) {
    SCOPED_TRACE(row.text);
    const media::FrameRate rate = parseFrameRate(row.text);
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
    const media::FrameRate rate = parseFrameRate(row.text);
    EXPECT_EQ(rate.numerator, row.numerator);
    EXPECT_EQ(rate.denominator, row.denominator);
  }
}

TEST(FrameRate, RatesNearTheNtscOnesStayWhatTheyAre) {
  for (const ValidRate &row :
       {ValidRate{"23.9", 239, 10}, {"29.9", 299, 10}, {"59.9", 599, 10}, {"30.03", 3003, 100}}) {
    SCOPED_TRACE(row.text);
    const media::FrameRate rate = parseFrameRate(row.text);
    EXPECT_EQ(rate.numerator * row.denominator, row.numerator * rate.denominator);
  }
}

TEST(FrameRate, RefusesEverythingElseAndRepeatsIt) {
  for (const char *text :
       {"",       "0",     "-24",   "+24",   "0/1",      "24/0",  "0/0",      "/",      "24/",        "/1",
        "24/1/1", "24//1", "-24/1", "24/-1", "24.0/1",   "1001",  "1000.001", "1001/1", "2147483648", "1/2147483648",
        "2001/2", "nan",   "inf",   "-inf",  "infinity", "1e2",   "0x18",     "24fps",  "24 ",        " 24",
        "24,0",   "0.0",   "-0.5",  "abc",   ".",        "1e999", "24.0.1"}) {
    SCOPED_TRACE(text);
    const std::string message = refusal(parseFrameRate, text);
    EXPECT_THAT(message, testing::HasSubstr("'" + std::string(text) + "'"));
    EXPECT_THAT(message, testing::HasSubstr("frames per second"));
  }
}

}  // namespace
}  // namespace pyrelux::cli
