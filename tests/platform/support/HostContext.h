#pragma once

#include <OpenGL/OpenGL.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Backends.h"

namespace pyrelux::test {

/// A pixel format of the named backend, or of any when it is 0. Null when there is none.
inline CGLPixelFormatObj chooseFormat(std::int32_t backendId, bool floatComponents = false) {
  std::vector<CGLPixelFormatAttribute> attributes;
  const auto add = [&attributes](std::int32_t value) {
    attributes.push_back(static_cast<CGLPixelFormatAttribute>(value));
  };
  add(kCGLPFAColorSize);
  add(floatComponents ? 64 : 32);
  if (floatComponents) add(kCGLPFAColorFloat);
  if (backendId != 0) {
    add(kCGLPFARendererID);
    add(backendId);
  }
  add(0);
  CGLPixelFormatObj format = nullptr;
  GLint count = 0;
  EXPECT_EQ(CGLChoosePixelFormat(attributes.data(), &format, &count), kCGLNoError);
  return format;
}

/// A context; null when it can't be made.
inline CGLContextObj makeContext(std::int32_t backendId, bool floatComponents = false, CGLContextObj share = nullptr) {
  const CGLPixelFormatObj format = chooseFormat(backendId, floatComponents);
  CGLContextObj context = nullptr;
  EXPECT_EQ(CGLCreateContext(format, share, &context), kCGLNoError);
  CGLDestroyPixelFormat(format);
  return context;
}

/// A host's context of the recording backend, current from its construction to its destruction.
class HostContext {
 public:
  explicit HostContext(std::int32_t backendId = platform::kBackendRecording) : context_(makeContext(backendId)) {
    CGLSetCurrentContext(context_);
  }
  ~HostContext() {
    CGLSetCurrentContext(nullptr);
    CGLDestroyContext(context_);
  }
  HostContext(const HostContext &) = delete;
  HostContext &operator=(const HostContext &) = delete;

  CGLContextObj handle() const { return context_; }

 private:
  CGLContextObj context_;
};

}  // namespace pyrelux::test
