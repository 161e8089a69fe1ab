#include "RecycledArray.h"

#include <mutex>
#include <new>
#include <vector>

namespace pyrelux::soft {

namespace {

constexpr std::align_val_t alignment{64};
/// Smaller blocks are the allocator's business.
constexpr std::size_t smallestKept = std::size_t{256} << 10;
/// What is kept at most: the surfaces and planes of a float frame in 4K are larger, those of smaller frames are not.
constexpr std::size_t mostKept = std::size_t{256} << 20;
/// About what one frame takes; more would only be left over from frames of other sizes.
constexpr std::size_t mostBlocks = 16;

struct Block {
  void *memory;
  std::size_t bytes;
};

class Store {
 public:
  ~Store() {
    for (const Block &block : blocks_) ::operator delete(block.memory, alignment);
  }

  void *take(std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (std::size_t i = blocks_.size(); i-- > 0;) {
      if (blocks_[i].bytes != bytes) continue;
      void *memory = blocks_[i].memory;
      blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(i));
      kept_ -= bytes;
      return memory;
    }
    return nullptr;
  }

  /// The oldest go when there are too many.
  void give(void *memory, std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(mutex_);
    blocks_.push_back({memory, bytes});
    kept_ += bytes;
    while (kept_ > mostKept || blocks_.size() > mostBlocks) {
      kept_ -= blocks_.front().bytes;
      ::operator delete(blocks_.front().memory, alignment);
      blocks_.erase(blocks_.begin());
    }
  }

 private:
  std::mutex mutex_;
  std::vector<Block> blocks_;
  std::size_t kept_ = 0;
};

Store &store() {
  static Store blocks;
  return blocks;
}

}  // namespace

void *takeMemory(std::size_t bytes) {
  if (bytes >= smallestKept)
    if (void *memory = store().take(bytes)) return memory;
  return ::operator new(bytes, alignment);
}

void giveMemoryBack(void *memory, std::size_t bytes) noexcept {
  try {
    if (bytes >= smallestKept) return store().give(memory, bytes);
  } catch (const std::bad_alloc &) {
    // No room to note the block: it goes back to the allocator.
  }
  ::operator delete(memory, alignment);
}

}  // namespace pyrelux::soft
