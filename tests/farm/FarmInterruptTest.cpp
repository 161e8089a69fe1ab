// Farms that are told to stop in the midst of their work.

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

/// The program, whose tasks tell of every frame.
constexpr const char *tellingProgram = R"(#!/usr/bin/env bash
exec "@PROGRAM@" "${@/#none/json}"
)";

class FarmInterrupts : public CliTest {
 protected:
  FarmInterrupts() {
    for (const char *folder : {"one", "many"}) fs::create_directory(path(folder));
    save(path("telling"), replaced(tellingProgram, "@PROGRAM@", PYRELUX_PROGRAM));
    fs::permissions(path("telling"), fs::perms::owner_all);
  }

  /// Takes some seconds.
  static Words look() {
    return {"--text", "Fire", "--size", "320x180", "--backend", "soft", "--seed", "3", "--frames", "1-60"};
  }

  static void expectDone(const Result &result) { EXPECT_EQ(result.exitCode, 0) << result.out << result.err; }

  void plan(const std::string &output) const {
    fs::remove_all(path("job"));
    expectDone(pyrelux(Words{"farm", "plan", "-o", "many/" + output, "--folder", "job", "--tasks", "4"} + look()));
  }

  /// The command line, which gets the signal once two frames of a task are finished.
  Command interrupted(const Words &words, int signal) const {
    Command command = commandOf(words);
    command.environment["PYRELUX"] = path("telling").string();
    command.signalAfter = "\"done\":2";
    command.signal = signal;
    return command;
  }

  nlohmann::json status() const {
    const Result result = pyrelux({"farm", "status", "job", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }

  /// Processes whose command lines name the farm.
  int processes() const {
    int count = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator("/proc")) {
      std::ifstream file(entry.path() / "cmdline", std::ios::binary);
      const std::string words{std::istreambuf_iterator<char>(file), {}};
      count += words.find(path("job").string()) != std::string::npos;
    }
    return count;
  }

  /// What was finished is known, and nothing else is there. On a busy machine some tasks may not have begun.
  void expectWhole(std::int64_t mostAttempts) const {
    EXPECT_EQ(processes(), 0);
    const nlohmann::json told = status();
    EXPECT_GE(told["done"], 2);
    EXPECT_LT(told["done"], 60);
    ASSERT_EQ(told["nodes"].size(), 1u);
    EXPECT_EQ(told["nodes"][0]["running"], 0) << "each has its end";
    EXPECT_EQ(told["nodes"][0]["lost"], 0);
    EXPECT_EQ(told["nodes"][0]["failed"], 0);
    EXPECT_EQ(told["nodes"][0]["frames"], told["done"]);
    EXPECT_LE(static_cast<std::int64_t>(names("job/attempts").size()), mostAttempts);
    for (const auto &file : contentsOf(path("job")))
      EXPECT_NE(fs::path(file.first).filename().string()[0], '.') << file.first;
    EXPECT_TRUE(names("many").empty());
  }

  /// Goes on to the end.
  void expectSameAfterwards(const std::string &output) const {
    expectDone(pyrelux({"farm", "run", "job", "--jobs", "2"}));
    EXPECT_EQ(status()["nodes"][0]["frames"], 60) << "nothing was rendered twice";
    expectDone(pyrelux(Words{"render", "-o", "one/" + output} + look()));
    EXPECT_EQ(pictures("many"), pictures("one"));
    for (const std::string &name : pictures("one"))
      EXPECT_TRUE(load(path("many/" + name)) == load(path("one/" + name))) << name;
    for (const char *folder : {"one", "many"}) {
      fs::remove_all(path(folder));
      fs::create_directory(path(folder));
    }
  }
};

TEST_F(FarmInterrupts, OfATaskKeepWhatIsFinished) {
  const struct {
    const char *output;
    int signal;
  } rows[] = {{"f.%04d.png", SIGINT}, {"f.mov", SIGTERM}, {"f.mp4", SIGHUP}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.output);
    plan(row.output);
    const Result result = run(interrupted({"farm", "task", "job", "1", "--progress", "json"}, row.signal));
    EXPECT_EQ(result.exitCode, 128 + row.signal) << result.err;
    EXPECT_THAT(result.err, HasSubstr("which are kept"));
    expectWhole(1);
    expectSameAfterwards(row.output);
  }
}

TEST_F(FarmInterrupts, OfARunEndAllOfItsTasks) {
  const struct {
    const char *output;
    int signal;
    bool signalsAll;
  } rows[] = {
      {"f.%04d.png", SIGTERM, false}, {"f.mov", SIGINT, false}, {"f.%04d.png", SIGINT, true}, {"f.mov", SIGTERM, true}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.output) + std::to_string(row.signal) + (row.signalsAll ? " all" : ""));
    plan(row.output);
    Command command = interrupted({"farm", "run", "job", "--jobs", "2"}, row.signal);
    command.signalsAll = row.signalsAll;
    const Result result = run(command);
    EXPECT_EQ(result.exitCode, 128 + row.signal) << result.err;
    EXPECT_THAT(result.err, HasSubstr("'pyrelux farm run' goes on"));
    expectWhole(2);
    EXPECT_LT(status()["done"], 30) << "the two tasks that ran were not waited for";
    expectSameAfterwards(row.output);
  }
}

TEST_F(FarmInterrupts, OfAMergeLeaveNothingHalfWritten) {
  for (const char *output : {"f.mp4", "f.%04d.png"}) {
    SCOPED_TRACE(output);
    plan(output);
    for (const char *chunk : {"0", "1", "2", "3"}) expectDone(pyrelux({"farm", "task", "job", chunk}));
    Command command = commandOf({"farm", "merge", "job"});
    command.errorsToTerminal = true;
    command.signalAfter = "frame 2 of";
    command.signal = SIGTERM;
    const Result result = run(command);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM) << result.err;
    EXPECT_THAT(result.err, HasSubstr("interrupted"));
    expectSameAfterwards(output);
  }
}

}  // namespace
}  // namespace pyrelux::cli::test
