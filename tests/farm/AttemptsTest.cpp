// What tasks leave in a farm's folder, and how it is read when some of it is damaged, late or written twice.

#include "Attempts.h"

#include <atomic>
#include <thread>

#include "Chunks.h"
#include "FarmFolder.h"
#include "MediaErrors.h"

namespace fs = std::filesystem;

namespace pyrelux::farm::test {
namespace {

class Attempting : public FarmFolder {};

TEST_F(Attempting, IsReadAsItWasWritten) {
  const Attempt attempt = beginAttempt(folder(), 2, 7, parseFrames("1-6"), 4);
  const fs::path piece = finish(attempt, "4-6");
  endAttempt(attempt, {1, "no disk", 12.5, {{1, "gone"}}});
  const Attempts read = readAttempts(folder());
  ASSERT_EQ(read.all.size(), 1u);
  EXPECT_EQ(read.all[0].round, 2);
  EXPECT_EQ(read.all[0].chunk, 7);
  EXPECT_EQ(read.all[0].node, nodeName());
  EXPECT_EQ(read.all[0].cores, 4);
  EXPECT_EQ(read.all[0].finished, 3);
  EXPECT_EQ(formatFrames(read.all[0].frames), "1-6");
  ASSERT_TRUE(read.all[0].end);
  EXPECT_EQ(read.all[0].end->cause, "no disk");
  EXPECT_EQ(read.all[0].end->failed.at(1), "gone");
  ASSERT_TRUE(read.has(5));
  EXPECT_EQ(read.frames.at(5)[0].file, piece.string());
  EXPECT_EQ(read.frames.at(5)[0].index, 1);
  EXPECT_FALSE(read.has(3));
}

TEST_F(Attempting, HasNothingWithoutItsRecordOrItsFile) {
  const Attempt attempt = beginAttempt(folder(), 1, 0, parseFrames("1-9"), 1);
  finish(attempt, "1");
  FarmFolder::save(attempt.folder / "pieces" / "2.mkv", "no record");
  fs::remove(finish(attempt, "3"));
  FarmFolder::save(finish(attempt, "4"), "cut");
  FarmFolder::save(finish(attempt, "5").string() + ".json", "{\"file\": \"5.mkv\", ");
  FarmFolder::save(finish(attempt, "6").string() + ".json", "{\"file\": 6}");
  const Attempts read = readAttempts(folder());
  EXPECT_TRUE(read.has(1));
  for (const std::int64_t frame : {2, 3, 4, 5, 6}) EXPECT_FALSE(read.has(frame)) << frame;
}

TEST_F(Attempting, IsPassedOverWhereItsBeginningIsNotThereYet) {
  fs::create_directories(folder() / "attempts" / "1-0000-n1-x");
  FarmFolder::save(folder() / "attempts" / "file", "no folder");
  EXPECT_TRUE(readAttempts(folder()).all.empty());
}

TEST_F(Attempting, OfTheSameChunkTwiceLosesAndMixesNothing) {
  constexpr int writers = 2;
  constexpr int frames = 40;
  std::vector<std::thread> threads;
  std::atomic<int> ready{0};
  for (int writer = 0; writer < writers; ++writer)
    threads.emplace_back([&] {
      const Attempt attempt = beginAttempt(folder(), 1, 0, parseFrames("1-40"), 1);
      ++ready;
      while (ready < writers) std::this_thread::yield();
      for (int frame = 1; frame <= frames; ++frame) finish(attempt, std::to_string(frame));
      endAttempt(attempt, {});
    });
  // What is read meanwhile is never half a record.
  while (ready < writers) std::this_thread::yield();
  for (int look = 0; look < 5; ++look)
    for (const auto &[frame, finished] : readAttempts(folder()).frames)
      for (const Finished &one : finished) EXPECT_EQ(one.bytes, fs::file_size(one.file));
  for (std::thread &thread : threads) thread.join();
  const Attempts read = readAttempts(folder());
  ASSERT_EQ(read.all.size(), 2u);
  for (const Attempt &attempt : read.all) EXPECT_EQ(attempt.finished, frames);
  for (int frame = 1; frame <= frames; ++frame) EXPECT_EQ(read.frames.at(frame).size(), 2u) << frame;
}

TEST_F(Attempting, AddsRoundsAtTheSameTimeUnderNumbersOfTheirOwn) {
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 6; ++writer)
    threads.emplace_back([&, writer] { addRound(folder(), {listOf({writer})}); });
  for (std::thread &thread : threads) thread.join();
  std::vector<std::int64_t> frames;
  for (int number = 1; number <= 6; ++number) frames.push_back(readRound(folder(), number).chunks.at(0).first());
  EXPECT_THAT(frames, testing::UnorderedElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_EQ(newestRound(folder()).number, 6);
}

TEST_F(Attempting, NoticesAnInputThatHasChanged) {
  const fs::path input = folder() / "title.png";
  FarmFolder::save(input, "first");
  InputFile file = describe(input);
  EXPECT_NO_THROW(requireSame({file}, folder()));
  file.path = "title.png";
  EXPECT_NO_THROW(requireSame({file}, folder())) << "counted from the folder";
  FarmFolder::save(input, "other");
  EXPECT_THROW(requireSame({file}, folder()), media::InputError);
  fs::remove(input);
  EXPECT_THROW(requireSame({file}, folder()), media::InputError);
}

}  // namespace
}  // namespace pyrelux::farm::test
