// Tests an installation in any folder: programs find the plug-in, and the plug-in finds everything else.

#include "ProgramTest.h"

namespace fs = std::filesystem;

namespace pyrelux::adapters::test {
namespace {

using cli::test::Environment;
using cli::test::Result;

class Install : public ProgramTest {
 protected:
  Install() {
    const Result result =
        withPlugIn({PYRELUX_CMAKE, "--install", PYRELUX_BUILD_FOLDER, "--prefix", path("prefix").string()});
    EXPECT_EQ(result.exitCode, 0) << result.err;
  }

  static std::string pictureOf(const Result &result) {
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  Result ffmpeg(const std::string &plugInFolder, const Environment &environment = {}) const {
    return withPlugIn({PYRELUX_FFMPEG, "-v", "error", "-i", "title.png", "-vf",
                       "format=rgba,frei0r=pyrelux:25|over|auto|torch", "-f", "rawvideo", "-pix_fmt", "rgba", "-"},
                      plugInFolder, environment);
  }

  Result gstreamer(const std::string &plugInFolder) const {
    return withPlugIn({"/bin/sh", "-c",
                       PYRELUX_GSTREAMER " -q filesrc location=title.png ! pngdec ! videoconvert ! "
                                         "video/x-raw,format=RGBA ! frei0r-filter-pyrelux preset=torch ! fdsink"},
                      plugInFolder, {{"GST_REGISTRY", path("registry").string()}});
  }

  std::string plugIns() const { return path("prefix/lib/frei0r-1").string(); }
};

TEST_F(Install, IsWhole) {
  const std::string burnt = byFfmpeg(0, "25|over|auto|torch");
  EXPECT_NE(burnt, byFfmpeg(0));
  EXPECT_NE(burnt, decoded("title.png", "rgba"));
  EXPECT_EQ(pictureOf(ffmpeg(plugIns())), burnt);
  EXPECT_EQ(pictureOf(gstreamer(plugIns())), burnt);
  // In the folder of a user's own plug-ins, without any variable.
  fs::create_directories(path("home/.frei0r-1"));
  fs::create_directory_symlink(plugIns(), path("home/.frei0r-1/lib"));
  EXPECT_EQ(pictureOf(ffmpeg("", {{"HOME", path("home").string()}})), burnt);
}

TEST_F(Install, UsesNothingOfTheBuildTree) {
  fs::path bundle;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(path("prefix")))
    if (entry.path().extension() == ".bundle") bundle = entry.path();
  ASSERT_NE(bundle, "");
  fs::remove_all(bundle);
  const Result result = ffmpeg(plugIns());
  EXPECT_EQ(result.out, decoded("title.png", "rgba"));
  EXPECT_THAT(result.err,
              testing::HasSubstr("no filter bundle in " + fs::weakly_canonical(bundle.parent_path()).string()));
}

/// The run path of a program or library; empty for other files.
std::string runPathsOf(const fs::path &file) {
  if (cli::test::load(file).rfind("\177ELF", 0) != 0) return {};
  cli::test::Command command;
  command.words = {"readelf", "--dynamic", file.string()};
  const std::string dynamic = run(command).out;
  const std::string before = "Library runpath: [";
  const std::size_t at = dynamic.find(before);
  EXPECT_NE(at, std::string::npos) << file;
  if (at == std::string::npos) return {};
  return dynamic.substr(at + before.size(), dynamic.find(']', at) - at - before.size());
}

TEST_F(Install, LooksForLibrariesInItsOwnPrefixAlone) {
  int looked = 0;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(path("prefix"))) {
    // Of the project's libraries it needs none.
    if (!entry.is_regular_file() || entry.path().filename() == "libpyrelux-platform.so") continue;
    const std::string runPaths = runPathsOf(entry.path());
    if (runPaths.empty()) continue;
    ++looked;
    const std::string origin = "$ORIGIN/";
    ASSERT_EQ(runPaths.rfind(origin, 0), 0u) << entry.path() << ": " << runPaths;
    EXPECT_EQ(runPaths.find(':'), std::string::npos) << entry.path() << ": " << runPaths;
    EXPECT_TRUE(fs::exists(entry.path().parent_path() / runPaths.substr(origin.size()) / "libpyrelux-platform.so"))
        << entry.path() << ": " << runPaths;
  }
  // The program, the bundle's binary, and the plug-ins that were built.
  EXPECT_GE(looked, 3);
}

}  // namespace
}  // namespace pyrelux::adapters::test
