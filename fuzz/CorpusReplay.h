#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// What the fuzzers have found so far, and what was thought of by hand, once more as tests; see script/fuzz.
namespace pyrelux::fuzz {

inline std::vector<std::filesystem::path> filesOf(const char *fuzzer) {
  std::vector<std::filesystem::path> files;
  for (const auto &entry : std::filesystem::directory_iterator(std::filesystem::path(PYRELUX_FUZZ_CORPUS) / fuzzer))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

inline std::string nameOf(const ::testing::TestParamInfo<std::filesystem::path> &file) {
  std::string name = file.param.filename().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
}

/// A fault or a difference ends the program.
class Corpus : public ::testing::TestWithParam<std::filesystem::path> {
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

}  // namespace pyrelux::fuzz
