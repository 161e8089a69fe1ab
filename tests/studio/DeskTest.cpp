// What pages ask for and are told, without sockets.

#include "Desk.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>

#include "PngFile.h"

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Letters : public Mail {
 public:
  void send(PageId page, const Json &message) override { sent.emplace_back(page, message); }
  void sendToAll(const Json &message) override { sent.emplace_back(0, message); }
  std::string newAddress() override { return "http://127.0.0.1:1/?token=2"; }

  std::vector<std::pair<PageId, Json>> sent;  ///< 0 stands for all pages
};

class DeafListener : public PreviewListener {
 public:
  void drawn(PageId, DrawnFrame) override {}
  void failed(PageId, std::int64_t, std::int64_t, std::uint64_t, const std::string &) override {}
  void thumbnailDrawn(PageId, DrawnThumbnail) override {}
};

class DeskTest : public testing::Test {
 protected:
  DeskTest() {
    char name[] = "/tmp/pyrelux-desk-XXXXXX";
    folder_ = mkdtemp(name);
    root_ = folder_ / "root";
    fs::create_directory(root_);
    setenv("XDG_STATE_HOME", (folder_ / "state").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    save(root_ / "logo.png", cli::test::titlePng(64, 36));
    save(folder_ / "secret.png", cli::test::titlePng(64, 36));
    options_.root = root_.string();
    options_.backend = "soft";
    options_.start.testPattern = "title";
    options_.start.scene.size = PictureSize{64, 36};
  }
  ~DeskTest() override {
    desk_.reset();
    unsetenv("XDG_STATE_HOME");
    unsetenv("XDG_CONFIG_HOME");
    fs::remove_all(folder_);
  }

  static void save(const fs::path &file, const std::string &bytes) { std::ofstream(file, std::ios::binary) << bytes; }

  Desk &desk() {
    if (!desk_) desk_ = std::make_unique<Desk>(options_, letters_, listener_, [] {});
    return *desk_;
  }

  /// The answer to a page's request.
  Json ask(Json message, PageId page = 1) {
    message["request"] = ++requests_;
    desk().received(page, message.dump());
    for (auto letter = letters_.sent.rbegin(); letter != letters_.sent.rend(); ++letter)
      if (letter->first == page && letter->second.value("request", 0) == requests_) return letter->second;
    ADD_FAILURE() << "no answer to " << message;
    return {};
  }
  Json askText(const std::string &message) { return ask(Json::parse(message)); }
  void expectOk(const std::string &message) { EXPECT_EQ(askText(message)["type"], "ok") << message; }
  void expectError(const std::string &message, const Json &field, const std::string &words) {
    const Json before = documentNow();
    const Json answer = askText(message);
    EXPECT_EQ(answer["type"], "error") << message;
    EXPECT_EQ(answer["field"], field) << message;
    EXPECT_THAT(answer["message"].get<std::string>(), HasSubstr(words)) << message;
    EXPECT_EQ(documentNow(), before) << message << " has changed something";
  }

  /// The document as a new page is told of it.
  Json documentNow() {
    desk().connected(99);
    for (auto letter = letters_.sent.rbegin(); letter != letters_.sent.rend(); ++letter)
      if (letter->second["type"] == "document") return letter->second;
    return {};
  }

  fs::path folder_, root_;
  StudioOptions options_;
  Letters letters_;
  DeafListener listener_;
  std::unique_ptr<Desk> desk_;
  int requests_ = 0;
};

TEST_F(DeskTest, TellsEveryPageOfAnEditAndWhoMadeIt) {
  ask(Json::parse(R"({"type":"edit","name":"Glow","edits":[{"parameter":"glow","value":50}]})"), 7);
  bool isTold = false;
  for (const auto &[page, message] : letters_.sent)
    if (page == 0 && message["type"] == "document") {
      isTold = true;
      EXPECT_EQ(message["client"], 7);
      EXPECT_EQ(message["document"]["parameters"]["glow"][0]["value"], 50);
      EXPECT_EQ(message["undo"], "Glow");
      EXPECT_EQ(message["dirty"], true);
    }
  EXPECT_TRUE(isTold);
}

TEST_F(DeskTest, TellsWhatIsInForceOfAllParameters) {
  const Json document = documentNow();
  EXPECT_TRUE(document["document"]["parameters"].empty());
  EXPECT_EQ(document["inForce"].size(), 25u);
  // Deep, as renders draw unless they are told otherwise.
  EXPECT_EQ(document["inForce"]["color-depth"][0]["value"], 1.0);
}

TEST_F(DeskTest, TellsNewPagesWhatEachParameterDoes) {
  desk().connected(1);
  const Json parameters = letters_.sent.front().second["parameters"];
  EXPECT_EQ(parameters.size(), 26u);
  std::set<std::string> sentences;
  for (const Json &parameter : parameters) {
    const std::string help = parameter["help"];
    EXPECT_EQ(help.find('.'), help.size() - 1) << parameter["slug"] << ": one sentence";
    EXPECT_NE(help.rfind("Takes", 0), 0u) << parameter["slug"] << ": more than its range";
    EXPECT_TRUE(sentences.insert(help).second) << parameter["slug"] << ": one of its own";
  }
}

TEST_F(DeskTest, RefusesWrongMessagesAndChangesNothing) {
  expectError(R"({"type":"edit","edits":[{"parameter":"glow","value":500}]})", "glow", "its range is -100..100");
  expectError(R"({"type":"edit","edits":[{"parameter":"glow","value":5},{"scene":"canvas","value":"x"}]})", "canvas",
              "canvas");
  expectError(R"({"type":"edit"})", "edits", "missing");
  expectError(R"({"type":"dance"})", "type", "dance");
  expectError(R"({})", "type", "missing");
  expectError(R"({"type":"frame","id":1,"frame":-1})", "frame", "whole number");
  expectError(R"({"type":"frame","id":1,"frame":1,"size":"huge"})", "size", "huge");
  expectError(R"({"type":"frame","id":1,"frame":1,"background":{"kind":"color","value":"warm"}})", "background",
              "warm");
  expectError(R"({"type":"frame","id":1,"frame":1,"background":{"kind":"file","path":"../secret.png"}})", "background",
              "not in the folder");
  expectError(R"({"type":"thumbnails","width":192,"height":108,"names":["nothing"]})", "names", "no such preset");
  expectError(R"({"type":"thumbnails","width":100000,"height":108,"names":[]})", "width", "16..1024");
  expectError(R"({"type":"undo"})", nullptr, "nothing to undo");
  expectError(R"({"type":"save"})", "path", "no name");
  expectError(R"({"type":"cancel-export","id":3})", "id", "no such export");
  expectError(R"({"type":"recover","accept":true})", nullptr, "nothing to recover");
}

TEST_F(DeskTest, RefusesWhatCantBePlannedAndSaysWhy) {
  expectError(R"({"type":"edit","edits":[{"input":"missing.png"}]})", nullptr, "no such file");
  save(root_ / "broken.png", "not a picture");
  expectError(R"({"type":"edit","edits":[{"input":"broken.png"}]})", nullptr, "cannot read");
  expectError(R"({"type":"edit","edits":[{"scene":"pad","value":"10"},{"scene":"canvas","value":"90x90"}]})", nullptr,
              "give one of them");
}

TEST_F(DeskTest, RefusesFilesOutsideOfTheFolder) {
  fs::create_symlink(folder_ / "secret.png", root_ / "link.png");
  fs::create_symlink(folder_ / "secret.png", root_ / "s_0001.png");
  save(root_ / "s_0002.png", cli::test::titlePng(64, 36));
  for (const char *path : {"../secret.png", "link.png", "/etc/passwd"}) {
    const std::string name = path;
    expectError(R"({"type":"edit","edits":[{"input":")" + name + R"("}]})", "input", "not in the folder");
    expectError(R"({"type":"export","output":")" + name + R"("})", "output", "not in the folder");
    expectError(R"({"type":"open","path":")" + name + R"("})", "path", "not in the folder");
    expectError(R"({"type":"save","path":")" + name + R"("})", "path", "not in the folder");
  }
  expectError(R"({"type":"edit","edits":[{"input":"s_####.png"}]})", "input", "not in the folder");
  expectError(R"({"type":"frame","id":1,"frame":1,"background":{"kind":"file","path":"s_####.png"}})", "background",
              "not in the folder");
  expectError(R"({"type":"files","folder":".."})", "folder", "not in the folder");
}

TEST_F(DeskTest, RefusesProjectsThatNameFilesOutsideOfTheFolder) {
  save(root_ / "spy.json", R"({"version": 1, "text-file": "../secret.txt"})");
  save(folder_ / "secret.txt", "secret");
  expectError(R"({"type":"open","path":"spy.json"})", "text-file", "not in the folder");
}

TEST_F(DeskTest, SavesAndOpensProjects) {
  expectOk(R"({"type":"edit","edits":[{"parameter":"glow","value":42},{"scene":"seed","value":5}]})");
  expectOk(R"({"type":"save","path":"fire.json"})");
  Json document = documentNow();
  EXPECT_EQ(document["file"], "fire.json");
  EXPECT_EQ(document["dirty"], false);
  expectError(R"({"type":"save","path":"fire.png"})", "path", ".json");
  expectOk(R"({"type":"new"})");
  EXPECT_EQ(documentNow()["hasFire"], false);
  EXPECT_EQ(documentNow()["problem"], "there is nothing to burn yet");
  expectOk(R"({"type":"undo"})");
  expectOk(R"({"type":"edit","edits":[{"parameter":"glow","value":1}]})");
  expectOk(R"({"type":"open","path":"fire.json"})");
  document = documentNow();
  EXPECT_EQ(document["document"]["parameters"]["glow"][0]["value"], 42);
  EXPECT_EQ(document["document"]["scene"]["seed"], "5");
  EXPECT_EQ(document["document"]["testPattern"], "title");
  EXPECT_EQ(document["dirty"], false);
  save(root_ / "other.json", "{}");
  expectError(R"({"type":"save","path":"other.json"})", "path", "there already");
  expectOk(R"({"type":"save","path":"other.json","replace":true})");
}

TEST_F(DeskTest, TakesTheFirstPagesAnswerToWhatWasLeft) {
  for (const bool isAccepted : {true, false}) {
    SCOPED_TRACE(isAccepted);
    const std::string first = isAccepted ? "true" : "false";
    const std::string second = isAccepted ? "false" : "true";
    expectOk(R"({"type":"edit","edits":[{"parameter":"glow","value":42}]})");
    // Killed, and not saved.
    desk_.reset();
    letters_.sent.clear();
    documentNow();
    EXPECT_FALSE(letters_.sent.front().second["recovery"].is_null());
    EXPECT_EQ(ask(Json::parse(R"({"type":"recover","accept":)" + first + "}"), 1)["type"], "ok");
    EXPECT_EQ(std::count_if(letters_.sent.begin(), letters_.sent.end(),
                            [](const auto &letter) {
                              return letter.first == 0 && letter.second.dump() == R"({"type":"recovery-answered"})";
                            }),
              1);
    const Json document = documentNow();
    EXPECT_EQ(document["document"]["parameters"].contains("glow"), isAccepted);
    expectError(R"({"type":"recover","accept":)" + second + "}", nullptr, "nothing to recover any more");
    // Of what was accepted nothing is lost, and what was discarded does not come again.
    desk_.reset();
    letters_.sent.clear();
    documentNow();
    EXPECT_EQ(letters_.sent.front().second["recovery"].is_null(), !isAccepted);
    if (isAccepted) expectOk(R"({"type":"recover","accept":false})");
  }
}

TEST_F(DeskTest, KeepsALookAsAPresetOfOnesOwn) {
  expectOk(R"({"type":"edit","edits":[{"parameter":"glow","value":42},{"scene":"seed","value":5}]})");
  expectOk(R"({"type":"save-preset","name":"my-look","description":"Warm"})");
  expectError(R"({"type":"save-preset","name":"my-look"})", "name", "already");
  expectError(R"({"type":"save-preset","name":"../my-look"})", "name", "letters");
  expectOk(R"({"type":"edit","edits":[{"preset":"bonfire"}]})");
  expectOk(R"({"type":"edit","edits":[{"preset":"my-look"}]})");
  const Json document = documentNow();
  EXPECT_EQ(document["document"]["parameters"].size(), 1u);
  EXPECT_EQ(document["document"]["parameters"]["glow"][0]["value"], 42);
  EXPECT_EQ(document["document"]["scene"]["seed"], "5");
}

TEST_F(DeskTest, PressesTheHeaderAndTellsTheAddressWithoutOpeningIt) {
  EXPECT_EQ(askText(R"({"type":"press-header"})")["url"], "https://www.morvane.example");
  const auto png = desk().headerPng();
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(std::string(png.begin() + 1, png.begin() + 4), "PNG");
}

TEST_F(DeskTest, ListsFiles) {
  const Json answer = askText(R"({"type":"files","folder":"."})");
  EXPECT_EQ(answer["entries"][0]["name"], "logo.png");
  EXPECT_EQ(answer["entries"][0]["kind"], "picture");
}

TEST_F(DeskTest, RefusesExportsThatCantBe) {
  expectError(R"({"type":"export","output":"fire.doc"})", "output", ".doc");
  expectError(R"({"type":"export","output":"fire.png","frames":"1-4"})", nullptr, "holds one frame");
  expectError(R"({"type":"export","output":"fire.mov","codec":"wax"})", "output", "wax");
  expectError(R"({"type":"export","output":"fire.mp4","alpha":"straight"})", nullptr, "--alpha");
  expectError(R"({"type":"export","output":"fire.png","alpha":"round"})", "alpha", "round");
  expectError(R"({"type":"export","output":"fire.png","density":2})", "density", "0..1");
  expectError(R"({"type":"export","output":"fire.png","background":{"kind":"checker"}})", "background", "for looking");
  save(root_ / "there.png", "x");
  expectError(R"({"type":"export","output":"there.png"})", nullptr, "there already");
}

TEST_F(DeskTest, TurnsKeyframesByTimeIntoFrames) {
  save(root_ / "timed.json", R"({"version": 1, "fps": "10",
      "parameters": {"glow": [{"time": 0, "value": 1}, {"time": 2, "value": 9}]}})");
  expectOk(R"({"type":"open","path":"timed.json"})");
  const Json glow = documentNow()["document"]["parameters"]["glow"];
  EXPECT_EQ(glow[0]["frame"], 1.0);
  EXPECT_EQ(glow[1]["frame"], 21.0);
}

TEST_F(DeskTest, AnswersAnyTextWithoutHarm) {
  for (const char *text :
       {"", "{", "[]", "null", "{\"type\":7}", "{\"type\":\"edit\",\"edits\":{}}", "{\"type\":\"edit\",\"edits\":[[]]}",
        "{\"type\":\"frame\"}", "{\"request\":{}}", "{\"type\":\"export\",\"output\":7}",
        "{\"type\":\"files\",\"folder\":[]}", "{\"type\":\"edit\",\"gesture\":1e300,\"edits\":[]}"}) {
    const std::size_t before = letters_.sent.size();
    desk().received(1, text);
    ASSERT_GT(letters_.sent.size(), before) << text;
    EXPECT_EQ(letters_.sent.back().second["type"], "error") << text;
  }
}

TEST_F(DeskTest, RefusesDamagedMessagesAndChangesNothing) {
  save(root_ / "broken.png", "no picture");
  const std::vector<std::string> whole{
      R"({"type":"edit","name":"Glow","gesture":3,"edits":[{"parameter":"glow","value":50}]})",
      R"({"type":"edit","edits":[{"parameter":"inner-color","value":[0.1,0.2,0.3]},{"parameter":"tongues","value":3}]})",
      R"({"type":"edit","edits":[{"parameter":"glow","keyframes":[{"frame":1,"value":0,"ease":"hold"},{"frame":9,"value":4}]}]})",
      R"({"type":"edit","edits":[{"scene":"size","value":"48x32"},{"scene":"seed","value":3}]})",
      R"({"type":"edit","edits":[{"scene":"text","value":"A"},{"scene":"font","value":"Sans 9"}]})",
      R"({"type":"edit","edits":[{"input":"logo.png"}]})",
      R"({"type":"edit","edits":[{"parameter":"glow","value":7},{"input":"broken.png"}]})",
      R"({"type":"edit","edits":[{"testPattern":"bars"}]})",
      R"({"type":"edit","edits":[{"preset":"bonfire"}]})",
      R"({"type":"undo"})",
      R"({"type":"redo"})",
      R"({"type":"frame","id":4,"frame":2,"width":64,"size":"half","background":{"kind":"color","value":"red"},"view":"fire","settled":false})",
      R"({"type":"open","path":"saved.json"})",
      R"({"type":"save","path":"saved.json","replace":true})",
      R"({"type":"thumbnails","width":32,"height":18,"names":["bonfire"]})",
      R"({"type":"files","folder":"."})",
      R"({"type":"save-preset","name":"mine","description":"Warm","replace":true})",
      R"({"type":"command","output":"fire_####.png","bits":8,"frames":"1-3"})",
      R"({"type":"cancel-export","id":1})",
      R"({"type":"recover","accept":true})"};
  std::mt19937 random(11);
  const auto below = [&random](std::size_t count) { return random() % count; };
  int refused = 0, taken = 0;
  for (int number = 0; number < 250; ++number) {
    std::string text = whole[below(whole.size())];
    for (std::size_t damage = below(4); damage > 0; --damage) {
      const std::string &other = whole[below(whole.size())];
      const std::size_t at = below(text.size());
      switch (below(4)) {
        case 0:
          text.erase(at, 1 + below(6));
          break;
        case 1:
          text[at] = static_cast<char>(below(256));
          break;
        case 2:
          text.insert(at, std::array{"0", "-", "9e9", "null", "\"", "[]", "{}", "..", "\\u0000"}[below(9)]);
          break;
        default:
          text = text.substr(0, at) + other.substr(below(other.size()));
      }
      if (text.empty()) text = "{";
    }
    const Json before = documentNow();
    desk().received(1, text.substr(0, text.size() - 1) + R"(,"request":5})");
    const Json answer = letters_.sent.back().second;
    ASSERT_TRUE(answer["type"] == "ok" || answer["type"] == "error") << text;
    ++(answer["type"] == "ok" ? taken : refused);
    if (answer["type"] != "error") continue;
    EXPECT_EQ(documentNow(), before) << text;
    EXPECT_EQ(answer["message"].get<std::string>().find("json.exception"), std::string::npos) << text;
    letters_.sent.clear();
  }
  EXPECT_GT(refused, 50);
  EXPECT_GT(taken, 50);
  EXPECT_FALSE(fs::exists(folder_ / "saved.json"));
}

}  // namespace
}  // namespace pyrelux::studio
