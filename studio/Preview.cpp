#include "Preview.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "Hand.h"

namespace pyrelux::studio {

struct Preview::Task {
  PageId page = 0;
  std::uint64_t revision = 0;
  std::shared_ptr<const Plan> plan;
  std::vector<std::shared_ptr<const Plan>> edits;  ///< to tell the filter of; nothing else is to be done then
  std::optional<FrameRequest> frame;               ///< otherwise a thumbnail
  ThumbnailRequest::Preset preset;
  int width = 0, height = 0;  ///< of a thumbnail
};

namespace {

double millisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

Preview::Preview(const std::string &backend, PreviewListener &listener) : listener_(listener), backend_(backend) {
  thread_ = std::thread([this] { work(); });
}

Preview::~Preview() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_.request();
    changed_.notify_all();
  }
  thread_.join();
}

void Preview::show(std::uint64_t revision, std::shared_ptr<const Plan> plan) {
  const std::lock_guard<std::mutex> lock(mutex_);
  revision_ = revision;
  const bool isOfSameSize =
      plan && plan_ && plan->info.width == plan_->info.width && plan->info.height == plan_->info.height;
  if (!isOfSameSize)
    for (auto &[number, page] : pages_) page.scale.forget();
  plan_ = std::move(plan);
  if (!plan_) return;
  untold_.push_back(plan_);
  changed_.notify_all();
}

void Preview::ask(PageId page, const FrameRequest &request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  pages_[page].wanted.insert_or_assign(request.wantsSource, request);
  changed_.notify_all();
}

void Preview::acknowledge(PageId page, std::int64_t id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = pages_.find(page);
  if (found == pages_.end() || found->second.underWay.erase(id) == 0) return;
  changed_.notify_all();
}

void Preview::askThumbnails(PageId page, ThumbnailRequest request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // The last comes first out.
  std::reverse(request.presets.begin(), request.presets.end());
  pages_[page].thumbnails = std::move(request);
  changed_.notify_all();
}

void Preview::forget(PageId page) {
  const std::lock_guard<std::mutex> lock(mutex_);
  pages_.erase(page);
}

std::optional<Preview::Task> Preview::next(std::unique_lock<std::mutex> &lock) {
  for (;;) {
    if (stop_.isRequested()) return std::nullopt;
    Task task;
    task.revision = revision_;
    task.plan = plan_;
    if (!untold_.empty()) {
      task.edits = std::exchange(untold_, {});
      return task;
    }
    std::optional<Clock::time_point> wake;
    if (takeFrame(task, wake) || takeThumbnail(task)) return task;
    if (wake)
      changed_.wait_until(lock, *wake);
    else
      changed_.wait(lock);
  }
}

bool Preview::takeFrame(Task &task, std::optional<Clock::time_point> &wake) {
  const Clock::time_point now = Clock::now();
  Page *chosen = nullptr;
  for (auto &[number, page] : pages_) {
    for (auto frame = page.underWay.begin(); frame != page.underWay.end();)
      frame = now - frame->second >= lostAfter ? page.underWay.erase(frame) : std::next(frame);
    if (page.wanted.empty()) continue;
    if (page.underWay.size() >= mostUnderWay) {
      for (const auto &[frame, sent] : page.underWay)
        if (!wake || sent + lostAfter < *wake) wake = sent + lostAfter;
      continue;
    }
    // Pages take turns.
    const bool isAfterLast = number > last_;
    if (!chosen || (isAfterLast && task.page <= last_)) {
      chosen = &page;
      task.page = number;
    }
  }
  if (!chosen) return false;
  last_ = task.page;
  // In the order in which they were asked for.
  const auto first =
      std::min_element(chosen->wanted.begin(), chosen->wanted.end(),
                       [](const auto &one, const auto &other) { return one.second.id < other.second.id; });
  task.frame = first->second;
  chosen->wanted.erase(first);
  return true;
}

bool Preview::takeThumbnail(Task &task) {
  for (auto &[number, page] : pages_) {
    if (!page.thumbnails) continue;
    if (page.thumbnails->presets.empty() || !plan_) {
      page.thumbnails.reset();
      continue;
    }
    task.page = number;
    task.preset = std::move(page.thumbnails->presets.back());
    task.width = page.thumbnails->width;
    task.height = page.thumbnails->height;
    page.thumbnails->presets.pop_back();
    return true;
  }
  return false;
}

void Preview::work() {
  std::unique_ptr<Hand> hand;
  std::unique_lock<std::mutex> lock(mutex_);
  while (const std::optional<Task> task = next(lock)) {
    lock.unlock();
    try {
      if (!hand) hand = std::make_unique<Hand>(backend_, stop_);
      work(*hand, *task);
    } catch (const std::exception &error) {
      // A look that can't be drawn has no picture, and what is broken off needs none.
      if (task->frame && !stop_.isRequested())
        listener_.failed(task->page, task->frame->id, task->frame->frame, task->revision, error.what());
    }
    lock.lock();
  }
}

void Preview::work(Hand &hand, const Task &task) {
  if (!task.edits.empty())
    hand.tell(task.edits);
  else if (task.frame)
    draw(hand, task);
  else
    drawThumbnail(hand, task);
}

void Preview::draw(Hand &hand, const Task &task) {
  const FrameRequest &request = *task.frame;
  if (!task.plan) {
    listener_.failed(task.page, request.id, request.frame, task.revision, "there is nothing to draw");
    return;
  }
  const Clock::time_point start = Clock::now();
  int scale = 1;
  if (!request.isSettled) {
    const double share =
        request.shownWidth > 0.0 ? request.shownWidth / hand.infoOver(task.plan, request.backdrop).width : 1.0;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (const auto found = pages_.find(task.page); found != pages_.end())
      scale = found->second.scale.choose(request.size, share);
  }
  const Hand::Drawing drawing = hand.draw(task.plan, request, scale);
  DrawnFrame frame;
  frame.id = request.id;
  frame.frame = request.frame;
  frame.revision = task.revision;
  frame.width = drawing.front->width();
  frame.height = drawing.front->height();
  frame.scale = scale;
  frame.isPng = request.isSettled;
  frame.isSource = request.wantsSource;
  frame.bytes = request.isSettled ? settledPng(*drawing.front, drawing.back, drawing.bits, drawing.pixelAspect)
                                  : hand.encoder().encode(*drawing.front, drawing.back);
  frame.milliseconds = millisecondsSince(start);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = pages_.find(task.page);
    // The page is gone.
    if (found == pages_.end()) return;
    if (!request.isSettled && !request.wantsSource) found->second.scale.took(scale, frame.milliseconds);
    found->second.underWay[request.id] = Clock::now();
  }
  listener_.drawn(task.page, std::move(frame));
}

void Preview::drawThumbnail(Hand &hand, const Task &task) {
  const Hand::Drawing drawing = hand.drawLook(*task.plan, task.preset.look, task.width, task.height);
  DrawnThumbnail thumbnail;
  thumbnail.name = task.preset.name;
  thumbnail.revision = task.revision;
  thumbnail.width = drawing.front->width();
  thumbnail.height = drawing.front->height();
  thumbnail.bytes = hand.encoder().encode(*drawing.front, drawing.back);
  listener_.thumbnailDrawn(task.page, std::move(thumbnail));
}

}  // namespace pyrelux::studio
