#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "DraftScale.h"
#include "FireDrawer.h"
#include "Picture.h"
#include "Plan.h"
#include "Project.h"
#include "StopToken.h"

namespace pyrelux::studio {

/// A page, by a number of its own.
using PageId = int;

/// What a page lays a frame over.
struct WantedBackdrop {
  enum class Kind { Checker, Colour, File };
  Kind kind = Kind::Checker;
  Colour colour{};
  std::string text;  ///< the colour as it was written, or the file's path, as this process takes it
};

/// A frame that a page wants to show.
struct FrameRequest {
  std::int64_t id = 0;  ///< the page's own, growing
  std::int64_t frame = 1;
  double shownWidth = 0;  ///< of the picture on the page's screen, in its pixels
  DraftSize size = DraftSize::Auto;
  WantedBackdrop backdrop;
  bool wantsSource = false;  ///< what burns, without fire
  bool isSettled = false;    ///< the lossless picture of full size
};

/// A picture for a page.
struct DrawnFrame {
  std::int64_t id = 0;
  std::int64_t frame = 0;
  std::uint64_t revision = 0;  ///< of the document
  int width = 0;
  int height = 0;
  int scale = 1;
  bool isPng = false;
  bool isSource = false;
  double milliseconds = 0.0;  ///< that drawing and encoding took
  std::vector<std::uint8_t> bytes;
};

/// The document's own title with the look of a preset.
struct DrawnThumbnail {
  std::string name;
  std::uint64_t revision = 0;
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> bytes;  ///< of a JPEG
};

struct ThumbnailRequest {
  int width = 192;   ///< the most, pixels
  int height = 108;  ///< the most, pixels
  struct Preset {
    std::string name;
    project::Project look;
  };
  std::vector<Preset> presets;
};

/// Is told what became of requests, on the drawing thread.
class PreviewListener {
 public:
  virtual ~PreviewListener() = default;
  virtual void drawn(PageId page, DrawnFrame frame) = 0;
  virtual void failed(PageId page, std::int64_t id, std::int64_t frame, std::uint64_t revision,
                      const std::string &cause) = 0;
  virtual void thumbnailDrawn(PageId page, DrawnThumbnail thumbnail) = 0;
};

/// Draws what pages want to see, on a thread of its own. Of each page the newest request for fire and the newest for
/// the source count, and others are dropped before they are drawn. At most two frames are on their way to a page; one
/// that is not answered for two seconds counts as lost. Thread: any.
class Preview {
 public:
  /// `backend`: one of host::backendNames(). Throws HostError.
  Preview(const std::string &backend, PreviewListener &listener);
  /// Waits for the frame that is being drawn; what leads to a far frame is broken off.
  ~Preview();
  Preview(const Preview &) = delete;
  Preview &operator=(const Preview &) = delete;

  /// From now on this document is drawn; null for one that can't be. The filter that draws is told of each parameter in
  /// which it differs from the one before, even where no frame is drawn in between.
  void show(std::uint64_t revision, std::shared_ptr<const Plan> plan);

  void ask(PageId page, const FrameRequest &request);
  /// The page has shown the frame.
  void acknowledge(PageId page, std::int64_t id);
  /// Drawn when no frame is to be; a page's new request takes the place of its old one.
  void askThumbnails(PageId page, ThumbnailRequest request);
  void forget(PageId page);

  static constexpr std::size_t mostUnderWay = 2;
  static constexpr std::chrono::milliseconds lostAfter{2000};

 private:
  using Clock = std::chrono::steady_clock;

  struct Page {
    std::map<bool, FrameRequest> wanted;                 ///< the newest of fire and, at true, of the source
    std::map<std::int64_t, Clock::time_point> underWay;  ///< by id, when they were sent
    std::optional<ThumbnailRequest> thumbnails;
    DraftScale scale;
  };
  struct Task;
  class Hand;

  void work();
  /// The next thing to do; nothing if the thread is to end. The mutex is held.
  std::optional<Task> next(std::unique_lock<std::mutex> &lock);
  // Whether there is one, which is taken out of what pages want. The mutex is held.
  /// `wake`: when one counts as lost that another waits for.
  bool takeFrame(Task &task, std::optional<Clock::time_point> &wake);
  bool takeThumbnail(Task &task);
  /// On the drawing thread.
  void work(Hand &hand, const Task &task);
  void draw(Hand &hand, const Task &task);
  void drawThumbnail(Hand &hand, const Task &task);

  PreviewListener &listener_;
  std::string backend_;
  job::StopToken stop_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t revision_ = 0;
  std::shared_ptr<const Plan> plan_;
  std::vector<std::shared_ptr<const Plan>> untold_;  ///< that the filter was not told of yet, in their order
  std::map<PageId, Page> pages_;
  PageId last_ = 0;  ///< the page that was served last
  std::thread thread_;
};

}  // namespace pyrelux::studio
