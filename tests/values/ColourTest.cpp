#include "Colour.h"

#include <gtest/gtest.h>

namespace pyrelux {
namespace {

Colour bytes(int red, int green, int blue) { return {red / 255.0, green / 255.0, blue / 255.0}; }

TEST(Colours, HaveDigitsOrNamesOrLevels) {
  EXPECT_EQ(readColour("#0080Ff"), bytes(0, 128, 255));
  EXPECT_EQ(readColour("#08f"), bytes(0, 136, 255)) << "each digit counts twice";
  EXPECT_EQ(readColour("tomato"), bytes(255, 99, 71));
  EXPECT_EQ(readColour("RebeccaPurple"), bytes(102, 51, 153));
  EXPECT_EQ(readColour("0.5,-1,2"), (Colour{0.5, -1.0, 2.0}));
}

TEST(Colours, OfTheListsEndsAreFound) {
  EXPECT_EQ(readColour("aliceblue"), bytes(240, 248, 255));
  EXPECT_EQ(readColour("yellowgreen"), bytes(154, 205, 50));
  EXPECT_EQ(readColour("grey"), readColour("gray"));
}

TEST(Colours, AreNothingElse) {
  for (const char *text :
       {"", "#", "#12", "#12345", "#1234567", "#ggg", "#-12", "#+12345", "red ", "reds", "a", "zzz", "1,2"})
    EXPECT_FALSE(readColour(text)) << text;
}

TEST(Colours, HaveLevelsUpToOne) {
  EXPECT_TRUE(isInRange({0.0, 1.0, 0.5}));
  EXPECT_FALSE(isInRange({0.0, 1.1, 0.5}));
  EXPECT_FALSE(isInRange({-0.1, 1.0, 0.5}));
}

}  // namespace
}  // namespace pyrelux
