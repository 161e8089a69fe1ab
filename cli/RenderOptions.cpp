#include "RenderOptions.h"

#include <CLI/CLI.hpp>

#include "BackendChoice.h"
#include "Choices.h"
#include "Presets.h"
#include "Progress.h"
#include "TestPattern.h"
#include "Writer.h"

namespace pyrelux::cli {

namespace {

// The help's headings.
constexpr const char *inputGroup = "Input";
constexpr const char *lookGroup = "Look";
constexpr const char *outputGroup = "Output";
constexpr const char *drawingGroup = "Drawing";
constexpr const char *messagesGroup = "Messages";

void addSaveProjectOption(CLI::App &command, RenderOptions &options) {
  command
      .add_option("--save-project", options.saveProject,
                  "Save all settings that are in force, just before the first frame, for --project; FILE ends with "
                  ".json and is replaced")
      ->check(CLI::Validator(
          [](const std::string &path) {
            const bool isJson = path.size() > 5 && path.substr(path.size() - 5) == ".json";
            return isJson ? std::string() : "a project's name ends with .json, and '" + path + "' does not";
          },
          "", "project"))
      ->type_name("FILE")
      ->group(lookGroup);
}

void addOutputOptions(CLI::App &command, RenderOptions &options) {
  command
      .add_option("-o,--output", options.output,
                  "Where to: .png .tif .exr (%04d or #### for a sequence), .mov .mkv .mp4 .webm (movies), .apng .webp "
                  ".gif (animations)")
      ->type_name("FILE")
      ->required()
      ->group(outputGroup);
  CLI::Option *codec =
      command
          .add_option(
              "--codec", options.codec,
              "How it is stored: .mov prores, h264 or h265; .mkv ffv1 (lossless), h264 or h265; .mp4 h264 or h265; "
              ".exr half or float; .webp lossy or lossless (default: the first of them)")
          ->check([](const std::string &name) { return std::string(name.empty() ? "no codec has an empty name" : ""); })
          ->group(outputGroup);
  suggests(codec, media::Writer::codecNames(), "NAME");
  CLI::Option *alpha =
      command
          .add_option(
              "--alpha", options.alpha,
              "What the output's alpha is: straight (as high as the fire is bright, so that no light is lost), exact "
              "(straight, as the filter draws it, with colour cut to it), premultiplied (colour multiplied by alpha, "
              "light added), none (the fire over black without alpha, for Screen or Add) (default: premultiplied for "
              ".exr, else straight)")
          ->group(outputGroup);
  takesOneOf(alpha, {"straight", "exact", "premultiplied", "none"}, "KIND");
  addOverOptions(command, options);
  command
      .add_flag(
          "--no-audio", options.noAudio,
          "Leave out the audio; otherwise a movie of frames in a row gets that of the movie behind the fire, else "
          "the INPUT's")
      ->group(outputGroup);
}

}  // namespace

void addInputOptions(CLI::App &command, RenderOptions &options) {
  CLI::Option *input =
      command.add_option("INPUT", options.input, "Picture, movie, or numbered sequence with %04d or #### in its name")
          ->type_name("")
          ->group(inputGroup);
  CLI::Option *inputAlpha =
      command
          .add_option(
              "--input-alpha", options.inputAlpha,
              "What an INPUT's colour means where it is not opaque: straight (not multiplied by alpha), premultiplied "
              "(multiplied), none (alpha is ignored, all is opaque) or auto (EXR premultiplied, TIFF as the file "
              "says, else straight; the default)")
          ->needs(input)
          ->group(inputGroup);
  takesOneOf(inputAlpha, {"auto", "straight", "premultiplied", "none"}, "KIND");
  command
      .add_flag(
          "--deinterlace", options.deinterlace,
          "Make whole pictures of the fields of interlaced movies, one of each pair, so that the frame rate stays")
      ->group(inputGroup);
  CLI::Option *text =
      command
          .add_option("--text", options.text,
                      "Burn this text instead of an INPUT, in the middle of a transparent picture; \\n begins a line")
          ->type_name("TEXT")
          ->group(inputGroup);
  command
      .add_option(
          "--font", options.font,
          "The text's font, a family, style and size in pixels like 'Serif Italic 200'; 'fc-list : family' lists "
          "families. With a size the text has to fit into the picture; without one it is 15 % of the picture's "
          "height, or smaller to fit into 90 % of its width and height (default: Sans Bold)")
      ->type_name("FONT")
      ->needs(text)
      ->group(inputGroup);
  command
      .add_option("--text-color", options.textColour, "The text's colour, #rrggbb or r,g,b in 0..1 (default: white)")
      ->type_name("COLOR")
      ->needs(text)
      ->group(inputGroup);
  CLI::Option *pattern =
      command
          .add_option(
              "--input-test-pattern", options.testPattern,
              "Burn a picture for tests instead of an INPUT: bars, checker, circle, ramp (of alpha), title (block "
              "letters that need no font)")
          ->group(inputGroup);
  takesOneOf(pattern, testPatternNames(), "NAME");
  command
      .add_option("--size", options.size,
                  "Width and height in pixels of the picture with the text or pattern (default: a background's, else "
                  "1920x1080)")
      ->type_name("WIDTHxHEIGHT")
      ->excludes(input)
      ->group(inputGroup);
}

void addLookOptions(CLI::App &command, RenderOptions &options) {
  CLI::Option *preset = command
                            .add_option("--preset", options.preset,
                                        "A look to begin with, which --set changes; 'pyrelux presets' lists them")
                            ->group(lookGroup);
  suggests(preset, presetNames(), "NAME");
  command
      .add_option("--project", options.project,
                  "A file of settings and keyframes, JSON as docs/project.md tells; it wins over the preset, and the "
                  "other options win over it. One that is missing or wrong ends with exit code 3")
      ->type_name("FILE")
      ->group(lookGroup);
  command
      .add_option("--set", options.settings,
                  "A parameter's value; may be repeated. 'pyrelux parameters' lists names, ranges and units")
      ->type_name(settingName)
      ->allow_extra_args(false)
      ->group(lookGroup);
}

void addBitsOption(CLI::App &command, RenderOptions &options, const std::string &usual) {
  CLI::Option *bits = command
                          .add_option("--bits", options.bits,
                                      "Bits per channel of the output, 8 (dithered) or 16 (default: " + usual + ")")
                          ->group(outputGroup);
  takesOneOf(bits, {"8", "16"}, "BITS");
}

void addOverOptions(CLI::App &command, RenderOptions &options) {
  CLI::Option *over =
      command
          .add_option(
              "--over", options.over,
              "Background to lay the fire over: a colour, #rrggbb or r,g,b in 0..1, or a picture, sequence or movie. A "
              "file decides the output's size, and a movie its frame rate, length and audio, too, unless other "
              "options do (default: black for H.264, H.265 and .gif, which have no alpha; else nothing)")
          ->type_name("COLOR|FILE")
          ->group(outputGroup);
  CLI::Option *fit =
      command
          .add_option("--over-fit", options.overFit,
                      "The output keeps the INPUT's size, and the background is brought to it: cover (fills it, the "
                      "rest cut off), contain (all of it, black around), stretch, none (its own pixels, in the "
                      "middle) (default: the background's size; cover with --size)")
          ->needs(over)
          ->group(outputGroup);
  takesOneOf(fit, {"cover", "contain", "stretch", "none"}, "KIND");
  command
      .add_flag("--over-loop", options.overLoop,
                "Repeat a background that is shorter than the output; otherwise its last frame is held")
      ->needs(over)
      ->group(outputGroup);
  command
      .add_option("--density", options.density,
                  "How much more than its light the fire covers, 0..1, for bright footage behind it: raises alpha "
                  "towards that of two layers of the fire (default: 0)")
      ->check(CLI::Validator(
          [](const std::string &text) {
            double value = 0.0;
            const bool isNumber = CLI::detail::lexical_cast(text, value);
            return isNumber && value >= 0.0 && value <= 1.0 ? std::string() : "'" + text + "' is not in 0..1";
          },
          "", "density"))
      ->type_name("0..1")
      ->group(outputGroup);
}

void addDrawingOptions(CLI::App &command, RenderOptions &options) {
  addBackendOption(command, options.backend);
  CLI::Option *drawBits =
      command
          .add_option("--draw-bits", options.drawBits,
                      "Bits per channel of the drawing, 8 or 16: the filter's Color Depth. 8 is faster, and rounds at "
                      "every copy (default: 16)")
          ->group(drawingGroup);
  takesOneOf(drawBits, {"8", "16"}, "BITS");
}

void addBackendOption(CLI::App &command, std::string &backend) {
  CLI::Option *option =
      command
          .add_option(
              "--backend", backend,
              "What draws: auto (a GPU where there is one, else soft), gpu, mesa (Mesa's software renderer), soft "
              "(our own, on the processor), egl (a GPU, else mesa)")
          ->group(drawingGroup);
  takesOneOf(option, host::backendNames(), "NAME");
}

void addRenderOptions(CLI::App &command, RenderOptions &options) {
  addInputOptions(command, options);
  CLI::Option *vfr =
      command
          .add_option(
              "--vfr", options.vfr,
              "What a movie of variable frame rate becomes: resample (at an even rate, the picture on the screen "
              "at each frame's time; the default) or keep (each picture is a frame and keeps its time, in .mov, "
              ".mkv, .mp4 or .webm)")
          ->needs("INPUT")
          ->group(inputGroup);
  takesOneOf(vfr, {"resample", "keep"}, "KIND");
  addLookOptions(command, options);
  addSaveProjectOption(command, options);
  addOutputOptions(command, options);
  command
      .add_option("--frames", options.frames,
                  "Frames to render, 7, 1-48, 1-240x2 (every second one) or 1,5,9-12; frame N is rendered at time N, "
                  "whichever frames are rendered before it (default: all of the input, or of a movie behind it; "
                  "else of a picture 1-48 into a "
                  "movie or sequence, 1 into a picture)")
      ->type_name("RANGE")
      ->group(outputGroup);
  command
      .add_option("--fps", options.fps,
                  "Frames per second of a movie, 24, 23.976 or 30000/1001 (default: that of a movie behind the "
                  "fire, else the input's, else 24)")
      ->type_name("RATE")
      ->group(outputGroup);
  addBitsOption(command, options, "16 for .tif, .exr and ProRes, else 8");
  CLI::Option *overwrite =
      command
          .add_flag("--overwrite", options.overwrite, "Replace output that is there already; otherwise it is refused")
          ->group(outputGroup);
  command
      .add_flag(
          "--resume", options.resume,
          "Render only what is missing of a sequence: keep the pictures that are complete and were made with the same "
          "settings and input, as the manifest beside them says")
      ->excludes(overwrite)
      ->group(outputGroup);
  addDrawingOptions(command, options);
  CLI::Option *progress =
      command
          .add_option(
              "--progress", options.progress,
              "How far it is: line (on standard error), json (an object for every frame on standard output, with "
              "frame, end (rendered, kept or failed), done, total, seconds, frames_per_second, seconds_left), "
              "none, or auto (a line on a terminal)")
          ->group(messagesGroup);
  takesOneOf(progress, progressNames(), "KIND");
  command
      .add_flag_callback(
          "--quiet",
          [&options] {
            options.progress = "none";
            options.quiet = true;
          },
          "Nothing on standard error but failures: no progress, no remarks")
      ->group(messagesGroup);
  command.add_flag("--verbose", options.verbose, "Say what draws, on standard error")->group(messagesGroup);
}

}  // namespace pyrelux::cli
