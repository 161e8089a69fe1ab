// Many renders from a table.

#include <chrono>
#include <fstream>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Batches : public CliTest {
 protected:
  Batches() { fs::create_directory(path("out")); }

  Result render(const std::string &batch, const std::string &output, const Words &more = {}) const {
    return pyrelux(Words{"render", "--batch", batch, "-o", output, "--size", "64x36", "--frames", "1", "--backend",
                         "soft", "--set", "steps=10"} +
                   more);
  }

  std::vector<std::string> outputs() const {
    std::vector<std::string> all;
    for (const std::string &name : names("out"))
      if (name.find(".jsonl") == std::string::npos) all.push_back(name);
    return all;
  }
};

TEST_F(Batches, RenderEachRow) {
  save(path("titles.csv"), "id,text,glow,preset\n1,Ember,20,torch\n2,\"Night, Shift\",,\n");
  expectSuccess(render("titles.csv", "out/{id}_{text}.png"));
  EXPECT_THAT(outputs(), ElementsAre("1_Ember.png", "2_Night, Shift.png"));
  expectSuccess(pyrelux({"render", "--text", "Night, Shift", "-o", "own.png", "--size", "64x36", "--frames", "1",
                         "--backend", "soft", "--set", "steps=10", "--seed", "2"}));
  EXPECT_EQ(load(path("own.png")), load(path("out/2_Night, Shift.png"))) << "the same as one by one";
  expectSuccess(
      pyrelux({"render", "--text", "Ember", "-o", "first.png", "--size", "64x36", "--frames", "1", "--backend", "soft",
               "--set", "steps=10", "--set", "glow=20", "--seed", "1", "--preset", "torch"}));
  EXPECT_EQ(load(path("first.png")), load(path("out/1_Ember.png")));
}

TEST_F(Batches, SetTextsTheirPlacesAndSettings) {
  save(path("titles.csv"), "text,text-position,text-color,fire-opacity,loop\nA,\"25,75\",red,50%,no\n");
  expectSuccess(render("titles.csv", "out/{row}.png", {"--font", "Sans 20"}));
  expectSuccess(pyrelux({"render", "--text",   "A",     "--text-position", "25,75", "--text-color", "red",
                         "--font", "Sans 20",  "--set", "fire-opacity=50", "-o",    "own.png",      "--size",
                         "64x36",  "--frames", "1",     "--backend",       "soft",  "--set",        "steps=10",
                         "--seed", "1"}));
  EXPECT_EQ(load(path("own.png")), load(path("out/1.png")));
}

TEST_F(Batches, AreReadFromJsonToo) {
  save(path("titles.json"), R"([{"text": "A", "seed": 7, "loop": false}, {"text": "B", "fps": 25}])");
  expectSuccess(render("titles.json", "out/{row}.png"));
  EXPECT_THAT(outputs(), ElementsAre("1.png", "2.png"));
}

TEST_F(Batches, TakeTheSeparatorsAndMarksOfSpreadsheets) {
  save(path("semicolons.csv"), "\xEF\xBB\xBFtext;id\r\n\"say \"\"hi\"\"\";x\r\n\r\nB;y\r\n");
  expectSuccess(render("semicolons.csv", "out/{id}.png"));
  save(path("tabs.csv"), "text\tid\nA\tt\n");
  expectSuccess(render("tabs.csv", "out/{id}.png"));
  save(path("lines.csv"), "text,id\n\"two\nlines\",l\n");
  expectSuccess(render("lines.csv", "out/{id}.png"));
  EXPECT_THAT(outputs(), ElementsAre("l.png", "t.png", "x.png", "y.png"));
}

TEST_F(Batches, KeepOutputsInTheirFolder) {
  save(path("evil.csv"),
       "text,name\nA,../../evil\nB,/etc/evil\nC,..\nD,.hidden\nE,-o\nF,a%04d#\nG,\nH,\"a\nb\"\nI,x\\y\n");
  expectSuccess(render("evil.csv", "out/{name}.png"));
  EXPECT_EQ(outputs().size(), 9u);
  EXPECT_THAT(names(""), ElementsAre("evil.csv", "out"));
  for (const std::string &name : outputs()) {
    EXPECT_THAT(name, Not(AllOf(HasSubstr("%"), HasSubstr("#")))) << name;
    EXPECT_NE(name[0], '.') << name;
    EXPECT_NE(name[0], '-') << name;
  }
}

TEST_F(Batches, NameTheRowsThatFailAndGoOn) {
  save(path("rows.csv"), "input,id\nmissing.png,1\ntitle.png,2\n");
  save(path("title.png"), titlePng(testWidth, testHeight));
  const Result result = pyrelux({"render", "--batch", "rows.csv", "-o", "out/{id}.png", "--backend", "soft"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("row 1, 'out/1.png': "), HasSubstr("'missing.png'"), HasSubstr("1 of 2 rows failed")));
  EXPECT_THAT(outputs(), ElementsAre("2.png"));
}

TEST_F(Batches, KeepWhatIsCompleteWhenResumed) {
  save(path("rows.csv"), "text,id,glow\nA,1,10\nB,2,10\nC,3,10\n");
  const Words movie{"--codec", "ffv1"};
  expectSuccess(render("rows.csv", "out/{id}.mkv", movie));
  const auto written = [&](const std::string &id) { return fs::last_write_time(path("out/" + id + ".mkv")); };
  const auto first = written("1");
  const auto third = written("3");
  fs::remove(path("out/2.mkv"));
  save(path("rows.csv"), "text,id,glow\nA,1,10\nB,2,10\nC,3,20\n");
  EXPECT_EQ(render("rows.csv", "out/{id}.mkv", movie).exitCode, 1) << "what is there already is refused";
  expectSuccess(render("rows.csv", "out/{id}.mkv", movie + Words{"--resume"}));
  EXPECT_EQ(written("1"), first);
  EXPECT_TRUE(fs::exists(path("out/2.mkv")));
  EXPECT_NE(written("3"), third) << "made with other settings";
  const auto again = written("3");
  expectSuccess(render("rows.csv", "out/{id}.mkv", movie + Words{"--resume"}));
  EXPECT_EQ(written("3"), again);
  std::ofstream(path("out/1.mkv"), std::ios::app) << "damage";
  expectSuccess(render("rows.csv", "out/{id}.mkv", movie + Words{"--resume"}));
  EXPECT_NE(written("1"), first) << "its file has changed";
}

TEST_F(Batches, ResumeSequencesByTheirManifests) {
  save(path("rows.csv"), "text,id\nA,1\n");
  expectSuccess(render("rows.csv", "out/{id}_%d.png"));
  fs::remove(path("out/1_1.png"));
  const Result result = render("rows.csv", "out/{id}_%d.png", {"--resume", "--verbose"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("0 of 1 frames were there already"));
}

TEST_F(Batches, TellTheirRowsToPrograms) {
  save(path("rows.csv"), "text\nA\nB\n");
  const Result result = render("rows.csv", "out/{row}.png", {"--progress", "json"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, AllOf(HasSubstr("\"row\":1,\"frame\":1"), HasSubstr("\"row\":2,\"frame\":1")));
}

struct WrongBatch {
  const char *file;
  const char *text;
  const char *output;
  int exitCode;
  const char *words;
};

TEST_F(Batches, ThatAreWrongAreRefusedWhole) {
  for (const WrongBatch &row : {
           WrongBatch{"a.csv", "text,glow\nA,10\nB,101\n", "out/{row}.png", 2, "row 2, column 'glow': "},
           {"a.csv", "text,glow\nA,x\n", "out/{row}.png", 2, "row 1, column 'glow': "},
           {"a.csv", "text,alpha\nA,none\nB,opaque\n", "out/{row}.png", 2, "'opaque' is not one of straight"},
           {"a.csv", "text,loop\nA,maybe\n", "out/{row}.png", 2, "'maybe' is not yes or no"},
           {"a.csv", "text,density\nA,2\n", "out/{row}.png", 2, "row 1, column 'density': "},
           {"a.csv", "text,gloww\nA,1\n", "out/{row}.png", 2, "the column 'gloww' is no option and no parameter"},
           {"a.csv", "text,output\nA,x.png\n", "out/{row}.png", 2, "'output' is an option of the whole batch"},
           {"a.csv", "text,overwrite\nA,yes\n", "out/{row}.png", 2, "'overwrite' is an option of the whole batch"},
           {"a.csv", "text\nA\nB\n", "out/same.png", 2, "the rows 1 and 2 have the same output 'out/same.png'"},
           {"a.csv", "text,id\nA,x/1\nB,x_1\n", "out/{id}.png", 2, "the same output 'out/x_1.png'"},
           {"a.csv", "text\nA\n", "out/{id}.png", 2, "{id}, and the batch has no such column"},
           {"a.csv", "text\nA\n", "out/{row.png", 2, "has no '}'"},
           {"a.csv", "", "out/{row}.png", 3, "no row after the line"},
           {"a.csv", "text\n", "out/{row}.png", 3, "no row after the line"},
           {"a.csv", "text,text\nA,B\n", "out/{row}.png", 3, "two columns 'text'"},
           {"a.csv", "text,\nA,B\n", "out/{row}.png", 3, "has no name"},
           {"a.csv", "text,id\nA\n", "out/{row}.png", 3, "row 1 has 1 cells"},
           {"a.csv", "text\n\"A\n", "out/{row}.png", 3, "a quote that does not end"},
           {"a.csv", "text\n\"A\"B\n", "out/{row}.png", 3, "a quote that does not end, or text after one"},
           {"a.csv", "text\n\xFF\n", "out/{row}.png", 3, "not UTF-8"},
           {"a.json", "[", "out/{row}.png", 3, "not JSON"},
           {"a.json", "{}", "out/{row}.png", 3, "not a list of objects"},
           {"a.json", "[]", "out/{row}.png", 3, "not a list of objects"},
           {"a.json", "[1]", "out/{row}.png", 3, "row 1 is not an object"},
           {"a.json", R"([{"text": ["A"]}])", "out/{row}.png", 3, "'text' in row 1 is not a text"},
           {"a.txt", "text\nA\n", "out/{row}.png", 3, "a .csv or .json file"},
       }) {
    SCOPED_TRACE(row.text);
    save(path(row.file), row.text);
    const Result result = render(row.file, row.output);
    EXPECT_EQ(result.exitCode, row.exitCode) << result.err;
    EXPECT_THAT(result.err, HasSubstr(row.words));
    EXPECT_TRUE(names("out").empty());
  }
  EXPECT_EQ(render("none.csv", "out/{row}.png").exitCode, 3);
}

TEST_F(Batches, OfAMillionRowsAreLookedAtFirst) {
  std::string rows = "text,id\n";
  for (int row = 0; row < 1000000; ++row) rows += "A," + std::to_string(row) + "\n";
  save(path("many.csv"), rows + "B,7\n");
  const Result result = render("many.csv", "out/{id}.png");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("the rows 8 and 1000001 have the same output"));
  EXPECT_TRUE(names("out").empty());
}

}  // namespace
}  // namespace pyrelux::cli::test
