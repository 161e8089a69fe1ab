#pragma once

#include <cstddef>

namespace pyrelux::adapters::test {

/// While it lives, C++ allocations fail, in the libraries too.
class FailingMemory {
 public:
  /// Those of so many bytes and more, after the first `spared` of them.
  explicit FailingMemory(std::size_t fromBytes, int spared = 0);
  ~FailingMemory();
  FailingMemory(const FailingMemory &) = delete;
  FailingMemory &operator=(const FailingMemory &) = delete;

  bool hasFailed() const;
};

}  // namespace pyrelux::adapters::test
