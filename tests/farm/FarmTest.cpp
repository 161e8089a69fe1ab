// A render in parts, by the program: planned, run by GNU parallel and by hand, interrupted, retried, merged; and that
// it gives what one render gives.

#include <algorithm>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Farms : public CliTest {
 protected:
  Farms() { fs::create_directory(path("out")); }

  /// A text that catches and goes out, with a speed that changes.
  Words look() const {
    return Words{"--text", "Fire", "--size", "64x36", "--backend", "soft", "--seed", "3", "--project", "look.json"} +
           quick();
  }

  void saveLook() const {
    save(path("look.json"), R"({"version": 1, "ignite": 0.2, "die": 0.2, "parameters": {"turbulence-speed":
        [{"frame": 1, "value": 10}, {"frame": 12, "value": 90}]}})");
  }

  Result plan(const std::string &output, const Words &more = {}) const {
    return pyrelux(Words{"farm", "plan", "-o", output, "--folder", "job", "--frames", "1-14", "--tasks", "3"} + look() +
                   more);
  }

  void expectDone(const Result &result) const { EXPECT_EQ(result.exitCode, 0) << result.out << result.err; }

  nlohmann::json status() const {
    const Result result = pyrelux({"farm", "status", "job", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }

  /// The one file in the attempts whose name ends so.
  fs::path inAttempts(const std::string &end) const {
    for (const auto &entry : fs::recursive_directory_iterator(path("job/attempts"))) {
      const std::string name = entry.path().string();
      if (name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0) return entry.path();
    }
    ADD_FAILURE() << "no " << end;
    return {};
  }
};

TEST_F(Farms, GiveThePicturesOfOneRender) {
  saveLook();
  for (const std::string kind : {"png", "exr"}) {
    expectDone(pyrelux(Words{"render", "-o", "one.%04d." + kind, "--frames", "1-14"} + look()));
    expectDone(plan("out/many.%04d." + kind, {"--first-look"}));
    expectDone(pyrelux({"farm", "run", "job", "--jobs", "2"}));
    for (int frame = 1; frame <= 14; ++frame) {
      char number[16];
      std::snprintf(number, sizeof number, ".%04d.", frame);
      EXPECT_EQ(load(path("out/many" + (number + kind))), load(path("one" + (number + kind)))) << kind << frame;
    }
    expectDone(pyrelux({"verify", "out/many." + kind + ".manifest.jsonl"}));
    fs::remove_all(path("job"));
  }
}

TEST_F(Farms, GiveTheMovieOfOneRender) {
  saveLook();
  const struct {
    const char *name;
    Words more;
  } rows[] = {
      {"f.mov", {"--first-look"}}, {"f.mkv", {}}, {"f.mp4", {"--over", "tomato"}}, {"f.gif", {"--draw-bits", "8"}}};
  for (const auto &row : rows) {
    const std::string name = row.name;
    Words more = row.more;
    more.erase(std::remove(more.begin(), more.end(), "--first-look"), more.end());
    expectDone(pyrelux(Words{"render", "-o", name, "--frames", "1-14"} + look() + more));
    expectDone(plan("out/" + name, row.more));
    expectDone(pyrelux({"farm", "run", "job", "--jobs", "2"}));
    EXPECT_EQ(decoded("out/" + name, "rgba64le"), decoded(name, "rgba64le")) << name;
    // Matroska's files have a number of their own.
    if (name != "f.mkv") {
      EXPECT_TRUE(load(path("out/" + name)) == load(path(name))) << name;
    }
    fs::remove_all(path("job"));
  }
}

TEST_F(Farms, RenderOnlyWhatIsMissing) {
  saveLook();
  expectDone(plan("out/f.%04d.png"));
  Command byHand = commandOf({});
  byHand.words = {path("job/job.sh").string(), "0"};
  byHand.environment["PYRELUX"] = PYRELUX_PROGRAM;
  expectDone(run(byHand));
  const std::int64_t done = status()["done"];
  EXPECT_GT(done, 0);
  EXPECT_LT(done, 14);
  expectDone(run(byHand));
  EXPECT_EQ(status()["nodes"][0]["frames"], done) << "nothing was rendered twice";

  const Result early = pyrelux({"farm", "merge", "job"});
  EXPECT_EQ(early.exitCode, 1);
  EXPECT_THAT(early.err, AllOf(HasSubstr("are missing: no task has begun it"), HasSubstr("farm retry")));
  EXPECT_TRUE(names("out").empty());

  expectDone(pyrelux({"farm", "retry", "job", "--tasks", "2"}));
  expectDone(pyrelux({"farm", "run", "job"}));
  EXPECT_EQ(pictures("out").size(), 14u);
  EXPECT_EQ(status()["nodes"][0]["frames"], 14);
  EXPECT_EQ(pyrelux({"farm", "retry", "job"}).out, "Nothing is missing\n");
}

TEST_F(Farms, KeepWhatAnEarlierMergeHasLeftAndRefuseToReplaceOtherPictures) {
  saveLook();
  expectDone(plan("out/f.%04d.png"));
  expectDone(pyrelux({"farm", "run", "job"}));
  const auto whole = contentsOf(path("out"));
  fs::remove(path("out/f.0003.png"));
  expectDone(pyrelux({"farm", "merge", "job"}));
  EXPECT_EQ(contentsOf(path("out")).at("f.0003.png"), whole.at("f.0003.png"));
  expectDone(pyrelux({"verify", "out/f.png.manifest.jsonl"}));

  fs::remove(path("out/f.0002.png"));
  save(path("out/f.0003.png"), "mine");
  const auto before = contentsOf(path("out"));
  const Result refused = pyrelux({"farm", "merge", "job"});
  expectRefusal(refused, {"f.0003.png", "is not the farm's", "--overwrite"});
  EXPECT_EQ(refused.exitCode, 4);
  EXPECT_EQ(contentsOf(path("out")), before);
  expectDone(pyrelux({"farm", "merge", "job", "--overwrite"}));
  EXPECT_EQ(pictures("out").size(), 14u);
  EXPECT_EQ(contentsOf(path("out")).at("f.0003.png"), whole.at("f.0003.png"));
}

TEST_F(Farms, FindDamageAndRepairIt) {
  saveLook();
  expectDone(plan("out/f.mkv"));
  for (const char *chunk : {"0", "1", "2"}) expectDone(pyrelux({"farm", "task", "job", chunk}));
  const fs::path piece = inAttempts(".mkv");
  std::string bytes = load(piece);
  bytes[bytes.size() / 2] ^= 1;
  save(piece, bytes);
  const Result damaged = pyrelux({"farm", "merge", "job"});
  EXPECT_EQ(damaged.exitCode, 1);
  EXPECT_THAT(damaged.err, HasSubstr("is not what was recorded"));
  EXPECT_FALSE(fs::exists(path("out/f.mkv")));
  EXPECT_GT(status()["missing"], 0);
  expectDone(pyrelux({"farm", "retry", "job"}));
  expectDone(pyrelux({"farm", "run", "job"}));
  EXPECT_EQ(probe("out/f.mkv")["nb_read_frames"], "14");
}

TEST_F(Farms, GiveUpAFrameThatNeverSucceeds) {
  saveSequence("title", 1, 12);
  const std::string whole = load(path("title_0002.png"));
  save(path("title_0002.png"), whole.substr(0, whole.size() / 2));
  expectDone(pyrelux(Words{"farm", "plan", "title_%04d.png", "-o", "out/f.%04d.png", "--folder", "job", "--tasks", "2",
                           "--backend", "soft"} +
                     quick()));
  const auto run = [&](int round) { return pyrelux({"farm", "task", "job", "0", "--round", std::to_string(round)}); };
  EXPECT_EQ(run(1).exitCode, 1);
  // A task that has nothing else fails as a whole.
  EXPECT_EQ(run(1).exitCode, 3);
  expectDone(pyrelux({"farm", "retry", "job"}));
  EXPECT_THAT(run(2).err, HasSubstr("title_0002.png"));

  const std::size_t attempts = names("job/attempts").size();
  const Result left = run(2);
  EXPECT_EQ(left.exitCode, 1);
  EXPECT_THAT(left.err, HasSubstr("1 frame failed three times before"));
  EXPECT_EQ(names("job/attempts").size(), attempts) << "it was not tried";
  expectDone(pyrelux({"farm", "task", "job", "1"}));
  const Result retried = pyrelux({"farm", "retry", "job"});
  EXPECT_EQ(retried.exitCode, 1);
  EXPECT_THAT(retried.err, HasSubstr("frame 2 failed three times and is left out"));
  EXPECT_THAT(pyrelux({"farm", "status", "job"}).out, AllOf(HasSubstr("frame 2 failed at"), HasSubstr("given up")));
  EXPECT_EQ(status()["failed"][0]["given_up"], true);
  const Result merged = pyrelux({"farm", "merge", "job"});
  EXPECT_EQ(merged.exitCode, 1);
  EXPECT_THAT(merged.err, AllOf(HasSubstr("frames 2 are missing"), HasSubstr("title_0002.png")));

  expectDone(pyrelux({"farm", "retry", "job", "--anew"}));
  EXPECT_EQ(run(3).exitCode, 3);
  EXPECT_GT(names("job/attempts").size(), attempts) << "it was tried";
}

TEST_F(Farms, MoveWithTheirInput) {
  saveMovie("title.mov", 6);
  expectDone(pyrelux({"render", "title.mov", "-o", "one.mov", "--backend", "soft"}));
  expectDone(pyrelux({"farm", "plan", "title.mov", "-o", "out/many.mov", "--folder", "job", "--tasks", "2",
                      "--copy-input", "--backend", "soft"}));
  fs::remove(path("title.mov"));
  fs::rename(path("job"), path("moved"));
  expectDone(pyrelux({"farm", "run", "moved", "--jobs", "2"}));
  EXPECT_TRUE(load(path("out/many.mov")) == load(path("one.mov")));
}

TEST_F(Farms, RefuseAnInputThatHasChanged) {
  save(path("title.png"), titlePng(testWidth, testHeight));
  expectDone(pyrelux(Words{"farm", "plan", "title.png", "-o", "out/f.%d.png", "--folder", "job", "--frames", "1-3"} +
                     quick()));
  save(path("title.png"), titlePng(testWidth, testHeight, 5));
  for (int again = 0; again < 3; ++again) {
    const Result result = pyrelux({"farm", "task", "job", "0"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, AllOf(HasSubstr("title.png"), HasSubstr("plan anew")));
  }
  const nlohmann::json told = status();
  EXPECT_EQ(told["nodes"][0]["failed"], 3);
  EXPECT_EQ(told["nodes"][0]["bad"], true);
}

TEST_F(Farms, DrawFloatsWithTheInstructionsOfThePlan) {
  // Their pictures differ in their last bits from those of the newest processors.
  const Environment old{{"PYRELUX_SIMD", "scalar"}};
  const Words words =
      Words{"--text", "Fire", "--size", "160x90", "--backend", "soft", "--codec", "float", "--frames", "1-4"};
  fs::create_directory(path("one"));
  expectDone(pyrelux(Words{"render", "-o", "one/f.%04d.exr"} + words, old));
  const Words plan = Words{"farm", "plan", "--folder", "job", "-o", "out/f.%04d.exr"} + words;
  expectDone(pyrelux(plan, old));
  expectDone(pyrelux({"farm", "run", "job"}));
  for (const std::string &name : pictures("one"))
    EXPECT_TRUE(load(path("out/" + name)) == load(path("one/" + name))) << name;
}

TEST_F(Farms, RefuseAProcessorWithoutTheInstructionsOfThePlan) {
  saveLook();
  const auto planned = [&] {
    return nlohmann::json::parse(load(path("job/farm.json")))["instructions"].get<std::string>();
  };
  expectDone(plan("out/f.%04d.png", {"--draw-bits", "8"}));
  EXPECT_EQ(planned(), "") << "bytes are the same with all";
  fs::remove_all(path("job"));
  expectDone(plan("out/f.%04d.png", {"--draw-bits", "16"}));
  ASSERT_NE(planned(), "");
  save(path("job/farm.json"), replaced(load(path("job/farm.json")), '"' + planned() + '"', "\"future\""));
  const Result result = pyrelux({"farm", "task", "job", "0"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("planned with future instructions"), HasSubstr("plan anew with PYRELUX_SIMD=")));
  EXPECT_EQ(status()["nodes"][0]["failed"], 1);
}

TEST_F(Farms, HandTasksToSlurm) {
  saveLook();
  fs::create_directory(path("bin"));
  save(path("bin/sbatch"),
       "#!/bin/sh\nfor word; do echo \"$word\"; done >>calls\necho end >>calls\necho '42;cluster'\n");
  fs::permissions(path("bin/sbatch"), fs::perms::owner_all);
  const Environment environment{{"PATH", path("bin").string() + ":" + std::getenv("PATH")}};
  const Words words = Words{"farm",     "plan", "-o",      "out/f.mov", "--folder", "job",
                            "--frames", "1-14", "--tasks", "3",         "--submit", "slurm"} +
                      look() + Words{"--", "--partition=night", "--time=5"};
  const Result result = pyrelux(words, environment);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Job 42 renders, and job 42 merges after it"));
  const std::string calls = load(path("calls"));
  const std::string merge = calls.substr(calls.find("\nend\n"));
  EXPECT_THAT(calls, AllOf(HasSubstr("\n--array=0-2\n"), HasSubstr("\n--partition=night\n--time=5\n"),
                           HasSubstr("/job/job.sh\n--round\n1\nend\n")));
  EXPECT_THAT(merge, AllOf(HasSubstr("\n--dependency=afterany:42\n"), HasSubstr("\n--time=5\n"),
                           HasSubstr("/job/merge.sh\nend\n")));

  save(path("bin/sbatch"), "#!/bin/sh\necho no >&2\nexit 7\n");
  const Result refused = pyrelux({"farm", "submit", "job"}, environment);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("'sbatch' ended with exit code 7"), HasSubstr("nothing was submitted")));
}

TEST_F(Farms, RefuseWhatTheyCannotFollow) {
  saveLook();
  save(path("title.png"), titlePng(testWidth, testHeight));
  fs::create_directory(path("full"));
  save(path("full/mine"), "mine");
  const struct {
    const char *about;
    Words words;
    int exitCode;
    Words told;
  } rows[] = {
      {"NoAction", {"farm"}, 2, {"plan, submit, run, status, retry, merge, task"}},
      {"UnknownAction", {"farm", "reap"}, 2, {"plan, submit"}},
      {"StandardInput", {"farm", "plan", "-", "-o", "out/f.mov", "--folder", "job"}, 2, {"INPUT", "give a file"}},
      {"OneFrame", {"farm", "plan", "title.png", "-o", "out/f.png", "--folder", "job"}, 2, {"one frame", "%04d"}},
      {"NoFolder", {"farm", "plan", "title.png", "-o", "out/f.mov"}, 2, {"--folder"}},
      {"FolderInUse", {"farm", "plan", "title.png", "-o", "out/f.mov", "--folder", "full"}, 4, {"full", "--folder"}},
      {"NoPlaceForTheOutput", {"farm", "plan", "title.png", "-o", "no/f.mov", "--folder", "job"}, 4, {"no"}},
      {"MissingInput", {"farm", "plan", "gone.png", "-o", "out/f.mov", "--folder", "job"}, 3, {"gone.png"}},
      {"NoFarm", {"farm", "status", "full"}, 3, {"full", "farm plan"}},
      {"MissingFarm", {"farm", "merge", "job"}, 3, {"job"}},
      {"OptionsOfNobody",
       {"farm", "plan", "title.png", "-o", "out/f.mov", "--folder", "job", "--", "--time=5"},
       2,
       {"--submit"}},
  };
  const auto before = contentsOf(path(""));
  for (const auto &row : rows) {
    SCOPED_TRACE(row.about);
    const Result result = pyrelux(row.words);
    expectRefusal(result, row.told);
    EXPECT_EQ(result.exitCode, row.exitCode);
    EXPECT_EQ(contentsOf(path("")), before) << "nothing half-written";
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
