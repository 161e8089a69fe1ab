#include "WrongTest.h"

namespace pyrelux::cli::test {
namespace {

Words to(const std::string &output) { return renderOf("title.png", output); }

const std::vector<WrongRow> outputs = {
    {"UnknownExtension", to("out/fire.gif"), wrongOutput, {"out/fire.gif", "'.gif'", ".png .exr .mov .mkv .mp4"}},
    {"NoExtension", to("out/fire"), wrongOutput, {"out/fire", "no extension", ".png"}},
    {"EmptyName", to(""), wrongOutput, {"''", "extension"}},
    {"MissingFolder", to("missing/fire.png"), wrongOutput, {"missing/fire.png", "'missing'", "does not exist"}},
    {"MissingFolderForAMovie",
     to("missing/fire.mov"),
     wrongOutput,
     {"missing/fire.mov", "'missing'", "does not exist"}},
    {"MissingFolderForASequence", to("missing/fire_%04d.png"), wrongOutput, {"missing/fire_%04d.png", "'missing'"}},
    {"Folder", to("folder.png"), wrongOutput, {"folder.png", "folder"}},
    {"FolderForAMovie", to("folder.mov"), wrongOutput, {"folder.mov", "folder"}},
    {"FileAsFolder", to("title.png/fire.png"), wrongOutput, {"title.png/fire.png", "not a folder"}},
    {"FolderThatTakesNoFiles", to("/proc/fire.png"), wrongOutput, {"/proc/fire.png"}},
    {"FolderThatTakesNoMovies", to("/proc/fire.mov"), wrongOutput, {"/proc/fire.mov"}},
    {"Device", to("/dev/null"), wrongOutput, {"/dev/null", "extension"}},
    {"LineBreakInName", to("out/a\nb"), wrongOutput, {"extension"}},
    {"TwoPatterns", to("out/fire_%04d_####.png"), wrongUsage, {"out/fire_%04d_####.png", "more than one"}},
    {"ManyFramesIntoOnePicture", still({"--frames", "1-2"}), wrongUsage, {"out/fire.png", "2", "####"}},
    {"SequenceIntoOnePicture", renderOf("size_%04d.png", "out/fire.png"), wrongUsage, {"out/fire.png", "3", "####"}},
    {"MovieIntoOnePicture", renderOf("clip.mov", "out/fire.png"), wrongUsage, {"out/fire.png", "3", "####"}},
    {"Pipe", to("pipe.png"), wrongOutput, {"pipe.png", "not a regular file"}},
    {"PipeForAMovie", to("pipe.mov"), wrongOutput, {"pipe.mov", "not a regular file"}},
    {"Socket", to("socket.png"), wrongOutput, {"socket.png", "not a regular file"}},
    {"LinkToADevice", to("full.png"), wrongOutput, {"full.png", "not a regular file"}},
    {"FullDevice", to("/dev/full"), wrongOutput, {"/dev/full", "extension"}},
    {"TooLongAName", to("out/" + std::string(300, 'n') + ".png"), wrongOutput, {"nnn.png", "name too long"}},
    {"TooLongANameForAMovie", to("out/" + std::string(300, 'n') + ".mov"), wrongOutput, {"nnn.mov", "name too long"}},
    {"ExtensionAlone", to("out/.png"), wrongOutput, {"out/.png", "no extension"}},
    {"TheInput", renderOf("title.png", "title.png"), wrongUsage, {"'title.png'", "replace the input"}},
    {"TheInputByADetour",
     renderOf("title.png", "out/../title.png"),
     wrongUsage,
     {"'out/../title.png'", "replace the input"}},
    {"TheInputByAHardLink", renderOf("title.png", "hard.png"), wrongUsage, {"'hard.png'", "replace the input"}},
    {"TheInputByASymbolicLink",
     renderOf("title.png", "symbolic.png"),
     wrongUsage,
     {"'symbolic.png'", "replace the input"}},
    {"WhatTheInputLinksTo", renderOf("symbolic.png", "title.png"), wrongUsage, {"'title.png'", "replace the input"}},
    {"TheInputMovie", renderOf("clip.mkv", "clip.mkv"), wrongUsage, {"'clip.mkv'", "replace the input"}},
    {"TheInputSequence", renderOf("in_%04d.png", "in_%04d.png"), wrongUsage, {"in_0001.png", "replace the input"}},
    {"TheInputSequenceByAnotherPattern",
     renderOf("in_%04d.png", "./in_####.png"),
     wrongUsage,
     {"in_0001.png", "replace the input"}},
    {"ASequenceOverTheInput",
     renderOf("in_0002.png", "in_%04d.png", {"--frames", "1-3"}),
     wrongUsage,
     {"in_0002.png", "replace the input"}},
    {"AFrameOfTheInput",
     renderOf("in_%04d.png", "in_0002.png", {"--frames", "1"}),
     wrongUsage,
     {"in_0002.png", "replace the input"}},
};
INSTANTIATE_TEST_SUITE_P(Output, WrongTest, testing::ValuesIn(outputs), nameOf);

}  // namespace
}  // namespace pyrelux::cli::test
