#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Attempts.h"
#include "FarmFiles.h"
#include "Fingerprint.h"
#include "Plan.h"

namespace pyrelux::farm::test {

/// A farm's folder that nothing was rendered for; removed afterwards.
class FarmFolder : public testing::Test {
 protected:
  FarmFolder() : folder_(std::filesystem::temp_directory_path() / ("farm-" + uniqueWord())) {
    std::filesystem::create_directories(folder_);
  }
  ~FarmFolder() override { std::filesystem::remove_all(folder_); }

  const std::filesystem::path &folder() const { return folder_; }

  static void save(const std::filesystem::path &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }

  /// A piece that an attempt has finished.
  static std::filesystem::path finish(const Attempt &attempt, const std::string &frames) {
    const std::filesystem::path path = attempt.folder / "pieces" / (frames + ".mkv");
    save(path, "piece " + frames);
    recordPiece(path, parseFrames(frames));
    return path;
  }

  /// A plan of ten frames that take a second each.
  static Plan tenFrames() {
    Plan plan;
    plan.frames = parseFrames("1-10");
    plan.secondsPerFrame = 1.0;
    return plan;
  }

 private:
  std::filesystem::path folder_;
};

}  // namespace pyrelux::farm::test
