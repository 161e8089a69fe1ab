#pragma once

#include <array>
#include <cstddef>
#include <deque>

namespace pyrelux::studio {

/// Which draft is shown: every pixel, every second or every fourth in both directions.
enum class DraftSize { Auto, Whole, Half, Quarter };

/// Chooses the size of drafts so that drawing keeps up with a hand. Thread: one at a time.
class DraftScale {
 public:
  /// How long a draft may take in the median, milliseconds.
  static constexpr double mostMilliseconds = 40.0;

  /// 1, 2 or 4: by how much the picture's sides are divided. `shownShare`: the width of the picture on the page's
  /// screen / its own; a draft is no larger than what is seen.
  int choose(DraftSize wanted, double shownShare) const;

  /// A draft of that scale took so long, with its encoding.
  void took(int scale, double milliseconds);

  /// What is drawn is another picture; nothing is known of it.
  void forget();

 private:
  static constexpr std::size_t kept = 9;

  static std::size_t indexOf(int scale) { return scale == 1 ? 0 : scale == 2 ? 1 : 2; }
  /// The median of what is known, or what those of other scales lead to expect; 0 if nothing is known.
  double expected(std::size_t index) const;

  std::array<std::deque<double>, 3> times_;
  std::size_t now_ = 0;
};

}  // namespace pyrelux::studio
