// What options and project files say of a render besides parameters.

#include "OwnParameters.h"
#include "Project.h"
#include "ProjectSchema.h"
#include "SampleParameters.h"
#include "Scene.h"
#include "Settings.h"
#include "ValueError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace pyrelux::project {
namespace {

using host::test::sampleDeclarations;
using testing::HasSubstr;

/// A text that each field takes, as format() writes it.
const std::map<std::string, std::string> &samples() {
  static const std::map<std::string, std::string> texts{{"input-alpha", "key=0,1,0:40%"},
                                                        {"text", "One\\nand \\\\another"},
                                                        {"text-file", "title.txt"},
                                                        {"font", "Serif Italic 200"},
                                                        {"font-file", "brand.ttf"},
                                                        {"strict-fonts", "true"},
                                                        {"text-color", "1,0.5,0"},
                                                        {"text-position", "25,75"},
                                                        {"text-align", "left"},
                                                        {"text-wrap", "80%"},
                                                        {"line-spacing", "1.25"},
                                                        {"letter-spacing", "-5%"},
                                                        {"size", "64x36"},
                                                        {"canvas", "128x72"},
                                                        {"place", "25,75"},
                                                        {"fit", "80%"},
                                                        {"pad", "1,2%,3,4%"},
                                                        {"flame-scale", "title"},
                                                        {"burn", "shape"},
                                                        {"frames", "1-9x2"},
                                                        {"duration", "4s"},
                                                        {"fps", "24000/1001"},
                                                        {"time-base", "24"},
                                                        {"ignite", "1.5s"},
                                                        {"die", "1s"},
                                                        {"seed", "7"},
                                                        {"loop", "true"},
                                                        {"loop-blend", "6"},
                                                        {"bits", "16"}};
  return texts;
}

TEST(SceneFields, TakeWhatTheyFormat) {
  for (const SceneField &field : sceneFields()) {
    SCOPED_TRACE(field.key);
    ASSERT_EQ(samples().count(field.key), 1u) << "the field has a sample";
    Scene scene;
    EXPECT_FALSE(field.format(scene));
    field.parse(scene, samples().at(field.key));
    EXPECT_EQ(field.format(scene), samples().at(field.key));
    for (const SceneField &other : sceneFields())
      EXPECT_EQ(other.format(scene).has_value(), other.key == field.key) << other.key;
    EXPECT_FALSE(field.brief.empty());
    EXPECT_NE(field.brief.back(), '.');
  }
}

TEST(SceneFields, RefuseNonsense) {
  const std::set<std::string> takingAnyText{"text", "text-file", "font", "font-file"};
  for (const SceneField &field : sceneFields()) {
    Scene scene;
    if (takingAnyText.count(field.key) == 0) {
      EXPECT_THROW(field.parse(scene, "no such value"), ValueError) << field.key;
    }
    EXPECT_THROW(field.parse(scene, ""), ValueError) << field.key;
    EXPECT_FALSE(field.format(scene)) << field.key;
  }
}

TEST(SceneFields, GiveBackThePercentThatTheyTook) {
  for (const char *text : {"7%", "14.3%", "29%", "57%", "100%"}) {
    Scene scene;
    sceneField("letter-spacing").parse(scene, text);
    EXPECT_EQ(sceneField("letter-spacing").format(scene), text);
  }
}

TEST(SceneFields, HaveTheirRanges) {
  Scene scene;
  sceneField("seed").parse(scene, "1000000");
  for (const char *seed : {"-1", "1000001", "1.5", "nan"})
    EXPECT_THROW(sceneField("seed").parse(scene, seed), ValueError);
  EXPECT_THROW(sceneField("loop-blend").parse(scene, "0"), ValueError);
  EXPECT_EQ(scene.seed, 1000000);
  const struct {
    const char *key;
    std::vector<std::string> taken;
    std::vector<std::string> refused;
  } rows[] = {{"text-wrap", {"1%", "100%"}, {"0.9%", "101%", "80", "%", "nan%", "0.8"}},
              {"line-spacing", {"0.1", "10"}, {"0", "0.09", "10.1", "-1", "nan", "50%"}},
              {"letter-spacing", {"-50%", "0%", "500%"}, {"-51%", "501%", "10", "inf%"}},
              {"text-position", {"center", "-1000,1000"}, {"left", "50", "50,50,50", "1001,0"}},
              {"text-color", {"#fff", "tomato", "0,1,0"}, {"reddish", "#ff", "1,1,2", "-1,0,0", "nan,0,0"}},
              {"text-align", {"left", "center", "right"}, {"Left", "justify"}}};
  for (const auto &row : rows) {
    for (const std::string &text : row.taken) EXPECT_NO_THROW(sceneField(row.key).parse(scene, text)) << text;
    for (const std::string &text : row.refused)
      EXPECT_THROW(sceneField(row.key).parse(scene, text), ValueError) << row.key << " " << text;
  }
}

TEST(SceneFields, TextHasLinesAndBackslashes) {
  const std::pair<const char *, const char *> rows[] = {{"A\\nB", "A\nB"},   {"A\nB", "A\nB"}, {"A\\\\nB", "A\\nB"},
                                                        {"\\\\\\n", "\\\n"}, {"\\t", "\\t"},   {"A\\", "A\\"}};
  for (const auto &[typed, text] : rows) {
    Scene scene;
    sceneField("text").parse(scene, typed);
    EXPECT_EQ(scene.title.text, text) << typed;
    Scene again;
    sceneField("text").parse(again, *sceneField("text").format(scene));
    EXPECT_EQ(again.title.text, text) << typed;
  }
}

TEST(InputMattes, HaveWordsAndAColour) {
  for (const char *text : {"auto", "straight", "premultiplied", "none", "luma", "key=0,0.5,1:30%"})
    EXPECT_EQ(formatInputMatte(parseInputMatte(text)), text);
  EXPECT_EQ(formatInputMatte(parseInputMatte("key=#ff0000")), "key=1,0,0:30%");
  EXPECT_EQ(parseInputMatte("key=#ff0000:5%").softness, 0.05);
  EXPECT_EQ(parseInputMatte("luma").alpha, media::InputAlpha::None) << "its own alpha does not count";
  EXPECT_EQ(parseInputMatte("key=#ff0000").alpha, media::InputAlpha::None);
  for (const char *text : {"key=", "key=#zz0000", "key=2,0,0", "key=#ff0000:", "key=#ff0000:0%", "key=#ff0000:101%",
                           "key=#ff0000:5", "Luma", "key"})
    EXPECT_THROW(parseInputMatte(text), ValueError) << text;
}

TEST(Scenes, AreFilledInFromWeakerOnes) {
  Scene strong;
  strong.seed = 3;
  Scene weak;
  weak.seed = 4;
  weak.canvas = PictureSize{64, 36};
  weak.burn = Burn::Shape;
  Scene asProject = strong;
  fillIn(asProject, weak, false);
  EXPECT_EQ(asProject.seed, 3);
  EXPECT_TRUE(asProject.canvas);
  EXPECT_EQ(asProject.burn, Burn::Shape);
  Scene asPreset = strong;
  fillIn(asPreset, weak, true);
  EXPECT_FALSE(asPreset.canvas) << "a preset is a look for any title";
  EXPECT_EQ(asPreset.burn, Burn::Shape);
}

std::string allFields() {
  nlohmann::json json{{"version", 1}};
  for (const auto &[key, text] : samples()) {
    if (key == "text-file") continue;  // excludes the text
    if (sceneField(key).isFlag())
      json[key] = text == "true";
    else
      json[key] = text;
  }
  return json.dump();
}

TEST(ProjectScenes, AreTheSameAfterWritingAndReading) {
  const Project project = parseProject(allFields(), sampleDeclarations());
  for (const auto &[key, text] : samples()) {
    if (key == "text-file") continue;
    EXPECT_EQ(sceneField(key).format(project.scene), text);
  }
  const std::string text = formatProject(project, sampleDeclarations());
  EXPECT_EQ(formatProject(parseProject(text, sampleDeclarations()), sampleDeclarations()), text);
  EXPECT_THAT(text, HasSubstr("\"loop\": true"));
}

TEST(ProjectScenes, TakeNumbersWhereTextsAreNumbers) {
  const Project project =
      parseProject(R"({"version": 1, "seed": 7, "duration": 2.5, "pad": 10})", sampleDeclarations());
  EXPECT_EQ(project.scene.seed, 7);
  EXPECT_EQ(project.scene.duration, 2.5);
  EXPECT_EQ(formatPadding(*project.scene.pad), "10,10,10,10");
}

std::string errorOf(const std::string &fields) {
  try {
    parseProject("{\"version\": 1, " + fields + "}", sampleDeclarations());
  } catch (const ProjectError &error) {
    return error.what();
  }
  return {};
}

TEST(ProjectScenes, AreRefusedWithTheirKey) {
  EXPECT_THAT(errorOf(R"("text": "A", "text-file": "a.txt")"), HasSubstr("text and text-file exclude each other"));
  EXPECT_THAT(errorOf(R"("text-align": "middle")"), HasSubstr("text-align: it is left or center or right"));
  EXPECT_THAT(errorOf(R"("strict-fonts": 1)"), HasSubstr("strict-fonts can't be 1: it takes true or false"));
  EXPECT_THAT(errorOf(R"("seed": -1)"), HasSubstr("seed: '-1' is not a whole number"));
  EXPECT_THAT(errorOf(R"("loop": "yes")"), HasSubstr("loop can't be 'yes': it takes true or false"));
  EXPECT_THAT(errorOf(R"("canvas": 5)"), HasSubstr("canvas can't be 5: it takes a text"));
  EXPECT_THAT(errorOf(R"("burn": "paper")"), HasSubstr("burn: it is art or shape, not 'paper'"));
}

TEST(TimedKeyframes, ComeToTheFramesOfTheClock) {
  const Project project = parseProject(
      R"({"version": 1, "parameters": {"glow": [{"time": 1, "value": 10}, {"time": 0.5, "value": 20}], "tongues": [{"frame": 3, "value": 4}, {"frame": 5, "value": 6}]}})",
      sampleDeclarations());
  host::ParameterSet parameters(sampleDeclarations());
  applyLayers(parameters, {nullptr, &project, {}, {}}, {101, {24, 1}});
  const auto glow = parameters.keyframes(parameters.named("glow"));
  ASSERT_EQ(glow.size(), 2u);
  EXPECT_EQ(glow[0].frame, 113.0);
  EXPECT_EQ(glow[0].value[0], 20.0);
  EXPECT_EQ(glow[1].frame, 125.0);
  EXPECT_EQ(parameters.keyframes(parameters.named("tongues"))[1].frame, 5.0) << "frames stay";
  EXPECT_THAT(formatProject(project, sampleDeclarations()), HasSubstr("{\"time\": 0.5, \"value\": 20"));
}

TEST(TimedKeyframes, AreRefusedBesideFrames) {
  const auto keyframes = [](const std::string &list) { return errorOf("\"parameters\": {\"glow\": [" + list + "]}"); };
  EXPECT_THAT(keyframes(R"({"frame": 1, "time": 1, "value": 1})"), HasSubstr("glow[0] has a frame and a time"));
  EXPECT_THAT(keyframes(R"({"frame": 1, "value": 1}, {"time": 1, "value": 2})"), HasSubstr("glow[1] has a time"));
  EXPECT_THAT(keyframes(R"({"time": 1, "value": 1}, {"time": 1, "value": 2})"), HasSubstr("glow[1].time can't be 1"));
  EXPECT_THAT(keyframes(R"({"time": 86401, "value": 1})"), HasSubstr("glow[0].time can't be 86401"));
  EXPECT_THAT(keyframes(R"({"time": "1s", "value": 1})"), HasSubstr("glow[0].time can't be '1s'"));
  EXPECT_THAT(keyframes(R"({"value": 1})"), HasSubstr("glow[0] has no frame"));
}

TEST(OwnParameters, HaveKeyframesLikeTheFilters) {
  const auto declarations = withOwnParameters(sampleDeclarations());
  EXPECT_EQ(declarations.size(), sampleDeclarations().size() + 1);
  const Project project = parseProject(
      R"({"version": 1, "parameters": {"fire-opacity": [{"frame": 1, "value": 0}, {"frame": 9, "value": 100}]}})",
      declarations);
  EXPECT_EQ(project.parameters.at(fireOpacityId).size(), 2u);
  EXPECT_EQ(host::ParameterSet(declarations).value(fireOpacityId, 1.0)[0], 100.0);
}

TEST(ProjectSchemas, DescribeEveryField) {
  const auto schema = nlohmann::json::parse(projectSchema(sampleDeclarations()));
  for (const SceneField &field : sceneFields()) {
    ASSERT_TRUE(schema["properties"].contains(field.key)) << field.key;
    EXPECT_EQ(schema["properties"][field.key]["description"], field.brief + field.details);
  }
  EXPECT_EQ(schema["properties"]["loop"]["type"], "boolean");
  EXPECT_EQ(schema["properties"]["bits"]["enum"], (nlohmann::json{"8", 8, "16", 16}));
  EXPECT_EQ(schema["properties"]["input-alpha"]["type"], "string") << "key=COLOR is none of its words";
}

}  // namespace
}  // namespace pyrelux::project
