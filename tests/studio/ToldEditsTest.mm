// What the filter that draws is told of edits, counted at its own door.

#include <gmock/gmock.h>

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "Desk.h"
#include "OwnParameters.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::mutex toldMutex;
std::vector<std::uint32_t> told;
using Told = BOOL (*)(id, SEL, std::uint32_t);
IMP original = nullptr;

BOOL count(id self, SEL selector, std::uint32_t parameter) {
  {
    const std::lock_guard<std::mutex> lock(toldMutex);
    told.push_back(parameter);
  }
  return reinterpret_cast<Told>(reinterpret_cast<void (*)()>(original))(self, selector, parameter);
}

class Silence : public Mail {
 public:
  void send(PageId, const Json &message) override { last = message; }
  void sendToAll(const Json &) override {}
  std::string newAddress() override { return {}; }

  Json last;
};

/// Waits for frames, and may hold the thread up that draws them.
class Frames : public PreviewListener {
 public:
  void drawn(PageId, DrawnFrame frame) override { came(frame.id); }
  void failed(PageId, std::int64_t id, std::int64_t, std::uint64_t, const std::string &cause) override {
    ADD_FAILURE() << cause;
    came(id);
  }
  void thumbnailDrawn(PageId, DrawnThumbnail) override {}

  void wait(std::int64_t id) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return last_ == id; });
  }

  void hold(bool isHeld) {
    const std::lock_guard<std::mutex> lock(mutex_);
    isHeld_ = isHeld;
    changed_.notify_all();
  }

 private:
  void came(std::int64_t id) {
    std::unique_lock<std::mutex> lock(mutex_);
    last_ = id;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !isHeld_; });
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::int64_t last_ = 0;
  bool isHeld_ = false;
};

class ToldEdits : public testing::Test {
 protected:
  ToldEdits() {
    char name[] = "/tmp/pyrelux-told-XXXXXX";
    folder_ = mkdtemp(name);
    setenv("XDG_STATE_HOME", folder_.c_str(), 1);
    options_.root = folder_.string();
    options_.backend = "soft";
    options_.start.testPattern = "title";
    options_.start.scene.size = PictureSize{32, 18};
    desk_ = std::make_unique<Desk>(options_, mail_, frames_, [] {});
    method_ = class_getInstanceMethod(objc_getClass(filter_.info().className.c_str()), @selector(parameterChanged:));
    original = method_setImplementation(method_, reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(count)));
    sinceThen();
  }
  ~ToldEdits() override {
    desk_.reset();
    method_setImplementation(method_, original);
    unsetenv("XDG_STATE_HOME");
    fs::remove_all(folder_);
  }

  void send(const std::string &message, const char *type = "ok") {
    Json json = Json::parse(message);
    json["request"] = 1;
    desk_->received(1, json.dump());
    EXPECT_EQ(mail_.last["type"], type) << mail_.last;
  }
  void edit(const std::string &edits) { send(R"({"type":"edit","edits":[)" + edits + "]}"); }

  /// The slugs of the parameters that the filter was told of since the last call, once a frame is there.
  std::vector<std::string> sinceThen() {
    desk_->received(1, Json{{"type", "frame"}, {"id", ++frame_}, {"frame", 1}}.dump());
    frames_.wait(frame_);
    desk_->received(1, Json{{"type", "shown"}, {"id", frame_}}.dump());
    const std::lock_guard<std::mutex> lock(toldMutex);
    std::vector<std::string> slugs;
    for (const std::uint32_t id : std::exchange(told, {})) slugs.push_back(parameters_.find(id)->slug());
    return slugs;
  }

  host::Filter filter_{host::findFilter(host::defaultSearchPath())};
  const host::ParameterSet parameters_ = project::allParameters(filter_);
  fs::path folder_;
  StudioOptions options_;
  Silence mail_;
  Frames frames_;
  std::unique_ptr<Desk> desk_;
  Method method_ = nullptr;
  std::int64_t frame_ = 0;
};

TEST_F(ToldEdits, EachIsToldOnceAndSoAreUndoAndRedo) {
  EXPECT_THAT(sinceThen(), IsEmpty()) << "initial values";
  edit(R"({"parameter":"glow","value":50})");
  EXPECT_THAT(sinceThen(), ElementsAre("glow"));
  EXPECT_THAT(sinceThen(), IsEmpty()) << "another frame is no edit";
  edit(R"({"parameter":"glow","keyframes":[{"frame":1,"value":0},{"frame":9,"value":5}]})");
  EXPECT_THAT(sinceThen(), ElementsAre("glow"));
  edit(R"({"parameter":"tongues","value":3},{"parameter":"color-inner","value":[0,0.5,1]})");
  EXPECT_THAT(sinceThen(), testing::UnorderedElementsAre("tongues", "color-inner"));
  send(R"({"type":"undo"})");
  EXPECT_THAT(sinceThen(), testing::UnorderedElementsAre("tongues", "color-inner"));
  send(R"({"type":"undo"})");
  EXPECT_THAT(sinceThen(), ElementsAre("glow"));
  send(R"({"type":"redo"})");
  EXPECT_THAT(sinceThen(), ElementsAre("glow"));
  edit(R"({"parameter":"glow","reset":true})");
  EXPECT_THAT(sinceThen(), ElementsAre("glow"));
}

TEST_F(ToldEdits, ThoseOfADragAreAllToldHoweverFewFramesAreDrawn) {
  frames_.hold(true);
  sinceThen();
  std::vector<std::string> expected;
  for (int value = 21; value < 60; ++value) {
    edit(R"({"parameter":"glow","value":)" + std::to_string(value) + "}");
    expected.push_back("glow");
  }
  send(R"({"type":"undo"})");
  expected.push_back("glow");
  frames_.hold(false);
  EXPECT_EQ(sinceThen(), expected);
}

TEST_F(ToldEdits, WhatChangesNoParameterOfTheFilterIsNotTold) {
  edit(R"({"parameter":"glow","value":20})");
  EXPECT_THAT(sinceThen(), IsEmpty()) << "the default";
  edit(R"({"scene":"seed","value":5})");
  send(R"({"type":"edit","edits":[{"parameter":"tongues","value":3},{"parameter":"glow","value":500}]})", "error");
  EXPECT_THAT(sinceThen(), IsEmpty());
  // Ours, for which the filter leaves the source out.
  edit(R"({"parameter":"fire-opacity","value":50})");
  EXPECT_THAT(sinceThen(), ElementsAre("source-opacity"));
}

}  // namespace
}  // namespace pyrelux::studio
