#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

#include "Image.h"
#include "Plan.h"

namespace pyrelux::studio {

/// Pictures of inputs that were read, so that an edit reads none again. Those that were not used for the longest time
/// go first. Thread: one at a time.
class KeptPictures {
 public:
  /// Each may keep its sources open.
  static constexpr std::size_t mostPictures = 8;
  /// As much as eight pictures of 1920x1080 take.
  static constexpr std::size_t usualBytes = std::size_t{256} << 20;

  explicit KeptPictures(std::size_t mostBytes = usualBytes) : mostBytes_(mostBytes) {}

  /// Which picture it is.
  struct Key {
    std::shared_ptr<const OpenSources> sources;
    std::int64_t frame = 0;
    int width = 0, height = 0;
    bool asBytes = false;
    bool operator==(const Key &other) const;
  };

  /// Null for one that is not there.
  std::shared_ptr<const Image> find(const Key &key);

  /// One that is larger than all that may be kept is not kept.
  void keep(const Key &key, std::shared_ptr<const Image> picture);

  /// Pictures of other sources go: these are open no more.
  void keepOnly(const std::shared_ptr<const OpenSources> &one, const std::shared_ptr<const OpenSources> &other);

  /// What the pictures take.
  std::size_t bytes() const { return bytes_; }

 private:
  struct Kept {
    Key key;
    std::shared_ptr<const Image> picture;
  };

  std::size_t mostBytes_;
  std::size_t bytes_ = 0;
  std::list<Kept> pictures_;  ///< the one that was used last first
};

}  // namespace pyrelux::studio
