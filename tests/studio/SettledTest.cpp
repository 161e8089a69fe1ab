// What the studio shows when nothing moves any more is what the render command writes.

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "Document.h"
#include "OwnParameters.h"
#include "PngBytes.h"
#include "Presets.h"
#include "Preview.h"
#include "RenderJob.h"
#include "Requests.h"
#include "TestPattern.h"
#include "Writer.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;

class Basket : public PreviewListener {
 public:
  void drawn(PageId, DrawnFrame frame) override { put(std::move(frame), {}); }
  void failed(PageId, std::int64_t, std::int64_t, std::uint64_t, const std::string &cause) override { put({}, cause); }
  void thumbnailDrawn(PageId, DrawnThumbnail) override {}

  DrawnFrame take() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return isThere_; });
    isThere_ = false;
    EXPECT_EQ(cause_, "");
    return std::move(frame_);
  }

 private:
  void put(DrawnFrame frame, const std::string &cause) {
    const std::lock_guard<std::mutex> lock(mutex_);
    frame_ = std::move(frame);
    cause_ = cause;
    isThere_ = true;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool isThere_ = false;
  DrawnFrame frame_;
  std::string cause_;
};

/// A studio's preview beside renders of the same, both on our own renderer.
class Settled : public testing::Test {
 protected:
  Settled() {
    char name[] = "/tmp/pyrelux-settled-XXXXXX";
    folder_ = mkdtemp(name);
    content_.testPattern = "title";
    content_.project.scene.size = PictureSize{160, 90};
    // What a page may lay a frame over, in pixels that are not all the same.
    save("plate.png", testPattern("bars", 160, 90, false));
    save("checker.png", checkerboard(160, 90, checkerSquare));
  }
  ~Settled() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }

  void save(const std::string &name, const Image &image) const {
    const auto bytes = media::pngBytes(premultiplied(image), 8, 1.0, media::PngEffort::Usual);
    std::ofstream(path(name), std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  /// The samples of a picture's file.
  static Image::Floats samples(const std::string &file) {
    return toFloat(media::Reader::open(file, media::InputAlpha::Straight)->read(1)).asFloats();
  }

  Image::Floats shown(std::int64_t frame, const WantedBackdrop &backdrop) {
    preview_.show(++revision_, makePlan(requestOf(content_), nullptr, filter_));
    FrameRequest request;
    request.id = static_cast<std::int64_t>(revision_);
    request.frame = frame;
    request.backdrop = backdrop;
    request.isSettled = true;
    preview_.ask(1, request);
    const DrawnFrame drawn = basket_.take();
    preview_.acknowledge(1, drawn.id);
    EXPECT_EQ(drawn.revision, revision_);
    std::ofstream(path("shown.png"), std::ios::binary)
        .write(reinterpret_cast<const char *>(drawn.bytes.data()), static_cast<std::streamsize>(drawn.bytes.size()));
    return samples(path("shown.png"));
  }

  Image::Floats rendered(std::int64_t frame, const std::string &over, bool asSequence = false) const {
    job::RenderRequest request = requestOf(content_);
    request.output = path(asSequence ? "rendered_####.png" : "rendered.png");
    request.existing = job::Existing::Replace;
    request.backend = "soft";
    if (!asSequence) request.scene.frames = FrameRange{frame, frame};
    request.background = job::BackgroundRequest{over, readColour(over), {}, false};
    job::RenderListener silence;
    job::RenderJob(request).run(silence, job::StopToken());
    return samples(media::Writer::pathOf(request.output, frame));
  }

  static WantedBackdrop colour(const std::string &text) {
    return {WantedBackdrop::Kind::Colour, *readColour(text), text};
  }
  WantedBackdrop file(const std::string &name) const { return {WantedBackdrop::Kind::File, {}, path(name)}; }

  const host::ParameterDeclaration &parameter(const std::string &slug) const {
    for (const auto &one : declarations_)
      if (one.slug() == slug) return one;
    throw std::runtime_error(slug);
  }

  void set(const std::string &slug, const host::ParameterValue &value) {
    content_.project.parameters[parameter(slug).id] = host::constant(value);
  }

  fs::path folder_;
  Content content_;
  host::Filter filter_{host::findFilter(host::defaultSearchPath())};
  std::vector<host::ParameterDeclaration> declarations_ = project::allParameters(filter_).declarations();
  Basket basket_;
  Preview preview_{"soft", basket_};
  std::uint64_t revision_ = 0;
};

/// A legal value that is not the default.
host::ParameterValue otherValue(const host::ParameterDeclaration &parameter) {
  const host::ParameterValue &usual = parameter.defaultValue;
  switch (parameter.kind) {
    case host::ParameterKind::Colour:
      return {0.2, 0.4, 0.9};
    case host::ParameterKind::Point:
      return {0.3, 0.6};
    case host::ParameterKind::Popup:
      return {1.0 - usual[0]};
    case host::ParameterKind::Integer:
      return {parameter.sliderMinimum + 7.0};
    default:
      break;
  }
  // Far enough to reach the title.
  if (parameter.slug().rfind("crop-", 0) == 0) return {0.48};
  const double third = parameter.sliderMinimum + (parameter.sliderMaximum - parameter.sliderMinimum) / 3.0;
  return {third == usual[0] ? parameter.sliderMaximum : third};
}

TEST_F(Settled, FramesAreTheCommandsForEveryParameter) {
  const Image::Floats plain = shown(6, colour("#102030"));
  EXPECT_EQ(plain, rendered(6, "#102030"));
  // Seen only where something goes before them: the fire reaches to the point, colours show inside.
  for (const host::ParameterDeclaration &one : declarations_) {
    if (one.kind == host::ParameterKind::Custom) continue;
    SCOPED_TRACE(one.slug());
    content_.project.parameters.clear();
    if (one.slug() == "point-attract-repel") set("attract-repel", {60});
    set(one.slug(), otherValue(one));
    const Image::Floats changed = shown(6, colour("#102030"));
    EXPECT_EQ(changed, rendered(6, "#102030"));
    const bool needsSource = one.slug() == "source-mode" || one.slug() == "color-depth";
    if (!needsSource) {
      EXPECT_NE(changed, plain);
    }
  }
}

TEST_F(Settled, FramesAreTheCommandsForEveryPreset) {
  for (const std::string &name : project::shippedPresetNames()) {
    SCOPED_TRACE(name);
    const project::Project look = project::loadPreset(name, declarations_);
    content_.project.parameters = look.parameters;
    content_.project.timed = look.timed;
    project::Scene scene;
    scene.size = PictureSize{96, 54};
    project::fillIn(scene, look.scene, true);
    // What counts from the end of the frames is the same for the same frames.
    scene.frames = FrameRange{1, 12};
    content_.project.scene = scene;
    EXPECT_EQ(shown(9, colour("black")), rendered(9, "black", true));
  }
}

TEST_F(Settled, FramesAreTheCommandsOverFilesAndTheCheckerboard) {
  EXPECT_EQ(shown(8, file("plate.png")), rendered(8, path("plate.png")));
  EXPECT_EQ(shown(8, {}), rendered(8, path("checker.png")));
  EXPECT_EQ(shown(8, colour("tomato")), rendered(8, "tomato"));
}

TEST_F(Settled, FramesAreTheCommandsOverAFileOfAnotherSize) {
  save("small.png", testPattern("bars", 64, 36, false));
  content_.project.scene.size.reset();
  EXPECT_EQ(shown(3, file("small.png")), rendered(3, path("small.png")));
}

TEST_F(Settled, FramesAreTheCommandsWithKeyframesPaddingAndDepth) {
  content_.project.parameters[parameter("glow").id] = {{1, {0}, host::Ease::Ease}, {12, {90}}};
  content_.project.scene.pad = parsePadding("auto");
  content_.project.scene.frames = FrameRange{1, 6};
  content_.project.scene.bits = 16;
  EXPECT_EQ(shown(5, colour("#808080")), rendered(5, "#808080", true));
}

TEST_F(Settled, FramesHaveTheSoftEdgesOfDeepInputs) {
  content_.testPattern = "circle";
  content_.project.scene.bits = 16;
  set("source-opacity", {1});
  EXPECT_EQ(shown(5, colour("#808080")), rendered(5, "#808080"));
}

TEST_F(Settled, FramesOfALoopAndOfAFireThatGoesOutAreTheSequences) {
  content_.project.scene.frames = FrameRange{1, 12};
  content_.project.scene.loops = true;
  EXPECT_EQ(shown(11, colour("black")), rendered(11, "black", true));
  content_.project.scene.loops.reset();
  content_.project.scene.die = 0.3;
  EXPECT_EQ(shown(11, colour("black")), rendered(11, "black", true));
}

TEST_F(Settled, FramesOfSequencesAreTheCommands) {
  for (int number = 3; number <= 6; ++number)
    save("in_000" + std::to_string(number) + ".png", testPattern(number % 2 ? "circle" : "title", 160, 90, false));
  content_ = Content();
  content_.input = path("in_####.png");
  EXPECT_EQ(shown(5, colour("black")), rendered(5, "black"));
  EXPECT_EQ(shown(4, colour("black")), rendered(4, "black"));
}

TEST_F(Settled, FramesOfMoviesAreTheCommands) {
  for (const char *name : {"burning.mov", "burning.mkv"}) {
    SCOPED_TRACE(name);
    content_ = Content();
    content_.testPattern = "title";
    content_.project.scene.size = PictureSize{160, 90};
    job::RenderRequest movie = requestOf(content_);
    movie.output = path(name);
    movie.backend = "soft";
    movie.scene.frames = FrameRange{1, 12};
    movie.scene.frameRate = FrameRate{10, 1};
    job::RenderListener silence;
    job::RenderJob(movie).run(silence, job::StopToken());

    content_ = Content();
    content_.input = path(name);
    const Image::Floats ninth = shown(9, colour("#204060"));
    EXPECT_EQ(ninth, rendered(9, "#204060"));
    // Back, on, and a frame again.
    EXPECT_EQ(shown(2, colour("#204060")), rendered(2, "#204060"));
    EXPECT_EQ(shown(12, file("plate.png")), rendered(12, path("plate.png")));
    EXPECT_EQ(shown(9, colour("#204060")), ninth);
    EXPECT_NE(shown(10, colour("#204060")), ninth);
    // A look of its own, and the room that it needs.
    set("glow", {60});
    content_.project.scene.pad = parsePadding("10%");
    EXPECT_EQ(shown(5, colour("black")), rendered(5, "black"));
  }
}

TEST_F(Settled, FramesDoNotDependOnWhatWasShownBefore) {
  const Image::Floats first = shown(6, colour("black"));
  shown(40, colour("black"));
  set("glow", {-40});
  shown(2, file("plate.png"));
  content_.project.parameters.clear();
  EXPECT_EQ(shown(6, colour("black")), first);
}

}  // namespace
}  // namespace pyrelux::studio
