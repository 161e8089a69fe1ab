// Renders from requests, without a command line.

#include "RenderJob.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "ContactSheet.h"
#include "FramePipeline.h"
#include "JobTest.h"
#include "MediaErrors.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::job {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using RenderJobTest = JobTest;

TEST_F(RenderJobTest, TellsItsListenerAndPrintsNothing) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Journal journal;
  const RenderResult result = RenderJob(request("fire_%d.png", "1-3")).run(journal, journal.stop);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(journal.lines,
              ElementsAre("backend soft", "started 3", "1 rendered", "2 rendered", "3 rendered", "finished"));
  EXPECT_EQ(result.frames, 3);
  EXPECT_EQ(result.rendered, 3);
  EXPECT_FALSE(result.isStopped);
  EXPECT_TRUE(fs::exists(path("fire_3.png")));
}

TEST_F(RenderJobTest, TwoRunOneAfterTheOtherInOneProcess) {
  Journal first;
  Journal second;
  RenderJob(request("one_%d.png", "2-3")).run(first, first.stop);
  RenderJob(request("two_%d.png", "2-3")).run(second, second.stop);
  for (const char *frame : {"2", "3"})
    EXPECT_EQ(contents(path(std::string("one_") + frame + ".png")),
              contents(path(std::string("two_") + frame + ".png")));
}

TEST_F(RenderJobTest, AreStoppedOneByOne) {
  Journal stopped;
  stopped.stopAfter = 2;
  const RenderResult result = RenderJob(request("one_%d.png", "1-500")).run(stopped, stopped.stop);
  EXPECT_TRUE(result.isStopped);
  EXPECT_GE(result.rendered, 2);
  EXPECT_LE(result.rendered, 2 + framesUnderWay(4));
  EXPECT_TRUE(fs::exists(path("one_2.png")));
  Journal other;
  EXPECT_FALSE(RenderJob(request("two_%d.png", "1-4")).run(other, other.stop).isStopped);
}

TEST_F(RenderJobTest, StoppedBeforeItBeginsLeavesNothing) {
  Journal journal;
  journal.stop.request();
  const RenderResult result = RenderJob(request("fire.mkv", "1-4")).run(journal, journal.stop);
  EXPECT_EQ(result.done(), 0);
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(RenderJobTest, SaysWhatWasKept) {
  Journal journal;
  RenderRequest wanted = request("fire_%d.png", "1-2");
  RenderJob(wanted).run(journal, journal.stop);
  wanted.scene.frames = parseFrames("1-3");
  wanted.existing = Existing::Resume;
  journal.lines.clear();
  const RenderResult result = RenderJob(wanted).run(journal, journal.stop);
  EXPECT_EQ(result.kept, 2);
  EXPECT_EQ(result.rendered, 1);
  EXPECT_THAT(journal.lines, ElementsAre("backend soft", "started 3", "1 kept", "2 kept", "3 rendered", "finished"));
}

TEST_F(RenderJobTest, SaysWhichFramesFailed) {
  Journal input;
  RenderJob(request("in_%d.png", "1-3")).run(input, input.stop);
  std::ofstream(path("in_2.png")) << "no picture";
  RenderRequest wanted = request("out_%d.png", "1-3");
  wanted.testPattern.reset();
  wanted.scene.size.reset();
  wanted.input = path("in_%d.png");
  Journal journal;
  const RenderResult result = RenderJob(wanted).run(journal, journal.stop);
  EXPECT_EQ(result.failed, 1);
  EXPECT_EQ(result.rendered, 2);
  EXPECT_THAT(journal.lines, testing::Contains(HasSubstr("2 because cannot read")));
}

TEST_F(RenderJobTest, RefusesWhatCannotBeFollowed) {
  Journal journal;
  RenderRequest nothing = request("fire.png", "1");
  nothing.testPattern.reset();
  EXPECT_THROW(RenderJob(nothing).run(journal, journal.stop), ValueError);
  EXPECT_THROW(RenderJob(request("fire.png", "1-2")).run(journal, journal.stop), ValueError);
  RenderRequest twice = request("fire.png", "1");
  RenderJob(twice).run(journal, journal.stop);
  EXPECT_THROW(RenderJob(twice).run(journal, journal.stop), media::OutputError);
  RenderRequest missing = request("other.png", "1");
  missing.project = path("none.json");
  EXPECT_THROW(RenderJob(missing).run(journal, journal.stop), media::InputError);
}

TEST_F(RenderJobTest, TakesSettingsFromThePresetTheProjectAndTheRequest) {
  std::ofstream(path("look.json"))
      << R"({"version": 1, "size": "30x30", "frames": 5, "parameters": {"glow": 7, "direction": 12, "steps": 13}})";
  std::ofstream(path("film.json"))
      << R"({"version": 1, "preset": "look.json", "size": "32x18", "parameters": {"glow": 9, "steps": 12}})";
  RenderRequest wanted;
  wanted.testPattern = "title";
  wanted.backend = "soft";
  wanted.project = path("film.json");
  wanted.output = path("fire_%d.png");
  wanted.settings = {{"steps", "11"}};
  wanted.saveProject = path("saved.json");
  Journal journal;
  RenderJob(wanted).run(journal, journal.stop);
  const std::string saved = contents(path("saved.json"));
  for (const char *part :
       {"\"size\": \"32x18\"", "\"frames\": \"1-48\"", "\"glow\": 9", "\"direction\": 12", "\"steps\": 11"})
    EXPECT_THAT(saved, HasSubstr(part));
}

TEST_F(RenderJobTest, ASheetStopsToo) {
  SheetRequest sheet;
  sheet.render = request("sheet.png", "1");
  sheet.render.scene.frames.reset();
  sheet.frame = 2;
  sheet.variations = {parseVariation("glow=1,2,3")};
  Journal journal;
  journal.stop.request();
  EXPECT_TRUE(drawSheet(sheet, journal, journal.stop).isStopped());
  EXPECT_FALSE(fs::exists(path("sheet.png")));
  const SheetResult result = drawSheet(sheet, journal, StopToken());
  EXPECT_EQ(result.drawn, 3);
  EXPECT_TRUE(fs::exists(path("sheet.png")));
}

}  // namespace
}  // namespace pyrelux::job
