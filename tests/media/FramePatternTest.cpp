#include "FramePattern.h"

#include <gtest/gtest.h>

#include "MediaErrors.h"

namespace pyrelux::media {
namespace {

TEST(FramePattern, PutsTheNumberInItsPlace) {
  EXPECT_EQ(FramePattern("a.%04d.png").path(7), "a.0007.png");
  EXPECT_EQ(FramePattern("a.%04d.png").path(123456), "a.123456.png");
  EXPECT_EQ(FramePattern("a%dz.png").path(42), "a42z.png");
  EXPECT_EQ(FramePattern("####.png").path(5), "0005.png");
  EXPECT_EQ(FramePattern("a#").path(12), "a12");
  EXPECT_EQ(FramePattern("%012d").path(3), "000000000003");
}

TEST(FramePattern, KeepsTheFolderAsItStands) {
  const FramePattern pattern("a%d/b##/c%03d.png");
  EXPECT_EQ(pattern.path(9), "a%d/b##/c009.png");
  EXPECT_EQ(pattern.folder(), "a%d/b##/");
  EXPECT_EQ(FramePattern("c%03d.png").folder(), ".");
}

TEST(FramePattern, TakesPercentSignsLiterally) {
  EXPECT_FALSE(FramePattern("100%.png").isNumbered());
  EXPECT_EQ(FramePattern("100%.png").path(0), "100%.png");
  EXPECT_EQ(FramePattern("100%%.png").path(0), "100%.png");
  EXPECT_FALSE(FramePattern("x%%04d.png").isNumbered());
  EXPECT_EQ(FramePattern("x%%04d.png").path(3), "x%04d.png");
  EXPECT_EQ(FramePattern("100%%_%d.png").path(3), "100%_3.png");
  for (const char *name : {"%s%4d.png", "%0d.png", "%0", "%", "%0123d.png", "%04x"})
    EXPECT_EQ(FramePattern(name).path(3), name);
}

TEST(FramePattern, FindsTheNumberInAName) {
  const FramePattern padded("a%03d.png");
  EXPECT_EQ(padded.frameOf("a007.png"), 7);
  EXPECT_EQ(padded.frameOf("a1234.png"), 1234);
  EXPECT_EQ(FramePattern("a%d.png").frameOf("a0.png"), 0);
  EXPECT_EQ(FramePattern("%020d").frameOf("00000000000000000000"), 0);
}

TEST(FramePattern, FindsNoNumberInNamesItNeverMakes) {
  const FramePattern padded("a%03d.png");
  for (const char *name : {"a7.png", "a0007.png", "a.png", "b007.png", "a007.exr", "a00x.png", "a-07.png", "", "a007",
                           "a99999999999999999999.png"})
    EXPECT_EQ(padded.frameOf(name), std::nullopt) << name;
  EXPECT_EQ(FramePattern("a%d.png").frameOf("a007.png"), std::nullopt);
  // "aa" is both ends of the pattern at once, with no room for a number.
  EXPECT_EQ(FramePattern("aa%da").frameOf("aa"), std::nullopt);
  EXPECT_EQ(FramePattern("a.png").frameOf("a.png"), std::nullopt);
}

TEST(FramePattern, RefusesTwoPlaces) {
  for (const char *path : {"a%d_%d.png", "a##_##.png", "a#%04d.png"}) try {
      const FramePattern pattern(path);
      FAIL() << path;
    } catch (const MediaError &error) {
      EXPECT_EQ(error.what(), "'" + std::string(path) + "' has more than one place for a frame number");
    }
}

TEST(FramePatternTest, HasANameWithoutTheNumber) {
  EXPECT_EQ(FramePattern("out/fire.%04d.png").unnumberedName(), "fire.png");
  EXPECT_EQ(FramePattern("fire_####.exr").unnumberedName(), "fire.exr");
  EXPECT_EQ(FramePattern("fire%d_final.png").unnumberedName(), "fire_final.png");
  EXPECT_EQ(FramePattern("%04d.png").unnumberedName(), "frames.png");
}

}  // namespace
}  // namespace pyrelux::media
