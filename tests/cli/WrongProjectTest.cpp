// Project files that can't be used: one line that names the file and the place in it, exit code 3, nothing rendered.

#include <sys/stat.h>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

struct WrongProject {
  const char *name;
  std::string text;
  Words words;
};

std::string project(const std::string &members) { return "{\"version\": 1, " + members + "}"; }

std::string parameter(const std::string &member) { return project("\"parameters\": {" + member + "}"); }

const std::vector<WrongProject> &wrongProjects() {
  static const std::vector<WrongProject> all{
      {"Empty", "", {"line 1, column 1", "unexpected end"}},
      {"CutOff", "{\"version\": 1,\n\"parameters\": {", {"line 2, column 16"}},
      {"Comma", "{\"version\": 1,}", {"line 1, column 15"}},
      {"Comment", "// fire\n{\"version\": 1}", {"line 1, column 1"}},
      {"Garbage", std::string("\0\1\2PNG", 6), {"line 1, column 1"}},
      {"NotUtf8", "{\"version\": 1, \"preset\": \"\xfc\"}", {"line 1, column 27", "UTF-8"}},
      {"SecondDocument", "{\"version\": 1}\n{}", {"line 2, column 1"}},
      {"HugeNumber", parameter("\"glow\": 1e999"), {"'1e999'"}},
      {"List", "[1, 2]", {"can't be a list of 2", "object"}},
      {"Null", "null", {"can't be null"}},
      {"NoVersion", "{}", {"no version"}},
      {"OtherVersion", "{\"version\": 2}", {"version can't be 2", "reads 1"}},
      {"VersionAsText", "{\"version\": \"1\"}", {"version can't be '1'"}},
      {"UnknownKey", project("\"speed\": 1"), {"'speed' is not known", "frames, duration, fps"}},
      {"KeyTwice", project("\"fps\": 24, \"fps\": 25"), {"'fps' is there twice"}},
      {"UnknownPreset", project("\"preset\": \"bonfyre\""), {"preset: ", "'bonfyre'", "campfire"}},
      {"PresetAsNumber", project("\"preset\": 3"), {"preset can't be 3", "a text"}},
      {"Size", project("\"size\": \"0x90\""), {"size: '0x90'", "WIDTHxHEIGHT"}},
      {"SizeAsNumber", project("\"size\": 90"), {"size can't be 90"}},
      {"Frames", project("\"frames\": \"9-1\""), {"frames: '9-1'", "ends before it begins"}},
      {"FramesAsList", project("\"frames\": [1, 2]"), {"frames can't be a list of 2"}},
      {"HalfAFrame", project("\"frames\": 7.5"), {"frames: '7.5'"}},
      {"FrameRate", project("\"fps\": 0"), {"fps: '0'"}},
      {"FrameRateAsBoolean", project("\"fps\": true"), {"fps can't be true"}},
      {"Bits", project("\"bits\": 12"), {"bits: ", "8 or 16", "'12'"}},
      {"Parameters", project("\"parameters\": [1]"), {"parameters can't be a list of 1"}},
      {"UnknownParameter", parameter("\"glov\": 1"), {"parameters.glov: ", "the nearest is 'glow'"}},
      {"EmptyName", parameter("\"\": 1"), {"parameters.: ", "no parameter ''"}},
      {"ParameterTwice", parameter("\"glow\": 1, \"glow\": 2"), {"'parameters.glow' is there twice"}},
      {"OneUnderTwoNames", parameter("\"Glow\": 1, \"glow\": 2"), {"parameters.glow and parameters.Glow", "the same"}},
      {"Header", parameter("\"www.morvane.example\": 1"), {"parameters.www.morvane.example", "without a value"}},
      {"NumberAsText", parameter("\"glow\": \"45\""), {"parameters.glow can't be '45'", "-100..100"}},
      {"AboveTheRange", parameter("\"glow\": 300"), {"parameters.glow can't be 300", "-100..100"}},
      {"BelowTheRange", parameter("\"steps\": 9"), {"parameters.steps can't be 9", "10.."}},
      {"NotWhole", parameter("\"steps\": 20.5"), {"parameters.steps can't be 20.5", "whole"}},
      {"TooSteep", parameter("\"direction\": 1e6"), {"parameters.direction can't be", "degrees"}},
      {"Entry", parameter("\"source-mode\": \"Burn\""), {"parameters.source-mode can't be 'Burn'", "0 Cover, 1 Mix"}},
      {"EntryAsNumber", parameter("\"source-mode\": 1"), {"parameters.source-mode can't be 1", "0 Cover, 1 Mix"}},
      {"ColourName",
       parameter("\"color-inner\": \"reddish\""),
       {"parameters.color-inner can't be 'reddish'", "#rrggbb"}},
      {"TwoChannels", parameter("\"color-inner\": [1, 0]"), {"parameters.color-inner can't be a list of 2"}},
      {"Channel", parameter("\"color-inner\": [0, \"x\", 0]"), {"parameters.color-inner[1] can't be 'x'", "number"}},
      {"BrightChannel", parameter("\"color-inner\": [0, 255, 0]"), {"parameters.color-inner can't be 0,255,0", "0..1"}},
      {"Point", parameter("\"point-attract-repel\": 0.5"), {"parameters.point-attract-repel can't be 0.5", "x,y"}},
      {"FarPoint", parameter("\"point-attract-repel\": [0, 1e300]"), {"parameters.point-attract-repel", "too far"}},
      {"Object", parameter("\"glow\": {\"frame\": 1}"), {"parameters.glow can't be an object"}},
      {"NoKeyframes", parameter("\"glow\": []"), {"parameters.glow is an empty list"}},
      {"NoFrame", parameter("\"glow\": [{\"value\": 1}]"), {"parameters.glow[0] has no frame"}},
      {"NoValue", parameter("\"glow\": [{\"frame\": 1}]"), {"parameters.glow[0] has no value"}},
      {"KeyframeAsNumber",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1}, 2]"),
       {"parameters.glow[1] can't be 2", "a keyframe"}},
      {"KeyframeBeyondTheRange",
       parameter(
           "\"glow\": [{\"frame\": 1, \"value\": 1}, {\"frame\": 2, \"value\": 1}, {\"frame\": 3, \"value\": 300}]"),
       {"parameters.glow[2].value can't be 300", "-100..100"}},
      {"KeyframesOnOneFrame",
       parameter(
           "\"glow\": [{\"frame\": 4, \"value\": 1}, {\"frame\": 9, \"value\": 2}, {\"frame\": 4, \"value\": 3}]"),
       {"parameters.glow[2].frame can't be 4", "parameters.glow[0]"}},
      {"FrameAsText",
       parameter("\"glow\": [{\"frame\": \"1\", \"value\": 1}]"),
       {"parameters.glow[0].frame can't be '1'"}},
      {"FarFrame", parameter("\"glow\": [{\"frame\": 1e10, \"value\": 1}]"), {"parameters.glow[0]", "no frame"}},
      {"UnknownInKeyframe",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"easing\": 1}]"),
       {"parameters.glow[0].'easing' is not known", "ease, bezier"}},
      {"Ease",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"slow\"}]"),
       {"parameters.glow[0].ease can't be 'slow'", "hold, linear"}},
      {"NoCurve",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\"}]"),
       {"parameters.glow[0] has the ease 'bezier' and no bezier"}},
      {"CurveWithoutEase",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"bezier\": [0, 0, 1, 1]}]"),
       {"parameters.glow[0].bezier", "alone"}},
      {"ShortCurve",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\", \"bezier\": [0, 0, 1]}]"),
       {"parameters.glow[0].bezier can't be a list of 3"}},
      {"CurveThatTurnsBack",
       parameter("\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\", \"bezier\": [0, 0, 1.5, 1]}]"),
       {"parameters.glow[0]", "x1 and x2", "0..1"}},
      {"Nesting", std::string(1000000, '['), {"nested deeper than 16 levels"}},
      {"TooLong", std::string((16 << 20) + 1, ' '), {"longer than 16777216 bytes"}},
  };
  return all;
}

class WrongProjects : public CliTest, public testing::WithParamInterface<WrongProject> {};

TEST_P(WrongProjects, AreRefusedInOneLineThatNamesThePlace) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  save(path("fire.json"), GetParam().text);
  const Result result = pyrelux({"render", "title.png", "-o", "out.png", "--project", "fire.json"});
  expectRefusal(result, Words{"cannot read 'fire.json': "} + GetParam().words);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(names(""), (Words{"fire.json", "title.png"}));
}

INSTANTIATE_TEST_SUITE_P(, WrongProjects, testing::ValuesIn(wrongProjects()),
                         [](const auto &row) { return row.param.name; });

class WrongProjectFiles : public CliTest {
 protected:
  WrongProjectFiles() { save(path("title.png"), titlePng(testWidth, testHeight)); }
};

TEST_F(WrongProjectFiles, ThatCantBeReadAreInputErrors) {
  std::filesystem::create_directory(path("folder.json"));
  ASSERT_EQ(mkfifo(path("pipe.json").c_str(), 0600), 0);
  for (const auto &[file, cause] : {std::pair("gone.json", "no such file"),
                                    {"folder.json", "it is a folder"},
                                    {"pipe.json", "it is not a regular file"}}) {
    const Result result = pyrelux(renderWords("title.png", "out.png", {"--project", file}));
    expectRefusal(result, {std::string("cannot read '") + file + "': " + cause});
    EXPECT_EQ(result.exitCode, 3);
  }
}

TEST_F(WrongProjectFiles, ThatCantBeWrittenAreOutputErrorsAndNothingIsRendered) {
  std::filesystem::create_directory(path("folder.json"));
  for (const auto &[file, cause] :
       {std::pair("gone/fire.json", "the folder 'gone' does not exist"), {"folder.json", "it is a folder"}}) {
    const Result result = pyrelux(renderWords("title.png", "out.png", {"--save-project", file}));
    expectRefusal(result, {std::string("cannot write '") + file + "': " + cause});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(names(""), (Words{"folder.json", "title.png"}));
  }
}

TEST_F(WrongProjectFiles, AreNotWrittenOverPictures) {
  const std::string before = load(path("title.png"));
  for (const char *file : {"title.png", "out.png", ".json", ""}) {
    const Result result = pyrelux(renderWords("title.png", "out.png", {"--save-project", file}));
    expectRefusal(result, {"--save-project", ".json"});
    EXPECT_EQ(result.exitCode, 2);
  }
  EXPECT_EQ(load(path("title.png")), before);
}

TEST_F(WrongProjectFiles, AreNotWrittenWhenTheRenderIsRefused) {
  expectRefusal(pyrelux(renderWords("title.png", "gone/out.png", {"--save-project", "fire.json"})), {"'gone'"});
  expectRefusal(pyrelux(renderWords("gone.png", "out.png", {"--save-project", "fire.json"})), {"'gone.png'"});
  EXPECT_EQ(names(""), (Words{"title.png"}));
}

}  // namespace
}  // namespace pyrelux::cli::test
