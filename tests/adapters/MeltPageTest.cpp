// Tests the commands in docs/mlt.md and README.md, and the installed files.

#include <algorithm>
#include <map>
#include <sstream>

#include "MeltRun.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

/// The page's indented lines that begin with "melt ".
Words commandsOf(const fs::path &file) {
  Words commands;
  std::istringstream page(load(file));
  for (std::string line; std::getline(page, line);)
    if (line.rfind("    melt ", 0) == 0) commands.push_back(line.substr(4));
  return commands;
}

/// "fire.mov" of "… -consumer avformat:fire.mov …"; empty when nothing is written.
std::string writtenBy(const std::string &command) {
  const std::size_t consumer = command.find("-consumer ");
  if (consumer == std::string::npos) return {};
  const std::size_t begin = command.find(':', consumer) + 1;
  return command.substr(begin, command.find(' ', begin) - begin);
}

class MeltPage : public Melt {
 protected:
  /// Whether what was written holds what the command asks for; some runs of melt's write nothing.
  bool isWhole(const std::string &name) const {
    if (!fs::exists(path(name)) || fs::file_size(path(name)) == 0) return false;
    return fs::path(name).extension() == ".mlt" || probe(name).value("nb_read_frames", std::string("0")) != "0";
  }

  /// As typed into a shell.
  Result type(const std::string &command) const {
    Result result;
    for (int attempt = 0; attempt < 6; ++attempt) {
      Command shell;
      shell.words = {"timeout", "100", "sh", "-c", command};
      shell.folder = path("").string();
      shell.environment = {{"MLT_REPOSITORY", path("modules").string()}};
      result = run(shell);
      if (const std::string name = writtenBy(command); name.empty() || isWhole(name)) break;
    }
    return result;
  }
};

TEST_F(MeltPage, CommandsWorkAsTheyStand) {
  const fs::path project = PYRELUX_PROJECT_FOLDER;
  fs::create_directory_symlink(project / "examples", path("examples"));
  fs::copy_file(project / "examples/title.png", path("title.png"), fs::copy_options::overwrite_existing);
  saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc2=size=320x180:rate=25:duration=3", "-pix_fmt", "yuv420p"},
                 "street.mp4");
  const Words commands = commandsOf(project / "docs/mlt.md") + commandsOf(project / "README.md");
  EXPECT_EQ(commands.size(), 7u);
  for (const std::string &command : commands) {
    const Result result = type(command);
    EXPECT_EQ(result.exitCode, 0) << command << '\n' << result.err;
    EXPECT_THAT(result.err, testing::Not(testing::HasSubstr("pyrelux"))) << command;
    const std::string name = writtenBy(command);
    EXPECT_TRUE(name.empty() || isWhole(name)) << command;
  }
  EXPECT_EQ(probe("fire.mov").at("nb_read_frames"), "25");
  EXPECT_THAT(probe("fire.mov").at("pix_fmt").get<std::string>(), testing::HasSubstr("yuva444p"));
  EXPECT_EQ(probe("torch.mov").at("nb_read_frames"), "25");
  EXPECT_EQ(probe("film.mp4").at("nb_read_frames"), "60");
  EXPECT_EQ(probe("flare.mp4").at("nb_read_frames"), "50");
  EXPECT_EQ(probe("blue.png").at("width"), 1280);
  EXPECT_THAT(load(path("fire.mlt")), testing::HasSubstr("<property name=\"mlt_service\">pyrelux</property>"));
}

TEST_F(MeltPage, InstallsWhatItNeeds) {
  Command install;
  install.words = {PYRELUX_CMAKE, "--install", PYRELUX_BUILD_FOLDER, "--prefix", path("prefix").string()};
  const Result installed = run(install);
  ASSERT_EQ(installed.exitCode, 0) << installed.err;

  const std::string burntByTheBuild = burnt({"preset=torch"}, 3);
  // Links to MLT's own modules beside ours, which lies in the prefix as it does in the build.
  const fs::path module = path("prefix") / fs::relative(PYRELUX_MLT_MODULE, PYRELUX_BUILD_FOLDER);
  ASSERT_TRUE(fs::exists(module));
  const fs::path modules = module.parent_path();
  for (const fs::directory_entry &entry : fs::directory_iterator(path("modules")))
    if (entry.path().filename() != module.filename()) fs::copy_symlink(entry.path(), modules / entry.path().filename());
  fs::remove_all(path("modules"));
  fs::create_directory_symlink(modules, path("modules"));
  EXPECT_EQ(burnt({"preset=torch"}, 3), burntByTheBuild);
  EXPECT_THAT(melt({"-query", "filter=pyrelux"}).out, testing::HasSubstr("identifier: turbulence-speed"));

  EXPECT_EQ(load(path("prefix/share/kdenlive/effects/pyrelux.xml")), load(PYRELUX_KDENLIVE_EFFECT));

  // Without its bundle the module has none, so it is the installed one that was found.
  fs::rename(path("prefix/lib/pyrelux/Pyrelux.bundle"), path("elsewhere"));
  const Result bare =
      meltInto("frames", Words{"-profile", "small", "title.png", "out=0", "-filter", "pyrelux"} + rawConsumer());
  EXPECT_THAT(bare.err, testing::HasSubstr("no filter bundle in " + fs::canonical(path("prefix")).string()));
}

/// The elements of Kdenlive's description, one a parameter, with their attributes and the text of <name>.
nlohmann::json kdenliveControls() {
  Command python;
  python.words = {"python3", "-c",
                  "import json, sys, xml.etree.ElementTree as tree\n"
                  "root = tree.parse(sys.argv[1]).getroot()\n"
                  "assert (root.tag, root.get('tag'), root.get('id')) == ('effect', 'pyrelux', 'pyrelux')\n"
                  "print(json.dumps([dict(p.attrib, label=p.find('name').text, comment=p.find('comment').text)\n"
                  "                  for p in root.iter('parameter')]))",
                  PYRELUX_KDENLIVE_EFFECT};
  const Result result = run(python);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  return nlohmann::json::parse(result.out);
}

TEST_F(MeltPage, KdenliveIsToldOfEveryParameter) {
  std::map<std::string, nlohmann::json> controls;
  Words groups;
  for (const nlohmann::json &control : kdenliveControls()) {
    const std::string label = control.at("label");
    const std::string group = label.substr(0, label.find(": "));
    if (groups.empty() || groups.back() != group) groups.push_back(group);
    EXPECT_NE(control.at("comment"), "");
    controls[control.at("name")] = control;
  }
  // What belongs to a group is in one place.
  for (const std::string &group : groups) EXPECT_EQ(std::count(groups.begin(), groups.end(), group), 1) << group;

  std::size_t expected = 3;
  for (const nlohmann::json &parameter : nlohmann::json::parse(pyrelux({"parameters", "--json"}).out)) {
    const std::string kind = parameter.at("kind");
    const std::string declared = parameter.at("key");
    // Ours, which acts on what the filter has drawn, is the command's alone.
    if (kind == "custom" || declared.find("::") == std::string::npos) continue;
    ++expected;
    // By their keys, so that projects of earlier versions go on working.
    const std::map<std::string, std::string> older{{"tongues", "pyrelux"}, {"tongue-length", "length-of-pyrelux"}};
    const std::string shown = parameter.at("name");
    const std::string name = older.count(shown) ? older.at(shown) : shown;
    ASSERT_EQ(controls.count(name), 1u) << name;
    const nlohmann::json &control = controls[name];
    EXPECT_EQ(control.at("label"), parameter.at("label"));
    EXPECT_EQ(control.at("type"), kind == "colour"  ? "color"
                                  : kind == "point" ? "animatedrect"
                                  : kind == "popup" ? "list"
                                                    : "animated");
    if (control.at("type") != "animated") continue;
    const double factor = control.value("suffix", "") == "%" ? 100.0 : 1.0;
    const auto number = [&](const char *attribute) {
      return std::stod(control.at(attribute).get<std::string>()) / factor;
    };
    EXPECT_EQ(number("default"), parameter.at("default").get<double>()) << name;
    if (kind == "angle") {
      EXPECT_GE(number("min"), parameter.at("range").at(0).get<double>()) << name;
      EXPECT_LE(number("max"), parameter.at("range").at(1).get<double>()) << name;
    } else {
      EXPECT_EQ(number("min"), parameter.at("range").at(0).get<double>()) << name;
      EXPECT_EQ(number("max"), parameter.at("range").at(1).get<double>()) << name;
    }
  }
  EXPECT_EQ(controls.size(), expected);
  EXPECT_EQ(controls["source-opacity"].at("suffix"), "%");
  EXPECT_EQ(controls["source-mode"].at("paramlist"), "Cover;Mix");
  EXPECT_EQ(controls["point-attract-repel"].at("default"), "45% 45% 10% 10%");
  EXPECT_EQ(controls["preset"].at("type"), "list");
  EXPECT_EQ(controls["preset"].at("default"), "none");
  const std::string presets = ";" + controls["preset"].at("paramlist").get<std::string>() + ";";
  EXPECT_EQ(presets.rfind(";none;", 0), 0u);
  for (const nlohmann::json &preset : nlohmann::json::parse(pyrelux({"presets", "--json"}).out))
    EXPECT_THAT(presets, testing::HasSubstr(";" + preset.at("name").get<std::string>() + ";"));
  EXPECT_EQ(controls["seed"].at("type"), "constant") << "without keyframes";
  EXPECT_EQ(controls["seed"].at("max"), "1000000");
  EXPECT_EQ(controls["output"].at("paramlist"), "over;fire");
}

}  // namespace
}  // namespace pyrelux::cli::test
