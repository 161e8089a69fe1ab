#pragma once

namespace pyrelux::test {

/// Makes CGL refuse objects while this one lives. The test program's own CGL functions replace those of the platform
/// layer and forward every call that they do not refuse.
struct Refusals {
  bool pixelFormat = false;
  bool context = false;
  bool pbuffer = false;

  Refusals();
  ~Refusals();
  Refusals(const Refusals &) = delete;
  Refusals &operator=(const Refusals &) = delete;
};

/// Puts every context on this virtual screen while the object lives.
struct VirtualScreen {
  explicit VirtualScreen(int number);
  ~VirtualScreen();
  VirtualScreen(const VirtualScreen &) = delete;
  VirtualScreen &operator=(const VirtualScreen &) = delete;
};

}  // namespace pyrelux::test
