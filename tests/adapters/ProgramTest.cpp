#include "ProgramTest.h"

#include "Composed.h"

namespace pyrelux::adapters::test {

using cli::test::Command;
using cli::test::Environment;
using cli::test::Result;
using cli::test::Words;

ProgramTest::ProgramTest(Size size) : size_(size) {
  cli::test::save(path("title.png"), cli::test::titlePng(size.width, size.height));
}

Result ProgramTest::withPlugIn(const Words &words, const std::string &plugInFolder,
                               const Environment &environment) const {
  Command command;
  command.words = words;
  command.folder = path("").string();
  command.environment = environment;
  if (!plugInFolder.empty()) command.environment["FREI0R_PATH"] = plugInFolder;
  // The list that GStreamer keeps of all its plug-ins: not the user's.
  command.environment["GST_REGISTRY"] = PYRELUX_GSTREAMER_REGISTRY;
  return run(command);
}

std::string ProgramTest::byFfmpeg(int number, const std::string &parameters) const {
  const std::string filters = "format=rgba,frei0r=pyrelux" + (parameters.empty() ? "" : ":" + parameters) +
                              ",trim=start_frame=" + std::to_string(number);
  const Result result = withPlugIn({PYRELUX_FFMPEG, "-v", "error", "-loop", "1", "-framerate", "25", "-i", "title.png",
                                    "-vf", filters, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgba", "-"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.size(), frameBytes());
  return result.out;
}

std::string ProgramTest::byGstreamer(int number, const std::string &properties) const {
  const std::string pipeline =
      "filesrc location=title.png ! pngdec ! videoconvert ! imagefreeze num-buffers=" + std::to_string(number + 1) +
      " ! video/x-raw,format=RGBA,framerate=25/1 ! frei0r-filter-pyrelux " + properties +
      " ! multifilesink location=frame%d.raw max-files=1";
  const Result result = withPlugIn({"/bin/sh", "-c", PYRELUX_GSTREAMER " -q " + pipeline});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  const std::string frame = cli::test::load(path("frame" + std::to_string(number) + ".raw"));
  EXPECT_EQ(frame.size(), frameBytes());
  return frame;
}

void ProgramTest::expectRendered(const std::string &frame, int number, const Words &arguments) const {
  using cli::test::operator+;
  const Result result = pyrelux(Words{"render", "title.png", "-o", "fire.exr", "--overwrite", "--codec", "float",
                                      "--frames", std::to_string(number)} +
                                arguments);
  cli::test::expectSuccess(result);
  cli::test::expectComposed(frame, decoded("fire.exr", "gbrapf32le"), decoded("title.png", "rgba"));
}

}  // namespace pyrelux::adapters::test
