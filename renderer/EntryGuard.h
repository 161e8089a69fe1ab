#pragma once

#include <ctime>

namespace pyrelux {

/// True while a render of any filter in the process is inside its body.
/// Deliberately not atomic: two simultaneous renders may both enter; hosts call one at a time.
extern bool functionActive;

/// Lets one render at a time into its body. A render that finds another one inside waits in busy steps, each 0.2 s of
/// the process's processor time, and gives up after 151 steps.
class EntryGuard {
 public:
  /// Waits until no render is inside, and enters. `processorClock` returns processor time in microseconds.
  explicit EntryGuard(std::clock_t (*processorClock)() = std::clock);
  /// Leaves, if this render entered.
  ~EntryGuard();
  EntryGuard(const EntryGuard &) = delete;
  EntryGuard &operator=(const EntryGuard &) = delete;

  /// False when the render gave up waiting.
  bool entered() const { return entered_; }

 private:
  bool entered_ = false;
};

}  // namespace pyrelux
