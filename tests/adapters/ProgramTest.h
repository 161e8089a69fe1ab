#pragma once

#include "CliTest.h"

namespace pyrelux::adapters::test {

struct Size {
  int width;
  int height;
};

/// Runs real programs with the plug-in, in a fresh folder with "title.png" in it.
class ProgramTest : public cli::test::CliTest {
 protected:
  explicit ProgramTest(Size size = {cli::test::testWidth, cli::test::testHeight});

  /// A program with the plug-in from the build tree, or from another folder.
  cli::test::Result withPlugIn(const cli::test::Words &words, const std::string &plugInFolder = PYRELUX_FREI0R_FOLDER,
                               const cli::test::Environment &environment = {}) const;

  /// Frame `number` of the title at 25 frames a second, as bytes of red, green, blue and alpha: that of a run from
  /// frame 0. Parameters as ffmpeg takes them; GStreamer as an element's properties.
  std::string byFfmpeg(int number, const std::string &parameters = {}) const;
  std::string byGstreamer(int number, const std::string &properties = {}) const;

  /// Expects what `pyrelux render` with these arguments draws of that frame, over the title: over black no level off by
  /// more than one.
  void expectRendered(const std::string &frame, int number, const cli::test::Words &arguments = {}) const;

  std::size_t frameBytes() const { return static_cast<std::size_t>(size_.width * size_.height) * 4; }

 private:
  Size size_;
};

}  // namespace pyrelux::adapters::test
