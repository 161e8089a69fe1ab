#include "HostProgram.h"

#include <gtest/gtest.h>

#include "FFmpegRows.h"

namespace pyrelux::adapters::test {
namespace {

TEST(HostProgram, IsKnownByItsLibraries) {
  EXPECT_TRUE(isFFmpeg("ffmpeg", {"", "libavfilter.so.8", "libc.so.6"}));
  EXPECT_TRUE(isFFmpeg("mpv", {"", "libc.so.6", "libavfilter.so.8"}));
  EXPECT_FALSE(isFFmpeg("melt-7", {"libmlt-7.so.7", "libavfilter.so.8"}));
  EXPECT_FALSE(isFFmpeg("kdenlive", {"libavfilter.so.8", "libmlt-7.so.7"}));
  EXPECT_FALSE(isFFmpeg("gst-launch-1.0", {"libgstreamer-1.0.so.0", "libavfilter.so.8"}));
  EXPECT_FALSE(isFFmpeg("editor", {"libc.so.6"}));
}

TEST(HostProgram, MayHaveBeenLinkedWithoutLibraries) {
  EXPECT_TRUE(isFFmpeg("ffmpeg", {"libc.so.6"}));
  EXPECT_TRUE(isFFmpeg("ffplay", {""}));
}

TEST(HostProgram, IsNotFFmpegHere) { EXPECT_FALSE(isCalledByFFmpeg()); }

// This program has no FFmpeg.
TEST(FFmpegRows, AreUnknownWhereVersionsDiffer) {
  EXPECT_EQ(rowPixelsOfFFmpeg(64), 64);
  EXPECT_EQ(rowPixelsOfFFmpeg(61), 64);
  EXPECT_EQ(rowPixelsOfFFmpeg(65), 0);
  EXPECT_EQ(rowPixelsOfFFmpeg(60), 0);
  EXPECT_EQ(rowPixelsOfFFmpeg(0), 0);
  EXPECT_FALSE(isAskingForRows());
}

}  // namespace
}  // namespace pyrelux::adapters::test
