// Output that is there already: refused, replaced, or kept where it is right; and the manifest that tells.

#include <fstream>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

const std::string manifest = "fire.png.manifest.jsonl";

class Resume : public CliTest {
 protected:
  Resume() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  /// `pyrelux render title.png -o fire_%d.png`, without --overwrite.
  Result renderTitle(const Words &more, const std::string &output = "fire_%d.png") const {
    return pyrelux(Words{"render", "title.png", "-o", output} + quick() + more);
  }

  /// The frames by what became of them, as "1 kept, 2 rendered, …".
  std::string ends(const Words &more, const std::string &output = "fire_%d.png") const {
    const Result result = renderTitle(more + Words{"--progress", "json"}, output);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::istringstream lines(result.out);
    std::string ends;
    for (std::string line; std::getline(lines, line);) {
      const auto object = nlohmann::json::parse(line);
      ends += (ends.empty() ? "" : ", ") + object.at("frame").dump() + " " + object.at("end").get<std::string>();
    }
    return ends;
  }

  std::string fire(int frame) const { return load(path("fire_" + std::to_string(frame) + ".png")); }
};

TEST_F(Resume, WhatIsThereIsRefusedAndStays) {
  save(path("fire_3.png"), "mine");
  save(path("fire.mkv"), "mine");
  save(path("fire.png"), "mine");
  const auto before = contentsOf(path(""));
  const struct {
    const char *output;
    const char *frames;
    const char *there;
    bool mayResume;
  } rows[] = {{"fire_%d.png", "1-4", "fire_3.png", true},
              {"fire.mkv", "1-4", "fire.mkv", false},
              {"fire.png", "1", "fire.png", false}};
  for (const auto &row : rows) {
    const Result result = pyrelux(Words{"render", "title.png", "-o", row.output, "--frames", row.frames} + quick());
    expectRefusal(result, {"cannot write '" + std::string(row.there) + "'", "there already", "--overwrite"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.err.find("--resume") != std::string::npos, row.mayResume) << row.output;
  }
  EXPECT_EQ(contentsOf(path("")), before);
}

TEST_F(Resume, OtherFramesOfTheSequenceAreNoObstacle) {
  save(path("fire_9.png"), "mine");
  expectSuccess(renderTitle({"--frames", "1-2"}));
  EXPECT_EQ(fire(9), "mine");
}

TEST_F(Resume, OverwriteReplaces) {
  save(path("fire_1.png"), "mine");
  expectSuccess(renderTitle({"--frames", "1", "--overwrite"}));
  EXPECT_EQ(fire(1).substr(1, 3), "PNG");
}

TEST_F(Resume, KeepsWhatIsRightAndRendersTheRest) {
  EXPECT_EQ(ends({"--frames", "1-3"}), "1 rendered, 2 rendered, 3 rendered");
  const std::string second = fire(2);
  const std::string third = fire(3);
  fs::remove(path("fire_2.png"));
  save(path("fire_3.png"), third.substr(0, third.size() / 2));
  EXPECT_EQ(ends({"--frames", "1-4", "--resume"}), "1 kept, 2 rendered, 3 rendered, 4 rendered");
  EXPECT_EQ(fire(2), second);
  EXPECT_EQ(fire(3), third);
  EXPECT_EQ(ends({"--frames", "1-4", "--resume"}), "1 kept, 2 kept, 3 kept, 4 kept");
}

TEST_F(Resume, GivesWhatOneRunWouldHaveGiven) {
  expectSuccess(renderTitle({"--frames", "1-4"}));
  const std::string fourth = fire(4);
  fs::remove(path("fire_4.png"));
  expectSuccess(renderTitle({"--frames", "1-4", "--resume"}));
  EXPECT_EQ(fire(4), fourth);
}

TEST_F(Resume, RendersAgainWhenSettingsDiffer) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  EXPECT_EQ(ends({"--frames", "1-2", "--resume", "--set", "glow=21"}), "1 rendered, 2 rendered");
  EXPECT_EQ(ends({"--frames", "1-2", "--resume", "--set", "glow=21"}), "1 kept, 2 kept");
  EXPECT_EQ(ends({"--frames", "1-2", "--resume", "--set", "glow=21", "--bits", "16"}), "1 rendered, 2 rendered");
}

TEST_F(Resume, RendersAgainWhenThePictureWouldBeStoredOrReadOtherwise) {
  save(path("back.png"), titlePng(testWidth, testHeight, 3));
  const struct {
    const char *output;
    Words first;
    Words second;
  } rows[] = {{"codec_%d.exr", {"--codec", "half"}, {"--codec", "float"}},
              {"alpha_%d.png", {}, {"--alpha", "premultiplied"}},
              {"over_%d.png", {}, {"--over", "#102030"}},
              {"colour_%d.png", {"--over", "#102030"}, {"--over", "#102031"}},
              {"file_%d.png", {"--over", "#102030"}, {"--over", "back.png"}},
              {"straight_%d.png", {"--input-alpha", "straight"}, {"--input-alpha", "premultiplied"}},
              {"none_%d.png", {}, {"--input-alpha", "none"}},
              // What --bits switches the depth of drawing to is set, and the same.
              {"deep_%d.png", {"--set", "color-depth=1"}, {"--set", "color-depth=1", "--bits", "16"}},
              {"shallow_%d.tif", {"--set", "color-depth=0"}, {"--set", "color-depth=0", "--bits", "8"}}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.output);
    const Words frame{"--frames", "1", "--resume"};
    EXPECT_EQ(ends(frame + row.first, row.output), "1 rendered");
    EXPECT_EQ(ends(frame + row.first, row.output), "1 kept");
    EXPECT_EQ(ends(frame + row.second, row.output), "1 rendered");
    EXPECT_EQ(ends(frame + row.second, row.output), "1 kept");
    EXPECT_EQ(ends(frame + row.first, row.output), "1 rendered");
  }
}

TEST_F(Resume, RendersAgainWhenTheBackgroundHasChanged) {
  save(path("back.png"), titlePng(testWidth, testHeight, 3));
  const Words words{"--frames", "1", "--over", "back.png"};
  EXPECT_EQ(ends(words), "1 rendered");
  save(path("back.png"), titlePng(testWidth, testHeight, 4));
  EXPECT_EQ(ends(words + Words{"--resume"}), "1 rendered");
}

TEST_F(Resume, RendersAgainWhenTheInputDiffers) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  save(path("title.png"), titlePng(testWidth, testHeight, 3));
  EXPECT_EQ(ends({"--frames", "1-2", "--resume"}), "1 rendered, 2 rendered");
}

TEST_F(Resume, OneFrameOfASequencesInputMayDiffer) {
  saveSequence("in", 1, 3);
  const Words words = Words{"render", "in_%04d.png", "-o", "fire_%d.png"} + quick();
  expectSuccess(pyrelux(words));
  save(path("in_0002.png"), titlePng(testWidth, testHeight, 30));
  const Result result = pyrelux(words + Words{"--resume", "--verbose"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("2 of 3 frames were there already"));
}

TEST_F(Resume, WithoutAManifestEverythingIsRendered) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  fs::remove(path(manifest));
  EXPECT_EQ(ends({"--frames", "1-2", "--resume"}), "1 rendered, 2 rendered");
}

TEST_F(Resume, HalfALineOfTheManifestIsPassedOver) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  const std::string text = load(path(manifest));
  save(path(manifest), text.substr(0, text.size() - 20));
  EXPECT_EQ(ends({"--frames", "1-2", "--resume"}), "1 kept, 2 rendered");
  // What is added later has lines of its own.
  std::ifstream lines(path(manifest));
  int whole = 0;
  for (std::string line; std::getline(lines, line);) whole += nlohmann::json::accept(line);
  EXPECT_EQ(whole, 4);
  EXPECT_EQ(ends({"--frames", "1-2", "--resume"}), "1 kept, 2 kept");
}

TEST_F(Resume, IsForSequences) {
  for (const char *output : {"fire.mkv", "fire.png"})
    expectRefusal(pyrelux({"render", "title.png", "-o", output, "--frames", "1", "--resume"}),
                  {"--resume", output, "numbered sequences"});
  expectRefusal(renderTitle({"--resume", "--overwrite"}), {"--resume", "--overwrite"});
}

TEST_F(Resume, AFrameThatFailsLeavesTheOthersAlone) {
  saveSequence("in", 1, 2);
  saveSequence("in", 4, 5);
  save(path("in_0004.png"), load(path("in_0004.png")).substr(0, 100));
  const Result result = pyrelux(Words{"render", "in_%04d.png", "-o", "fire_%d.png", "--progress", "json"} + quick());
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("pyrelux: frame 3: cannot read 'in_0003.png'"),
                                HasSubstr("pyrelux: frame 4: cannot read 'in_0004.png'"),
                                HasSubstr("pyrelux: 2 of 5 frames failed")));
  EXPECT_THAT(result.out, HasSubstr("{\"frame\":3,\"end\":\"failed\""));
  EXPECT_EQ(names("."), (Words{manifest, "fire_1.png", "fire_2.png", "fire_5.png", "in_0001.png", "in_0002.png",
                               "in_0004.png", "in_0005.png", "title.png"}));
}

TEST_F(Resume, WhenEveryFrameFailsTheFirstFailureIsTheEnd) {
  saveSequence("in", 1, 2);
  saveSequence("in", 5, 5);
  const Result result = pyrelux(Words{"render", "in_%04d.png", "-o", "fire_%d.png", "--frames", "3-4"} + quick());
  expectRefusal(result, {"in_0003.png"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_FALSE(fs::exists(path(manifest)));
}

TEST_F(Resume, VerifyTellsWhatIsNotAsItWasRendered) {
  expectSuccess(renderTitle({"--frames", "1-4"}));
  Result result = pyrelux({"verify", manifest});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "4 of 4 pictures are as they were rendered\n");
  fs::remove(path("fire_2.png"));
  std::string third = fire(3);
  third[third.size() / 2] = static_cast<char>(third[third.size() / 2] ^ 1);
  save(path("fire_3.png"), third);
  result = pyrelux({"verify", path(manifest).string()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out,
            "fire_2.png is missing\nfire_3.png is not what was rendered\n2 of 4 pictures are as they were rendered\n");
}

TEST_F(Resume, VerifyTakesTheLastRecordOfAFrame) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  expectSuccess(renderTitle({"--frames", "2-3", "--overwrite", "--set", "glow=21"}));
  EXPECT_EQ(pyrelux({"verify", manifest}).out, "3 of 3 pictures are as they were rendered\n");
}

TEST_F(Resume, AManifestWhosePicturesAreGoneBeginsAfresh) {
  expectSuccess(renderTitle({"--frames", "1-2"}));
  fs::remove(path("fire_1.png"));
  fs::remove(path("fire_2.png"));
  expectSuccess(renderTitle({"--frames", "3"}));
  EXPECT_EQ(pyrelux({"verify", manifest}).out, "1 of 1 pictures are as they were rendered\n");
}

TEST_F(Resume, VerifyRefusesWhatIsNoManifest) {
  save(path("empty"), "");
  save(path("noise"), "{}\n[1]\nnull\n{\"frame\":1,\"file\":\"../title.png\",\"bytes\":1,\"xxh3\":\"00\"}\n\xff\n");
  for (const char *name : {"empty", "noise", "title.png"}) {
    const Result result = pyrelux({"verify", name});
    expectRefusal(result, {name, "it is not a manifest"});
    EXPECT_EQ(result.exitCode, 3);
  }
  expectRefusal(pyrelux({"verify", "missing"}), {"missing", "no such file"});
  expectRefusal(pyrelux({"verify", "."}), {"'.'", "not a regular file"});
  expectRefusal(pyrelux({"verify"}), {"MANIFEST"});
}

}  // namespace
}  // namespace pyrelux::cli::test
