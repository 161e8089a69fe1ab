#include "FramePipeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace pyrelux::job::test {
namespace {

using testing::ElementsAre;
using Numbers = std::vector<std::int64_t>;

/// What a pipeline did.
struct Journal {
  Numbers read;
  Numbers drawn;
  Numbers written;

  Stages stages() {
    Stages stages;
    stages.read = [this](Frame &frame) { read.push_back(frame.number); };
    stages.draw = [this](Frame &frame) { drawn.push_back(frame.number); };
    stages.write = [this](Frame &frame) { written.push_back(frame.number); };
    return stages;
  }
};

const StopToken never;

Numbers upTo(std::int64_t last) {
  Numbers numbers(static_cast<std::size_t>(last));
  std::iota(numbers.begin(), numbers.end(), 1);
  return numbers;
}

TEST(Pipeline, TakesEveryFrameThroughEveryStageInOrder) {
  Journal journal;
  runPipeline(FrameRange{1, 50}, journal.stages(), never);
  EXPECT_EQ(journal.read, upTo(50));
  EXPECT_EQ(journal.drawn, upTo(50));
  EXPECT_EQ(journal.written, upTo(50));
}

TEST(Pipeline, HandsOnWhatTheStagesMade) {
  Stages stages;
  stages.read = [](Frame &frame) {
    Image input = Image::bytes(1, 1, Alpha::Premultiplied);
    input.asBytes()[0] = static_cast<std::uint8_t>(frame.number);
    frame.input = std::make_shared<const Image>(input);
  };
  stages.draw = [](Frame &frame) { frame.output = *frame.input; };
  Numbers results;
  stages.write = [&results](Frame &frame) {
    EXPECT_EQ(frame.input, nullptr);
    results.push_back(frame.output.asBytes()[0]);
  };
  runPipeline(FrameRange{1, 20}, stages, never);
  EXPECT_EQ(results, upTo(20));
}

TEST(Pipeline, ASlowWriterHoldsTheReaderUp) {
  Journal journal;
  Stages stages = journal.stages();
  std::atomic<std::int64_t> lastRead{0};
  stages.read = [&lastRead](Frame &frame) { lastRead = frame.number; };
  std::int64_t furthest = 0;
  stages.write = [&](Frame &frame) {
    // Long enough for a reader that nobody holds up to be through.
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    furthest = std::max(furthest, lastRead - frame.number);
  };
  runPipeline(FrameRange{1, 40}, stages, never);
  EXPECT_EQ(furthest, framesUnderWay(1) - 1);
}

TEST(Pipeline, StagesWorkAtTheSameTime) {
  // Each of three frames waits in its stage until all three are in one, which a pipeline in turn would never reach.
  std::mutex mutex;
  std::condition_variable changed;
  int inside = 0;
  const auto meet = [&](std::int64_t number, std::int64_t meeting) {
    if (number != meeting) return;
    std::unique_lock<std::mutex> lock(mutex);
    ++inside;
    changed.notify_all();
    EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(60), [&inside] { return inside == 3; }));
  };
  Stages stages;
  stages.read = [&](Frame &frame) { meet(frame.number, 3); };
  stages.draw = [&](Frame &frame) { meet(frame.number, 2); };
  stages.write = [&](Frame &frame) { meet(frame.number, 1); };
  runPipeline(FrameRange{1, 5}, stages, never);
  EXPECT_EQ(inside, 3);
}

TEST(Pipeline, TheFirstFrameIsWrittenBeforeTheNextIsDrawn) {
  std::atomic<bool> isWritten{false};
  Stages stages;
  stages.read = [](Frame &) {};
  stages.draw = [&isWritten](Frame &frame) {
    if (frame.number != 2) return;
    for (int wait = 0; !isWritten && wait < 60000; ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(isWritten);
  };
  stages.write = [&isWritten](Frame &) { isWritten = true; };
  runPipeline(FrameRange{1, 3}, stages, never);
}

TEST(Pipeline, AFailureStaysWithItsFrame) {
  Journal journal;
  Stages stages = journal.stages();
  stages.read = [](Frame &frame) {
    if (frame.number == 2) throw std::runtime_error("unreadable");
  };
  stages.draw = [&journal](Frame &frame) {
    journal.drawn.push_back(frame.number);
    if (frame.number == 3) throw std::runtime_error("undrawable");
  };
  std::vector<std::string> ends;
  stages.write = [&ends](Frame &frame) {
    try {
      if (frame.error) std::rethrow_exception(frame.error);
      ends.emplace_back("whole");
    } catch (const std::runtime_error &error) {
      ends.emplace_back(error.what());
    }
  };
  runPipeline(FrameRange{1, 8}, stages, never);
  EXPECT_THAT(journal.drawn, ElementsAre(1, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(ends, ElementsAre("whole", "unreadable", "undrawable", "whole", "whole", "whole", "whole", "whole"));
}

TEST(Pipeline, WhatIsKeptIsNotDrawn) {
  Journal journal;
  Stages stages = journal.stages();
  stages.read = [](Frame &frame) { frame.isKept = frame.number % 2 == 0; };
  runPipeline(FrameRange{1, 10}, stages, never);
  EXPECT_THAT(journal.drawn, ElementsAre(1, 3, 5, 7, 9));
  EXPECT_EQ(journal.written, upTo(10));
}

TEST(Pipeline, AWriterThatFailsEndsIt) {
  Journal journal;
  Stages stages = journal.stages();
  stages.write = [&journal](Frame &frame) {
    journal.written.push_back(frame.number);
    if (frame.number == 3) throw std::runtime_error("disk full");
  };
  EXPECT_THROW(runPipeline(FrameRange{1, 1000}, stages, never), std::runtime_error);
  EXPECT_EQ(journal.written, upTo(3));
  EXPECT_LE(journal.read.size(), 3u + framesUnderWay(1));
}

TEST(Pipeline, EncodesSeveralFramesAtATimeAndWritesThemInOrder) {
  // Of every three frames, the last is encoded first.
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::int64_t> encoded;
  Journal journal;
  Stages stages = journal.stages();
  stages.encode = [&](Frame &frame) {
    std::unique_lock<std::mutex> lock(mutex);
    const bool isLast = frame.number % 3 == 0;
    EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(60), [&] {
      return isLast || std::find(encoded.begin(), encoded.end(), frame.number + 1) != encoded.end();
    })) << frame.number;
    encoded.push_back(frame.number);
    changed.notify_all();
  };
  runPipeline(FrameRange{1, 12}, stages, never, 3);
  EXPECT_THAT(encoded, ElementsAre(3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10));
  EXPECT_EQ(journal.written, upTo(12));
}

TEST(Pipeline, AFailureToEncodeEndsItWhenItIsTheFramesTurn) {
  std::promise<void> hasFailed;
  Journal journal;
  Stages stages = journal.stages();
  stages.encode = [&](Frame &frame) {
    if (frame.number == 1) hasFailed.get_future().wait();
    if (frame.number != 2) return;
    hasFailed.set_value();
    throw std::runtime_error("too large");
  };
  EXPECT_THROW(runPipeline(FrameRange{1, 1000}, stages, never, 3), std::runtime_error);
  EXPECT_EQ(journal.written, upTo(1));
}

TEST(Pipeline, OnlyWhatIsDrawnIsEncoded) {
  std::vector<std::int64_t> encoded;
  Journal journal;
  Stages stages = journal.stages();
  stages.read = [](Frame &frame) {
    frame.isKept = frame.number == 2;
    if (frame.number == 3) throw std::runtime_error("unreadable");
  };
  stages.encode = [&encoded](Frame &frame) { encoded.push_back(frame.number); };
  runPipeline(FrameRange{1, 4}, stages, never);
  EXPECT_THAT(encoded, ElementsAre(1, 4));
  EXPECT_EQ(journal.written, upTo(4));
}

TEST(Pipeline, WhatIsDrawnWhenItIsStoppedIsWritten) {
  Journal journal;
  const StopToken stop;
  Stages stages = journal.stages();
  stages.draw = [&](Frame &frame) {
    journal.drawn.push_back(frame.number);
    if (frame.number == 5) stop.request();
  };
  runPipeline(FrameRange{1, 1000}, stages, stop);
  EXPECT_EQ(journal.drawn, upTo(5));
  EXPECT_EQ(journal.written, upTo(5));
}

}  // namespace
}  // namespace pyrelux::job::test
