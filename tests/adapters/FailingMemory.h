#pragma once

#include <cstddef>

namespace pyrelux::adapters::test {

/// C++ allocations fail while the object lives, in libraries too.
class FailingMemory {
 public:
  /// Allocations of at least that many bytes fail, after the first `spared` of them.
  explicit FailingMemory(std::size_t fromBytes, int spared = 0);
  ~FailingMemory();
  FailingMemory(const FailingMemory &) = delete;
  FailingMemory &operator=(const FailingMemory &) = delete;

  bool hasFailed() const;
};

}  // namespace pyrelux::adapters::test
