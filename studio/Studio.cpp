#include "Studio.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "Desk.h"
#include "Server.h"

namespace pyrelux::studio {

namespace {

/// Work for one thread, from any.
class Tray {
 public:
  void put(std::function<void(Desk &)> task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
    changed_.notify_one();
  }

  /// Waits for a task up to a time; null if none came.
  std::function<void(Desk &)> take(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, patience, [this] { return !tasks_.empty(); });
    if (tasks_.empty()) return nullptr;
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void(Desk &)>> tasks_;
};

/// Takes what pages say to the desk, and what the desk and the preview say to the pages.
class Post : public ServerListener, public PreviewListener, public Mail {
 public:
  explicit Post(Tray &tray) : tray_(tray) {}

  Server *server = nullptr;  ///< from before the first page on

  void connected(PageId page) override {
    tray_.put([page](Desk &desk) { desk.connected(page); });
  }
  void received(PageId page, std::string message) override {
    tray_.put([page, message = std::move(message)](Desk &desk) { desk.received(page, message); });
  }
  void gone(PageId page) override {
    tray_.put([page](Desk &desk) { desk.gone(page); });
  }
  void headerWanted(HeaderReply reply) override {
    tray_.put([reply = std::move(reply)](Desk &desk) { reply(desk.headerPng()); });
  }

  void drawn(PageId page, DrawnFrame frame) override { server->send(page, binaryOf(frame)); }
  void failed(PageId page, std::int64_t id, std::int64_t frame, std::uint64_t revision,
              const std::string &cause) override {
    send(page, {{"type", "frame-error"}, {"id", id}, {"frame", frame}, {"revision", revision}, {"message", cause}});
  }
  void thumbnailDrawn(PageId page, DrawnThumbnail thumbnail) override { server->send(page, binaryOf(thumbnail)); }

  void send(PageId page, const Json &message) override { server->send(page, textOf(message)); }
  void sendToAll(const Json &message) override { server->sendToAll(textOf(message)); }
  std::string newAddress() override { return server->newAddress(); }

 private:
  Tray &tray_;
};

/// Pictures of other sizes come and go for hours. Blocks as large as pictures go back to the system at once; from the
/// heap they would leave holes that blocks of the next size do not fit into.
void keepLargeBlocksOffTheHeap() {
#if defined(__GLIBC__)
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
}

}  // namespace

void runStudio(const StudioOptions &options, const job::StopToken &stop) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds look{50};
  constexpr std::chrono::milliseconds betweenExports{200};
  keepLargeBlocksOffTheHeap();
  Tray tray;
  Post post(tray);
  Server server(options.port, options.root + "/uploads", stateFolder(), ServerLimits(), post);
  post.server = &server;
  std::atomic<bool> exportsChanged{false};
  {
    Desk desk(options, post, post, [&exportsChanged] { exportsChanged = true; });
    server.start();
    if (options.ready) options.ready(server.newAddress());
    Clock::time_point told = Clock::now();
    while (!desk.isEnded() && !stop.isRequested()) {
      if (const auto task = tray.take(look)) task(desk);
      if (Clock::now() - told < betweenExports || !exportsChanged.exchange(false)) continue;
      told = Clock::now();
      desk.tellExports();
    }
    // Exports end with the desk.
  }
  server.stop(textOf(Json{{"type", "bye"}, {"reason", stop.isRequested() ? "interrupted" : "a page has ended it"}}));
}

}  // namespace pyrelux::studio
