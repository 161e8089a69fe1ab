// Standard input and output in the places of files.

#include <csignal>
#include <cstddef>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

using testing::HasSubstr;

const Words frames{"--frames", "1-3"};

class Pipe : public CliTest {
 protected:
  Pipe() {
    saveSequence("title", 1, 3);
    save(path("title.png"), titlePng(testWidth, testHeight));
  }

  /// A line of bash in the test's folder; "$PYRELUX" is the program.
  Result shell(const std::string &line) const {
    Command command = commandOf({});
    command.environment["PYRELUX"] = command.words.at(0);
    // What waits for ever fails.
    command.words = {"timeout", "120", "bash", "-o", "pipefail", "-c", line};
    return run(command);
  }

  /// A line that has to succeed.
  void succeed(const std::string &line) const {
    SCOPED_TRACE(line);
    const Result result = shell(line);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(withoutRemarksOnTests(result.err), "");
  }

  /// A line whose last program has to fail as a refusal does.
  void refuse(const std::string &line, int exitCode, const Words &words) const {
    SCOPED_TRACE(line);
    const Result result = shell(line);
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_EQ(result.out, "");
    for (const std::string &word : words) EXPECT_THAT(result.err, HasSubstr(word));
  }

  /// The line of a render with the settings of tests.
  static std::string renderLine(const std::string &input, const std::string &more) {
    std::string line = "\"$PYRELUX\" render " + input + " " + more;
    for (const std::string &word : quick()) line += " " + word;
    return line;
  }
};

TEST_F(Pipe, EveryFormatHoldsWhatItsFileHolds) {
  for (const char *format : {"mov", "mp4", "mkv", "webm", "gif"}) {
    const std::string name = std::string("file.") + format, streamed = std::string("streamed.") + format;
    render("title_%04d.png", name, frames);
    succeed(renderLine("title_%04d.png", std::string("--frames 1-3 -o - --format ") + format + " >" + streamed));
    EXPECT_EQ(probe(streamed)["nb_read_frames"], "3") << format;
    EXPECT_TRUE(decoded(streamed, "rgba") == decoded(name, "rgba")) << format;
  }
  for (const char *format : {"png", "tif", "exr"}) {
    const std::string name = std::string("file.") + format, streamed = std::string("streamed.") + format;
    render("title.png", name, {"--frames", "5"});
    succeed(renderLine("title.png", std::string("--frames 5 -o - --format ") + format + " >" + streamed));
    EXPECT_TRUE(load(path(streamed)) == load(path(name))) << format;
  }
}

TEST_F(Pipe, PicturesComeOneAfterTheOther) {
  render("title_%04d.png", "fire_%d.png", frames);
  succeed(renderLine("title_%04d.png", "-o - --format png >all.png"));
  const std::string files = load(path("fire_1.png")) + load(path("fire_2.png")) + load(path("fire_3.png"));
  EXPECT_TRUE(load(path("all.png")) == files);
}

TEST_F(Pipe, RawPixelsAreThoseOfPictures) {
  render("title_%04d.png", "fire_%d.png", frames);
  succeed(renderLine("title_%04d.png", "-o - --format rgba >pixels"));
  EXPECT_TRUE(load(path("pixels")) ==
              decoded("fire_1.png", "rgba") + decoded("fire_2.png", "rgba") + decoded("fire_3.png", "rgba"));
  render("title_%04d.png", "deep_%d.png", frames + Words{"--bits", "16"});
  succeed(renderLine("title_%04d.png", "--bits 16 -o - --format rgba >deep"));
  EXPECT_TRUE(load(path("deep")) == decoded("deep_1.png", "rgba64le") + decoded("deep_2.png", "rgba64le") +
                                        decoded("deep_3.png", "rgba64le"));
}

TEST_F(Pipe, Yuv4mpegIsTheFireOverBlack) {
  render("title_%04d.png", "fire.mkv", frames + Words{"--alpha", "none"});
  for (const char *bits : {"8", "16"}) {
    succeed(renderLine("title_%04d.png", std::string("-o - --format y4m --bits ") + bits + " >fire.y4m"));
    EXPECT_EQ(probe("fire.y4m")["pix_fmt"], *bits == '8' ? "yuv444p" : "yuv444p10le");
    const std::string wanted = decoded("fire.mkv", "rgb24");
    const std::string got = decoded("fire.y4m", "rgb24", "scale=in_color_matrix=bt709:in_range=limited");
    ASSERT_EQ(got.size(), wanted.size());
    int largest = 0;
    for (std::size_t at = 0; at < got.size(); ++at)
      largest =
          std::max(largest, std::abs(static_cast<unsigned char>(got[at]) - static_cast<unsigned char>(wanted[at])));
    EXPECT_LE(largest, 3) << "a level or two of YUV";
  }
}

TEST_F(Pipe, WhatIsReadIsWhatItsFileHolds) {
  saveMovie("film.mov", 3);
  saveMovie("film.mkv", 3);
  succeed("ffmpeg -v error -i film.mkv -pix_fmt yuv444p film.y4m");
  succeed("ffmpeg -v error -i film.mkv film.webm");
  for (const char *name : {"film.mkv", "film.y4m", "film.webm"}) {
    SCOPED_TRACE(name);
    render(name, "file.mkv");
    succeed("cat " + std::string(name) + " | " + renderLine("-", "-o streamed.mkv --quiet --overwrite"));
    EXPECT_TRUE(decoded("streamed.mkv", "bgra") == decoded("file.mkv", "bgra"));
    EXPECT_EQ(probe("streamed.mkv")["r_frame_rate"], probe("file.mkv")["r_frame_rate"]);
  }
  for (const char *name : {"still.tif", "still.webp", "still.bmp", "still.qoi", "still.ppm"}) {
    SCOPED_TRACE(name);
    succeed("ffmpeg -v error -i title.png" + std::string(fs::path(name).extension() == ".webp" ? " -c libwebp " : " ") +
            name);
    render(name, "file.png", {"--frames", "7"});
    succeed("cat " + std::string(name) + " | " + renderLine("-", "--quiet --frames 7 -o streamed.png --overwrite"));
    EXPECT_TRUE(load(path("streamed.png")) == load(path("file.png")));
  }
}

TEST_F(Pipe, PicturesOneAfterTheOtherAreAMovie) {
  render("title_%04d.png", "file.mkv", frames);
  succeed("cat title_*.png | " + renderLine("-", "-o streamed.mkv"));
  EXPECT_TRUE(decoded("streamed.mkv", "bgra") == decoded("file.mkv", "bgra"));
  // One is a still.
  succeed("cat title.png | " + renderLine("-", "-o still.mkv"));
  EXPECT_EQ(probe("still.mkv")["nb_read_frames"], "48");
  save(path("other.png"), titlePng(testWidth + 2, testHeight));
  refuse("cat title.png other.png | " + renderLine("-", "-o odd.mkv"), 3, {"its frame 2 is 66x36 pixels, not 64x36"});
  EXPECT_FALSE(fs::exists(path("odd.mkv")));
}

TEST_F(Pipe, AudioIsLeftOutWithARemark) {
  succeed("ffmpeg -v error -f lavfi -i testsrc=s=64x36:d=0.2 -f lavfi -i sine=d=0.2 film.mkv");
  const Result result = shell("cat film.mkv | " + renderLine("-", "-o fire.mkv"));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("the audio of standard input is left out"));
}

TEST_F(Pipe, AFileAtStandardInputIsThatFile) {
  saveMovie("film.mov", 3);
  render("film.mov", "file.mkv");
  // Its index is at its end.
  succeed(renderLine("-", "-o streamed.mkv <film.mov"));
  EXPECT_TRUE(decoded("streamed.mkv", "bgra") == decoded("file.mkv", "bgra"));
  refuse(renderLine("-", "-o title.png --overwrite <title.png"), 2, {"would replace the input"});
}

TEST_F(Pipe, AFrameGoesOnBeforeTheNextOnesAreThere) {
  const std::size_t frame = std::size_t{4} * testWidth * testHeight;
  // The input ends when the first frame has come out.
  succeed("mkfifo gate; { for n in 1 2 3 4 5 6 7 8; do cat title_0001.png; done; read -r _ <gate; } | " +
          renderLine("-", "-o - --format rgba") + " | { head -c " + std::to_string(frame) +
          " >first; echo >gate; cat >rest; }");
  EXPECT_EQ(fs::file_size(path("first")), frame);
  EXPECT_EQ(fs::file_size(path("rest")), 7 * frame);
}

TEST_F(Pipe, NoMoreIsReadThanTheFramesAskFor) {
  // The input never ends by itself.
  succeed("{ while cat title.png; do :; done; } 2>/dev/null | " + renderLine("-", "--frames 2-4 -o some.mkv") +
          "; exit ${PIPESTATUS[1]}");
  EXPECT_EQ(probe("some.mkv")["nb_read_frames"], "3");
  refuse("cat title_*.png | " + renderLine("-", "--frames 1-5 -o short.mkv"), 3, {"it ends after frame 3"});
  EXPECT_FALSE(fs::exists(path("short.mkv")));
  succeed("cat title_*.png | " + renderLine("-", "--duration 0.084s -o two.mkv"));
  EXPECT_EQ(probe("two.mkv")["nb_read_frames"], "2");
}

TEST_F(Pipe, AStreamOverAFilmBurnsUntilItEnds) {
  saveMovie("film.mkv", 5);
  succeed("cat title_*.png | " + renderLine("-", "--over film.mkv -o over.mkv"));
  EXPECT_EQ(probe("over.mkv")["nb_read_frames"], "5");
}

TEST_F(Pipe, WhatNeedsTheLastFrameAsksForIt) {
  for (const char *option : {"--die 0.1s", "--loop", "--pad auto"}) {
    refuse("cat title_*.png | " + renderLine("-", std::string(option) + " -o fire.mkv"), 2,
           {"needs to know which frames there are", "give --frames or --duration"});
    succeed("cat title_*.png | " + renderLine("-", std::string(option) + " --frames 1-3 -o fire.mkv --overwrite"));
  }
}

TEST_F(Pipe, SettingsAndTextsComeThroughItToo) {
  save(path("look.json"), R"({"version": 1, "parameters": {"glow": 80}})");
  render("title.png", "file.png", {"--project", "look.json"});
  succeed("cat look.json | " + renderLine("title.png", "--project - -o piped.png"));
  EXPECT_TRUE(load(path("piped.png")) == load(path("file.png")));
  succeed("echo AB | " + renderLine("", "--text-file - --size 64x36 -o text.png"));
  succeed(renderLine("", "--text AB --size 64x36 -o same.png"));
  EXPECT_TRUE(load(path("text.png")) == load(path("same.png")));
  refuse("cat look.json | " + renderLine("-", "--project - -o two.png"), 3,
         {"cannot read standard input: it has been read already"});
}

TEST_F(Pipe, IsRefusedWhereAFileIsNeeded) {
  refuse("cat title_*.png | " + renderLine("title.png", "--over - -o x.mkv"), 2, {"background", "give a file"});
  refuse("cat title_*.png | " + renderLine("-", "--vfr keep -o x.mkv"), 2, {"'--vfr keep'", "read once"});
  refuse("cat title_*.png | \"$PYRELUX\" sheet - --vary glow=1,2 -o x.png", 2, {"a sheet goes back and forth"});
  refuse("\"$PYRELUX\" sheet title.png --vary glow=1,2 -o -", 2, {"a sheet goes into a file"});
  refuse(renderLine("title.png", "-o -"), 2, {"'--output -' needs '--format': png, tif"});
  refuse(renderLine("title.png", "-o x.mov --format mov"), 2, {"'--format' is for standard output"});
  refuse(renderLine("title.png", "-o - --format webp"), 2, {"--format", "webp"});
  refuse(renderLine("title.png", "-o - --format exr --frames 1-2"), 2, {"standard output holds one frame, not 2"});
  refuse(renderLine("title.png", "-o - --format mov --progress json"), 2, {"both want standard output"});
  refuse(renderLine("title_%04d.png", "-o - --format png --resume"), 2, {"--resume is for numbered sequences"});
  save(path("rows.csv"), "glow\n50\n");
  refuse("\"$PYRELUX\" render title.png --batch rows.csv -o - --format png", 2, {"a batch writes a file for each row"});
  refuse("\"$PYRELUX\" render title.png --batch rows.csv -o '{row}.png' --project -", 2, {"a batch reads its project"});
  for (const char *name : {"x.mkv", "x.mov", "x.png", "-", "-:mov"}) EXPECT_FALSE(fs::exists(path(name))) << name;
}

TEST_F(Pipe, SaysWhatIsWrongWithAStream) {
  refuse(": | " + renderLine("-", "-o x.png"), 3, {"cannot read standard input: it is empty"});
  refuse("echo nothing | " + renderLine("-", "-o x.png"), 3, {"standard input: it is not a picture or movie"});
  refuse("head -c 300 title.png | " + renderLine("-", "-o x.png"), 3, {"standard input: it is damaged or cut off"});
  refuse(renderLine("-", "-o x.png <&-"), 3, {"standard input"});
  refuse(renderLine("title.png", "-o - --format mkv >/dev/full"), 4, {"standard output: no space left on device"});
  refuse(renderLine("title.png", "-o - --format rgba --frames 1-9") + " | head -c 9 >first", 4,
         {"standard output: broken pipe"});
  refuse(renderLine("title.png", "-o - --format mkv >&-"), 4, {"standard output"});
  refuse("script -qec '" + renderLine("title.png", "-o - --format png") +
             "' typed >said; code=$?; cat said >&2; exit $code",
         4, {"standard output: it is a terminal"});
  refuse("script -qec '" + renderLine("-", "-o x.png") + "' typed </dev/null >said; code=$?; cat said >&2; exit $code",
         3, {"standard input: it is a terminal"});
}

TEST_F(Pipe, AnInterruptedStreamHoldsWhatWasFinished) {
  save(path("out.mkv"), "");
  Command command = commandOf(
      Words{"render", "title.png", "-o", "-", "--format", "mkv", "--frames", "1-100000", "--progress", "line"} +
      quick());
  command.outputFile = path("out.mkv");
  command.signalAfter = "frame 3 ";
  command.signal = SIGINT;
  const Result result = run(command);
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_THAT(result.err, HasSubstr("of 100000 frames; standard output holds what was finished"));
  EXPECT_GE(std::stoi(probe("out.mkv")["nb_read_frames"].get<std::string>()), 3);
}

}  // namespace
}  // namespace pyrelux::cli::test
