// The published description of project files, judged by a validator of another make.

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

const fs::path tree = fs::path(PYRELUX_TEST_DATA) / ".." / "..";

class Schema : public CliTest {
 protected:
  Schema() {
    save(path("title.png"), titlePng(testWidth, testHeight));
    const Result result = pyrelux({"parameters", "--schema"});
    EXPECT_EQ(result.exitCode, 0);
    schema_ = result.out;
    save(path("schema.json"), schema_);
  }

  /// Those of the files that the schema refuses.
  Words invalid(const Words &projects) const {
    Command command;
    command.words = {PYRELUX_JSONSCHEMA, "--output", "pretty"};
    for (const std::string &project : projects) command.words = command.words + Words{"--instance", project};
    command.words.push_back("schema.json");
    command.folder = path("").string();
    const Result result = run(command);
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << result.err;
    Words invalid;
    for (const std::string &project : projects)
      if (result.err.find("[ValidationError]===(" + project + ")") != std::string::npos) invalid.push_back(project);
    EXPECT_EQ(invalid.empty(), result.exitCode == 0) << result.err;
    return invalid;
  }

  bool isRead(const fs::path &project) const {
    const Result result =
        pyrelux(renderWords("title.png", "out.png", {"--frames", "1", "--project", project.string()}));
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 3) << result.err;
    return result.exitCode == 0;
  }

  std::string schema_;
};

TEST_F(Schema, IsTheOneThatIsPublished) {
  EXPECT_TRUE(schema_ == load(tree / "docs" / "project.schema.json")) << "run script/docs";
}

TEST_F(Schema, AgreesWithTheExamplesAndWithWhatIsSaved) {
  Words examples;
  for (const fs::directory_entry &entry : fs::directory_iterator(tree / "examples"))
    if (entry.path().extension() == ".json") examples.push_back(entry.path().string());
  EXPECT_GE(examples.size(), 1u);
  for (const std::string &example : examples) EXPECT_TRUE(isRead(example)) << example;
  render("title.png", "out.png",
         {"--preset", "slow-smoke", "--project", (tree / "examples" / "flare-up.json").string(), "--save-project",
          "saved.json", "--fps", "23.976", "--frames", "3"});
  EXPECT_EQ(invalid(examples + Words{"saved.json"}), Words());
}

TEST_F(Schema, AgreesWithTheReader) {
  const struct {
    const char *members;
    bool isRight;
  } rows[] = {
      {"\"version\": 1", true},
      {"\"fps\": 24", false},
      {"\"version\": 2", false},
      {"\"version\": 1, \"preset\": \"toxic\", \"frames\": 3, \"fps\": \"24\", \"bits\": 8", true},
      {"\"version\": 1, \"preset\": \"bonfyre\"", false},
      {"\"version\": 1, \"speed\": 1", false},
      {"\"version\": 1, \"frames\": [1]", false},
      {"\"version\": 1, \"bits\": 12", false},
      {"\"version\": 1, \"parameters\": {\"glow\": -100, \"steps\": 10}", true},
      {"\"version\": 1, \"parameters\": {\"glow\": -100.5}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": \"1\"}", false},
      {"\"version\": 1, \"parameters\": {\"steps\": 10.5}", false},
      {"\"version\": 1, \"parameters\": {\"glov\": 1}", false},
      {"\"version\": 1, \"parameters\": {\"direction\": -90, \"spread-degrees\": 180}", true},
      {"\"version\": 1, \"parameters\": {\"spread-degrees\": 181}", false},
      {"\"version\": 1, \"parameters\": {\"source-mode\": \"Mix\", \"color-depth\": \"16 Bit\"}", true},
      {"\"version\": 1, \"parameters\": {\"source-mode\": \"Burn\"}", false},
      {"\"version\": 1, \"parameters\": {\"source-mode\": 1}", false},
      {"\"version\": 1, \"parameters\": {\"color-inner\": \"#12aBcF\", \"color-outer\": [0, 0.5, 1]}", true},
      {"\"version\": 1, \"parameters\": {\"color-inner\": \"#12aBc\"}", false},
      {"\"version\": 1, \"parameters\": {\"color-inner\": [0, 1]}", false},
      {"\"version\": 1, \"parameters\": {\"color-inner\": [0, 1, 2]}", false},
      {"\"version\": 1, \"parameters\": {\"point-attract-repel\": [-2, 3]}", true},
      {"\"version\": 1, \"parameters\": {\"point-attract-repel\": [1, 2, 3]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": []}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": -1.5, \"value\": 3}]}", true},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1, \"value\": 101}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"value\": 1}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1, \"value\": 1, \"x\": 1}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"ease-out\"}]}", true},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\"}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": [{\"frame\": 1, \"value\": 1, \"bezier\": [0, 0, 1, 1]}]}", false},
      {"\"version\": 1, \"parameters\": {\"glow\": "
       "[{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\", \"bezier\": [0, -9, 1, 9]}]}",
       true},
      {"\"version\": 1, \"parameters\": {\"glow\": "
       "[{\"frame\": 1, \"value\": 1, \"ease\": \"bezier\", \"bezier\": [0, -9, 1.1, 9]}]}",
       false},
      {"\"version\": 1, \"parameters\": {\"source-mode\": "
       "[{\"frame\": 1, \"value\": \"Mix\"}, {\"frame\": 2, \"value\": \"Cover\"}]}",
       true},
  };
  Words all, wrong;
  for (const auto &row : rows) {
    all.push_back("row" + std::to_string(all.size()) + ".json");
    if (!row.isRight) wrong.push_back(all.back());
    save(path(all.back()), "{" + std::string(row.members) + "}");
    EXPECT_EQ(isRead(all.back()), row.isRight) << row.members;
  }
  EXPECT_EQ(invalid(all), wrong);
}

}  // namespace
}  // namespace pyrelux::cli::test
