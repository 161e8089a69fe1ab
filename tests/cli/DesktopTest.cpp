// What desktops are told of the program: its entry, its metadata, its icons, and which files are its projects.

#include <signal.h>

#include <filesystem>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Desktop : public CliTest {
 protected:
  static constexpr const char *entry = PYRELUX_SOURCE "/desktop/pyrelux-studio.desktop";
  static constexpr const char *metadata = PYRELUX_SOURCE "/desktop/example.morvane.pyrelux.metainfo.xml";

  static Result runWords(const Words &words, const Environment &environment = {}) {
    Command command;
    command.words = words;
    command.environment = environment;
    return run(command);
  }

  /// What glib takes the file for.
  std::string typeOf(const std::string &name, const Environment &environment) const {
    return runWords({"gio", "info", "-a", "standard::content-type", path(name)}, environment).out;
  }
};

TEST_F(Desktop, HasAnEntryAndMetadataThatAreValid) {
  const Result entryResult = runWords({"desktop-file-validate", entry});
  EXPECT_EQ(entryResult.exitCode, 0);
  EXPECT_EQ(entryResult.out + entryResult.err, "");
  const Result result = runWords({"appstreamcli", "validate", "--no-net", metadata});
  EXPECT_EQ(result.exitCode, 0) << result.out;
  EXPECT_THAT(load(metadata), HasSubstr(std::string(">") + fs::path(entry).filename().string() + "</launchable>"));
}

TEST_F(Desktop, MetadataTellOfThisVersion) {
  const std::string version = replaced(replaced(pyrelux({"--version"}).out, "pyrelux ", ""), "\n", "");
  EXPECT_THAT(load(metadata), HasSubstr("<release version=\"" + version + "\""));
}

TEST_F(Desktop, EntryOpensPicturesAndProjects) {
  EXPECT_THAT(load(entry), HasSubstr("\nExec=pyrelux studio %f\n"));
  save(path("title.png"), titlePng(testWidth, testHeight));
  save(path("right.pyrelux.json"), R"({"version": 1, "text": "FIRE"})");
  save(path("wrong.pyrelux.json"), R"({"version": 1, "parameters": {"glow": "much"}})");
  for (const char *const file : {"title.png", "right.pyrelux.json"}) {
    Command command = commandOf({"studio", "--no-browser", file});
    command.signalAfter = "The studio is at";
    command.signal = SIGINT;
    const Result result = run(command);
    EXPECT_EQ(result.exitCode, 0) << file << ": " << result.err;
    EXPECT_EQ(result.err, "");
  }
  expectRefusal(pyrelux({"studio", "--no-browser", "wrong.pyrelux.json"}), {"wrong.pyrelux.json", "glow"});
  expectRefusal(pyrelux({"studio", "--no-browser", "right.pyrelux.json", "--project", "wrong.pyrelux.json"}),
                {"right.pyrelux.json", "two projects"});
}

TEST_F(Desktop, KnowsProjectsByTheirNamesAndLeavesOtherJsonAlone) {
  fs::create_directories(path("data/mime/packages"));
  fs::copy_file(PYRELUX_SOURCE "/desktop/pyrelux-mime.xml", path("data/mime/packages/pyrelux.xml"));
  const Result update = runWords({"update-mime-database", path("data/mime")});
  ASSERT_EQ(update.exitCode, 0) << update.err;
  save(path("title.png"), titlePng(testWidth, testHeight));
  const Environment environment{{"XDG_DATA_HOME", path("data")}, {"XDG_DATA_DIRS", "/usr/share"}};
  render("title.png", "fire.png", {"--save-project", "mine.pyrelux.json"});
  EXPECT_THAT(typeOf("mine.pyrelux.json", environment), HasSubstr(" application/vnd.pyrelux.project+json\n"));
  fs::copy_file(path("mine.pyrelux.json"), path("package.json"));
  EXPECT_THAT(typeOf("package.json", environment), HasSubstr(" application/json\n"));
  // And such a name is one of a project and of a preset.
  render("title.png", "again.png", {"--project", "mine.pyrelux.json"});
  EXPECT_TRUE(load(path("again.png")) == load(path("fire.png")));
  render("title.png", "as-preset.png", {"--preset", "mine.pyrelux.json"});
}

TEST_F(Desktop, IconsHaveTheSizesOfTheirFolders) {
  int icons = 0;
  for (const auto &folder : fs::directory_iterator(PYRELUX_SHARE "/icons/hicolor")) {
    const std::string size = folder.path().filename();
    fs::copy_file(folder.path() / "apps/pyrelux.png", path(size + ".png"));
    const nlohmann::json picture = probe(size + ".png");
    EXPECT_EQ(std::to_string(picture.at("width").get<int>()) + "x" + std::to_string(picture.at("height").get<int>()),
              size);
    EXPECT_EQ(picture.at("pix_fmt"), "rgba") << "the corners are transparent";
    ++icons;
  }
  EXPECT_GE(icons, 8);
}

}  // namespace
}  // namespace pyrelux::cli::test
