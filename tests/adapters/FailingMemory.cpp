#include "FailingMemory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace pyrelux::adapters::test {

namespace {

std::atomic<std::size_t> tooMuch{SIZE_MAX};
std::atomic<int> left{0};

void *allocate(std::size_t size) {
  const bool fails = size >= tooMuch && left.fetch_sub(1) <= 0;
  return fails ? nullptr : std::malloc(size ? size : 1);
}

}  // namespace

FailingMemory::FailingMemory(std::size_t fromBytes, int spared) {
  left = spared;
  tooMuch = fromBytes;
}
FailingMemory::~FailingMemory() { tooMuch = SIZE_MAX; }

bool FailingMemory::hasFailed() const { return left < 0; }

}  // namespace pyrelux::adapters::test

void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  return pyrelux::adapters::test::allocate(size);
}
void *operator new(std::size_t size) {
  void *memory = operator new(size, std::nothrow);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
