#include "Placement.h"
#include "Refusal.h"
#include "Seconds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pyrelux {
namespace {

using testing::HasSubstr;

TEST(Placement, IsTheMiddleOrTwoShares) {
  EXPECT_EQ(formatPlacement(parsePlacement("center")), "50,50");
  EXPECT_EQ(formatPlacement(parsePlacement("12.5,-30")), "12.5,-30");
  EXPECT_EQ(parsePlacement("10,90").x, 10.0);
  EXPECT_EQ(parsePlacement("10,90").y, 90.0);
  for (const char *text : {"", "50", "1,2,3", "a,b", "1001,0", "0,-1001", "nan,0", "10%,20%", "Center"})
    EXPECT_THAT(refusal(parsePlacement, text), HasSubstr("'" + std::string(text) + "' is not a place; write center"));
}

TEST(CanvasFit, IsNoneOrAShareOfTheCanvas) {
  EXPECT_FALSE(parseCanvasFit("none").percent);
  EXPECT_EQ(parseCanvasFit("contain").percent, 100.0);
  EXPECT_EQ(parseCanvasFit("62.5%").percent, 62.5);
  for (const char *text : {"none", "100%", "62.5%"}) EXPECT_EQ(formatCanvasFit(parseCanvasFit(text)), text);
  for (const char *text : {"", "0%", "-1%", "1001%", "80", "%", "cover", "nan%"})
    EXPECT_THAT(refusal(parseCanvasFit, text), HasSubstr("'" + std::string(text) + "' is not a size on a canvas"));
}

TEST(Padding, HasOneToFourSides) {
  EXPECT_TRUE(parsePadding("auto").isAuto);
  EXPECT_EQ(formatPadding(parsePadding("40")), "40,40,40,40");
  EXPECT_EQ(formatPadding(parsePadding("40px,10%")), "40,10%,40,10%");
  EXPECT_EQ(formatPadding(parsePadding("1,2,3")), "1,2,3,2");
  EXPECT_EQ(formatPadding(parsePadding("1,2,3,4%")), "1,2,3,4%");
  EXPECT_EQ(formatPadding(parsePadding("auto")), "auto");
  for (const char *text : {"", "-1", "1,2,3,4,5", "1,,2", "16385", "1001%", "1em", "1 2", "auto,1"})
    EXPECT_THAT(refusal(parsePadding, text), HasSubstr("'" + std::string(text) + "' is not room around a picture"));
}

TEST(Padding, CountsPercentOfAWhole) {
  const Padding padding = parsePadding("7,12.5%");
  EXPECT_EQ(padding.sides[0].pixels(200), 7);
  EXPECT_EQ(padding.sides[1].pixels(200), 25);
  EXPECT_EQ(padding.sides[1].pixels(3), 0) << "rounded: 0.375";
}

TEST(Seconds, HaveAUnitOrNone) {
  EXPECT_EQ(parseSeconds("1.5s"), 1.5);
  EXPECT_EQ(parseSeconds("2"), 2.0);
  EXPECT_EQ(parseSeconds("250ms"), 0.25);
  EXPECT_EQ(parseSeconds("0"), 0.0);
  EXPECT_EQ(formatSeconds(parseSeconds("250ms")), "0.25s");
  for (const char *text : {"", "s", "ms", "-1s", "86401", "1m", "1.5 s", "nan", "1,5s"})
    EXPECT_THAT(refusal(parseSeconds, text), HasSubstr("'" + std::string(text) + "' is not a length of time"));
}

}  // namespace
}  // namespace pyrelux
