// Tests the commands in the pages about other programs: they do what the pages say.

#include <sstream>

#include "ProgramTest.h"

namespace fs = std::filesystem;

namespace pyrelux::adapters::test {
namespace {

using cli::test::Result;
using cli::test::Words;

class HostPages : public ProgramTest {
 protected:
  HostPages() {
    saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=25:duration=5", "-c:v", "libx264"}, "street.mp4");
    saveWithFfmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=25:duration=5", "-c:v", "libvpx"}, "street.webm");
  }

  /// The lines of a page that are commands, those that go on in the next one as one.
  static Words commandsOf(const std::string &page) {
    std::istringstream lines(cli::test::load(std::string(PYRELUX_PROJECT_FOLDER "/docs/") + page));
    Words commands;
    bool goesOn = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("    ", 0) != 0) continue;
      if (goesOn)
        commands.back() += "\n" + line;
      else
        commands.push_back(line.substr(4));
      goesOn = line.back() == '\\';
    }
    return commands;
  }

  /// Runs all of them in order and returns them.
  Words run(const std::string &page) const {
    const Words commands = commandsOf(page);
    for (const std::string &command : commands) {
      SCOPED_TRACE(command);
      const Result result = withPlugIn({"/bin/sh", "-e", "-c", command});
      EXPECT_EQ(result.exitCode, 0) << result.err;
    }
    return commands;
  }

  void expectMovie(const std::string &name, const std::string &codec, const std::string &pixels, int frames) const {
    SCOPED_TRACE(name);
    const nlohmann::json stream = probe(name);
    EXPECT_EQ(stream.at("codec_name"), codec);
    EXPECT_EQ(stream.at("pix_fmt"), pixels);
    EXPECT_EQ(stream.at("nb_read_frames"), std::to_string(frames));
  }

  /// The bytes of one frame of a movie.
  std::string frameOf(const std::string &name, std::size_t number) const {
    return decoded(name, "rgba").substr(number * frameBytes(), frameBytes());
  }
};

TEST_F(HostPages, Ffmpeg) {
  saveWithFfmpeg({"-loop", "1", "-framerate", "25", "-i", path("title.png").string(), "-t", "4", "-c:v", "png"},
                 "title.mov");
  EXPECT_EQ(run("ffmpeg.md").size(), 6u);
  expectMovie("fire.mov", "prores", "yuva444p12le", 100);
  EXPECT_EQ(probe("fire.mov").at("color_space"), "bt709");
  EXPECT_NE(frameOf("fire.mov", 20), frameOf("fire.mov", 0));
  expectMovie("alone.mov", "png", "rgba", 100);
  EXPECT_EQ(frameOf("alone.mov", 20), byFfmpeg(20, "25|fire"));
  expectMovie("burning.mp4", "h264", "yuv420p", 125);
  EXPECT_NE(frameOf("burning.mp4", 20), frameOf("street.mp4", 20));
  expectMovie("torch.mov", "png", "rgba", 100);
  EXPECT_EQ(frameOf("torch.mov", 20), byFfmpeg(20, "25|over|auto|torch|7"));
  expectMovie("smooth.mov", "png", "rgba", 200);
  EXPECT_EQ(frameOf("smooth.mov", 20), byFfmpeg(20));
  // The frame after a seek is that of a run from the beginning.
  expectMovie("part.mov", "png", "rgba", 25);
  EXPECT_EQ(frameOf("part.mov", 3), byFfmpeg(53));
}

TEST_F(HostPages, Gstreamer) {
  EXPECT_EQ(run("gstreamer.md").size(), 4u);
  expectMovie("fire.mov", "png", "rgba", 100);
  EXPECT_EQ(frameOf("fire.mov", 20), byGstreamer(20));
  expectMovie("torch.mov", "png", "rgba", 100);
  EXPECT_EQ(frameOf("torch.mov", 20), byGstreamer(20, "preset=torch seed=7"));
  expectMovie("burning.webm", "vp8", "yuv420p", 125);
  EXPECT_NE(frameOf("burning.webm", 20), frameOf("street.webm", 20));
  expectMovie("alone.mov", "png", "rgba", 100);
  EXPECT_EQ(frameOf("alone.mov", 20), byGstreamer(20, "output=fire color-outer-b=0.6"));
}

TEST_F(HostPages, Readme) {
  const fs::path project = PYRELUX_PROJECT_FOLDER;
  fs::create_directory_symlink(project / "examples", path("examples"));
  fs::create_directory(path("build"));
  fs::create_directory_symlink(PYRELUX_BUILD_FOLDER, path("build/program"));
  std::size_t ran = 0;
  for (const std::string &command : commandsOf("../README.md")) {
    if (command.find("ffmpeg ") == std::string::npos) continue;
    const Result result = withPlugIn({"/bin/sh", "-c", command}, "");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    ++ran;
  }
  EXPECT_EQ(ran, 1u);
  EXPECT_EQ(probe("fire.mov").at("nb_read_frames"), "50");
}

TEST_F(HostPages, Frei0r) {
  EXPECT_EQ(run("frei0r.md").size(), 2u);
  EXPECT_EQ(frameOf("torch.mov", 20), byFfmpeg(20, "25|over|auto|torch|7"));
  EXPECT_NE(frameOf("fire.mov", 20), frameOf("fire.mov", 0));
}

}  // namespace
}  // namespace pyrelux::adapters::test
