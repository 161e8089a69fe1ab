#include "RecycledArray.h"

#include <sys/mman.h>

#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

namespace pyrelux::soft {

namespace {

constexpr std::size_t alignment = 64;
/// Smaller blocks go back to the allocator.
constexpr std::size_t minKeptBytes = std::size_t{256} << 10;
/// Enough for the surfaces and planes of any float frame smaller than 4K.
constexpr std::size_t maxKeptBytes = std::size_t{256} << 20;
/// About the number of blocks that one frame takes; more would be left over from frames of other sizes.
constexpr std::size_t maxKeptBlocks = 16;

/// Large pages for a large block, where the system has them: it asks for each of 4 KB otherwise, which takes longer
/// than to draw into it.
void useHugePages(std::byte *block, std::size_t bytes) {
#if defined(MADV_HUGEPAGE)
  constexpr std::uintptr_t page = std::uintptr_t{2} << 20;
  const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(block) % page) % page;
  // Without them it goes on as before.
  if (bytes >= before + page) madvise(block + before, (bytes - before) / page * page, MADV_HUGEPAGE);
#else
  static_cast<void>(block), static_cast<void>(bytes);
#endif
}

/// Deliberate: aligns plain blocks by hand. glibc before 2.38 does not reuse the memory of freed aligned blocks, so a
/// process that allocates some in every frame would grow with every frame.
void *allocate(std::size_t bytes) {
  auto *block = static_cast<std::byte *>(::operator new(bytes + alignment));
  useHugePages(block, bytes + alignment);
  // A plain block is aligned for pointers, so a pointer fits before the aligned address.
  std::byte *aligned = block + (alignment - reinterpret_cast<std::uintptr_t>(block) % alignment);
  reinterpret_cast<void **>(aligned)[-1] = block;
  return aligned;
}

void release(void *memory) noexcept { ::operator delete(static_cast<void **>(memory)[-1]); }

struct Block {
  void *memory;
  std::size_t bytes;
};

class Store {
 public:
  ~Store() {
    for (const Block &block : blocks_) release(block.memory);
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

  /// Frees the oldest blocks while there are too many.
  void give(void *memory, std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(mutex_);
    blocks_.push_back({memory, bytes});
    kept_ += bytes;
    while (kept_ > maxKeptBytes || blocks_.size() > maxKeptBlocks) {
      kept_ -= blocks_.front().bytes;
      release(blocks_.front().memory);
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
  if (bytes >= minKeptBytes)
    if (void *memory = store().take(bytes)) return memory;
  return allocate(bytes);
}

void giveMemoryBack(void *memory, std::size_t bytes) noexcept {
  try {
    if (bytes >= minKeptBytes) return store().give(memory, bytes);
  } catch (const std::bad_alloc &) {
    // No memory to note the block: it goes back to the allocator.
  }
  release(memory);
}

}  // namespace pyrelux::soft
