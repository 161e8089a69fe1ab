#include "PBufferUtils.h"

#include <OpenGL/gl.h>
#include <gmock/gmock.h>

#include <cstddef>

#include "FailingCGL.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class PBufferTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (record) PBuffer_Destroy(record);
  }

  void create(int bitDepth = 8, int flags = 0) { record = PBuffer_Create(host.handle(), 320, 180, bitDepth, flags); }

  /// The calls since the previous call of this, with names for the record's handles.
  std::vector<std::string> calls() {
    std::map<const void *, std::string> names = {{host.handle(), "host"}};
    if (record) {
      names[record->context] = "surface";
      names[record->pbuffer] = "pbuffer";
      names[&record->texture] = "texture";
    }
    return TraceText(names)(trace.takeCalls());
  }

  std::vector<double> attributes(int bitDepth, int flags) {
    trace.takeCalls();
    create(bitDepth, flags);
    const auto recorded = trace.takeCalls();
    PBuffer_Destroy(std::exchange(record, nullptr));
    return std::get<std::vector<double>>(recorded.at(0).arguments.at(0));
  }

  HostContext host;
  platform::Trace trace;
  VaroPBuffer_tag *record = nullptr;
};

TEST_F(PBufferTest, EightBitsAskForIntegerPixels) {
  EXPECT_THAT(attributes(8, 0), ElementsAre(73, 80, 8, 32, 72, 96, 0));
}

TEST_F(PBufferTest, SixteenBitsAskForFloatPixels) {
  EXPECT_THAT(attributes(16, 0), ElementsAre(73, 80, 8, 64, 58, 72, 96, 0));
}

TEST_F(PBufferTest, MoreThanEightBitsAreFloats) {
  EXPECT_THAT(attributes(9, 0), ElementsAre(73, 80, 8, 36, 58, 72, 96, 0));
  EXPECT_THAT(attributes(7, 0), ElementsAre(73, 80, 8, 28, 72, 96, 0));
}

TEST_F(PBufferTest, TheDepthFlagAsksForADepthBuffer) {
  EXPECT_THAT(attributes(8, kPBufferDepth), ElementsAre(73, 80, 8, 32, 12, 16, 72, 96, 0));
  EXPECT_THAT(attributes(16, kPBufferDepth), ElementsAre(73, 80, 8, 64, 58, 12, 16, 72, 96, 0));
}

TEST_F(PBufferTest, OtherFlagsAskForNothing) {
  EXPECT_THAT(attributes(8, 6), ElementsAre(73, 80, 8, 32, 72, 96, 0));
  EXPECT_THAT(attributes(8, 7), ElementsAre(73, 80, 8, 32, 12, 16, 72, 96, 0));
}

TEST_F(PBufferTest, CreateMakesFormatContextAndPBufferInThisOrder) {
  create();
  EXPECT_THAT(calls(), ElementsAre("CGLChoosePixelFormat([73, 80, 8, 32, 72, 96, 0])", "CGLCreateContext(?, host)",
                                   "CGLDestroyPixelFormat(?)", "CGLCreatePBuffer(320, 180, 34037, 6408, 0)"));
}

TEST_F(PBufferTest, ANewRecordHasItsCreationValues) {
  create();
  EXPECT_NE(record->pbuffer, nullptr);
  EXPECT_NE(record->context, nullptr);
  EXPECT_NE(record->context, host.handle());
  EXPECT_EQ(record->savedContext, nullptr);
  EXPECT_EQ(record->width, 320);
  EXPECT_EQ(record->height, 180);
  EXPECT_EQ(record->texture, 0u);
  EXPECT_TRUE(record->clearOnBegin);
  EXPECT_FALSE(record->written);
}

TEST_F(PBufferTest, ARecordHasItsFieldsInOrder) {
  const std::size_t offsets[] = {offsetof(VaroPBuffer_tag, pbuffer),      offsetof(VaroPBuffer_tag, context),
                                 offsetof(VaroPBuffer_tag, savedContext), offsetof(VaroPBuffer_tag, width),
                                 offsetof(VaroPBuffer_tag, height),       offsetof(VaroPBuffer_tag, texture),
                                 offsetof(VaroPBuffer_tag, clearOnBegin), offsetof(VaroPBuffer_tag, written)};
  constexpr std::size_t handle = sizeof(void *);
  EXPECT_THAT(offsets, ElementsAre(0, handle, 2 * handle, 3 * handle, 3 * handle + 4, 3 * handle + 8, 3 * handle + 12,
                                   3 * handle + 13));
}

const std::vector<std::string> kMadeCurrent = {"CGLGetCurrentContext()", "CGLGetVirtualScreen(host)",
                                               "CGLSetCurrentContext(surface)",
                                               "CGLSetPBuffer(surface, pbuffer, 0, 0, 0)"};

TEST_F(PBufferTest, BeginMakesTheSurfaceCurrentClearedAndInPixels) {
  create();
  calls();
  PBuffer_Begin(record);
  std::vector<std::string> expected = kMadeCurrent;
  expected.insert(expected.end(), {"glClearColor(0, 0, 0, 0)", "glClear(16640)", "glDisable(2929)", "glDisable(34820)",
                                   "glMatrixMode(5889)", "glLoadIdentity()", "glMatrixMode(5888)", "glLoadIdentity()",
                                   "glColorMask(1, 1, 1, 1)", "glColor4f(1, 1, 1, 1)", "glOrtho(0, 320, 0, 180, -1, 1)",
                                   "glActiveTexture(33984)"});
  EXPECT_THAT(calls(), ElementsAreArray(expected));
  EXPECT_EQ(record->savedContext, host.handle());
  EXPECT_EQ(CGLGetCurrentContext(), record->context);
}

TEST_F(PBufferTest, TheSurfaceIsOnTheVirtualScreenOfTheContextBefore) {
  create();
  const VirtualScreen screen(3);
  calls();
  PBuffer_Begin(record);
  EXPECT_EQ(calls().at(3), "CGLSetPBuffer(surface, pbuffer, 0, 0, 3)");
}

TEST_F(PBufferTest, BeginClearsOnlyWhenItIsMeantTo) {
  create();
  record->clearOnBegin = false;
  calls();
  PBuffer_Begin(record);
  const auto names = calls();
  EXPECT_EQ(names.at(4), "glClearColor(0, 0, 0, 0)");
  EXPECT_EQ(names.at(5), "glDisable(2929)");
}

TEST_F(PBufferTest, WriteToMakesTheSurfaceCurrentAsItIs) {
  create();
  calls();
  PBuffer_WriteTo(record);
  std::vector<std::string> expected = kMadeCurrent;
  expected.push_back("glActiveTexture(33984)");
  EXPECT_THAT(calls(), ElementsAreArray(expected));
  EXPECT_EQ(record->savedContext, host.handle());
}

TEST_F(PBufferTest, EndMakesTheSavedContextCurrentAgain) {
  create();
  PBuffer_Begin(record);
  calls();
  PBuffer_End(record);
  EXPECT_THAT(calls(), ElementsAre("glFlush()", "CGLSetCurrentContext(host)"));
  EXPECT_TRUE(record->written);
  EXPECT_EQ(record->savedContext, nullptr);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST_F(PBufferTest, TheFirstUseFlushesWithNoContextAndAttachesTheImage) {
  create();
  PBuffer_Begin(record);
  PBuffer_End(record);
  calls();
  PBuffer_Use(record);
  const std::string name = std::to_string(record->texture);
  EXPECT_THAT(calls(), ElementsAre("CGLGetCurrentContext()", "CGLSetCurrentContext(null)", "glFlush()",
                                   "CGLSetCurrentContext(host)", "CGLGetCurrentContext()", "glGenTextures(1, texture)",
                                   "glBindTexture(34037, " + name + ")", "glTexParameteri(34037, 10242, 33071)",
                                   "glTexParameteri(34037, 10243, 33071)", "CGLTexImagePBuffer(host, pbuffer, 1024)",
                                   "glEnable(34037)"));
  EXPECT_NE(record->texture, 0u);
  EXPECT_FALSE(record->written);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

TEST_F(PBufferTest, ASecondUseOnlyBindsTheTexture) {
  create();
  PBuffer_Begin(record);
  PBuffer_End(record);
  PBuffer_Use(record);
  const GLuint texture = record->texture;
  calls();
  PBuffer_Use(record);
  EXPECT_THAT(calls(), ElementsAre("glBindTexture(34037, " + std::to_string(texture) + ")", "glEnable(34037)"));
  EXPECT_EQ(record->texture, texture);
}

TEST_F(PBufferTest, AUseAfterMoreDrawingFlushesAgain) {
  create();
  PBuffer_Begin(record);
  PBuffer_End(record);
  PBuffer_Use(record);
  PBuffer_WriteTo(record);
  PBuffer_End(record);
  calls();
  PBuffer_Use(record);
  EXPECT_THAT(calls(), ElementsAre("CGLGetCurrentContext()", "CGLSetCurrentContext(null)", "glFlush()",
                                   "CGLSetCurrentContext(host)",
                                   "glBindTexture(34037, " + std::to_string(record->texture) + ")", "glEnable(34037)"));
}

TEST_F(PBufferTest, DestroyFreesThePBufferThenTheContextAndLeavesTheTexture) {
  create();
  PBuffer_Begin(record);
  PBuffer_End(record);
  PBuffer_Use(record);
  const TraceText text({{record->context, "surface"}, {record->pbuffer, "pbuffer"}});
  trace.takeCalls();
  PBuffer_Destroy(std::exchange(record, nullptr));
  EXPECT_THAT(text(trace.takeCalls()), ElementsAre("CGLDestroyPBuffer(pbuffer)", "CGLDestroyContext(surface)"));
}

TEST_F(PBufferTest, DestroyOfNothingDoesNothing) {
  PBuffer_Destroy(nullptr);
  EXPECT_THAT(calls(), ElementsAre());
}

/// Calls every function on a record whose surface could not be made; the host's context survives.
class RefusedPBufferTest : public PBufferTest {
 protected:
  void useUpAndDown() {
    PBuffer_Begin(record);
    PBuffer_End(record);
    EXPECT_EQ(CGLGetCurrentContext(), host.handle());
    PBuffer_WriteTo(record);
    PBuffer_End(record);
    PBuffer_Use(record);
    PBuffer_Use(record);
    EXPECT_EQ(CGLGetCurrentContext(), host.handle());
    PBuffer_Destroy(std::exchange(record, nullptr));
    EXPECT_EQ(CGLGetCurrentContext(), host.handle());
  }

  Refusals refused;
};

TEST_F(RefusedPBufferTest, WithoutAPixelFormatTheRecordIsEmptyAndSafe) {
  refused.pixelFormat = true;
  create();
  ASSERT_NE(record, nullptr);
  EXPECT_THAT(calls(), ElementsAre("CGLChoosePixelFormat(refused)"));
  EXPECT_EQ(record->context, nullptr);
  EXPECT_EQ(record->pbuffer, nullptr);
  EXPECT_EQ(record->width, 320);
  useUpAndDown();
}

TEST_F(RefusedPBufferTest, WithoutAContextTheRecordIsEmptyAndTheFormatIsLeft) {
  refused.context = true;
  create();
  EXPECT_THAT(calls(), ElementsAre("CGLChoosePixelFormat([73, 80, 8, 32, 72, 96, 0])", "CGLCreateContext(refused)"));
  EXPECT_EQ(record->context, nullptr);
  EXPECT_EQ(record->pbuffer, nullptr);
  useUpAndDown();
}

TEST_F(RefusedPBufferTest, WithoutAPBufferTheContextIsThereAllTheSame) {
  refused.pbuffer = true;
  create();
  EXPECT_NE(record->context, nullptr);
  EXPECT_EQ(record->pbuffer, nullptr);
  useUpAndDown();
}

TEST_F(RefusedPBufferTest, NullHandlesGoToCGLAsTheyAre) {
  refused.pixelFormat = true;
  create();
  calls();
  const TraceText text({{host.handle(), "host"}});
  PBuffer_Begin(record);
  auto texts = text(trace.takeCalls());
  EXPECT_EQ(texts.at(2), "CGLSetCurrentContext(null)");
  EXPECT_EQ(texts.at(3), "CGLSetPBuffer(null, null, 0, 0, 0)");
  PBuffer_End(record);
  PBuffer_Use(record);
  texts = text(trace.takeCalls());
  EXPECT_THAT(texts, ::testing::Contains("CGLTexImagePBuffer(host, null, 1024)"));
  PBuffer_Destroy(std::exchange(record, nullptr));
  EXPECT_THAT(text(trace.takeCalls()), ElementsAre("CGLDestroyPBuffer(null)", "CGLDestroyContext(null)"));
}

TEST_F(PBufferTest, ASizeThatCantBeIsNotNoticed) {
  record = PBuffer_Create(host.handle(), 0, 180, 8, 0);
  EXPECT_NE(record->context, nullptr);
  EXPECT_EQ(record->pbuffer, nullptr);
  PBuffer_Begin(record);
  PBuffer_End(record);
  EXPECT_EQ(CGLGetCurrentContext(), host.handle());
}

}  // namespace
}  // namespace pyrelux::test
