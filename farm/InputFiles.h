#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace pyrelux::farm {

/// A file that pictures are made from, as it was when the farm was planned.
struct InputFile {
  std::string path;          ///< relative ones count from the farm's folder
  std::uintmax_t bytes = 0;  ///< its length
  std::string fingerprint;   ///< see inputFingerprint()
};

/// Stands for a file's bytes: all of them up to 64 megabytes; of longer files their length and 64 parts of a megabyte,
/// evenly spread, the first and the last among them, so that every task can afford to look. Throws media::InputError.
std::string inputFingerprint(const std::filesystem::path &path);

/// What tells a file later on. Throws media::InputError.
InputFile describe(const std::filesystem::path &path);

/// Throws media::InputError, naming the file and the remedy, when one of them is not there or another one.
void requireSame(const std::vector<InputFile> &files, const std::filesystem::path &folder);

}  // namespace pyrelux::farm
