#include "HostProgram.h"

#include <gtest/gtest.h>

namespace pyrelux::adapters::test {
namespace {

TEST(HostProgram, TimeIsCountedAsItsLibrariesDo) {
  EXPECT_EQ(timeUnitOf("ffmpeg", {"", "libavfilter.so.8", "libc.so.6"}), TimeUnit::Milliseconds);
  EXPECT_EQ(timeUnitOf("mpv", {"", "libc.so.6", "libavfilter.so.8"}), TimeUnit::Milliseconds);
  EXPECT_EQ(timeUnitOf("melt-7", {"libmlt-7.so.7", "libavfilter.so.8"}), TimeUnit::Seconds);
  EXPECT_EQ(timeUnitOf("kdenlive", {"libavfilter.so.8", "libmlt-7.so.7"}), TimeUnit::Seconds);
  EXPECT_EQ(timeUnitOf("gst-launch-1.0", {"libgstreamer-1.0.so.0", "libavfilter.so.8"}), TimeUnit::Seconds);
  EXPECT_EQ(timeUnitOf("editor", {"libc.so.6"}), TimeUnit::Seconds);
}

TEST(HostProgram, FfmpegMayHaveBeenLinkedWithoutLibraries) {
  EXPECT_EQ(timeUnitOf("ffmpeg", {"libc.so.6"}), TimeUnit::Milliseconds);
  EXPECT_EQ(timeUnitOf("ffplay", {""}), TimeUnit::Milliseconds);
}

TEST(HostProgram, ThisOneCountsInSeconds) { EXPECT_EQ(timeUnitOfHost(), TimeUnit::Seconds); }

}  // namespace
}  // namespace pyrelux::adapters::test
