#include "Trace.h"

#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <gmock/gmock.h>

#include <thread>

#include "Backends.h"
#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::platform {
namespace {

using test::callNames;
using test::HostContext;
using test::TraceText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Trace, RecordsCGLAndTheRecordingBackendsCallsInOrder) {
  const HostContext host;
  Trace trace;
  glFlush();
  CGLGetCurrentContext();
  glBlendFunc(GL_ONE, GL_ONE);
  EXPECT_THAT(TraceText()(trace.calls()), ElementsAre("glFlush()", "CGLGetCurrentContext()", "glBlendFunc(1, 1)"));
  EXPECT_EQ(trace.calls()[0].layer, "gl");
  EXPECT_EQ(trace.calls()[1].layer, "cgl");
}

TEST(Trace, KeepsHandlesListsAndWords) {
  const HostContext host;
  Trace trace;
  CGLSetCurrentContext(host.handle());
  CGLSetCurrentContext(nullptr);
  const CGLPixelFormatObj format = test::chooseFormat(kBackendRecording);
  CGLDestroyPixelFormat(format);
  platform::trace("host", "asked", "word", 3, 0.5);
  EXPECT_THAT(TraceText({{host.handle(), "host"}, {format, "format"}})(trace.calls()),
              ElementsAre("CGLSetCurrentContext(host)", "CGLSetCurrentContext(null)",
                          "CGLChoosePixelFormat([8, 32, 70, 1348009987, 0])", "CGLDestroyPixelFormat(format)",
                          "asked(word, 3, 0.5)"));
}

TEST(Trace, RecordsWhereNoContextIsCurrent) {
  ASSERT_EQ(CGLGetCurrentContext(), nullptr);
  Trace trace;
  glFlush();
  EXPECT_THAT(callNames(trace.calls()), ElementsAre("glFlush"));
}

TEST(Trace, DoesNotRecordOtherBackends) {
  const HostContext host(kBackendNull);
  Trace trace;
  glFlush();
  EXPECT_THAT(trace.calls(), IsEmpty());
}

TEST(Trace, RecordsItsThreadOnly) {
  Trace trace;
  std::thread([] {
    const HostContext host;
    glFlush();
  }).join();
  EXPECT_THAT(trace.calls(), IsEmpty());
}

TEST(Trace, ThreadsRecordEachTheirOwn) {
  Trace trace;
  std::vector<std::string> elsewhere;
  std::thread([&elsewhere] {
    Trace other;
    glFinish();
    elsewhere = callNames(other.calls());
  }).join();
  glFlush();
  EXPECT_THAT(elsewhere, ElementsAre("glFinish"));
  EXPECT_THAT(callNames(trace.calls()), ElementsAre("glFlush"));
}

TEST(Trace, EndsWithItsLife) {
  const HostContext host;
  {
    Trace trace;
    EXPECT_EQ(Trace::current(), &trace);
  }
  EXPECT_EQ(Trace::current(), nullptr);
  glFlush();
  CGLGetCurrentContext();
  Trace trace;
  EXPECT_THAT(trace.calls(), IsEmpty());
}

TEST(Trace, TakingTheCallsStartsAfresh) {
  Trace trace;
  glFlush();
  EXPECT_EQ(trace.takeCalls().size(), 1u);
  glFinish();
  EXPECT_THAT(callNames(trace.takeCalls()), ElementsAre("glFinish"));
}

TEST(Trace, FollowsTheThreadIntoAndOutOfContexts) {
  const CGLContextObj recording = test::makeContext(kBackendRecording);
  const CGLContextObj hollow = test::makeContext(kBackendNull);
  Trace trace;
  for (const CGLContextObj context : {recording, hollow, static_cast<CGLContextObj>(nullptr), recording}) {
    CGLSetCurrentContext(context);
    glFlush();
  }
  CGLSetCurrentContext(nullptr);
  EXPECT_THAT(callNames(trace.calls()),
              ElementsAre("CGLSetCurrentContext", "glFlush", "CGLSetCurrentContext", "CGLSetCurrentContext", "glFlush",
                          "CGLSetCurrentContext", "glFlush", "CGLSetCurrentContext"));
  CGLDestroyContext(recording);
  CGLDestroyContext(hollow);
}

}  // namespace
}  // namespace pyrelux::platform
