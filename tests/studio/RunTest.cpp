// The whole program, as a person starts and ends it.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "CliTest.h"
#include "RawClient.h"

namespace pyrelux::studio::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using cli::test::Words;
using testing::HasSubstr;
using Json = nlohmann::json;

/// A studio that runs, and a page of it.
class RunningStudio {
 public:
  RunningStudio(const fs::path &folder, const Words &words) {
    int pipes[2];
    if (pipe(pipes) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      dup2(pipes[1], STDOUT_FILENO);
      if (chdir(folder.c_str()) != 0) _exit(126);
      setenv("XDG_STATE_HOME", (folder / "../state").c_str(), 1);
      setenv("XDG_CONFIG_HOME", (folder / "../config").c_str(), 1);
      std::vector<char *> arguments;
      Words all{PYRELUX_PROGRAM, "studio", "--no-browser", "--backend", "soft"};
      all.insert(all.end(), words.begin(), words.end());
      for (std::string &word : all) arguments.push_back(word.data());
      arguments.push_back(nullptr);
      execv(PYRELUX_PROGRAM, arguments.data());
      _exit(127);
    }
    close(pipes[1]);
    std::string line;
    for (char letter = 0; read(pipes[0], &letter, 1) == 1 && letter != '\n';) line += letter;
    out_ = pipes[0];
    address = line.substr(line.find("http://"));
    port = static_cast<unsigned short>(std::stoi(address.substr(address.rfind(':') + 1)));
    cookie = cookieFor(address, port);
  }
  ~RunningStudio() {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    close(out_);
  }

  /// A page that has been greeted; `greeting` and `document` are what it was told.
  std::unique_ptr<RawClient> page() {
    auto client = std::make_unique<RawClient>(port);
    client->send(requestHead("GET /socket", port, cookie, upgradeLines(port)));
    EXPECT_EQ(statusOf(client->readAnswer()), 101);
    greeting = client->readUntil("type", "hello");
    document = client->readUntil("type", "document");
    return client;
  }

  void signal(int number) const { kill(child_, number); }

  /// What the program ended with: its exit code, or the negative number of a signal.
  int wait() {
    int status = 0;
    waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  std::string address;
  unsigned short port = 0;
  std::string cookie;
  Json greeting;
  Json document;

 private:
  pid_t child_ = -1;
  int out_ = -1;
};

class Studio : public cli::test::CliTest {
 protected:
  Studio() { fs::create_directory(work()); }

  /// Where the studio works, apart from what it keeps for the person.
  fs::path work() const { return path("work"); }

  static Words title() { return {"--input-test-pattern", "title", "--size", "160x90"}; }

  static Json waitForExport(RawClient &client) {
    for (;;) {
      const Json message = client.readUntil("type", "exports");
      if (message.empty()) return message;
      const Json &job = message["jobs"].back();
      if (job["state"] != "waiting" && job["state"] != "running") return job;
    }
  }
};

TEST_F(Studio, GreetsAPageWithAllItNeeds) {
  RunningStudio run(work(), title());
  const auto client = run.page();
  for (const char *key : {"version", "client", "parameters", "scene", "presets", "formats", "fonts", "root", "recovery",
                          "memory", "eases", "testPatterns"})
    EXPECT_TRUE(run.greeting.contains(key)) << key;
  EXPECT_EQ(run.greeting["parameters"][0]["kind"], "custom");
  EXPECT_EQ(run.greeting["recovery"], nullptr);
  EXPECT_EQ(run.document["document"]["testPattern"], "title");
  EXPECT_EQ(run.document["width"], 160);
  EXPECT_EQ(run.document["frames"], Json({{"first", 1}, {"last", 48}}));
  EXPECT_EQ(run.document["problem"], nullptr);
}

TEST_F(Studio, EndsBySignalsAndByAPage) {
  for (const int number : {SIGINT, SIGTERM}) {
    RunningStudio run(work(), title());
    const auto client = run.page();
    run.signal(number);
    EXPECT_EQ(client->readUntil("type", "bye")["reason"], "interrupted");
    EXPECT_EQ(run.wait(), 0);
  }
  RunningStudio run(work(), title());
  const auto client = run.page();
  EXPECT_EQ(client->ask({{"type", "quit"}})["type"], "ok");
  EXPECT_EQ(run.wait(), 0);
}

TEST_F(Studio, ExportsAndCopiesCommandsThatMakeTheSameBytes) {
  RunningStudio run(work(), {"--text", "IT'S\\nON", "--size", "160x90"});
  const auto client = run.page();
  const Json constant = {{"type", "edit"},
                         {"edits",
                          {{{"parameter", "glow"}, {"value", 55.5}},
                           {{"parameter", "color-inner"}, {"value", {0.1, 1, 0.25}}},
                           {{"parameter", "source-mode"}, {"value", 1}},
                           {{"scene", "seed"}, {"value", 3}}}}};
  const Json keyframes = {
      {"type", "edit"},
      {"edits",
       {{{"parameter", "glow"},
         {"keyframes", {{{"frame", 1}, {"value", 0}, {"ease", "ease-in"}}, {{"frame", 9}, {"value", 80}}}}}}}};
  int number = 0;
  for (const Json &edit : {constant, keyframes}) {
    ASSERT_EQ(client->ask(edit)["type"], "ok");
    for (const Json &wanted :
         {Json{{"output", "fire#.mov"}, {"frames", "1-4"}},
          Json{{"output", "fire#.png"}, {"frames", "7"}, {"bits", 16}},
          Json{{"output", "deep/fire#_%02d.exr"}, {"frames", "2-3"}, {"codec", "float"}, {"density", 0.25}},
          Json{{"output", "fire#.mp4"},
               {"frames", "1-4"},
               {"crf", 30},
               {"background", {{"kind", "color"}, {"value", "#102030"}}}}}) {
      Json message = wanted;
      std::string output = wanted["output"];
      output.replace(output.find('#'), 1, std::to_string(++number));
      message["output"] = output;
      message["type"] = "command";
      const Json command = client->ask(message);
      ASSERT_EQ(command["type"], "ok") << command;
      message["type"] = "export";
      const Json started = client->ask(message);
      ASSERT_EQ(started["type"], "ok") << started;
      const Json job = waitForExport(*client);
      ASSERT_EQ(job["state"], "done") << job;
      // A shell in the same folder, where "pyrelux" is this program.
      const auto exported = cli::test::contentsOf(work());
      for (const auto &[name, bytes] : exported)
        if (name.find("fire" + std::to_string(number)) != std::string::npos && name.find(".json") == std::string::npos)
          fs::remove(work() / name);
      cli::test::Command shell;
      shell.words = {"sh", "-c",
                     "pyrelux() { \"$0\" \"$@\"; }; " + command["text"].get<std::string>() + " --backend soft --quiet",
                     PYRELUX_PROGRAM};
      shell.folder = work().string();
      cli::test::expectSuccess(cli::test::run(shell));
      EXPECT_TRUE(cli::test::contentsOf(work()) == exported) << command["text"];
    }
  }
}

TEST_F(Studio, OffersWhatWasNotSavedAfterAKill) {
  {
    RunningStudio run(work(), title());
    const auto client = run.page();
    client->ask({{"type", "edit"}, {"edits", {{{"parameter", "glow"}, {"value", 77}}}}});
    for (int tries = 0; tries < 500; ++tries) {
      std::this_thread::sleep_for(20ms);
      std::error_code error;
      bool isKept = false;
      for (const auto &entry : fs::directory_iterator(path("state/pyrelux"), error))
        isKept = isKept || entry.path().extension() == ".json";
      if (isKept) break;
    }
    run.signal(SIGKILL);
    EXPECT_EQ(run.wait(), -SIGKILL);
  }
  {
    RunningStudio run(work(), {});
    const auto client = run.page();
    ASSERT_FALSE(run.greeting["recovery"].is_null());
    EXPECT_EQ(run.greeting["recovery"]["title"], "title");
    EXPECT_EQ(run.document["hasFire"], false);
    client->sendJson({{"type", "recover"}, {"accept", true}});
    const Json document = client->readUntil("type", "document");
    EXPECT_EQ(document["document"]["parameters"]["glow"][0]["value"], 77);
    EXPECT_EQ(document["document"]["testPattern"], "title");
    EXPECT_EQ(document["dirty"], true);
    EXPECT_EQ(document["undo"], "Recover");
    client->ask({{"type", "save"}, {"path", "kept.json"}});
    client->ask({{"type", "quit"}});
    run.wait();
  }
  RunningStudio run(work(), {});
  run.page();
  EXPECT_EQ(run.greeting["recovery"], nullptr);
}

TEST_F(Studio, FinishesAMovieThatIsBeingWrittenWhenItEnds) {
  RunningStudio run(work(), title());
  const auto client = run.page();
  client->ask({{"type", "export"}, {"output", "long.mov"}, {"frames", "1-100000"}});
  EXPECT_EQ(client->ask({{"type", "quit"}})["message"], "exports are running");
  for (Json job; job.is_null() || job["done"] < 2;) job = client->readUntil("type", "exports")["jobs"].back();
  run.signal(SIGINT);
  EXPECT_EQ(run.wait(), 0);
  EXPECT_GE(std::stoi(probe("work/long.mov").at("nb_read_frames").get<std::string>()), 2);
  EXPECT_THAT(names("work"), testing::ElementsAre("long.mov"));
}

TEST_F(Studio, GoesOnWithExportsWhenPagesClose) {
  RunningStudio run(work(), title());
  run.page()->ask({{"type", "export"}, {"output", "fire.mov"}, {"frames", "1-40"}});
  const auto later = run.page();
  const Json job = waitForExport(*later);
  EXPECT_EQ(job["state"], "done");
  EXPECT_EQ(job["done"], 40);
  EXPECT_EQ(job["bytes"], fs::file_size(work() / "fire.mov"));
}

TEST_F(Studio, RefusesWrongCommandLines) {
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "missing.png"}), {"missing.png", "no such file"});
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "-"}), {"'-'", "files"});
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "--root", "missing"}), {"missing", "no folder"});
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "--port", "70000"}), {"70000", "no port"});
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "--project", "missing.json"}), {"missing.json"});
  RunningStudio run(work(), {});
  cli::test::expectRefusal(pyrelux({"studio", "--no-browser", "--port", std::to_string(run.port)}),
                           {"port", std::to_string(run.port), "can't be listened on"});
}

}  // namespace
}  // namespace pyrelux::studio::test
