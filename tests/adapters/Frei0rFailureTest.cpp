// Tests failures: the host gets its own picture back, and one line tells the reason.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "Frei0rLibrary.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif

namespace pyrelux::adapters::test {
namespace {

void expectOneLine(const std::string &told, const std::string &part) {
  EXPECT_THAT(told, testing::StartsWith("pyrelux: "));
  EXPECT_THAT(told, testing::HasSubstr(part));
  EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST(Frei0rFailure, WithoutABundleThePictureStays) {
  setenv("PYRELUX_PLUGIN_PATH", "/nowhere", 1);
  testing::internal::CaptureStderr();
  {
    Library library;
    EXPECT_EQ(library.info().num_params, 5);
    Instance instance(library);
    for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(instance.update(frame), title());
  }
  expectOneLine(testing::internal::GetCapturedStderr(), "no filter bundle in /nowhere");
  unsetenv("PYRELUX_PLUGIN_PATH");
}

TEST(Frei0rFailure, AFrameThatTheRendererRefusesStays) {
  Library library;
  Instance tooWide(library, 16385, 2);
  const Frame picture = title(16385, 2);
  testing::internal::CaptureStderr();
  for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(tooWide.update(frame, picture), picture);
  expectOneLine(testing::internal::GetCapturedStderr(), "the picture is 16385x2 pixels; the renderer takes 16384");
}

TEST(Frei0rFailure, PicturesWithoutPixelsAreHarmless) {
  Library library;
  for (const auto &[width, height] : {std::pair(0, 0), {16, 0}, {0, 16}, {-1, -1}}) {
    SCOPED_TRACE(width);
    Instance instance(library, width, height);
    testing::internal::CaptureStderr();
    EXPECT_EQ(instance.update(0.0), Frame(title().size(), 77)) << "nothing is written";
    expectOneLine(testing::internal::GetCapturedStderr(), "can't be drawn");
  }
}

TEST(Frei0rFailure, TheHostKeepsItsSignalsAndCharacters) {
  // Other tests in this program use the filter and may have changed both.
  setenv("LC_ALL", "C.UTF-8", 1);
  signal(SIGPIPE, SIG_DFL);
  setlocale(LC_CTYPE, "C");
  Library library;
  Instance instance(library);
  EXPECT_NE(instance.update(0.4), title());
  EXPECT_STREQ(setlocale(LC_CTYPE, nullptr), "C");
  EXPECT_EQ(signal(SIGPIPE, SIG_DFL), SIG_DFL);
}

TEST(Frei0rFailure, WithoutAnInstanceNothingHappens) {
  Library library;
  double value = 0.5;
  const std::uint32_t input[] = {1, 2};
  std::uint32_t output[] = {3, 4};
  library.set(nullptr, &value, 0);
  library.get(nullptr, &value, 0);
  library.update(nullptr, 0.0, input, output);
  library.destruct(nullptr);
  EXPECT_EQ(value, 0.5);
  EXPECT_THAT(output, testing::ElementsAre(3, 4));
}

TEST(Frei0rFailure, NullsForValuesAreHarmless) {
  Library library;
  Instance instance(library);
  char *noText = nullptr;
  library.set(instance.get(), &noText, library.indexOf("Output"));
  library.set(instance.get(), nullptr, library.indexOf("Output"));
  library.get(instance.get(), nullptr, library.indexOf("Output"));
  EXPECT_EQ(instance.text("Output"), "over");
}

/// Limits the process's address space to this many bytes more than it has.
void leave(std::size_t bytes) {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  rlimit limit = {};
  getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = bytes == 0 ? limit.rlim_max : pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + bytes;
  setrlimit(RLIMIT_AS, &limit);
}

/// Allows more and more memory: the first frames stay as they are, the last one is drawn. Ends the process with 0 then.
[[noreturn]] void drawWithLittleMemory() {
  constexpr int large = 2048;
  Library library;
  const Frame picture = title(large, large);
  const Frame burnt = Instance(library, large, large).update(1.0, picture);
  Frame output(picture.size());
  int kept = 0;
  int drawn = 0;
  for (std::size_t megabytes = 1; megabytes < 400; megabytes += 7) {
    Instance instance(library, large, large);
    leave(megabytes << 20);
    library.update(instance.get(), 1.0, reinterpret_cast<const std::uint32_t *>(picture.data()),
                   reinterpret_cast<std::uint32_t *>(output.data()));
    leave(0);
    kept += output == picture;
    drawn += output == burnt;
    if (output != picture && output != burnt) std::_Exit(2);
    if (drawn > 1) break;
  }
  std::fprintf(stderr, "%d kept\n", kept);
  std::_Exit(kept > 0 && drawn > 0 ? 0 : 1);
}

TEST(Frei0rFailure, AFrameThatMemoryDoesNotSufficeForStays) {
  if (!limitsMemory) GTEST_SKIP() << "sanitizers need more memory than any limit";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(drawWithLittleMemory(), testing::ExitedWithCode(0), "there is not enough memory");
}

}  // namespace
}  // namespace pyrelux::adapters::test
