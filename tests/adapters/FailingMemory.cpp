#include "FailingMemory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace pyrelux::adapters::test {

namespace {

std::atomic<std::size_t> tooMuch{SIZE_MAX};

}  // namespace

FailingMemory::FailingMemory(std::size_t fromBytes) { tooMuch = fromBytes; }
FailingMemory::~FailingMemory() { tooMuch = SIZE_MAX; }

}  // namespace pyrelux::adapters::test

void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  return size < pyrelux::adapters::test::tooMuch ? std::malloc(size ? size : 1) : nullptr;
}
void *operator new(std::size_t size) {
  void *memory = operator new(size, std::nothrow);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
