#include <sys/stat.h>

#include <ostream>

#include "CliTest.h"

namespace fs = std::filesystem;

namespace pyrelux::cli::test {
namespace {

struct BadInput {
  const char *name;
  Words arguments;
  Words words;  ///< in the message: the thing, and what is wrong with it or what would be right
  Environment environment = {};
};

void PrintTo(const BadInput &row, std::ostream *stream) { *stream << testing::PrintToString(row.arguments); }

Words renderOf(const std::string &input, const std::string &output, const Words &more = {}) {
  return Words{"render", input, "-o", output, "--overwrite"} + quick() + more;
}
Words still(const Words &more) { return renderOf("title.png", "out/fire.png", more); }
Words movie(const Words &more) { return renderOf("title.png", "out/fire.mov", more); }
Words setting(const std::string &text) { return still({"--set", text}); }
Words from(const std::string &input) { return renderOf(input, "out/fire.png"); }
Words to(const std::string &output) { return renderOf("title.png", output); }

class BadInputTest : public CliTest, public testing::WithParamInterface<BadInput> {
 protected:
  BadInputTest() {
    const std::string title = titlePng(testWidth, testHeight);
    save(path("title.png"), title);
    save(path("empty.png"), "");
    save(path("notes.png"), "Sets titles on fire.\n");
    for (const std::size_t size :
         {std::size_t{8}, std::size_t{20}, std::size_t{45}, title.size() / 2, title.size() - 1})
      save(path("cut" +
                std::to_string(size == title.size() / 2   ? 50
                               : size == title.size() - 1 ? 99
                                                          : size) +
                ".png"),
           title.substr(0, size));
    save(path("vast.png"), emptyPromisePng(60000, 60000));
    save(path("wide.png"), emptyPromisePng(1000000000, 1));
    save(path("flat.png"), emptyPromisePng(64, 0));
    saveSequence("gap", 1, 4);
    fs::remove(path("gap_0003.png"));
    saveSequence("size", 1, 2);
    save(path("size_0003.png"), titlePng(12, 9));
    for (const char *folder : {"out", "folder.png", "folder.mov"}) fs::create_directory(path(folder));
    mkfifo(path("pipe.png").c_str(), 0600);
    if (mentions("clip.mov") || mentions("cut.mov")) {
      saveMovie("clip.mov", 3);
      const std::string whole = load(path("clip.mov"));
      save(path("cut.mov"), whole.substr(0, whole.size() / 2));
    }
    if (mentions("cut.mkv")) {
      saveMovie("cut.mkv", 3);
      const std::string whole = load(path("cut.mkv"));
      save(path("cut.mkv"), whole.substr(0, whole.size() * 3 / 5));
    }
  }

  static bool mentions(const std::string &word) {
    for (const std::string &argument : GetParam().arguments)
      if (argument == word) return true;
    return false;
  }

  /// Runs the row and expects that nothing in the folder is other than before.
  void expectRefusedWithoutATrace() const {
    const auto before = contentsOf(path(""));
    expectRefusal(pyrelux(GetParam().arguments, GetParam().environment), GetParam().words);
    const auto after = contentsOf(path(""));
    for (const auto &[name, bytes] : after) {
      const auto old = before.find(name);
      EXPECT_TRUE(old != before.end() && old->second == bytes) << name << " is new or has changed";
    }
    EXPECT_EQ(after.size(), before.size());
  }
};

TEST_P(BadInputTest, IsRefusedInOneLineWithoutATrace) {
  expectRefusedWithoutATrace();
  // The same where files of the output's name are.
  for (const char *output : {"out/fire.png", "out/fire.mov", "out/fire_0001.png"}) save(path(output), "before");
  expectRefusedWithoutATrace();
}

const std::vector<BadInput> inputs = {
    {"Missing", from("missing.png"), {"missing.png", "no such file"}},
    {"MissingInMissingFolder", from("missing/title.png"), {"missing/title.png", "no such file"}},
    {"EmptyName", from(""), {"''", "no such file"}},
    {"Empty", from("empty.png"), {"empty.png", "empty"}},
    {"CutInTheSignature", from("cut8.png"), {"cut8.png"}},
    {"CutInTheHeader", from("cut20.png"), {"cut20.png"}},
    {"CutInThePixelsHead", from("cut45.png"), {"cut45.png", "cut off"}},
    {"CutInThePixels", from("cut50.png"), {"cut50.png", "cut off"}},
    {"CutByOneByte", from("cut99.png"), {"cut99.png", "cut off"}},
    {"CutMovie", from("cut.mov"), {"cut.mov"}},
    {"CutMovieIntoMovie", renderOf("cut.mkv", "out/fire.mov"), {"cut.mkv"}},
    {"NotAPicture", from("notes.png"), {"notes.png", "not a picture"}},
    {"Folder", from("folder.png"), {"folder.png", "folder"}},
    {"Pipe", from("pipe.png"), {"pipe.png", "not a regular file"}},
    {"Device", from("/dev/null"), {"/dev/null", "not a regular file"}},
    {"FileAsFolder", from("title.png/title.png"), {"title.png/title.png"}},
    {"Vast", from("vast.png"), {"vast.png", "60000x60000"}},
    {"Wide", from("wide.png"), {"wide.png"}},
    {"NoHeight", from("flat.png"), {"flat.png"}},
    {"Address", from("http://localhost/title.png"), {"http://localhost/title.png", "no such file"}},
    {"LineBreakInName", from("a\nb.png"), {"no such file"}},
    {"SequenceOfNothing", from("none_%04d.png"), {"none_%04d.png", "no such file"}},
    {"SequenceInMissingFolder", from("missing/gap_%04d.png"), {"missing/gap_%04d.png", "no such file"}},
    {"TwoPatternsInInput", from("gap_%02d%02d.png"), {"gap_%02d%02d.png", "more than one"}},
    {"GapInSequence", renderOf("gap_%04d.png", "out/fire.mov"), {"gap_0003.png", "no such file"}},
    {"OtherSizeInSequence", renderOf("size_%04d.png", "out/fire.mov"), {"size_0003.png", "12x9", "64x36"}},
};
INSTANTIATE_TEST_SUITE_P(Input, BadInputTest, testing::ValuesIn(inputs),
                         [](const auto &row) { return row.param.name; });

const std::vector<BadInput> outputs = {
    {"UnknownExtension", to("out/fire.gif"), {"out/fire.gif", "'.gif'", ".png .exr .mov .mkv .mp4"}},
    {"NoExtension", to("out/fire"), {"out/fire", "no extension", ".png"}},
    {"EmptyName", to(""), {"''", "extension"}},
    {"MissingFolder", to("missing/fire.png"), {"missing/fire.png", "'missing'", "does not exist"}},
    {"MissingFolderForAMovie", to("missing/fire.mov"), {"missing/fire.mov", "'missing'", "does not exist"}},
    {"MissingFolderForASequence", to("missing/fire_%04d.png"), {"missing/fire_%04d.png", "'missing'"}},
    {"Folder", to("folder.png"), {"folder.png", "folder"}},
    {"FolderForAMovie", to("folder.mov"), {"folder.mov", "folder"}},
    {"FileAsFolder", to("title.png/fire.png"), {"title.png/fire.png", "not a folder"}},
    {"FolderThatTakesNoFiles", to("/proc/fire.png"), {"/proc/fire.png"}},
    {"FolderThatTakesNoMovies", to("/proc/fire.mov"), {"/proc/fire.mov"}},
    {"Device", to("/dev/null"), {"/dev/null", "extension"}},
    {"LineBreakInName", to("out/a\nb"), {"extension"}},
    {"TwoPatterns", to("out/fire_%04d_####.png"), {"out/fire_%04d_####.png", "more than one"}},
    {"ManyFramesIntoOnePicture", still({"--frames", "1-2"}), {"out/fire.png", "2", "####"}},
    {"SequenceIntoOnePicture", renderOf("size_%04d.png", "out/fire.png"), {"out/fire.png", "3", "####"}},
    {"MovieIntoOnePicture", renderOf("clip.mov", "out/fire.png"), {"out/fire.png", "3", "####"}},
};
INSTANTIATE_TEST_SUITE_P(Output, BadInputTest, testing::ValuesIn(outputs),
                         [](const auto &row) { return row.param.name; });

const std::vector<BadInput> settings = {
    {"Unknown", setting("stps=20"), {"'stps'", "'steps'"}},
    {"UnknownWithSpaces", setting("Lenght of Tongues=20"), {"'Lenght of Tongues'", "'length-of-pyrelux'"}},
    {"UnknownId", setting("26=1"), {"'26'"}},
    {"LineBreakInName", setting("st\nps=20"), {"nearest"}},
    {"BelowRange", setting("steps=9"), {"'steps'", "9", "10..300"}},
    {"AboveRange", setting("pyrelux=51"), {"'pyrelux'", "51", "1..50"}},
    {"AngleOutOfRange", setting("spread-degrees=181"), {"'spread-degrees'", "181", "0..180 degrees"}},
    {"NotANumber", setting("glow=nan"), {"'glow'", "nan"}},
    {"Infinite", setting("glow=-inf"), {"'glow'", "inf"}},
    {"TooLongANumber", setting("glow=1e999"), {"'glow'", "1e999", "-100..100"}},
    {"IntegerWithFraction", setting("steps=12.5"), {"'steps'", "12.5", "whole"}},
    {"IntegerWithLetters", setting("steps=many"), {"'steps'", "'many'", "10..300"}},
    {"FloatWithLetters", setting("glow=12x"), {"'glow'", "'12x'", "-100..100"}},
    {"AngleWithUnit", setting("direction=90deg"), {"'direction'", "'90deg'", "degrees"}},
    {"ColourShort", setting("color-inner=#ff80"), {"'color-inner'", "'#ff80'", "#rrggbb"}},
    {"ColourByName", setting("Color Outer=red"), {"'color-outer'", "'red'", "r,g,b in 0..1"}},
    {"ColourOutOfRange", setting("color-inner=0,2,0"), {"'color-inner'", "0,2,0", "0..1"}},
    {"PointWithOneNumber", setting("point-attract-repel=0.5"), {"'point-attract-repel'", "'0.5'", "x,y"}},
    {"PointNotFinite", setting("point-attract-repel=0.5,inf"), {"'point-attract-repel'", "inf", "finite"}},
    {"EntryByWrongName", setting("source-mode=Blend"), {"'source-mode'", "'Blend'", "0 Cover, 1 Mix"}},
    {"EntryByWrongIndex", setting("color-depth=16"), {"'color-depth'", "16", "0 8 Bit, 1 16 Bit"}},
    {"HeaderRow", setting("www.morvane.example=1"), {"www-morvane-example", "no value"}},
    {"HeaderRowById", setting("25=1"), {"www-morvane-example", "no value"}},
    {"EmptyValue", setting("steps="), {"'steps'", "''", "10..300"}},
    {"NoEqualsSign", setting("steps"), {"'steps'", "NAME=VALUE"}},
    {"NoName", setting("=20"), {"'=20'", "NAME=VALUE"}},
    {"NoSetting", setting(""), {"''", "NAME=VALUE"}},
    {"NothingAfterSet", still({"--set"}), {"--set", "NAME=VALUE"}},
    {"LaterOfSeveral", still({"--set", "glow=1", "--set", "glow=101"}), {"'glow'", "101", "-100..100"}},
};
INSTANTIATE_TEST_SUITE_P(Setting, BadInputTest, testing::ValuesIn(settings),
                         [](const auto &row) { return row.param.name; });

const std::vector<BadInput> options = {
    {"FramesBackwards", movie({"--frames", "5-2"}), {"'5-2'", "ends before"}},
    {"FramesInDisorder", movie({"--frames", "5,2"}), {"'5,2'", "ascending"}},
    {"FramesWithoutAStep", movie({"--frames", "1-9x0"}), {"'1-9x0'", "1-240x2"}},
    {"FramesWithLetters", movie({"--frames", "1-x"}), {"'1-x'", "1-48"}},
    {"FramesNegative", movie({"--frames", "-3"}), {"'-3'", "1-48"}},
    {"FramesOpen", movie({"--frames", "3-"}), {"'3-'", "1-48"}},
    {"FramesTooLarge", movie({"--frames", "1-99999999999"}), {"'1-99999999999'"}},
    {"FramesEmpty", movie({"--frames", ""}), {"''", "1-48"}},
    {"FramesBeyondSequence",
     renderOf("size_%04d.png", "out/fire.mov", {"--frames", "2-4"}),
     {"size_%04d.png", "1-3", "'2-4'"}},
    {"FramesBeforeSequence",
     renderOf("size_%04d.png", "out/fire.mov", {"--frames", "0-2"}),
     {"size_%04d.png", "1-3", "'0-2'"}},
    {"FramesBeyondMovie", renderOf("clip.mov", "out/fire.mov", {"--frames", "4"}), {"clip.mov", "1-3", "'4'"}},
    {"RateZero", movie({"--fps", "0"}), {"'0'", "frame rate", "30000/1001"}},
    {"RateNegative", movie({"--fps", "-24"}), {"'-24'", "frame rate"}},
    {"RateWithUnit", movie({"--fps", "24fps"}), {"'24fps'", "frame rate"}},
    {"RateOverZero", movie({"--fps", "24/0"}), {"'24/0'", "frame rate"}},
    {"RateTooHigh", movie({"--fps", "1001"}), {"'1001'", "1000"}},
    {"RateNotANumber", movie({"--fps", "nan"}), {"'nan'", "frame rate"}},
    {"RateOfAPicture", still({"--fps", "fast"}), {"'fast'", "frame rate"}},
    {"RateEmpty", movie({"--fps", ""}), {"''", "frame rate"}},
    {"BitsOther", still({"--bits", "12"}), {"--bits", "12", "8", "16"}},
    {"BitsWithLetters", still({"--bits", "deep"}), {"--bits", "deep"}},
    {"BitsEmpty", still({"--bits", ""}), {"--bits"}},
    {"BackendOther", still({"--backend", "magic"}), {"--backend", "magic", "auto", "egl"}},
    {"BackendOtherForInfo", {"info", "--backend", "magic"}, {"--backend", "magic", "auto", "egl"}},
    {"UnknownOption", still({"--foo"}), {"--foo"}},
    {"UnknownOptionWithLineBreak", still({"--foo\nbar"}), {"--foo"}},
    {"UnknownOptionOfParameters", {"parameters", "--yaml"}, {"--yaml"}},
    {"UnknownOptionOfAll", {"--foo"}, {"--foo"}},
    {"SecondInput", still({"more.png"}), {"more.png"}},
    {"SecondOutput", still({"-o", "more.png"}), {"--output"}},
    {"NoOutput", {"render", "title.png"}, {"--output", "required"}},
    {"NoInput", {"render", "-o", "out/fire.png"}, {"INPUT", "--text"}},
    {"NothingAfterOutput", {"render", "title.png", "-o"}, {"--output"}},
    {"UnknownCommand", {"rendr", "title.png", "-o", "out/fire.png"}, {"rendr"}},
    {"NoCommand", {}, {"subcommand", "--help"}},
    {"EmptyCommand", {""}, {"no command ''"}},
};
INSTANTIATE_TEST_SUITE_P(Option, BadInputTest, testing::ValuesIn(options),
                         [](const auto &row) { return row.param.name; });

const std::vector<BadInput> surroundings = {
    {"NoBundle",
     to("out/fire.png"),
     {"no filter bundle", "/nonexistent-folder"},
     {{"PYRELUX_PLUGIN_PATH", "/nonexistent-folder"}}},
    {"NoBundleForParameters",
     {"parameters"},
     {"no filter bundle", "/nonexistent-folder"},
     {{"PYRELUX_PLUGIN_PATH", "/nonexistent-folder"}}},
    {"NoOpenGl",
     still({"--backend", "egl"}),
     {"no usable OpenGL", "install"},
     {{"__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent-file"}}},
    {"NoOpenGlForAMovie",
     movie({"--backend", "egl"}),
     {"no usable OpenGL", "install"},
     {{"__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent-file"}}},
};
INSTANTIATE_TEST_SUITE_P(Surroundings, BadInputTest, testing::ValuesIn(surroundings),
                         [](const auto &row) { return row.param.name; });

}  // namespace
}  // namespace pyrelux::cli::test
