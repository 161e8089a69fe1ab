// What the fuzzers have found so far, and what was thought of by hand, once more; see script/fuzz.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Named so by the build: each is its fuzzer's LLVMFuzzerTestOneInput.
extern "C" int runSoftCalls(const std::uint8_t *data, std::size_t size);
extern "C" int runSoftDifference(const std::uint8_t *data, std::size_t size);

namespace pyrelux::soft {
namespace {

using std::filesystem::path;

std::vector<path> filesOf(const char *fuzzer) {
  std::vector<path> files;
  for (const auto &entry : std::filesystem::directory_iterator(path(PYRELUX_FUZZ_CORPUS) / fuzzer))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::string nameOf(const ::testing::TestParamInfo<path> &file) {
  std::string name = file.param.filename().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
}

/// A fault or a difference ends the program.
class Corpus : public ::testing::TestWithParam<path> {
 protected:
  static int replay(int (*run)(const std::uint8_t *, std::size_t)) {
    std::ifstream stream(GetParam(), std::ios::binary);
    std::vector<std::uint8_t> bytes;
    std::transform(std::istreambuf_iterator<char>(stream), {}, std::back_inserter(bytes),
                   [](char c) { return static_cast<std::uint8_t>(c); });
    EXPECT_FALSE(bytes.empty()) << "nothing to replay";
    return run(bytes.data(), bytes.size());
  }
};

class CallsCorpus : public Corpus {};
TEST_P(CallsCorpus, IsAnErrorOrADrawing) { EXPECT_EQ(replay(runSoftCalls), 0); }
INSTANTIATE_TEST_SUITE_P(Files, CallsCorpus, ::testing::ValuesIn(filesOf("SoftCallsFuzz")), nameOf);

class DifferenceCorpus : public Corpus {};
TEST_P(DifferenceCorpus, IsDrawnAsByTheReference) { EXPECT_EQ(replay(runSoftDifference), 0); }
INSTANTIATE_TEST_SUITE_P(Files, DifferenceCorpus, ::testing::ValuesIn(filesOf("SoftDifferenceFuzz")), nameOf);

}  // namespace
}  // namespace pyrelux::soft
