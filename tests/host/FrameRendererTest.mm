// What the host asks of OpenGL around a filter, and what it says when that is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OpenGL/OpenGL.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BackendChoice.h"
#include "Backends.h"
#include "Bundles.h"
#include "FailingCGL.h"
#include "Filter.h"
#include "Foundation.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "TraceText.h"

namespace pyrelux::host {
namespace {

using test::Refusals;
using ::testing::ElementsAre;

FilterInfo probe() { return findFilter({PYRELUX_PROBE_BUNDLES}); }

/// Of every rectangle texture: linear filters, and edges that go on.
std::vector<std::string> textureSettings() {
  return {"glTexParameteri(34037, 10241, 9729)", "glTexParameteri(34037, 10240, 9729)",
          "glTexParameteri(34037, 10242, 33071)", "glTexParameteri(34037, 10243, 33071)"};
}

/// With the recording renderer, whose calls come as text.
class FrameRendererCalls : public ::testing::Test {
 protected:
  /// The calls of a frame before the filter draws, then those after it.
  std::pair<std::vector<std::string>, std::vector<std::string>> render(const Image &input,
                                                                       const FrameSettings &settings = {}) {
    trace.takeCalls();
    renderer.render(filter, input, 0.0, settings);
    std::vector<std::string> all = test::TraceText()(trace.takeCalls());
    for (std::string &text : all) nameTexture(text);
    // The filter begins by asking for the context, and ends by disabling the texture.
    const auto begin = std::find(all.begin(), all.end(), "CGLGetCurrentContext()");
    const auto end = std::find(all.begin(), all.end(), "glDisable(34037)");
    return {{all.begin(), begin}, {end + 1, all.end()}};
  }

  /// Textures are numbered through in the process; here they are 1, 2, … in the order in which they are bound.
  void nameTexture(std::string &text) {
    const std::string bind = "glBindTexture(34037, ";
    if (text.compare(0, bind.size(), bind) != 0) return;
    const auto found = std::find(textures.begin(), textures.end(), text);
    const auto number = found - textures.begin() + 1;
    if (found == textures.end()) textures.push_back(text);
    text = bind + std::to_string(number) + ")";
  }

  static Image bytes(int width, int height) { return Image::bytes(width, height, Alpha::Premultiplied); }

  AutoreleasePool pool;
  Filter filter{probe()};
  platform::Trace trace;
  FrameRenderer renderer{platform::kBackendRecording};
  std::vector<std::string> textures;
};

/// The parts of a frame, one after the other.
std::vector<std::string> joined(const std::vector<std::vector<std::string>> &parts) {
  std::vector<std::string> all;
  for (const auto &part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const std::vector<std::string> centredMatrices = {
    "CGLSetPBuffer(?, ?, 0, 0, 0)",     "glViewport(0, 0, 3, 2)", "glMatrixMode(5889)", "glLoadIdentity()",
    "glOrtho(-1.5, 1.5, -1, 1, -1, 1)", "glMatrixMode(5888)",     "glLoadIdentity()"};

std::vector<std::string> outputOf(const std::string &size, const std::string &name) {
  return joined({{"CGLCreatePBuffer(" + size + ", 34037, 6408, 0)", "CGLSetPBuffer(?, ?, 0, 0, 0)",
                  "glGenTextures(1, ?)", "glBindTexture(34037, " + name + ")"},
                 textureSettings(),
                 {"CGLTexImagePBuffer(?, ?, 1024)"}});
}

TEST_F(FrameRendererCalls, AsksForAContextOfItsRendererOnce) {
  EXPECT_THAT(
      test::TraceText()(trace.takeCalls()),
      ElementsAre("CGLChoosePixelFormat([70, " + std::to_string(platform::kBackendRecording) + ", 8, 32, 0])",
                  "CGLCreateContext(?, null)", "CGLDestroyPixelFormat(?)", "CGLSetCurrentContext(?)",
                  "glGetIntegerv(34040, ?)", "glGetString(7937)", "glGetString(7939)", "CGLSetCurrentContext(null)"));
}

TEST_F(FrameRendererCalls, GivesTheImageAndTheContextBack) {
  auto another = std::make_unique<FrameRenderer>(platform::kBackendRecording);
  another->render(filter, bytes(3, 2), 0.0, {});
  trace.takeCalls();
  another.reset();
  const std::vector<std::string> calls = test::TraceText()(trace.takeCalls());
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "CGLDestroyPBuffer(?)"), 1);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "CGLDestroyContext(?)"), 1);
}

TEST_F(FrameRendererCalls, GivesAnImageBackOnceThoughTheNextCannotBeMade) {
  auto another = std::make_unique<FrameRenderer>(platform::kBackendRecording);
  another->render(filter, bytes(3, 2), 0.0, {});
  trace.takeCalls();
  {
    Refusals refused;
    refused.pbuffer = true;
    EXPECT_THROW(another->render(filter, bytes(4, 2), 0.0, {}), HostError);
  }
  another.reset();
  const std::vector<std::string> calls = test::TraceText()(trace.takeCalls());
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "CGLDestroyPBuffer(?)"), 1);
}

TEST_F(FrameRendererCalls, MakesTheImagesForTheFirstFrame) {
  const auto [before, after] = render(bytes(3, 2));
  EXPECT_EQ(before, joined({{"CGLSetCurrentContext(?)", "glGenTextures(1, ?)", "glBindTexture(34037, 1)"},
                            textureSettings(),
                            {"glBindTexture(34037, 1)", "glTexImage2D(34037, 0, 32856, 3, 2, 0, 6408, 5121, ?)",
                             "CGLDestroyPBuffer(null)"},
                            outputOf("3, 2", "2"),
                            centredMatrices}));
  EXPECT_THAT(after, ElementsAre("CGLGetCurrentContext()", "glReadPixels(0, 0, 3, 2, 6408, 5121, ?)", "glGetError()",
                                 "CGLSetCurrentContext(null)"));
}

TEST_F(FrameRendererCalls, KeepsTheImagesForTheNext) {
  render(bytes(3, 2));
  EXPECT_EQ(render(bytes(3, 2)).first, joined({{"CGLSetCurrentContext(?)", "glBindTexture(34037, 1)",
                                                "glTexImage2D(34037, 0, 32856, 3, 2, 0, 6408, 5121, ?)"},
                                               centredMatrices}));
}

TEST_F(FrameRendererCalls, MakesTheOutputAnewForAnotherSize) {
  render(bytes(3, 2));
  const std::vector<std::string> wider = render(bytes(5, 2)).first;
  const std::vector<std::string> changed =
      joined({{"CGLDestroyPBuffer(?)", "glDeleteTextures(1, ?)"}, outputOf("5, 2", "3")});
  EXPECT_EQ(
      std::vector<std::string>(wider.begin() + 3, wider.begin() + 3 + static_cast<std::ptrdiff_t>(changed.size())),
      changed);
  EXPECT_THAT(wider, ::testing::Contains("glOrtho(-2.5, 2.5, -1, 1, -1, 1)"));
  const std::vector<std::string> higher = render(bytes(5, 7)).first;
  EXPECT_THAT(higher, ::testing::IsSupersetOf({"CGLCreatePBuffer(5, 7, 34037, 6408, 0)", "glViewport(0, 0, 5, 7)",
                                               "glOrtho(-2.5, 2.5, -3.5, 3.5, -1, 1)"}));
}

TEST_F(FrameRendererCalls, MakesAFloatContextThatSharesWithTheOther) {
  render(bytes(3, 2));
  FrameSettings deep;
  deep.floatOutput = true;
  const auto [before, after] = render(Image::floats(3, 2, Alpha::Premultiplied), deep);
  EXPECT_EQ(before,
            joined({{"CGLChoosePixelFormat([70, " + std::to_string(platform::kBackendRecording) + ", 8, 64, 58, 0])",
                     "CGLCreateContext(?, ?)", "CGLDestroyPixelFormat(?)", "CGLSetCurrentContext(?)",
                     "glBindTexture(34037, 1)", "glTexImage2D(34037, 0, 34836, 3, 2, 0, 6408, 5126, ?)",
                     "CGLDestroyPBuffer(null)"},
                    outputOf("3, 2", "3"),
                    centredMatrices}));
  EXPECT_EQ(after[1], "glReadPixels(0, 0, 3, 2, 6408, 5126, ?)");
}

TEST_F(FrameRendererCalls, MakesItsContextsAnewAfterAThousandFrames) {
  const auto contexts = [&](const Image &input) {
    const std::vector<std::string> calls = render(input).first;
    return std::count(calls.begin(), calls.end(), "CGLCreateContext(?, null)");
  };
  for (int frame = 0; frame < 1000; ++frame) ASSERT_EQ(contexts(bytes(1, 1)), 0) << frame;
  EXPECT_EQ(contexts(bytes(1, 1)), 1);
  EXPECT_EQ(contexts(bytes(1, 1)), 0);
}

// --- What is refused

std::string complaintOf(const std::function<void()> &call) {
  try {
    call();
  } catch (const HostError &error) {
    return error.what();
  }
  return "nothing thrown";
}

TEST(FrameRendererRefusals, AreNamed) {
  const AutoreleasePool pool;
  const auto make = [] { FrameRenderer renderer(platform::kBackendRecording); };
  {
    Refusals refused;
    refused.pixelFormat = true;
    EXPECT_EQ(complaintOf(make), "the renderer gives no pixel format");
  }
  {
    Refusals refused;
    refused.context = true;
    EXPECT_EQ(complaintOf(make), std::string("the renderer gives no context: ") + CGLErrorString(kCGLBadAlloc));
  }
  Filter filter(probe());
  FrameRenderer renderer(platform::kBackendRecording);
  const auto frame = [&] { renderer.render(filter, Image::bytes(3, 2, Alpha::Premultiplied), 0.0, {}); };
  {
    Refusals refused;
    refused.pbuffer = true;
    EXPECT_EQ(complaintOf(frame),
              std::string("an output of 3x2 pixels can't be made: ") + CGLErrorString(kCGLBadAlloc));
  }
  EXPECT_EQ(complaintOf(frame), "nothing thrown") << "once it is no longer refused";
}

TEST(FrameRendererRefusals, OfAnUnusableBackendNameTheReason) {
  const std::string reason = platform::backendUnavailable(platform::kBackendGPU);
  if (reason.empty()) GTEST_SKIP() << "there is a GPU";
  EXPECT_EQ(complaintOf([] { chooseBackend("gpu"); }), "no usable OpenGL: " + reason);
}

}  // namespace
}  // namespace pyrelux::host
