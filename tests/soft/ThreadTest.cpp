// Tests several threads at once: the pool works for one caller, the others draw alone; contexts share textures.

#include <atomic>
#include <thread>

#include "Screen.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

constexpr int threadsAtOnce = 4;
constexpr int rounds = 25;

/// Runs `work(thread number)` on all threads, which start together.
template <typename Work>
void onThreads(Work work) {
  std::atomic<int> waiting{threadsAtOnce};
  std::vector<std::thread> threads;
  for (int i = 0; i < threadsAtOnce; ++i)
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      work(i);
      CGLSetCurrentContext(nullptr);
    });
  for (std::thread &thread : threads) thread.join();
}

/// A small flame: copies at their own size, scaled ones, and a pass over the whole surface.
void drawFlame(int start) {
  glEnable(rectangle);
  glEnable(GL_BLEND);
  Screen::clear(0, 0, 0, 0);
  glBlendFunc(GL_ONE, GL_ONE);
  glBegin(GL_QUADS);
  for (int i = 0; i < 12; ++i) {
    const double shift = 0.37 * i + start, size = i % 3 ? 1.0 : 1.0 - 0.05 * i;
    glColor4f(0.1f, 0.05f, 0.02f, 0.03f);
    corners({shift, 0.7 * i, shift + 100 * size, 0.7 * i + 70 * size}, {0, 0, 100, 70});
  }
  glEnd();
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  glColor4f(0.5f, 0.5f, 0.5f, 0.5f);
  drawQuad(Box{0, 0, 100, 70}, Box{0, 0, 100, 70});
}

std::vector<std::uint8_t> flameAlone(int start, bool floats) {
  const Screen screen(128, 96, {floats});
  bindNewTexture(rectangle, GL_LINEAR);
  upload(rectangle, 100, 70, pattern(100, 70));
  drawFlame(start);
  return screen.bytes();
}

class Threads : public ::testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Surfaces, Threads, ::testing::Values(false, true),
                         [](const auto &floats) { return std::string(floats.param ? "OfFloats" : "OfBytes"); });

TEST_P(Threads, WithContextsOfTheirOwnDrawAsIfAlone) {
  std::vector<std::vector<std::uint8_t>> expected;
  for (int i = 0; i < threadsAtOnce; ++i) expected.push_back(flameAlone(i, GetParam()));
  onThreads([&](int number) {
    const Screen screen(128, 96, {GetParam()});
    bindNewTexture(rectangle, GL_LINEAR);
    upload(rectangle, 100, 70, pattern(100, 70));
    for (int round = 0; round < rounds; ++round) {
      drawFlame(number);
      ASSERT_EQ(screen.bytes(), expected[static_cast<std::size_t>(number)]) << "thread " << number;
    }
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  });
}

TEST_P(Threads, ShareATextureThatNobodyChanges) {
  std::vector<std::vector<std::uint8_t>> expected;
  for (int i = 0; i < threadsAtOnce; ++i) expected.push_back(flameAlone(i, GetParam()));
  const Screen owner(1, 1);
  const GLuint name = bindNewTexture(rectangle, GL_LINEAR);
  upload(rectangle, 100, 70, pattern(100, 70));
  onThreads([&](int number) {
    const Screen screen(128, 96, {GetParam(), owner.context()});
    glBindTexture(rectangle, name);
    for (int round = 0; round < rounds; ++round) {
      drawFlame(number);
      ASSERT_EQ(screen.bytes(), expected[static_cast<std::size_t>(number)]) << "thread " << number;
    }
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  });
}

TEST_P(Threads, GiveEachOtherImages) {
  // Like a filter and its host: one thread's surface is the other's texture, and each waits for the other's frame.
  Screen producer(16, 16, {GetParam()});
  const Screen consumer(16, 16, {false, producer.context()});
  bindNewTexture();
  ASSERT_EQ(CGLTexImagePBuffer(consumer.context(), producer.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  CGLSetCurrentContext(nullptr);
  for (int round = 0; round < rounds; ++round) {
    std::thread([&] {
      producer.use();
      Screen::clear(static_cast<float>(round) / 255, 0, 0, 1);
      glFlush();
      CGLSetCurrentContext(nullptr);
    }).join();
    consumer.use();
    glEnable(rectangle);
    drawQuad(Box{0, 0, 16, 16}, Box{0, 0, 16, 16});
    ASSERT_EQ(levelsAt(5, 7)[0], round);
    CGLSetCurrentContext(nullptr);
  }
}

TEST_P(Threads, MayDrawASurfaceWhileAnotherLooksAtIt) {
  // Any moment's image is right, but all pixels must come from the same fill.
  const Screen target(32, 32, {false});
  const GLuint name = bindNewTexture();
  const Screen source(32, 32, {GetParam(), target.context()});
  target.use();
  ASSERT_EQ(CGLTexImagePBuffer(target.context(), source.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
  CGLSetCurrentContext(nullptr);
  std::atomic<bool> done{false};
  std::thread painter([&] {
    source.use();
    for (int round = 0; round < 10 * rounds; ++round) Screen::clear(round % 2 ? 1.0f : 0.0f, 0, 0, 1);
    done = true;
    CGLSetCurrentContext(nullptr);
  });
  target.use();
  glBindTexture(rectangle, name);
  glEnable(rectangle);
  int looks = 0;
  while (!done || looks == 0) {
    drawQuad(Box{0, 0, 32, 32}, Box{0, 0, 32, 32});
    const auto bytes = target.bytes();
    for (std::size_t i = 4; i < bytes.size(); i += 4) ASSERT_EQ(bytes[i], bytes[0]);
    ++looks;
  }
  painter.join();
}

TEST(ThreadsAndNames, MakeBindFillAndDeleteAtOnce) {
  const Screen owner(1, 1);
  onThreads([&](int number) {
    const Screen screen(4, 4, {false, owner.context()});
    for (int round = 0; round < 4 * rounds; ++round) {
      const GLuint name = bindNewTexture();
      upload(rectangle, 1, 1, picture({number * 50 + round % 40}));
      glEnable(rectangle);
      drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 1, 1});
      ASSERT_EQ(levelsAt(3, 3)[0], number * 50 + round % 40);
      glDeleteTextures(1, &name);
    }
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
  });
}

TEST(ThreadsAndNames, OneTextureRefilledWhileOthersDrawIt) {
  // GL does not define which of the images a draw uses, but it uses one of them.
  for (const GLenum target : {GL_TEXTURE_RECTANGLE_EXT, GL_TEXTURE_2D}) {
    const Screen owner(1, 1);
    const GLuint name = bindNewTexture(target);
    upload(target, 2, 2, std::vector<std::uint8_t>(16, 40));
    onThreads([&](int number) {
      const Screen screen(4, 4, {false, owner.context()});
      glBindTexture(target, name);
      glEnable(target);
      for (int round = 0; round < 8 * rounds; ++round) {
        if (number == 0) {
          const int size = 1 + round % 7;
          upload(target, size, size, std::vector<std::uint8_t>(static_cast<std::size_t>(4 * size * size), 90));
          continue;
        }
        drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 1, 1});
        const auto bytes = screen.bytes();
        ASSERT_TRUE(bytes == std::vector<std::uint8_t>(64, 40) || bytes == std::vector<std::uint8_t>(64, 90));
      }
    });
  }
}

TEST(ThreadsAndContexts, SurfacesGoWhileOthersLookAtThem) {
  const Screen owner(4, 4);
  const GLuint name = bindNewTexture();
  onThreads([&](int number) {
    for (int round = 0; round < rounds; ++round) {
      Screen screen(4, 4, {false, owner.context()});
      glBindTexture(rectangle, name);
      glEnable(rectangle);
      if (number == 0) {
        Screen::clear(0.2f, 0.2f, 0.2f, 0.2f);
        EXPECT_EQ(CGLTexImagePBuffer(screen.context(), screen.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
        glFlush();
        continue;
      }
      drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
      const int level = screen.channel(0)[0];
      // The image of a surface just made or filled, or, without one, no texture.
      ASSERT_TRUE(level == 0 || level == 51 || level == 255) << level;
    }
  });
}

TEST(ThreadsAndContexts, LetGoOfOneSurfaceAtOnce) {
  // A texture that another context deleted lives here until another one is bound or the context is destroyed.
  const Screen source(4, 4);
  Screen::clear(0.2f, 0.2f, 0.2f, 0.2f);
  CGLSetCurrentContext(nullptr);
  onThreads([&](int number) {
    for (int round = 0; round < rounds; ++round) {
      const Screen deleting(4, 4, {false, source.context()});
      const Screen showing(4, 4, {false, source.context()});
      for (int i = 0; i < 4; ++i) {
        showing.use();
        const GLuint name = bindNewTexture();
        ASSERT_EQ(CGLTexImagePBuffer(showing.context(), source.pbuffer(), GL_FRONT_LEFT), kCGLNoError);
        deleting.use();
        glDeleteTextures(1, &name);
        showing.use();
        glEnable(rectangle);
        drawQuad(Box{0, 0, 4, 4}, Box{0, 0, 4, 4});
        ASSERT_EQ(levelsAt(0, 0)[0], 51);
        if (i < 3 || number % 2) glBindTexture(rectangle, 0);
      }
    }
  });
}

TEST(ThreadsAndContexts, HaveEachTheirOwnCurrentContext) {
  const Screen here(2, 2);
  std::thread([&] {
    EXPECT_EQ(CGLGetCurrentContext(), nullptr);
    const Screen there(2, 2);
    Screen::clear(1, 1, 1, 1);
    EXPECT_EQ(levelsAt(0, 0)[0], 255);
  }).join();
  EXPECT_EQ(CGLGetCurrentContext(), here.context());
  EXPECT_EQ(levelsAt(0, 0)[0], 0);
}

}  // namespace
}  // namespace pyrelux::soft
