// Farms on a real Slurm with two nodes: whatever happens to tasks and nodes, nothing is lost or doubled, and the
// pictures are those of one render.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "CliTest.h"
#include "SlurmCluster.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// The program. As long as there is a file "held", a task of it stands still in the midst of its pictures, as if they
/// took for ever, until it is told to stop, or this test program is gone.
constexpr const char *heldProgram = R"(#!/usr/bin/env bash
[[ $2 == task ]] || exec "@PROGRAM@" "$@"
"@PROGRAM@" "$@" &
child=$!
trap 'kill -TERM "$child"; kill -CONT "$child"' TERM
shopt -s nullglob
while kill -0 "$child" 2>/dev/null; do
  pictures=("@FOLDER@"/job/attempts/*-"$SLURMD_NODENAME"-*/pictures/*.png)
  # The last one may have no record yet.
  if [[ -e "@FOLDER@/held" ]] && ((${#pictures[@]} > 3)) && [[ -z ${isHeld-} ]]; then
    isHeld=yes
    kill -STOP "$child"
  fi
  kill -0 @TEST@ || kill -KILL "$child"
  sleep 0.02
done
wait "$child"
)";

constexpr int frames = 60;

class Slurm : public CliTest {
 protected:
  static void SetUpTestSuite() {
    try {
      cluster_ = std::make_unique<SlurmCluster>();
    } catch (const NoSlurm &error) {
      problem_ = error.what();
    }
  }
  static void TearDownTestSuite() { cluster_.reset(); }

  void SetUp() override {
    if (!cluster_ && std::getenv("REQUIRE_SLURM")) FAIL() << "Slurm is required, and " << problem_;
    if (!cluster_) GTEST_SKIP() << "NOT TESTED: Slurm can't be started: " << problem_;
    fs::create_directory(path("out"));
    std::string program = replaced(heldProgram, "@PROGRAM@", PYRELUX_PROGRAM);
    program = replaced(program, "@FOLDER@", path("").string());
    save(path("program"), replaced(program, "@TEST@", std::to_string(getpid())));
    fs::permissions(path("program"), fs::perms::owner_all);
  }

  void TearDown() override {
    if (!cluster_ || !HasFailure()) return;
    cluster_->ask({"scancel", "--me"});
    waitForJobs();
  }

  static SlurmCluster &cluster() { return *cluster_; }

  Result inCluster(const Words &words) const {
    Environment environment = cluster_->environment();
    environment["PYRELUX"] = path("program").string();
    return pyrelux(words, environment);
  }

  /// A fire with a speed that changes, in pictures that are quickly drawn.
  void plan(int tasks) const {
    save(path("look.json"), R"({"version": 1, "ignite": 0.2, "die": 0.2, "parameters": {"turbulence-speed":
        [{"frame": 1, "value": 10}, {"frame": 60, "value": 90}]}})");
    expectDone(inCluster(
        Words{"farm", "plan", "-o", "out/f.%04d.png", "--folder", "job", "--tasks", std::to_string(tasks)} + look()));
  }

  Words look() const {
    return Words{"--text", "Fire", "--size",    "160x90",    "--backend", "soft",
                 "--seed", "3",    "--project", "look.json", "--frames",  "1-" + std::to_string(frames)};
  }

  static void expectDone(const Result &result) { EXPECT_EQ(result.exitCode, 0) << result.out << result.err; }

  /// Returns the array's number.
  std::string submit(const Words &options = {}) const {
    const Result result = inCluster(Words{"farm", "submit", "job", "--"} + options);
    expectDone(result);
    std::string id = result.out.substr(result.out.find(' ') + 1);
    return id.substr(0, id.find(' '));
  }

  nlohmann::json status() const {
    const Result result = pyrelux({"farm", "status", "job", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }

  std::int64_t done() const { return status()["done"]; }

  void hold() const { save(path("held"), ""); }
  void letGo() const { fs::remove(path("held")); }

  /// Waits until so many tasks stand still in the middle.
  void waitUntilHeld(std::int64_t tasks) const {
    ASSERT_TRUE(comesTrue([&] { return done() >= 3 * tasks; }));
    ASSERT_LT(done(), frames) << "nothing is left to be lost";
  }

  static void waitForJobs() {
    ASSERT_TRUE(comesTrue([] { return !cluster().hasJobs(); }));
  }

  /// What the merges printed, and all else that jobs did.
  std::string logs() const {
    std::string text;
    for (const std::string &name : names("job/logs")) text += load(path("job/logs/" + name));
    return text;
  }

  /// Each frame is there once, and is that of one render.
  void expectOneRender() const {
    EXPECT_THAT(logs(), HasSubstr("Merged 60 frames"));
    fs::create_directory(path("one"));
    expectDone(pyrelux(Words{"render", "-o", "one/f.%04d.png"} + look()));
    EXPECT_EQ(pictures("out"), pictures("one"));
    for (const std::string &name : pictures("one"))
      EXPECT_TRUE(load(path("out/" + name)) == load(path("one/" + name))) << name;
    expectDone(pyrelux({"verify", "out/f.png.manifest.jsonl"}));
    const std::string manifest = load(path("out/f.png.manifest.jsonl"));
    EXPECT_EQ(std::count(manifest.begin(), manifest.end(), '\n'), frames + 1) << "a line for each, and the settings";
  }

  std::int64_t rendered() const {
    std::int64_t sum = 0;
    const nlohmann::json told = status();
    for (const auto &node : told["nodes"]) sum += node["frames"].get<std::int64_t>();
    return sum;
  }

 private:
  static inline std::unique_ptr<SlurmCluster> cluster_;
  static inline std::string problem_;
};

TEST_F(Slurm, RendersOnAllNodesAndMerges) {
  plan(4);
  submit();
  waitForJobs();
  expectOneRender();
  EXPECT_EQ(rendered(), frames);
  Words nodes;
  const nlohmann::json told = status();
  for (const auto &node : told["nodes"]) nodes.push_back(node["node"]);
  EXPECT_THAT(nodes, ElementsAre("n1", "n2"));
}

TEST_F(Slurm, GivesADeadNodesWorkToAnother) {
  plan(2);
  hold();
  submit();
  waitUntilHeld(2);
  // Slurm notices by itself.
  cluster().cutOff("n1");
  letGo();
  // The one that stands still at n2 is told to stop, and goes on.
  cluster().ask({"scancel", "--batch", "--signal=USR1", "--nodelist=n2", "--state=running"});
  waitForJobs();
  cluster().bringBack("n1");
  expectOneRender();
  EXPECT_EQ(rendered(), frames) << "what was finished is not rendered again";
  EXPECT_GT(status()["nodes"][0]["frames"], 0) << "what a node finished before it died counts";
}

TEST_F(Slurm, NamesWhatADeadNodeLeftAndRetriesIt) {
  plan(2);
  hold();
  submit({"--no-requeue", "--nodelist=n1"});
  waitUntilHeld(1);
  cluster().cutOff("n1");
  letGo();
  cluster().tellOfItsEnd("n1");
  cluster().bringBack("n1");
  waitForJobs();
  EXPECT_THAT(logs(), HasSubstr("its task at n1 has no end yet, or died"));
  EXPECT_TRUE(names("out").empty());
  expectDone(inCluster({"farm", "retry", "job", "--tasks", "2"}));
  submit();
  waitForJobs();
  expectOneRender();
  EXPECT_EQ(rendered(), frames);
}

TEST_F(Slurm, KeepsWhatWasFinishedBeforeItWasCancelled) {
  plan(2);
  hold();
  const std::string id = submit();
  waitUntilHeld(2);
  cluster().ask({"scancel", id});
  waitForJobs();
  letGo();
  EXPECT_THAT(logs(), AllOf(HasSubstr("it was told to stop"), HasSubstr("nothing is merged")));
  const std::int64_t kept = done();
  EXPECT_GE(kept, 6);
  EXPECT_LT(kept, frames);
  expectDone(inCluster({"farm", "retry", "job", "--tasks", "3"}));
  submit();
  waitForJobs();
  expectOneRender();
  EXPECT_EQ(rendered(), frames);
}

TEST_F(Slurm, BeginsAgainWhenTheTimeIsOver) {
  plan(2);
  hold();
  submit({"--time=1"});
  waitUntilHeld(2);
  // Slurm tells a task of a minute at once, when it looks next.
  ASSERT_TRUE(comesTrue([&] { return logs().find("which are kept") != std::string::npos; }));
  letGo();
  waitForJobs();
  expectOneRender();
  EXPECT_EQ(rendered(), frames);
}

TEST_F(Slurm, RendersNothingTwiceWhenItIsSubmittedTwice) {
  plan(3);
  submit();
  submit();
  waitForJobs();
  expectOneRender();
  EXPECT_THAT(logs(), Not(HasSubstr("there already"))) << "the second merge keeps what the first has left";
}

}  // namespace
}  // namespace pyrelux::cli::test
