#include "Cores.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace pyrelux {
namespace {

TEST(Cores, AreAsManyAsTheEnvironmentSaysOrTheProcessHas) {
  const char *before = std::getenv("PYRELUX_THREADS");
  const std::string usual = before ? before : "";
  setenv("PYRELUX_THREADS", "37", 1);
  EXPECT_EQ(coresInUse(), 37);
  unsetenv("PYRELUX_THREADS");
  const int own = coresInUse();
  EXPECT_GE(own, 1);
  for (const char *none : {"0", "-2", "many", ""}) {
    setenv("PYRELUX_THREADS", none, 1);
    EXPECT_EQ(coresInUse(), own) << none;
  }
  before ? setenv("PYRELUX_THREADS", usual.c_str(), 1) : unsetenv("PYRELUX_THREADS");
}

}  // namespace
}  // namespace pyrelux
