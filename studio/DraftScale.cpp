#include "DraftScale.h"

#include <algorithm>
#include <vector>

namespace pyrelux::studio {

namespace {

double median(const std::deque<double> &times) {
  std::vector<double> sorted(times.begin(), times.end());
  std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2), sorted.end());
  return sorted[sorted.size() / 2];
}

}  // namespace

int DraftScale::choose(DraftSize wanted, double shownShare) const {
  if (wanted == DraftSize::Whole) return 1;
  if (wanted == DraftSize::Half) return 2;
  if (wanted == DraftSize::Quarter) return 4;
  const int seen = shownShare <= 0.25 ? 4 : shownShare <= 0.5 ? 2 : 1;
  return std::max(seen, 1 << now_);
}

double DraftScale::expected(std::size_t index) const {
  if (!times_[index].empty()) return median(times_[index]);
  // A larger draft takes up to four times as long.
  if (index + 1 < times_.size()) return 4.0 * expected(index + 1);
  return 0.0;
}

void DraftScale::took(int scale, double milliseconds) {
  const std::size_t index = indexOf(scale);
  std::deque<double> &times = times_[index];
  times.push_back(milliseconds);
  if (times.size() > kept) times.pop_front();
  // The first draft of a picture fills memory that later ones find filled; one late draft says little.
  constexpr std::size_t enough = 3;
  if (index != now_ || times.size() < enough) return;
  // Sizes that change to and fro are worse than small ones.
  constexpr double margin = 0.7;
  if (now_ + 1 < times_.size() && expected(now_) > mostMilliseconds) {
    times_[++now_].clear();
  } else if (now_ > 0 && expected(now_) * 4.0 < mostMilliseconds * margin) {
    times_[--now_].clear();
  }
}

void DraftScale::forget() {
  for (std::deque<double> &times : times_) times.clear();
  now_ = 0;
}

}  // namespace pyrelux::studio
