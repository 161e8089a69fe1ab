#pragma once

#include <cstddef>
#include <utility>

namespace pyrelux::soft {

/// Returns at least `bytes` bytes, aligned to 64, with undefined contents. Large blocks are recycled from those given
/// back, because a fresh block costs a page fault for every 4 KB, which takes longer than drawing into it. The caller
/// gives the memory back. Throws std::bad_alloc. Thread: any.
void *takeMemory(std::size_t bytes);
/// Takes back memory from takeMemory(), which was asked for the same number of bytes. Thread: any.
void giveMemoryBack(void *memory, std::size_t bytes) noexcept;

/// An array of numbers, which owns its memory. Values are undefined until they are written.
template <typename Number>
class RecycledArray {
 public:
  RecycledArray() = default;
  explicit RecycledArray(std::size_t size)
      : data_(static_cast<Number *>(takeMemory(size * sizeof(Number)))), size_(size) {}
  RecycledArray(RecycledArray &&other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  RecycledArray &operator=(RecycledArray &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~RecycledArray() {
    if (data_) giveMemoryBack(data_, size_ * sizeof(Number));
  }

  Number *data() { return data_; }
  const Number *data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  Number *data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace pyrelux::soft
