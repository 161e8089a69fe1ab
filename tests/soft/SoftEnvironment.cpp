// What every test of the soft backend runs in.

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>

namespace {

class SoftEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    // Threads even where there is one core.
    setenv("PYRELUX_THREADS", "4", 0);
    // Memory that is never zero by luck.
    mallopt(M_PERTURB, 165);
  }
};

[[maybe_unused]] const auto *const environment = ::testing::AddGlobalTestEnvironment(new SoftEnvironment);

}  // namespace
