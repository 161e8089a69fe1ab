#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

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

}  // namespace
}  // namespace pyrelux::soft
