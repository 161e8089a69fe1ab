// What a scene does to the pictures, through the filter and the files.

#include "ContactSheet.h"
#include "JobTest.h"
#include "Reader.h"
#include "RenderJob.h"
#include "ValueError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace pyrelux::job {
namespace {

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

class SceneRenders : public JobTest {
 protected:
  /// A request with these fields, into EXR, whose floats are as they were drawn.
  RenderRequest scene(const std::string &output, const std::map<std::string, std::string> &fields,
                      std::vector<project::Setting> settings = {}) const {
    RenderRequest wanted = request(output, "1");
    wanted.codec = "float";
    wanted.existing = Existing::Replace;
    wanted.settings.insert(wanted.settings.end(), settings.begin(), settings.end());
    for (const auto &[key, text] : fields) project::sceneField(key).parse(wanted.scene, text);
    return wanted;
  }

  std::vector<std::string> render(const RenderRequest &wanted) const {
    Journal journal;
    EXPECT_FALSE(RenderJob(wanted).run(journal, journal.stop).isStopped);
    return journal.lines;
  }

  Image::Floats pixelsOf(const std::string &name) const {
    return toFloat(media::Reader::open(path(name))->read(1)).asFloats();
  }

  Image::Floats drawn(const std::map<std::string, std::string> &fields, std::vector<project::Setting> settings = {}) {
    render(scene("drawn.exr", fields, std::move(settings)));
    return pixelsOf("drawn.exr");
  }

  static double distance(const Image::Floats &a, const Image::Floats &b) {
    EXPECT_EQ(a.size(), b.size());
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
  }

  static double largestDifference(const Image::Floats &a, const Image::Floats &b) {
    EXPECT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
      largest = std::max(largest, static_cast<double>(std::abs(a[i] - b[i])));
    return largest;
  }
};

const std::vector<project::Setting> coloured{{"source-opacity", "0.7"}, {"glow", "60"}};

std::vector<project::Setting> with(std::vector<project::Setting> settings, const project::Setting &one) {
  settings.push_back(one);
  return settings;
}

TEST_F(SceneRenders, FullFireIsTheFiltersOwnAtEveryDepth) {
  for (const int bits : {8, 16}) {
    RenderRequest own = scene("own.exr", {}, coloured);
    RenderRequest full = scene("full.exr", {}, with(coloured, {"fire-opacity", "100"}));
    own.drawBits = full.drawBits = bits;
    render(own);
    render(full);
    EXPECT_EQ(contents(path("own.exr")), contents(path("full.exr"))) << bits;
  }
}

TEST_F(SceneRenders, FireThatIsNearlyFullIsLaidTogetherAsTheFilterDoes) {
  for (const int bits : {8, 16})
    for (const char *mode : {"Cover", "Mix"}) {
      SCOPED_TRACE(std::to_string(bits) + mode);
      RenderRequest own = scene("own.exr", {}, with(coloured, {"source-mode", mode}));
      RenderRequest nearly = own;
      nearly.output = path("nearly.exr");
      nearly.settings.push_back({"fire-opacity", "99.9999"});
      own.drawBits = nearly.drawBits = bits;
      render(own);
      render(nearly);
      // Bytes are rounded and cut at 1 once more by the filter's last pass, halves rounded once more.
      Image::Floats expected = pixelsOf("own.exr");
      Image::Floats actual = pixelsOf("nearly.exr");
      if (bits == 8)
        for (float &sample : actual) sample = std::min(sample, 1.0f);
      const float most = *std::max_element(expected.begin(), expected.end());
      EXPECT_GT(most, 0.5f);
      EXPECT_LT(largestDifference(expected, actual), bits == 8 ? 1.1 / 255.0 : most / 1024.0);
    }
}

TEST_F(SceneRenders, FireFadesAloneAndTheSourceStays) {
  const Image::Floats fire = drawn({}, {{"source-opacity", "0"}});
  Image::Floats half = drawn({}, {{"source-opacity", "0"}, {"fire-opacity", "50"}});
  for (std::size_t at = 0; at < half.size(); ++at) {
    const bool isAlpha = at % 4 == 3;
    if (!isAlpha) {
      EXPECT_EQ(2.0f * half[at], fire[at]) << "weighted in float";
    }
  }
  const Image::Floats source = drawn({}, {{"source-opacity", "1"}, {"fire-opacity", "0"}});
  EXPECT_EQ(drawn({}, {{"source-opacity", "1"}, {"fire-opacity", "0"}, {"glow", "90"}}), source);
  EXPECT_GT(distance(source, fire), 0.01);
}

TEST_F(SceneRenders, KeyframesTakeTheFireFromOneWayToTheOther) {
  // The first frames are laid together here, the last is the filter's own, and no run begins anew between them.
  RenderRequest wanted = scene("faded_%d.exr", {{"frames", "1-4"}}, coloured);
  std::ofstream(path("fade.json")) << R"({"version": 1, "parameters": {"turbulence-speed": [{"frame": 1, "value": 5},
      {"frame": 4, "value": 80}], "fire-opacity": [{"frame": 1, "value": 0}, {"frame": 4, "value": 100}]}})";
  wanted.project = path("fade.json");
  render(wanted);
  std::ofstream(path("full.json")) << R"({"version": 1, "parameters": {"turbulence-speed": [{"frame": 1, "value": 5},
      {"frame": 4, "value": 80}]}})";
  RenderRequest full = scene("full_%d.exr", {{"frames", "4"}}, coloured);
  full.project = path("full.json");
  render(full);
  EXPECT_EQ(pixelsOf("faded_4.exr"), pixelsOf("full_4.exr"));
  EXPECT_GT(distance(pixelsOf("faded_2.exr"), pixelsOf("faded_4.exr")), 0.001);
}

TEST_F(SceneRenders, AShapeBurnsInWhiteUnderItsColours) {
  const Image::Floats art = drawn({}, coloured);
  // Halves are rounded once more by the filter's last pass.
  EXPECT_LT(largestDifference(drawn({{"burn", "shape"}}, coloured), art),
            *std::max_element(art.begin(), art.end()) / 1024)
      << "the pattern is white itself";
  std::ofstream(path("dark.png"), std::ios::binary) << "";
  RenderRequest dark = scene("dark.png", {}, {{"fire-opacity", "0"}, {"source-opacity", "1"}});
  dark.testPattern.reset();
  dark.scene.title.text = "I";
  dark.scene.title.colour = Colour{0.0, 0.0, 0.25};
  dark.codec.clear();
  render(dark);
  const auto burnt = [&](const std::string &burn) {
    RenderRequest wanted = scene("burnt.exr", {{"burn", burn}}, {{"source-opacity", "0"}});
    wanted.testPattern.reset();
    wanted.scene.size.reset();
    wanted.input = path("dark.png");
    render(wanted);
    const Image::Floats samples = pixelsOf("burnt.exr");
    double red = 0.0;
    for (std::size_t at = 0; at < samples.size(); at += 4) red += samples[at];
    return red;
  };
  EXPECT_EQ(burnt("art"), 0.0) << "blue has no red to burn in";
  EXPECT_GT(burnt("shape"), 1.0);
}

TEST_F(SceneRenders, ASeedIsAnotherFireAndTheSameEachTime) {
  const Image::Floats plain = drawn({});
  EXPECT_EQ(drawn({{"seed", "0"}}), plain);
  const Image::Floats seeded = drawn({{"seed", "5"}});
  EXPECT_GT(distance(seeded, plain), 0.001);
  EXPECT_GT(distance(seeded, drawn({{"seed", "6"}})), 0.001);
  EXPECT_EQ(drawn({{"seed", "5"}}), seeded);
  const std::vector<std::string> lines = render(scene("late_%d.exr", {{"seed", "1000000"}, {"frames", "3"}}));
  EXPECT_THAT(lines, Each(Not(HasSubstr("remark")))) << "no run-up";
  render(scene("whole_%d.exr", {{"seed", "1000000"}, {"frames", "1-3"}}));
  EXPECT_EQ(pixelsOf("late_3.exr"), pixelsOf("whole_3.exr"));
}

TEST_F(SceneRenders, ATimeBaseBurnsAsFastAtEveryRate) {
  render(scene("film_%d.exr", {{"frames", "1-5"}, {"fps", "24"}}));
  render(scene("video_%d.exr", {{"frames", "1-11"}, {"fps", "60"}, {"time-base", "24"}}));
  EXPECT_EQ(pixelsOf("film_1.exr"), pixelsOf("video_1.exr"));
  // The times are the same but for their last bit, which may move a half to the next one.
  EXPECT_LT(largestDifference(pixelsOf("film_3.exr"), pixelsOf("video_6.exr")), 1e-3);
  EXPECT_LT(largestDifference(pixelsOf("film_5.exr"), pixelsOf("video_11.exr")), 1e-3);
  EXPECT_GT(distance(pixelsOf("film_3.exr"), pixelsOf("video_3.exr")), 1e-4);
}

TEST_F(SceneRenders, ALoopEndsWhereItBegins) {
  constexpr int frames = 12;
  const std::vector<project::Setting> lively{{"turbulence-speed", "60"}, {"wiggle-turbulence", "60"}};
  const auto steps = [&](const std::string &name, const std::string &isLoop) {
    render(scene(name, {{"frames", "1-12"}, {"loop", isLoop}}, lively));
    std::vector<double> distances;
    for (int frame = 1; frame <= frames; ++frame) {
      const auto picture = [&](int number) {
        std::string file = name;
        return pixelsOf(file.replace(file.find("%d"), 2, std::to_string(number)));
      };
      distances.push_back(distance(picture(frame), picture(frame % frames + 1)));
    }
    return distances;
  };
  const std::vector<double> plain = steps("plain_%d.exr", "false");
  EXPECT_GT(plain.back(), *std::max_element(plain.begin(), plain.end() - 1)) << "it jumps";
  const std::vector<double> loop = steps("loop_%d.exr", "true");
  EXPECT_LE(loop.back(), *std::max_element(loop.begin(), loop.end() - 1));
  EXPECT_EQ(pixelsOf("loop_9.exr"), pixelsOf("plain_9.exr")) << "only the last quarter dissolves";
  EXPECT_NE(pixelsOf("loop_10.exr"), pixelsOf("plain_10.exr"));
}

TEST_F(SceneRenders, ACanvasHoldsTheInputWhereItIsPut) {
  RenderRequest wanted =
      scene("canvas.exr", {{"canvas", "96x54"}, {"place", "75,75"}}, {{"fire-opacity", "0"}, {"source-opacity", "1"}});
  render(wanted);
  const auto reader = media::Reader::open(path("canvas.exr"));
  EXPECT_EQ(reader->info().width, 96);
  EXPECT_EQ(reader->info().height, 54);
  const Image picture = reader->read(1);
  // The pattern's picture is 48 x 27, with its middle at 72, 13 from the upper left.
  const Image plain = [&] {
    render(scene("plain.exr", {}, {{"fire-opacity", "0"}, {"source-opacity", "1"}}));
    return media::Reader::open(path("plain.exr"))->read(1);
  }();
  for (int y = 0; y < 27; ++y)
    for (int x = 0; x < 48; ++x)
      for (std::size_t channel = 0; channel < 4; ++channel)
        ASSERT_EQ(picture.asFloats()[4 * static_cast<std::size_t>(y * 96 + x + 48) + channel],
                  plain.asFloats()[4 * static_cast<std::size_t>(y * 48 + x) + channel])
            << x << "," << y;
  EXPECT_EQ(picture.asFloats()[4 * (40 * 96 + 60) + 3], 0.0f);
}

TEST_F(SceneRenders, AutomaticRoomIsAsLargeAsTheFireNeeds) {
  const std::vector<project::Setting> tall{{"length-of-pyrelux", "60"}, {"glow", "100"}, {"spread-degrees", "40"}};
  const std::string cutOff = "cut off";
  EXPECT_THAT(render(scene("tight_%d.exr", {{"frames", "1-6"}}, tall)), Contains(HasSubstr(cutOff)));
  const std::vector<std::string> lines = render(scene("roomy_%d.exr", {{"frames", "1-6"}, {"pad", "auto"}}, tall));
  EXPECT_THAT(lines, Each(Not(HasSubstr(cutOff))));
  const media::InputInfo info = media::Reader::open(path("roomy_1.exr"))->info();
  EXPECT_GT(info.height, 27);
  EXPECT_LE(info.height, 4 * 27 + 1);
  EXPECT_EQ(info.width % 2, 0);
  EXPECT_EQ(info.height % 2, 0);
}

TEST_F(SceneRenders, AutomaticRoomHasItsLimit) {
  const std::vector<project::Setting> endless{
      {"length-of-pyrelux", "100"}, {"attract-repel", "100"}, {"turbulence-amount", "100"}};
  EXPECT_THAT(render(scene("far.exr", {{"pad", "auto"}}, endless)), Contains(HasSubstr("further than '--pad auto'")));
  EXPECT_EQ(media::Reader::open(path("far.exr"))->info().height, 4 * 27);
}

TEST_F(SceneRenders, FlamesScaleWithTheTitle) {
  // The pattern's letters are as high in both frames.
  const Image::Floats plain = drawn({{"flame-scale", "frame"}});
  EXPECT_EQ(drawn({}), plain);
  EXPECT_GT(distance(drawn({{"flame-scale", "title"}}), plain), 0.001);
}

TEST_F(SceneRenders, ADurationCountsFrames) {
  RenderRequest wanted = scene("long_%d.exr", {{"duration", "250ms"}, {"fps", "16"}});
  wanted.scene.frames.reset();
  render(wanted);
  EXPECT_TRUE(std::filesystem::exists(path("long_4.exr")));
  EXPECT_FALSE(std::filesystem::exists(path("long_5.exr")));
}

TEST_F(SceneRenders, SavedProjectsDrawTheSamePictures) {
  RenderRequest wanted = scene("lit_%d.exr", {{"frames", "1-12"},
                                              {"ignite", "250ms"},
                                              {"die", "200ms"},
                                              {"seed", "9"},
                                              {"burn", "shape"},
                                              {"flame-scale", "title"},
                                              {"pad", "3"}});
  wanted.saveProject = path("lit.json");
  render(wanted);
  RenderRequest again = request("again_%d.exr", "1");
  again.codec = "float";
  again.settings.clear();
  again.scene = {};
  again.scene.size = PictureSize{48, 27};
  again.project = path("lit.json");
  render(again);
  for (const int frame : {1, 3, 7, 12})
    EXPECT_EQ(pixelsOf("lit_" + std::to_string(frame) + ".exr"), pixelsOf("again_" + std::to_string(frame) + ".exr"));
}

TEST_F(SceneRenders, APresetHoldsWhatBelongsToALook) {
  std::ofstream(path("look.json")) << R"({"version": 1, "canvas": "200x200", "seed": 5, "parameters": {"glow": 50}})";
  RenderRequest wanted = scene("look.exr", {});
  wanted.preset = path("look.json");
  render(wanted);
  EXPECT_EQ(pixelsOf("look.exr"), drawn({{"seed", "5"}}, {{"glow", "50"}}));
}

TEST_F(SceneRenders, ArtworkWithoutAlphaIsRemarkedAndGetsAMatte) {
  RenderRequest art = scene("art.png", {}, {{"fire-opacity", "0"}, {"source-opacity", "1"}});
  art.codec.clear();
  art.alpha = AlphaUse::None;
  render(art);
  const auto burn = [&](const std::map<std::string, std::string> &fields) {
    RenderRequest wanted = scene("burnt.exr", fields);
    wanted.testPattern.reset();
    wanted.scene.size.reset();
    wanted.input = path("art.png");
    return render(wanted);
  };
  EXPECT_THAT(burn({}), Contains(HasSubstr("has no alpha and burns as a rectangle; --input-alpha luma or key=COLOR")));
  const Image::Floats rectangle = pixelsOf("burnt.exr");
  EXPECT_THAT(burn({{"input-alpha", "none"}}), Each(Not(HasSubstr("rectangle")))) << "asked for";
  EXPECT_THAT(burn({{"input-alpha", "luma"}}), Each(Not(HasSubstr("rectangle"))));
  const Image::Floats luma = pixelsOf("burnt.exr");
  EXPECT_GT(distance(luma, rectangle), 0.01);
  burn({{"input-alpha", "key=#000000:100%"}});
  // What is nearly black is the key, and luma keeps it.
  EXPECT_LT(distance(pixelsOf("burnt.exr"), luma), 1e-3) << "white on black";
}

TEST_F(SceneRenders, SheetsDrawTheSameScenes) {
  SheetRequest sheet;
  sheet.render = scene("sheet.png", {{"seed", "5"}, {"burn", "shape"}});
  sheet.render.scene.frames.reset();
  sheet.render.codec.clear();
  sheet.variations = {parseVariation("glow=0,50")};
  sheet.cellWidth = minCellWidth;
  Journal journal;
  std::ofstream(path("loop.json")) << R"({"version": 1, "loop": true, "loop-blend": 3})";
  sheet.render.preset = path("loop.json");
  EXPECT_EQ(drawSheet(sheet, journal, journal.stop).drawn, 2);
  sheet.render.scene.pad = parsePadding("auto");
  EXPECT_THROW(drawSheet(sheet, journal, journal.stop), ValueError);
}

}  // namespace
}  // namespace pyrelux::job
