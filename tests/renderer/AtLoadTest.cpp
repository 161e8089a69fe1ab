// The process-wide state as it is when the renderer is loaded, and the record that is allocated then.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "EntryGuard.h"
#include "FrameRender.h"
#include "OffscreenSurface.h"

// Every new block is filled with this byte, so that memory that nobody has written to is recognisable.
#ifdef __SANITIZE_ADDRESS__
// The sanitizer fills new memory; its allocator stays in use.
constexpr unsigned char freshByte = 0xBE;
#else
constexpr unsigned char freshByte = 0xA5;

void *operator new(std::size_t size) {
  void *memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return std::memset(memory, freshByte, size);
}

void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
#endif

namespace pyrelux::test {
namespace {

/// The state before any test renders or creates a surface.
struct AtTheStart {
  std::vector<unsigned char> record;
  bool functionActive;
  std::int32_t renderCounter, created, on;
  CGLContextObj shared;
  double width, height, bitDepth;
} atTheStart;

class Look : public ::testing::Environment {
  void SetUp() override {
    const auto *bytes = reinterpret_cast<const unsigned char *>(pbuffer);
    atTheStart = {{bytes, bytes + sizeof(VaroPBuffer_tag)},
                  functionActive,
                  renderCounter,
                  pbuffer_created,
                  pbuffer_on,
                  sharedContext,
                  initWidth,
                  initHeight,
                  initBitDepth};
  }
};

const auto *const look = ::testing::AddGlobalTestEnvironment(new Look);

TEST(AtLoad, TheUnusedRecordIsNotInitialised) {
  EXPECT_EQ(atTheStart.record, std::vector<unsigned char>(sizeof(VaroPBuffer_tag), freshByte));
}

TEST(AtLoad, AllElseIsZero) {
  EXPECT_FALSE(atTheStart.functionActive);
  EXPECT_EQ(atTheStart.renderCounter, 0);
  EXPECT_EQ(atTheStart.created, 0);
  EXPECT_EQ(atTheStart.on, 0);
  EXPECT_EQ(atTheStart.shared, nullptr);
  EXPECT_EQ(atTheStart.width, 0.0);
  EXPECT_EQ(atTheStart.height, 0.0);
  EXPECT_EQ(atTheStart.bitDepth, 0.0);
}

}  // namespace
}  // namespace pyrelux::test
