// Project files as text and as data.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FrameList.h"
#include "FrameRate.h"
#include "Project.h"
#include "SampleParameters.h"

namespace pyrelux::project::test {
namespace {

using namespace host::test;
using host::Ease;
using host::Keyframe;
using host::ParameterValue;
using testing::HasSubstr;

Project parse(const std::string &text) { return parseProject(text, sampleDeclarations()); }

std::string errorOf(const std::string &text) {
  try {
    parse(text);
  } catch (const ProjectError &error) {
    return error.what();
  }
  return {};
}

std::vector<Keyframe> keyframesOf(const std::string &name, const std::string &json) {
  const Project project = parse("{\"version\": 1, \"parameters\": {\"" + name + "\": " + json + "}}");
  EXPECT_EQ(project.parameters.size(), 1u);
  return project.parameters.begin()->second;
}

ParameterValue constantOf(const std::string &name, const std::string &json) {
  const std::vector<Keyframe> keyframes = keyframesOf(name, json);
  EXPECT_EQ(keyframes.size(), 1u);
  return keyframes.at(0).value;
}

TEST(ProjectText, NeedsNothingButItsVersion) {
  const Project project = parse("{\"version\": 1}");
  EXPECT_FALSE(project.preset || project.scene.frames || project.scene.frameRate || project.scene.bits);
  EXPECT_TRUE(project.parameters.empty());
}

TEST(ProjectText, HoldsWhatOptionsTake) {
  const Project project = parse(
      R"({"version": 1, "$schema": "x", "preset": "torch", "size": "640x360", "frames": "1-9x2", "fps": "30000/1001", "bits": 16})");
  EXPECT_EQ(project.preset, "torch");
  EXPECT_EQ(formatSize(*project.scene.size), "640x360");
  EXPECT_EQ(formatFrames(*project.scene.frames), "1-9x2");
  EXPECT_EQ(formatFrameRate(*project.scene.frameRate), "30000/1001");
  EXPECT_EQ(project.scene.bits, 16);
  const Project numbers = parse(R"({"version": 1, "frames": 7, "fps": 23.976})");
  EXPECT_EQ(formatFrames(*numbers.scene.frames), "7");
  EXPECT_EQ(formatFrameRate(*numbers.scene.frameRate), "24000/1001");
}

TEST(ProjectText, TakesValuesAsPeopleWriteThem) {
  EXPECT_EQ(constantOf("glow", "-12.5"), (ParameterValue{-12.5}));
  EXPECT_EQ(constantOf("pyrelux", "12"), (ParameterValue{12}));
  EXPECT_EQ(constantOf("direction", "90"), (ParameterValue{90}));
  EXPECT_EQ(constantOf("color-inner", "[0.25, 1, 0]"), (ParameterValue{0.25, 1, 0}));
  EXPECT_EQ(constantOf("color-inner", "\"#ff0033\""), (ParameterValue{1, 0, 0.2}));
  EXPECT_EQ(constantOf("point-attract-repel", "[-1, 2.5]"), (ParameterValue{-1, 2.5}));
  EXPECT_EQ(constantOf("source-mode", "\"16 Bit Mix\""), (ParameterValue{1}));
}

TEST(ProjectText, TakesEachFormOfAName) {
  for (const char *name : {"pyrelux", "tongues", "Tongues", "Pyrelux::Pyrelux", "14"})
    EXPECT_EQ(constantOf(name, "9"), (ParameterValue{9})) << name;
}

TEST(ProjectText, SortsKeyframes) {
  const std::vector<Keyframe> keyframes = keyframesOf("glow", R"([
      {"frame": 10.5, "value": 3},
      {"frame": -2, "value": 1, "ease": "bezier", "bezier": [0.1, -1, 0.9, 2]},
      {"value": 2, "frame": 4, "ease": "ease-in"}])");
  ASSERT_EQ(keyframes.size(), 3u);
  EXPECT_EQ(keyframes[0].frame, -2.0);
  EXPECT_EQ(keyframes[0].ease, Ease::Bezier);
  EXPECT_EQ(keyframes[0].curve, (host::TimingCurve{0.1, -1, 0.9, 2}));
  EXPECT_EQ(keyframes[1].frame, 4.0);
  EXPECT_EQ(keyframes[1].ease, Ease::EaseIn);
  EXPECT_EQ(keyframes[2].frame, 10.5);
  EXPECT_EQ(keyframes[2].ease, Ease::Linear);
  EXPECT_EQ(keyframes[2].value, (ParameterValue{3}));
}

TEST(ProjectText, IsTheSameAfterWritingAndReading) {
  Project project;
  project.preset = "magma";
  project.description = "Slow \"and\" dark";
  project.scene.size = PictureSize{64, 36};
  project.scene.frames = parseFrames("1-5,9");
  project.scene.frameRate = FrameRate{24000, 1001};
  project.scene.bits = 8;
  project.parameters[kGlow] = {{0, {0.1 + 0.2}}};
  project.parameters[kMode] = {{1, {0}, Ease::Hold}, {5, {1}, Ease::Hold}};
  project.parameters[kColour] = {{1.25, {1.0 / 3, 0, 1}, Ease::Ease}, {1e9, {0, 1e-17, 0.5}, Ease::EaseOut}};
  project.parameters[kPoint] = {{-3, {-7.125, 1e8}, Ease::Bezier, {0, -99.9, 1, 1.0 / 7}}, {0, {0.5, 0.5}}};
  const std::string text = formatProject(project, sampleDeclarations());
  const Project again = parse(text);
  EXPECT_EQ(again.preset, project.preset);
  EXPECT_EQ(again.description, project.description);
  EXPECT_EQ(formatSize(*again.scene.size), "64x36");
  EXPECT_EQ(formatFrames(*again.scene.frames), "1-5,9");
  EXPECT_EQ(formatFrameRate(*again.scene.frameRate), "24000/1001");
  EXPECT_EQ(again.scene.bits, project.scene.bits);
  ASSERT_EQ(again.parameters.size(), 4u);
  for (const auto &[id, keyframes] : project.parameters) {
    ASSERT_EQ(again.parameters.at(id).size(), keyframes.size());
    for (std::size_t i = 0; i < keyframes.size(); ++i) {
      EXPECT_EQ(again.parameters.at(id)[i].frame, keyframes[i].frame);
      EXPECT_EQ(again.parameters.at(id)[i].value, keyframes[i].value);
      EXPECT_EQ(again.parameters.at(id)[i].ease, keyframes[i].ease);
      EXPECT_EQ(again.parameters.at(id)[i].curve, keyframes[i].curve);
    }
  }
  EXPECT_EQ(formatProject(again, sampleDeclarations()), text);
}

TEST(ProjectText, OfAllInForceHasTheDefaultsToo) {
  host::ParameterSet parameters(sampleDeclarations());
  parameters.setKeyframes(*parameters.find(kGlow), {{1, {2}}, {3, {4}}});
  const auto all = parametersInForce(parameters);
  EXPECT_EQ(all.size(), sampleDeclarations().size() - 1) << "all but the header";
  EXPECT_EQ(all.at(kGlow).size(), 2u);
  EXPECT_EQ(all.at(kPoint).at(0).value, (ParameterValue{0.5, 0.25}));
}

TEST(ProjectText, ErrorsNameLineAndColumn) {
  EXPECT_THAT(errorOf("{\"version\": 1,\n\n  oops}"), testing::StartsWith("line 3, column 3: "));
  EXPECT_THAT(errorOf(""), testing::StartsWith("line 1, column 1: "));
  EXPECT_THAT(errorOf("{\"version\": \"\xff\"}"), testing::StartsWith("line 1, column 14: "));
}

TEST(ProjectText, ErrorsStayShortWhateverTheTextHolds) {
  const std::string far(1 << 20, 'x');
  for (const std::string &text :
       {"{\"" + far + "\": 1}", "\"" + far, "{\"version\": \"" + far + "\"}", far,
        "{\"version\": 1, \"frames\": \"" + far + "\"}", "{\"version\": 1, \"preset\": \"" + far + "\"}",
        "{\"version\": 1, \"parameters\": {\"" + far + "\": 1}}",
        "{\"version\": 1, \"parameters\": {\"glow\": \"" + far + "\"}}",
        "{\"version\": 1, \"parameters\": {\"glow\": [{\"" + far + "\": 1}]}}",
        "{\"version\": 1" + std::string(1 << 20, '0') + "}",
        "{\"" + far + "; expected " + far + "\": 1, \"" + far + "; expected " + far + "\": 1}"}) {
    EXPECT_FALSE(errorOf(text).empty());
    EXPECT_LT(errorOf(text).size(), 1000u) << text.substr(0, 60);
  }
}

TEST(ProjectText, EndlessNestingIsRefused) {
  EXPECT_THAT(errorOf(std::string(1 << 20, '[')), HasSubstr("nested deeper"));
  std::string objects;
  for (int i = 0; i < 100000; ++i) objects += "{\"a\":";
  EXPECT_THAT(errorOf(objects), HasSubstr("nested deeper"));
  EXPECT_THAT(
      errorOf("{\"version\": 1, \"parameters\": {\"glow\": " + std::string(13, '[') + std::string(13, ']') + "}}"),
      HasSubstr("parameters.glow can't be a list of 1"))
      << "not too deep";
}

TEST(ProjectText, FramesAndRatesHaveTexts) {
  for (const char *text : {"7", "1-48", "1-9x2", "1,5,9-12", "0,4-10x3"})
    EXPECT_EQ(formatFrames(parseFrames(text)), text);
  EXPECT_EQ(formatFrames(parseFrames("1-10x4")), "1-9x4");
  EXPECT_EQ(formatFrames(parseFrames("3-4x9")), "3");
  for (const char *text : {"24", "30000/1001"}) EXPECT_EQ(formatFrameRate(parseFrameRate(text)), text);
}

}  // namespace
}  // namespace pyrelux::project::test
