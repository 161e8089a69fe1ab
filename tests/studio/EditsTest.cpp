#include "Edits.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "Filter.h"
#include "OwnParameters.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::vector<host::ParameterDeclaration> filtersDeclarations() {
  return project::allParameters(host::Filter(host::findFilter(host::defaultSearchPath()))).declarations();
}

class Edits : public testing::Test {
 protected:
  Edits() {
    char name[] = "/tmp/pyrelux-edits-XXXXXX";
    folder_ = mkdtemp(name);
    std::ofstream(folder_ / "logo.png") << "x";
  }
  ~Edits() override { fs::remove_all(folder_); }

  const std::vector<host::ParameterDeclaration> declarations = filtersDeclarations();

  Content apply(const Content &content, const std::string &edits) const {
    return edited(content, Json::parse(edits), declarations, Folders(folder_.string()));
  }
  Content apply(const std::string &edits) const { return apply({}, edits); }

  const host::ParameterDeclaration &parameter(const std::string &slug) const {
    for (const auto &one : declarations)
      if (one.slug() == slug) return one;
    throw std::runtime_error(slug);
  }
  std::vector<host::Keyframe> keyframes(const Content &content, const std::string &slug) const {
    return content.project.parameters.at(parameter(slug).id);
  }

  /// Expects that the edits are refused for that field.
  void expectRefusal(const std::string &edits, const std::string &field) const {
    try {
      apply(edits);
      ADD_FAILURE() << edits << " is taken";
    } catch (const Refusal &error) {
      EXPECT_EQ(error.field(), field) << edits;
      EXPECT_FALSE(std::string(error.what()).empty());
    }
  }

  fs::path folder_;
};

TEST_F(Edits, SetConstantsOfEveryKind) {
  const Content content = apply(
      R"([{"parameter":"glow","value":50},{"parameter":"steps","value":80},{"parameter":"color-inner","value":[1,0.5,0]},
          {"parameter":"point-attract-repel","value":[0.25,0.75]},{"parameter":"source-mode","value":1}])");
  EXPECT_EQ(keyframes(content, "glow"), host::constant({50}));
  EXPECT_EQ(keyframes(content, "steps"), host::constant({80}));
  EXPECT_EQ(keyframes(content, "color-inner"), host::constant({1, 0.5, 0}));
  EXPECT_EQ(keyframes(content, "point-attract-repel"), host::constant({0.25, 0.75}));
  EXPECT_EQ(keyframes(content, "source-mode"), host::constant({1}));
}

TEST_F(Edits, SetKeyframesInTheOrderOfTheirFrames) {
  const Content content = apply(
      R"([{"parameter":"glow","keyframes":[{"frame":24,"value":5},{"frame":1,"value":50,"ease":"bezier","curve":[0.1,0,0.9,1]}]}])");
  const std::vector<host::Keyframe> expected{{1, {50}, host::Ease::Bezier, {0.1, 0, 0.9, 1}}, {24, {5}}};
  EXPECT_EQ(keyframes(content, "glow"), expected);
}

TEST_F(Edits, TakeParametersBack) {
  const Content set = apply(R"([{"parameter":"glow","value":50}])");
  EXPECT_TRUE(apply(set, R"([{"parameter":"glow","reset":true}])").project.parameters.empty());
}

TEST_F(Edits, RefuseWrongValuesOfParametersByName) {
  for (const char *value : {"500", "\"50\"", "null", "[1]", "true"})
    expectRefusal(std::string(R"([{"parameter":"glow","value":)") + value + "}]", "glow");
  expectRefusal(R"([{"parameter":"steps","value":10.5}])", "steps");
  expectRefusal(R"([{"parameter":"color-inner","value":[1,2,0]}])", "color-inner");
  expectRefusal(R"([{"parameter":"color-inner","value":[1,0]}])", "color-inner");
  expectRefusal(R"([{"parameter":"source-mode","value":2}])", "source-mode");
  expectRefusal(R"([{"parameter":"glow","keyframes":[]}])", "glow");
  expectRefusal(R"([{"parameter":"glow","keyframes":[{"frame":1,"value":5},{"frame":1,"value":6}]}])", "glow");
  expectRefusal(R"([{"parameter":"glow","keyframes":[{"frame":1,"value":5,"ease":"fast"}]}])", "glow");
  expectRefusal(
      R"([{"parameter":"glow","keyframes":[{"frame":1,"value":5,"ease":"bezier","curve":[2,0,0,1]},{"frame":2,"value":1}]}])",
      "glow");
  expectRefusal(R"([{"parameter":"glow","keyframes":[{"value":5}]}])", "frame");
  expectRefusal(R"([{"parameter":"glow"}])", "glow");
  expectRefusal(R"([{"parameter":"warmth","value":1}])", "warmth");
}

TEST_F(Edits, RefuseTheRowWithoutAValue) {
  for (const auto &one : declarations)
    if (one.kind == host::ParameterKind::Custom)
      expectRefusal(R"([{"parameter":")" + one.slug() + R"(","value":1}])", one.slug());
}

TEST_F(Edits, SetFieldsOfTheSceneByTextsAndNumbers) {
  const Content content = apply(
      R"([{"scene":"canvas","value":"320x180"},{"scene":"seed","value":7},{"scene":"loop","value":true},{"scene":"die","value":"1s"},
          {"scene":"die","value":null}])");
  EXPECT_EQ(content.project.scene.canvas->width, 320);
  EXPECT_EQ(content.project.scene.seed, 7);
  EXPECT_EQ(content.project.scene.loops, true);
  EXPECT_EQ(content.project.scene.die, std::nullopt);
}

TEST_F(Edits, RefuseWrongFieldsByName) {
  expectRefusal(R"([{"scene":"canvas","value":"wide"}])", "canvas");
  expectRefusal(R"([{"scene":"canvas","value":{}}])", "canvas");
  expectRefusal(R"([{"scene":"weather","value":"hot"}])", "weather");
  expectRefusal(R"([{"scene":"text","value":""}])", "text");
  expectRefusal(R"([{"testPattern":"snow"}])", "testPattern");
  expectRefusal(R"([{"preset":"../../secret.json"}])", "preset");
  expectRefusal(R"([{"preset":"no-such-look"}])", "preset");
  expectRefusal(R"([{}])", "edits");
  expectRefusal(R"([7])", "edits");
}

TEST_F(Edits, PutTheInputInThePlaceOfATextAndTheOtherWayRound) {
  const Content text = apply(R"([{"scene":"text","value":"FIRE"},{"scene":"font","value":"Serif 40"}])");
  EXPECT_EQ(text.project.scene.title.text, "FIRE");
  const Content input = apply(text, R"([{"input":"logo.png"}])");
  EXPECT_EQ(input.input, (folder_ / "logo.png").string());
  EXPECT_FALSE(input.project.scene.title.text || input.project.scene.title.font);
  const Content pattern = apply(input, R"([{"testPattern":"bars"}])");
  EXPECT_EQ(pattern.input, std::nullopt);
  const Content again = apply(pattern, R"([{"scene":"text","value":"FIRE"}])");
  EXPECT_EQ(again.testPattern, std::nullopt);
  EXPECT_EQ(apply(input, R"([{"input":null}])").input, std::nullopt);
}

TEST_F(Edits, RefuseFilesOutsideOfTheFolder) {
  for (const char *path : {"/etc/passwd", "../logo.png", "a/../../logo.png", ""}) {
    expectRefusal(R"([{"input":")" + std::string(path) + R"("}])", "input");
    expectRefusal(R"([{"scene":"text-file","value":")" + std::string(path) + R"("}])", "text-file");
    expectRefusal(R"([{"scene":"font-file","value":")" + std::string(path) + R"("}])", "font-file");
  }
}

TEST_F(Edits, PutAPresetsLookInThePlaceOfTheOldOneAndKeepTheRest) {
  const Content before = apply(
      R"([{"parameter":"crop-left","value":0.2},{"scene":"seed","value":3},{"scene":"canvas","value":"320x180"},{"testPattern":"title"}])");
  const Content after = apply(before, R"([{"preset":"bonfire"}])");
  EXPECT_FALSE(after.project.parameters.empty());
  EXPECT_EQ(after.project.parameters.count(parameter("crop-left").id), 0u);
  EXPECT_EQ(after.project.scene.seed, std::nullopt);
  EXPECT_EQ(after.project.scene.canvas->width, 320);
  EXPECT_EQ(after.testPattern, "title");
}

TEST(Fields, RefuseWhatIsNoMessage) {
  const std::string deep(100, '[');
  for (const std::string &wrong : {std::string(), std::string("7"), std::string("[]"), std::string("{"), deep,
                                   "{\"a\":" + deep, std::string("{\"a\":\"\xff\"}")})
    EXPECT_THROW(parseMessage(wrong), Refusal) << wrong;
}

TEST(Fields, RefuseObjectsWithTooManyFields) {
  const auto objectOf = [](int fields) {
    std::string text = "{";
    for (int number = 0; number < fields; ++number)
      text += (number ? ",\"" : "\"") + std::to_string(number) + "\":{\"inner\":0}";
    return text + "}";
  };
  EXPECT_EQ(parseMessage(objectOf(100)).size(), 100u);
  EXPECT_THROW(parseMessage(objectOf(101)), Refusal);
  EXPECT_EQ(parseMessage("{\"list\":[" + objectOf(100) + "," + objectOf(100) + "]}")["list"].size(), 2u);
  EXPECT_THROW(parseMessage("{\"list\":[" + objectOf(101) + "]}"), Refusal);
}

TEST(Fields, RefuseNumbersWithoutEnd) { EXPECT_THROW(parseMessage(R"({"value": 1e999})"), Refusal); }

TEST(Fields, ReplaceBytesThatAreNoText) { EXPECT_THAT(textOf(Json{{"name", "a\xff"}}), HasSubstr("a\xEF\xBF\xBD")); }

TEST(Fields, TakeWholeNumbersOfARange) {
  const Json message = Json::parse(R"({"id": 7, "half": 0.5, "text": "7"})");
  EXPECT_EQ(wholeIn(message, "id", 0, 7), 7);
  EXPECT_THROW(wholeIn(message, "id", 0, 6), Refusal);
  EXPECT_THROW(wholeIn(message, "half", 0, 6), Refusal);
  EXPECT_THROW(wholeIn(message, "text", 0, 9), Refusal);
  EXPECT_THROW(wholeIn(message, "none", 0, 9), Refusal);
}

}  // namespace
}  // namespace pyrelux::studio
