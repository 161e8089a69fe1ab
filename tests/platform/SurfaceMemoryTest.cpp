#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "DrawingBackend.h"

namespace pyrelux::platform {
namespace {

using SurfaceMemoryTest = DrawingTest;

INSTANTIATE_TEST_SUITE_P(Backend, SurfaceMemoryTest, ::testing::ValuesIn(kBackends),
                         [](const auto &backend) { return backend.param.name; });

std::size_t residentBytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

constexpr GLsizei largeSide = 1024;

/// Checks that `oneFrame`, which draws into a large float surface and destroys it, leaves no storage behind.
void expectFlatMemory(const std::function<void()> &oneFrame) {
  constexpr std::size_t surfaceBytes = std::size_t{largeSide} * largeSide * 8;
  // Large blocks go back to the system as soon as they are freed; the allocator would otherwise keep some by turns.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  // The first rounds fill the driver's caches, and the 256 MB that an address sanitizer keeps back.
  for (int i = 0; i < 40; ++i) oneFrame();
  const std::size_t before = residentBytes();
  constexpr std::size_t rounds = 300;
  for (std::size_t i = 0; i < rounds; ++i) oneFrame();
  const std::size_t after = residentBytes();
  const std::size_t growth = after > before ? after - before : 0;
  ::testing::Test::RecordProperty("growthBytes", std::to_string(growth));
  // A name that stays costs some kilobytes of the driver's; a leaked surface costs 8 MB a round, 2.4 GB in all. Four
  // surfaces leave room for storage that is freed late.
  EXPECT_LT(growth, 4 * surfaceBytes) << growth / rounds << " bytes a round";
}

TEST_P(SurfaceMemoryTest, ADestroyedPBufferFreesItsStorageThoughItsTextureIsNeverDeleted) {
  expectFlatMemory([this] {
    Surface surface(host, true, largeSide, largeSide);
    surface.clear(0.5f, 0.25f, 0.125f, 1.0f);  // writes every page of the storage
    CGLSetCurrentContext(host);
    boundRectangleTexture();
    EXPECT_EQ(CGLTexImagePBuffer(host, surface.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
    glFinish();
  });
}

TEST_P(SurfaceMemoryTest, ADestroyedPBufferFreesItsStorageThoughItsContextLivesOn) {
  const CGLContextObj context = makeContext(0, true, host);
  expectFlatMemory([this, context] {
    CGLPBufferObj pbuffer = nullptr;
    CGLCreatePBuffer(largeSide, largeSide, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer);
    CGLSetCurrentContext(context);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 0), kCGLNoError);
    glClearColor(0.5f, 0.25f, 0.125f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    CGLSetCurrentContext(host);
    boundRectangleTexture();
    EXPECT_EQ(CGLTexImagePBuffer(host, pbuffer, GL_FRONT_LEFT), kCGLNoError);
    CGLDestroyPBuffer(pbuffer);
    glFinish();
  });
  CGLDestroyContext(context);
}

}  // namespace
}  // namespace pyrelux::platform
