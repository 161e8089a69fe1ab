// What the program ends with tells scripts whose fault it was.

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

class ExitCode : public CliTest {
 protected:
  ExitCode() {
    save(path("title.png"), titlePng(testWidth, testHeight));
    save(path("damaged.png"), titlePng(testWidth, testHeight).substr(0, 60));
  }

  int of(const Words &arguments) const { return pyrelux(arguments).exitCode; }
};

TEST_F(ExitCode, IsTwoForAWrongCommandLine) {
  EXPECT_EQ(of({}), 2);
  EXPECT_EQ(of({"burn"}), 2);
  EXPECT_EQ(of({"render", "title.png"}), 2);
  EXPECT_EQ(of(renderWords("title.png", "out.png", {"--frames", "2-1"})), 2);
  EXPECT_EQ(of(renderWords("title.png", "out.png", {"--set", "glow=1000"})), 2);
  EXPECT_EQ(of(renderWords("title.png", "out.png", {"--set", "glwo=10"})), 2);
  EXPECT_EQ(of(renderWords("title.png", "out.png", {"--preset", "none"})), 2);
  EXPECT_EQ(of(renderWords("title.png", "title.png")), 2);
}

TEST_F(ExitCode, IsThreeForAnInputThatCannotBeRead) {
  for (const char *input : {"missing.png", "damaged.png", ".", "missing_%04d.png"})
    EXPECT_EQ(of(renderWords(input, "out.png")), 3) << input;
}

TEST_F(ExitCode, IsFourForAnOutputThatCannotBeWritten) {
  for (const char *output : {"missing/out.png", "out.xyz", "out"})
    EXPECT_EQ(of(renderWords("title.png", output)), 4) << output;
  Command command = commandOf({"parameters"});
  command.outputFile = "/dev/full";
  EXPECT_EQ(run(command).exitCode, 4);
}

}  // namespace
}  // namespace pyrelux::cli::test
