// Tests failing allocations: while a test requests it, this program's allocations above a limit fail.

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#include "Screen.h"

namespace {

std::atomic<std::size_t> largestAllocation{std::numeric_limits<std::size_t>::max()};

void *allocate(std::size_t size, std::size_t alignment) {
  const std::size_t whole = (size / alignment + 1) * alignment;
  if (size <= largestAllocation)
    if (void *memory = std::aligned_alloc(alignment, whole)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void *operator new(std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void *operator new[](std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void *operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void *memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete[](void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void *memory, std::size_t) noexcept { std::free(memory); }

namespace pyrelux::soft {
namespace {

using namespace testing;

/// Allocations above 256 KiB fail while this object lives.
class LittleMemory {
 public:
  LittleMemory() { largestAllocation = 256 * 1024; }
  ~LittleMemory() { largestAllocation = std::numeric_limits<std::size_t>::max(); }
  LittleMemory(const LittleMemory &) = delete;
  LittleMemory &operator=(const LittleMemory &) = delete;
};

TEST(Memory, ATextureThatDoesNotFitIsAnErrorAndTheOldImageStays) {
  const Screen screen(1, 1);
  bindNewTexture();
  upload(GL_TEXTURE_RECTANGLE_EXT, 1, 1, picture({50}));
  {
    const LittleMemory little;
    // Larger than the other test's, whose memory may be kept for the next picture.
    glTexImage2D(GL_TEXTURE_RECTANGLE_EXT, 0, static_cast<GLint>(GL_RGBA8), 1001, 1013, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 nullptr);
  }
  EXPECT_EQ(glGetError(), GL_OUT_OF_MEMORY);
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
  drawQuad(Box{0, 0, 1, 1}, Box{0, 0, 1, 1});
  EXPECT_EQ(levelsAt(0, 0)[0], 50);
}

TEST(Memory, APBufferThatDoesNotFitIsAnErrorAndNoException) {
  const Screen screen(1, 1);
  const CGLPBufferObj large = makePBuffer(1003, 1001);
  CGLError error = kCGLNoError;
  {
    const LittleMemory little;
    EXPECT_NO_THROW(error = CGLSetPBuffer(screen.context(), large, 0, 0, 0));
  }
  EXPECT_EQ(error, kCGLBadAlloc);
  Screen::clear(1, 1, 1, 1);
  EXPECT_EQ(levelsAt(0, 0)[0], 255) << "the surface before stays";
  EXPECT_EQ(CGLSetPBuffer(screen.context(), large, 0, 0, 0), kCGLNoError) << "with memory it works";
  CGLDestroyPBuffer(large);
}

}  // namespace
}  // namespace pyrelux::soft
