#pragma once

#include "RenderListener.h"
#include "RenderRequest.h"
#include "StopToken.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace pyrelux::job {

/// What a job told, in order.
class Journal : public RenderListener {
 public:
  void remark(const std::string &text) override { note("remark: " + text); }
  void warn(const std::string &text) override { note("warning: " + text); }
  void backendChosen(const std::string &name, const std::string &) override { note("backend " + name); }
  void started(std::int64_t frames) override { note("started " + std::to_string(frames)); }
  void frameFinished(std::int64_t frame, FrameOutcome outcome) override {
    static const char *const names[] = {"rendered", "kept", "failed"};
    note(std::to_string(frame) + " " + names[static_cast<int>(outcome)]);
    if (frame == stopAfter) stop.request();
  }
  void frameFailed(std::int64_t frame, const std::string &cause) override {
    note(std::to_string(frame) + " because " + cause);
  }
  void finished() override { note("finished"); }

  std::vector<std::string> lines;
  StopToken stop;
  std::int64_t stopAfter = -1;

 private:
  void note(const std::string &line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines.push_back(line);
  }

  std::mutex mutex_;
};

/// Jobs in a folder of their own.
class JobTest : public ::testing::Test {
 protected:
  JobTest() {
    char name[] = "/tmp/pyrelux-job-XXXXXX";
    folder_ = mkdtemp(name);
  }
  ~JobTest() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }

  /// A small pattern, quickly drawn, whose fire stays inside.
  RenderRequest request(const std::string &output, const std::string &frames) const {
    RenderRequest request;
    request.testPattern = "title";
    request.scene.size = PictureSize{48, 27};
    request.backend = "soft";
    request.settings = {{"tongues", "2"}, {"steps", "10"}, {"length-of-pyrelux", "8"}};
    request.output = path(output);
    request.scene.frames = parseFrames(frames);
    return request;
  }

  static std::string contents(const std::string &file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
  }

  std::filesystem::path folder_;
};

}  // namespace pyrelux::job
