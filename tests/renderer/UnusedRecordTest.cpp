// The record that is allocated when the renderer is loaded, and what is in it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "OffscreenSurface.h"

namespace {

constexpr unsigned char freshByte = 0xA5;

}  // namespace

// The program's own, so that memory that nobody has written to shows.
void *operator new(std::size_t size) {
  void *memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return std::memset(memory, freshByte, size);
}

void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

namespace pyrelux::test {
namespace {

/// The record's bytes before any test makes a surface.
std::vector<unsigned char> bytesAtTheStart;

class LookAtTheRecord : public ::testing::Environment {
  void SetUp() override {
    const auto *bytes = reinterpret_cast<const unsigned char *>(pbuffer);
    bytesAtTheStart.assign(bytes, bytes + sizeof(VaroPBuffer_tag));
  }
};

const auto *const look = ::testing::AddGlobalTestEnvironment(new LookAtTheRecord);

TEST(UnusedRecord, IsNeverInitialised) {
  EXPECT_EQ(bytesAtTheStart, std::vector<unsigned char>(sizeof(VaroPBuffer_tag), freshByte));
}

}  // namespace
}  // namespace pyrelux::test
