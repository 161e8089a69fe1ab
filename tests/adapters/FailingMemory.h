#pragma once

#include <cstddef>

namespace pyrelux::adapters::test {

/// While it lives, C++ allocations of so many bytes and more fail, in the libraries too.
class FailingMemory {
 public:
  explicit FailingMemory(std::size_t fromBytes);
  ~FailingMemory();
  FailingMemory(const FailingMemory &) = delete;
  FailingMemory &operator=(const FailingMemory &) = delete;
};

}  // namespace pyrelux::adapters::test
