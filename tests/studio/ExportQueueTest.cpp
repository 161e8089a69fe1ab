#include "ExportQueue.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "Plan.h"
#include "Reader.h"
#include "RenderJob.h"
#include "Requests.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;

class ExportQueueTest : public testing::Test {
 protected:
  ExportQueueTest() {
    char name[] = "/tmp/pyrelux-exports-XXXXXX";
    folder_ = mkdtemp(name);
  }
  ~ExportQueueTest() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }

  job::RenderRequest request(const std::string &output, const FrameRange &frames, int width = 64) const {
    Content content;
    content.testPattern = "title";
    content.project.scene.size = PictureSize{width, width / 2};
    job::RenderRequest request = requestOf(content);
    request.output = path(output);
    request.scene.frames = frames;
    request.backend = "soft";
    return request;
  }

  int add(ExportQueue &queue, const std::string &output, const FrameRange &frames, int width = 64) const {
    return queue.add(request(output, frames, width), frames, std::nullopt);
  }

  /// The status once it is what is waited for.
  template <typename Ready>
  static ExportStatus wait(ExportQueue &queue, int id, Ready ready) {
    for (int tries = 0; tries < 12000; ++tries) {
      for (const ExportStatus &status : queue.list())
        if (status.id == id && ready(status)) return status;
      std::this_thread::sleep_for(5ms);
    }
    ADD_FAILURE() << "export " << id << " never came to it";
    return {};
  }
  static ExportStatus waitForEnd(ExportQueue &queue, int id) {
    return wait(queue, id, [](const ExportStatus &status) {
      return status.state != ExportState::Waiting && status.state != ExportState::Running;
    });
  }

  std::string contents(const std::string &name) const {
    std::ostringstream text;
    text << std::ifstream(path(name), std::ios::binary).rdbuf();
    return text.str();
  }
  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

  fs::path folder_;
};

TEST_F(ExportQueueTest, WritesWhatTheRenderCommandWrites) {
  for (const char *output : {"fire.png", "fire.mov", "fire_####.exr"}) {
    const bool isStill = std::string(output) == "fire.png";
    const FrameRange frames = isStill ? FrameRange{4, 4} : FrameRange{3, 6};
    {
      ExportQueue queue([] {});
      const ExportStatus status = waitForEnd(queue, add(queue, output, frames));
      EXPECT_EQ(status.state, ExportState::Done) << status.message;
      EXPECT_EQ(status.done, frames.count());
    }
    const std::string file = media::Writer::pathOf(output, frames.last);
    const std::string exported = contents(file);
    job::RenderRequest again = request(output, frames);
    again.existing = job::Existing::Replace;
    job::RenderListener silence;
    job::RenderJob(again).run(silence, job::StopToken());
    EXPECT_FALSE(exported.empty());
    EXPECT_EQ(exported, contents(file)) << output;
  }
}

TEST_F(ExportQueueTest, TakesOneAfterTheOtherAndTellsHowFarTheyAre) {
  std::atomic<int> told{0};
  ExportQueue queue([&told] { ++told; });
  const int first = add(queue, "one_####.png", {1, 8});
  const int second = add(queue, "two.mov", {1, 4});
  EXPECT_EQ(waitForEnd(queue, second).state, ExportState::Done);
  const auto list = queue.list();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].id, first);
  EXPECT_EQ(list[0].state, ExportState::Done);
  EXPECT_EQ(list[0].done, 8);
  EXPECT_EQ(list[1].bytes, fs::file_size(path("two.mov")));
  EXPECT_GE(told, 12);
  queue.clear();
  EXPECT_TRUE(queue.list().empty());
  EXPECT_FALSE(queue.isBusy());
}

TEST_F(ExportQueueTest, EndsAMovieThatIsCancelledWithTheLastWholeFrame) {
  ExportQueue queue([] {});
  const int id = add(queue, "long.mov", {1, 100000}, 160);
  wait(queue, id, [](const ExportStatus &status) { return status.done >= 3; });
  EXPECT_TRUE(queue.cancel(id));
  const ExportStatus status = waitForEnd(queue, id);
  EXPECT_EQ(status.state, ExportState::Cancelled);
  EXPECT_THAT(status.message, HasSubstr("of 100000 frames"));
  EXPECT_EQ(media::Reader::open(path("long.mov"))->info().lastFrame, status.done);
  EXPECT_EQ(files(), 1u);
  EXPECT_FALSE(queue.cancel(id));
}

TEST_F(ExportQueueTest, CancelsWhatWaitsAndGoesOnWithTheRest) {
  ExportQueue queue([] {});
  const int first = add(queue, "long.mov", {1, 100000}, 160);
  const int second = add(queue, "never.png", {1, 1});
  const int third = add(queue, "short.png", {1, 1});
  EXPECT_TRUE(queue.cancel(second));
  wait(queue, first, [](const ExportStatus &status) { return status.done >= 1; });
  queue.cancel(first);
  EXPECT_EQ(waitForEnd(queue, third).state, ExportState::Done);
  EXPECT_FALSE(fs::exists(path("never.png")));
  for (const ExportStatus &status : queue.list())
    if (status.id == second) {
      EXPECT_EQ(status.state, ExportState::Cancelled);
    }
}

TEST_F(ExportQueueTest, EndsWithEverythingCancelledAndNoHalfFile) {
  {
    ExportQueue queue([] {});
    const int id = add(queue, "long.mov", {1, 100000}, 160);
    add(queue, "never.mov", {1, 100000}, 160);
    wait(queue, id, [](const ExportStatus &status) { return status.done >= 1; });
  }
  EXPECT_EQ(files(), 1u);
  EXPECT_GE(media::Reader::open(path("long.mov"))->info().lastFrame, 1);
}

TEST_F(ExportQueueTest, TellsWhichFrameFailedAndLeavesNoHalfFile) {
  {
    ExportQueue queue([] {});
    waitForEnd(queue, add(queue, "in_0001.png", {1, 1}));
  }
  for (int number = 2; number <= 4; ++number)
    fs::copy(path("in_0001.png"), path("in_000" + std::to_string(number) + ".png"));
  // The third picture is cut off.
  fs::resize_file(path("in_0003.png"), fs::file_size(path("in_0003.png")) / 2);
  job::RenderRequest broken;
  broken.input = path("in_####.png");
  broken.output = path("fire.mov");
  broken.backend = "soft";
  const std::size_t before = files();
  ExportQueue queue([] {});
  const ExportStatus status = waitForEnd(queue, queue.add(broken, FrameRange{1, 4}, std::nullopt));
  EXPECT_EQ(status.state, ExportState::Failed);
  EXPECT_THAT(status.message, HasSubstr("frame 3: cannot read"));
  EXPECT_EQ(files(), before);
}

TEST_F(ExportQueueTest, TellsThatTheDiskIsFullAndLeavesNoHalfFile) {
  // A limit on the size of files fails writes as a full disk does.
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
  rlimit small = usual;
  small.rlim_cur = 2000;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  for (const char *output : {"fire.mov", "fire.mp4", "fire.png"}) {
    ExportQueue queue([] {});
    const bool isStill = std::string(output) == "fire.png";
    const ExportStatus status = waitForEnd(queue, add(queue, output, {1, isStill ? 1 : 8}, 320));
    EXPECT_EQ(status.state, ExportState::Failed) << output;
    EXPECT_THAT(status.message, HasSubstr("cannot write")) << output;
    EXPECT_EQ(files(), 0u) << output;
  }
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
  std::signal(SIGXFSZ, handler);
}

TEST_F(ExportQueueTest, TellsWhatCantBeBegun) {
  ExportQueue queue([] {});
  const ExportStatus status = waitForEnd(queue, add(queue, "missing/fire.mov", {1, 4}));
  EXPECT_EQ(status.state, ExportState::Failed);
  EXPECT_THAT(status.message, HasSubstr("cannot write"));
}

}  // namespace
}  // namespace pyrelux::studio
