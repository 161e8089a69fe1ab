// The command lines that hand tasks out.

#include "Launch.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "Scripts.h"

namespace pyrelux::farm {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

Round threeChunks() { return {2, {parseFrames("1"), parseFrames("2"), parseFrames("3")}}; }

std::ptrdiff_t placeOf(const CommandLine &words, const std::string &word) {
  return std::find(words.begin(), words.end(), word) - words.begin();
}

TEST(Launch, SubmitsAnArrayOfTheRoundsChunks) {
  const CommandLine words =
      arrayJob("/farms/my job", threeChunks(), {"--partition=night", "--array=0-1"}, {"n1", "n3"});
  EXPECT_EQ(words[0], "sbatch");
  for (const char *word : {"--parsable", "--chdir=/farms/my job", "--array=0-2", "--requeue", "--signal=B:USR1@90",
                           "--exclude=n1,n3", "--open-mode=append"})
    EXPECT_THAT(words, Contains(word));
  EXPECT_LT(placeOf(words, "--array=0-2"), placeOf(words, "--array=0-1")) << "the last one counts";
  EXPECT_LT(placeOf(words, "--partition=night"), placeOf(words, "/farms/my job/job.sh"));
  EXPECT_THAT(CommandLine(words.end() - 3, words.end()), ElementsAre("/farms/my job/job.sh", "--round", "2"));
  EXPECT_THAT(arrayJob("/f", threeChunks(), {}, {}), Not(Contains(StartsWith("--exclude"))));
}

TEST(Launch, MergesAfterAnyEnd) {
  const CommandLine words = mergeJob("/farms/job/", "17", {"--partition=night", "--array=0-1"});
  EXPECT_THAT(words, Contains("--dependency=afterany:17"));
  EXPECT_THAT(words, Contains("--partition=night"));
  EXPECT_THAT(words, Not(Contains(StartsWith("--array"))));
  EXPECT_EQ(words.back(), "/farms/job/merge.sh");
}

TEST(Launch, RunsEachChunkByParallel) {
  const CommandLine words = parallelRun("/farms/job", threeChunks(), 4);
  EXPECT_EQ(words[static_cast<std::size_t>(placeOf(words, "--jobs")) + 1], "4");
  EXPECT_THAT(CommandLine(words.end() - 8, words.end()),
              ElementsAre("/farms/job/job.sh", "--round", "2", "{}", ":::", "0", "1", "2"));
}

TEST(Launch, QuotesForShells) { EXPECT_EQ(quoted("it's here"), "'it'\\''s here'"); }

}  // namespace
}  // namespace pyrelux::farm
