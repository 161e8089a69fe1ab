// Tests calls from several threads, also of one instance.

#include <pthread.h>
#include <time.h>

#include <chrono>
#include <future>
#include <mutex>
#include <thread>

#include "Backends.h"
#include "Bundles.h"
#include "Frei0rLibrary.h"
#include "StaticEffect.h"

namespace pyrelux::adapters::test {
namespace {

class Frei0rThreads : public testing::Test {
 protected:
  Library library;
};

TEST_F(Frei0rThreads, ManyGiveWhatOneGives) {
  std::vector<Frame> alone;
  {
    Instance instance(library);
    for (int frame = 0; frame < 16; ++frame) alone.push_back(instance.update(frame / 25.0));
  }
  // Four instances in four threads, frames interleaved; all four call one more, and set what it has already.
  Instance shared(library);
  std::vector<Frame> parallel(16);
  std::vector<Frame> together(16);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&, thread] {
      for (int frame = thread; frame < 16; frame += 4) {
        Instance instance(library);
        parallel[static_cast<std::size_t>(frame)] = instance.update(frame / 25.0);
        shared.setNumber("Glow", 0.6);
        together[static_cast<std::size_t>(frame)] = shared.update(frame / 25.0);
      }
    });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(parallel, alone);
  EXPECT_EQ(together, alone);
}

// MLT, for one, may have its own module of ours and this one.
TEST_F(Frei0rThreads, TheFilterHasOneTurnForAllOfAProcess) {
  const Frame expected = Instance(library).update(0.4);
  std::thread other([] {
    StaticEffect effect(host::findFilter(host::defaultSearchPath()));
    const Frame input = title();
    Frame output(input.size());
    for (int frame = 0; frame < 20; ++frame)
      effect.render(input.data(), output.data(), width, height, frame, 1.0, Composition::OverSource);
  });
  for (int frame = 0; frame < 20; ++frame) EXPECT_EQ(Instance(library).update(0.4), expected);
  other.join();
}

TEST_F(Frei0rThreads, WaitAsleep) {
  Instance instance(library);
  const Frame expected = instance.update(0.4);
  std::future<Frame> waiting;
  clockid_t itsClock = {};
  timespec itsTime = {};
  {
    const std::lock_guard<std::mutex> lock(platform::filterMutex());
    std::promise<pthread_t> identity;
    waiting = std::async(std::launch::async, [&] {
      identity.set_value(pthread_self());
      return instance.update(0.4);
    });
    ASSERT_EQ(pthread_getcpuclockid(identity.get_future().get(), &itsClock), 0);
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    clock_gettime(itsClock, &itsTime);
  }
  EXPECT_EQ(waiting.get(), expected);
  // Processor time: a busy wait would take as much as the elapsed time.
  EXPECT_LT(static_cast<double>(itsTime.tv_sec) + static_cast<double>(itsTime.tv_nsec) * 1e-9, 0.1);
}

}  // namespace
}  // namespace pyrelux::adapters::test
