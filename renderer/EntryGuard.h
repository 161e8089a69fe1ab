#pragma once

#include <ctime>

namespace pyrelux {

/// Set while a render of any filter in the process is inside its body. A plain flag, tested and set without a lock:
/// that two renders that test it at the same moment can both enter is known, and hosts call one at a time.
extern bool functionActive;

/// Lets one render at a time into its body. A render that finds it taken waits in busy steps of 0.2 s of the process's
/// processor time and gives up after 151 of them.
class EntryGuard {
 public:
  /// Waits for its turn. `processorClock` counts the process's processor time in 1/1,000,000 s.
  explicit EntryGuard(std::clock_t (*processorClock)() = std::clock);
  /// Lets the next render in, if this one was in.
  ~EntryGuard();
  EntryGuard(const EntryGuard &) = delete;
  EntryGuard &operator=(const EntryGuard &) = delete;

  /// False when the wait was given up.
  bool entered() const { return entered_; }

 private:
  bool entered_ = false;
};

}  // namespace pyrelux
