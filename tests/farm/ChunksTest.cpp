// How frames are cut into chunks.

#include "Chunks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

namespace pyrelux::farm {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

std::vector<std::int64_t> row(std::int64_t first, std::size_t count) {
  std::vector<std::int64_t> frames(count);
  std::iota(frames.begin(), frames.end(), first);
  return frames;
}

std::vector<std::string> texts(const std::vector<FrameList> &chunks) {
  std::vector<std::string> all;
  for (const FrameList &chunk : chunks) all.push_back(formatFrames(chunk));
  return all;
}

TEST(Chunks, AreOfOneLengthInOrder) {
  EXPECT_THAT(texts(cutFrames(row(1, 10), {4, false})), ElementsAre("1-3", "4-6", "7-10"));
  EXPECT_THAT(texts(cutFrames(row(5, 3), {100, false})), ElementsAre("5-7"));
  EXPECT_THAT(texts(cutFrames(row(5, 3), {0, false})), ElementsAre("5", "6", "7"));
}

TEST(Chunks, LookAtEveryTenthFrameFirst) {
  EXPECT_THAT(texts(cutFrames(row(1, 31), {20, true})), ElementsAre("1-31x10", "2-10,12-15", "16-20,22-30"));
}

TEST(Chunks, AreNoMoreThanArraysHold) {
  for (const bool looksFirst : {false, true}) {
    const auto chunks = cutFrames(row(1, 12345), {1, looksFirst});
    EXPECT_LE(chunks.size(), static_cast<std::size_t>(maxChunks));
    EXPECT_GE(chunks.size(), 900u);
  }
}

TEST(Chunks, HaveEachFrameOnce) {
  for (const std::size_t count : {1u, 2u, 9u, 10u, 11u, 97u, 1001u})
    for (const std::int64_t perChunk : {1, 3, 10, 5000})
      for (const bool looksFirst : {false, true}) {
        std::vector<std::int64_t> all;
        for (const FrameList &chunk : cutFrames(row(7, count), {perChunk, looksFirst}))
          for (const std::int64_t frame : numbersOf(chunk)) all.push_back(frame);
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, row(7, count)) << count << " by " << perChunk << (looksFirst ? ", looks first" : "");
      }
}

TEST(Chunks, AreWrittenAsRangesThatReadTheSame) {
  for (const std::vector<std::int64_t> &frames :
       {std::vector<std::int64_t>{3}, {3, 9}, {1, 2}, {1, 3, 5}, {1, 2, 3, 5, 7, 9, 10, 20}, {1, 11, 12, 13, 31}})
    EXPECT_EQ(numbersOf(parseFrames(formatFrames(listOf(frames)))), frames) << formatFrames(listOf(frames));
}

}  // namespace
}  // namespace pyrelux::farm
