#pragma once

namespace pyrelux::test {

/// What CGL refuses to make while an object of this lives. The program's own CGL functions stand before those of the
/// platform layer, and hand on whatever is not refused.
struct Refusals {
  bool pixelFormat = false;
  bool context = false;
  bool pbuffer = false;

  Refusals();
  ~Refusals();
  Refusals(const Refusals &) = delete;
  Refusals &operator=(const Refusals &) = delete;
};

/// The virtual screen that every context is on while an object of this lives.
struct VirtualScreen {
  explicit VirtualScreen(int number);
  ~VirtualScreen();
  VirtualScreen(const VirtualScreen &) = delete;
  VirtualScreen &operator=(const VirtualScreen &) = delete;
};

}  // namespace pyrelux::test
