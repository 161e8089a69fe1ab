#include "Preview.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>

#include "KeptPictures.h"
#include "OwnParameters.h"
#include "Presets.h"
#include "Requests.h"

namespace pyrelux::studio {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Keeps what it is told; the first frame can be held up on the drawing thread, so that others gather behind it.
class Journal : public PreviewListener {
 public:
  void drawn(PageId page, DrawnFrame frame) override {
    std::unique_lock<std::mutex> lock(mutex_);
    lines_.push_back(std::to_string(page) + ":" + std::to_string(frame.id));
    frames_.push_back(std::move(frame));
    changed_.notify_all();
    changed_.wait(lock, [this] { return !isHeld_; });
  }
  void failed(PageId page, std::int64_t id, std::int64_t, std::uint64_t, const std::string &cause) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(std::to_string(page) + ":" + std::to_string(id) + " failed: " + cause);
    changed_.notify_all();
  }
  void thumbnailDrawn(PageId page, DrawnThumbnail thumbnail) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(std::to_string(page) + ":" + thumbnail.name);
    thumbnails_.push_back(std::move(thumbnail));
    changed_.notify_all();
  }

  void hold() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isHeld_ = true;
  }
  void letGo() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isHeld_ = false;
    changed_.notify_all();
  }

  /// What was told, once it is as much as that; or after a long time.
  std::vector<std::string> lines(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, 60s, [&] { return lines_.size() >= count; });
    return lines_;
  }
  /// What was told after a while in which nothing ought to be.
  std::vector<std::string> linesLater() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, 300ms, [] { return false; });
    return lines_;
  }
  DrawnFrame frame(std::size_t at) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return frames_.at(at);
  }
  DrawnThumbnail thumbnail(std::size_t at) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return thumbnails_.at(at);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isHeld_ = false;
  std::vector<std::string> lines_;
  std::vector<DrawnFrame> frames_;
  std::vector<DrawnThumbnail> thumbnails_;
};

class PreviewTest : public testing::Test {
 protected:
  PreviewTest() {
    content_.testPattern = "title";
    content_.project.scene.size = PictureSize{64, 36};
    show();
  }
  ~PreviewTest() override { journal_.letGo(); }

  void show() { preview_.show(++revision_, makePlan(requestOf(content_), nullptr, filter_)); }

  void ask(PageId page, std::int64_t id, std::int64_t frame = 3) {
    FrameRequest request;
    request.id = id;
    request.frame = frame;
    preview_.ask(page, request);
  }

  Content content_;
  host::Filter filter_{host::findFilter(host::defaultSearchPath())};
  std::uint64_t revision_ = 0;
  Journal journal_;
  Preview preview_{"soft", journal_};
};

TEST_F(PreviewTest, DrawsTheNewestRequestAndDropsThoseBeforeIt) {
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  for (std::int64_t id = 2; id <= 9; ++id) ask(1, id);
  journal_.letGo();
  EXPECT_THAT(journal_.lines(2), ElementsAre("1:1", "1:9"));
  EXPECT_THAT(journal_.linesLater(), ElementsAre("1:1", "1:9"));
}

TEST_F(PreviewTest, DrawsTheNewestOfFireAndOfTheSource) {
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  FrameRequest source;
  source.wantsSource = true;
  for (std::int64_t id = 2; id <= 7; ++id) {
    if (id % 2) {
      ask(2, id);
    } else {
      source.id = id;
      preview_.ask(2, source);
    }
  }
  journal_.letGo();
  EXPECT_THAT(journal_.lines(3), ElementsAre("1:1", "2:6", "2:7"));
}

TEST_F(PreviewTest, HasTwoFramesOnTheirWayAtMost) {
  for (std::int64_t id = 1; id <= 2; ++id) {
    ask(1, id);
    journal_.lines(static_cast<std::size_t>(id));
  }
  ask(1, 3);
  EXPECT_THAT(journal_.linesLater(), ElementsAre("1:1", "1:2"));
  ask(1, 4);
  preview_.acknowledge(1, 2);
  EXPECT_THAT(journal_.lines(3), ElementsAre("1:1", "1:2", "1:4"));
}

TEST_F(PreviewTest, CountsFramesWithoutAnAnswerAsLostAfterAWhile) {
  for (std::int64_t id = 1; id <= 2; ++id) {
    ask(1, id);
    journal_.lines(static_cast<std::size_t>(id));
  }
  const auto asked = std::chrono::steady_clock::now();
  ask(1, 3);
  EXPECT_THAT(journal_.lines(3), ElementsAre("1:1", "1:2", "1:3"));
  EXPECT_GT(std::chrono::steady_clock::now() - asked, Preview::lostAfter / 4);
}

TEST_F(PreviewTest, DoesNotCountAnAnswerToAnotherFrame) {
  for (std::int64_t id = 1; id <= 2; ++id) {
    ask(1, id);
    journal_.lines(static_cast<std::size_t>(id));
  }
  ask(1, 3);
  preview_.acknowledge(1, 77);
  preview_.acknowledge(2, 1);
  EXPECT_THAT(journal_.linesLater(), ElementsAre("1:1", "1:2"));
}

TEST_F(PreviewTest, ServesPagesInTurns) {
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  for (const PageId page : {1, 2, 3}) ask(page, 10 + page);
  journal_.letGo();
  EXPECT_THAT(journal_.lines(4), ElementsAre("1:1", "2:12", "3:13", "1:11"));
}

TEST_F(PreviewTest, ForgetsPagesThatAreGone) {
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  ask(2, 5);
  preview_.forget(2);
  journal_.letGo();
  EXPECT_THAT(journal_.linesLater(), ElementsAre("1:1"));
}

TEST_F(PreviewTest, TellsWhyAFrameCantBeDrawn) {
  preview_.show(5, nullptr);
  ask(1, 1);
  EXPECT_THAT(journal_.lines(1), ElementsAre("1:1 failed: there is nothing to draw"));
}

TEST_F(PreviewTest, GoesOnAfterAFailure) {
  FrameRequest request;
  request.id = 1;
  request.backdrop = {WantedBackdrop::Kind::File, {}, "/nowhere/plate.png"};
  preview_.ask(1, request);
  EXPECT_THAT(journal_.lines(1), ElementsAre(testing::HasSubstr("1:1 failed: cannot read '/nowhere/plate.png'")));
  ask(1, 2);
  EXPECT_EQ(journal_.lines(2).back(), "1:2");
}

TEST_F(PreviewTest, DrawsDraftsInTheSizeAskedFor) {
  std::int64_t id = 0;
  for (const DraftSize size : {DraftSize::Whole, DraftSize::Half, DraftSize::Quarter}) {
    FrameRequest request;
    request.id = ++id;
    request.size = size;
    preview_.ask(1, request);
    journal_.lines(static_cast<std::size_t>(id));
    preview_.acknowledge(1, id);
  }
  EXPECT_EQ(journal_.frame(0).width, 64);
  EXPECT_EQ(journal_.frame(1).width, 32);
  EXPECT_EQ(journal_.frame(1).scale, 2);
  EXPECT_EQ(journal_.frame(2).height, 9);
  EXPECT_EQ(journal_.frame(2).bytes[0], 0xFF);
  EXPECT_FALSE(journal_.frame(2).isPng);
}

TEST_F(PreviewTest, ShowsTheSourceWithoutFire) {
  FrameRequest request;
  request.id = 1;
  request.isSettled = request.wantsSource = true;
  preview_.ask(1, request);
  journal_.lines(1);
  request.id = 2;
  request.wantsSource = false;
  preview_.ask(1, request);
  journal_.lines(2);
  EXPECT_TRUE(journal_.frame(0).isSource);
  EXPECT_NE(journal_.frame(0).bytes, journal_.frame(1).bytes);
}

TEST_F(PreviewTest, DrawsThumbnailsOfItsOwnTitleOnceNoFrameIsWanted) {
  const auto declarations = project::allParameters(filter_).declarations();
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  ThumbnailRequest request;
  request.width = 32;
  request.height = 30;
  for (const char *name : {"bonfire", "torch"})
    request.presets.push_back({name, project::loadPreset(name, declarations)});
  preview_.askThumbnails(1, request);
  ask(2, 7);
  journal_.letGo();
  EXPECT_THAT(journal_.lines(4), ElementsAre("1:1", "2:7", "1:bonfire", "1:torch"));
  EXPECT_EQ(journal_.thumbnail(0).width, 32);
  EXPECT_EQ(journal_.thumbnail(0).height, 18);
  EXPECT_NE(journal_.thumbnail(0).bytes, journal_.thumbnail(1).bytes);
}

TEST_F(PreviewTest, PutsNewThumbnailsInThePlaceOfOldOnes) {
  const auto declarations = project::allParameters(filter_).declarations();
  journal_.hold();
  ask(1, 1);
  journal_.lines(1);
  preview_.askThumbnails(1, {32, 18, {{"bonfire", project::loadPreset("bonfire", declarations)}}});
  preview_.askThumbnails(1, {32, 18, {{"torch", project::loadPreset("torch", declarations)}}});
  journal_.letGo();
  journal_.lines(2);
  EXPECT_THAT(journal_.linesLater(), ElementsAre("1:1", "1:torch"));
}

TEST(KeptPicturesTest, NeverTakeMoreThanTheirLimit) {
  constexpr std::size_t most = 100000;
  KeptPictures pictures(most);
  std::size_t mostTaken = 0;
  for (std::int64_t frame = 0; frame < 500; ++frame) {
    const int side = 8 + static_cast<int>(frame * 13 % 50);
    const bool asBytes = frame % 3 == 0;
    const auto picture = std::make_shared<const Image>(asBytes ? Image::bytes(side, side, Alpha::Premultiplied)
                                                               : Image::floats(side, side, Alpha::Premultiplied));
    const KeptPictures::Key key{nullptr, frame, side, side, asBytes};
    pictures.keep(key, picture);
    ASSERT_LE(pictures.bytes(), most);
    ASSERT_EQ(pictures.find(key), picture);
    mostTaken = std::max(mostTaken, pictures.bytes());
  }
  EXPECT_GT(mostTaken, most / 2);
}

TEST(KeptPicturesTest, ForgetFirstWhatWasNotUsedForTheLongestTime) {
  const auto picture = std::make_shared<const Image>(Image::bytes(10, 10, Alpha::Premultiplied));
  KeptPictures pictures(1200);
  for (const std::int64_t frame : {1, 2, 3}) pictures.keep({nullptr, frame, 10, 10, true}, picture);
  EXPECT_TRUE(pictures.find({nullptr, 1, 10, 10, true}));
  pictures.keep({nullptr, 4, 10, 10, true}, picture);
  EXPECT_TRUE(pictures.find({nullptr, 1, 10, 10, true}));
  EXPECT_FALSE(pictures.find({nullptr, 2, 10, 10, true}));
  EXPECT_FALSE(pictures.find({nullptr, 1, 10, 10, false}));
}

TEST_F(PreviewTest, PicturesOfInputsThatAreOpenNoMoreAreForgotten) {
  const auto one = makePlan(requestOf(content_), nullptr, filter_);
  const auto other = makePlan(requestOf(content_), nullptr, filter_);
  const auto picture = std::make_shared<const Image>(Image::bytes(10, 10, Alpha::Premultiplied));
  KeptPictures pictures;
  for (const auto &plan : {one, other}) pictures.keep({plan->open, 1, 10, 10, true}, picture);
  pictures.keepOnly(one->open, other->open);
  EXPECT_EQ(pictures.bytes(), 800u);
  pictures.keepOnly(other->open, nullptr);
  EXPECT_EQ(pictures.bytes(), 400u);
  EXPECT_FALSE(pictures.find({one->open, 1, 10, 10, true}));
  EXPECT_TRUE(pictures.find({other->open, 1, 10, 10, true}));
}

TEST(KeptPicturesTest, AreNotManyHoweverSmallTheyAre) {
  const auto picture = std::make_shared<const Image>(Image::bytes(1, 1, Alpha::Premultiplied));
  KeptPictures pictures;
  for (std::int64_t frame = 0; frame <= 8; ++frame) pictures.keep({nullptr, frame, 1, 1, true}, picture);
  EXPECT_FALSE(pictures.find({nullptr, 0, 1, 1, true}));
  EXPECT_TRUE(pictures.find({nullptr, 1, 1, 1, true}));
  EXPECT_EQ(pictures.bytes(), KeptPictures::mostPictures * 4);
}

TEST(KeptPicturesTest, DoNotKeepWhatIsLargerThanAllTogether) {
  KeptPictures pictures(1200);
  pictures.keep({nullptr, 1, 10, 10, true}, std::make_shared<const Image>(Image::bytes(10, 10, Alpha::Straight)));
  pictures.keep({nullptr, 2, 20, 20, true}, std::make_shared<const Image>(Image::bytes(20, 20, Alpha::Straight)));
  EXPECT_FALSE(pictures.find({nullptr, 2, 20, 20, true}));
  EXPECT_TRUE(pictures.find({nullptr, 1, 10, 10, true}));
  EXPECT_EQ(pictures.bytes(), 400u);
}

TEST_F(PreviewTest, EndsWhileFramesAreWanted) {
  for (std::int64_t id = 1; id <= 50; ++id) ask(static_cast<PageId>(id), id, 1 + id * 100);
}

}  // namespace
}  // namespace pyrelux::studio
