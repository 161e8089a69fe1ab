#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "ThreadPool.h"

namespace pyrelux::soft {
namespace {

TEST(ParallelFor, CallsEachOnce) {
  std::atomic<int> sum{0};
  parallelFor(100, [&](int i) { sum += i; });
  EXPECT_EQ(sum, 4950);
}

TEST(ParallelFor, WhatACallThrowsReachesTheCaller) {
  for (int thrower = 0; thrower < 40; ++thrower) {
    const auto work = [&](int i) {
      if (i >= thrower) throw std::runtime_error("no");
    };
    EXPECT_THROW(parallelFor(40, work), std::runtime_error) << thrower;
  }
  std::atomic<int> calls{0};
  parallelFor(40, [&](int) { ++calls; });
  EXPECT_EQ(calls, 40);
}

TEST(ParallelFor, ItsTimeIsCountedOnce) {
  using std::chrono::milliseconds;
  const auto before = timeInParallel();
  const auto begin = std::chrono::steady_clock::now();
  // Some of the inner calls are made by the pool's threads.
  parallelFor(4, [](int) { parallelFor(2, [](int) { std::this_thread::sleep_for(milliseconds(5)); }); });
  const auto counted = timeInParallel() - before;
  EXPECT_GE(counted, milliseconds(10));
  EXPECT_LE(counted, std::chrono::steady_clock::now() - begin);
  std::this_thread::sleep_for(milliseconds(5));
  EXPECT_EQ(timeInParallel() - before, counted);
}

}  // namespace
}  // namespace pyrelux::soft
