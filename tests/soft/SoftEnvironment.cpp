// The environment of every test of the soft backend.

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>

namespace {

class SoftEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    // Several threads, even on one core.
    setenv("PYRELUX_THREADS", "4", 0);
    // Fresh memory that is never zero by chance.
    mallopt(M_PERTURB, 165);
  }
};

[[maybe_unused]] const auto *const environment = ::testing::AddGlobalTestEnvironment(new SoftEnvironment);

}  // namespace
