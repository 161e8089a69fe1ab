#include "RenderOptions.h"

#include <iterator>

#include "BackendChoice.h"
#include "Colour.h"
#include "Numbers.h"
#include "Presets.h"
#include "Progress.h"
#include "TestPattern.h"
#include "ValueError.h"
#include "Writer.h"

namespace pyrelux::cli {

namespace {

using job::RenderRequest;

// The help's headings.
constexpr const char *inputGroup = "Input";
constexpr const char *lookGroup = "Look";
constexpr const char *outputGroup = "Output";
constexpr const char *drawingGroup = "Drawing";
constexpr const char *messagesGroup = "Messages";

const Words<int> &bitsWords() {
  static const Words<int> words{{"8", 8}, {"16", 16}};
  return words;
}

/// The option of a field that project files have, too.
Option sceneOption(const std::string &key, RenderRequest &request) {
  const project::SceneField &field = project::sceneField(key);
  const auto fill = [&field, &request](const std::string &text) {
    try {
      field.parse(request.scene, field.isFlag() ? "true" : text);
    } catch (const ValueError &error) {
      throw ValueError("--" + field.key + ": " + error.what());
    }
  };
  Option row = option("--" + key, field.value, field.brief, field.details);
  // NOLINTBEGIN(bugprone-use-after-move): these change the row where it is.
  if (field.isFlag())
    std::move(row).ofKind(ValueKind::None);
  else if (field.takesOnlyChoices())
    std::move(row).oneOf(field.choices);
  else if (!field.choices.empty())
    std::move(row).suggesting(field.choices);
  return std::move(row).calling(fill);
  // NOLINTEND(bugprone-use-after-move)
}

job::BackgroundRequest parseBackground(const std::string &text) {
  const auto colour = readColour(text);
  // "####.png" is a sequence.
  if (!colour && (text.empty() || (text[0] == '#' && text.find('.') == std::string::npos)))
    throw ValueError("'over' can't be '" + text + "': a colour is " + colourTakes);
  if (colour && !isInRange(*colour)) throw ValueError("'over' can't be '" + text + "': its levels are in 0..1");
  return {text, colour, {}, false};
}

/// "0.3" or "30%".
std::optional<double> readShare(const std::string &text) {
  const bool isPercent = !text.empty() && text.back() == '%';
  const auto number = readNumber(isPercent ? text.substr(0, text.size() - 1) : text);
  return number && isPercent ? std::optional<double>(*number / 100.0) : number;
}

std::string refusalOfDensity(const std::string &text) {
  const auto value = readShare(text);
  return value && *value >= 0.0 && *value <= 1.0 ? std::string() : "'" + text + "' is not in 0..1";
}

std::string refusalOfProjectName(const std::string &path) {
  const bool isJson = path.size() > 5 && path.substr(path.size() - 5) == ".json";
  return isJson ? std::string() : "a project's name ends with .json, and '" + path + "' does not";
}

std::string refusalOfCodec(const std::string &name) { return name.empty() ? "no codec has an empty name" : ""; }

std::string refusalOfWhole(const std::string &text, int most) {
  const auto number = readNumber(text);
  const bool isWhole = number && *number >= 0.0 && *number <= most && *number == static_cast<int>(*number);
  return isWhole ? std::string() : "'" + text + "' is no whole number in 0.." + std::to_string(most);
}

/// An option with a whole number from 0 on.
Option wholeOption(const char *name, const char *value, const char *brief, const char *details, int most,
                   std::optional<int> &target) {
  return option(name, value, brief, details)
      .refusing([most](const std::string &text) { return refusalOfWhole(text, most); })
      .filling(target, [](const std::string &text) { return static_cast<int>(*readNumber(text)); });
}

Option saveProjectOption(RenderRequest &request) {
  return option("--save-project", "FILE", "Save all settings that are in force",
                ", just before the first frame, for --project; FILE ends with .json and is replaced")
      .refusing(refusalOfProjectName)
      .filling(request.saveProject)
      .in(lookGroup);
}

std::vector<Option> outputOptions(RenderRequest &request) {
  std::vector<Option> options{
      option("-o,--output", "FILE", "Where to",
             ": .png .tif .exr (%04d or #### for a sequence), .mov .mkv .mp4 .webm (movies), .apng .webp .gif "
             "(animations), or \"-\", standard output")
          .required()
          .filling(request.output)
          .in(outputGroup),
      option("--codec", "NAME", "How it is stored",
             ": .mov prores, h264 or h265; .mkv ffv1 (lossless), h264 or h265; .mp4 h264 or h265; .exr half or float; "
             ".webp lossy or lossless (default: the first of them)")
          .suggesting(media::Writer::codecNames())
          .refusing(refusalOfCodec)
          .filling(request.codec)
          .in(outputGroup),
      option("--alpha", "KIND", "What the output's alpha is",
             ": straight (as high as the fire is bright, so that no light is lost), exact (straight, as the filter "
             "draws it, with colour cut to it), premultiplied (colour multiplied by alpha, light added), none (the "
             "fire over black without alpha, for Screen or Add) (default: premultiplied for .exr, else straight)")
          .filling(request.alpha, job::alphaWords())
          .in(outputGroup)};
  options.push_back(wholeOption("--crf", "N", "How well h264, h265 (0..51) and vp9 (0..63) store",
                                ": less is better and larger (default: 16, 18 and 20)", 63, request.crf)
                        .in(outputGroup));
  options.push_back(wholeOption("--quality", "N", "How well a lossy .webp stores",
                                ", 0..100: more is better and larger (default: 90)", 100, request.quality)
                        .in(outputGroup));
  options.push_back(wholeOption("--loop-count", "N", "How often an .apng, .webp or .gif plays",
                                ", 0 for ever (the default)", 65535, request.loopCount)
                        .in(outputGroup));
  append(options, overOptions(request));
  options.push_back(flag("--no-audio", request.withAudio, false, "Leave out the audio",
                         "; otherwise a movie of frames in a row gets that of the movie behind the fire, else the "
                         "INPUT's")
                        .in(outputGroup));
  return options;
}

std::vector<Option> messageOptions(Reporting &reporting) {
  const auto silence = [&reporting](const std::string &) {
    reporting.progress = "none";
    reporting.quiet = true;
  };
  return {option("--progress", "KIND", "How far it is",
                 ": line (on standard error), json (an object for every frame on standard output, with frame, end "
                 "(rendered, kept or failed), done, total, seconds, frames_per_second, seconds_left), none, or auto (a "
                 "line on a terminal)")
              .oneOf(progressNames())
              .filling(reporting.progress)
              .in(messagesGroup),
          option("--quiet", "", "Nothing on standard error but failures", ": no progress, no remarks")
              .ofKind(ValueKind::None)
              .calling(silence)
              .in(messagesGroup),
          flag("--verbose", reporting.verbose, true, "Say what draws", ", on standard error").in(messagesGroup)};
}

}  // namespace

void append(std::vector<Option> &options, std::vector<Option> more) {
  options.insert(options.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::vector<Option> inputOptions(RenderRequest &request) {
  std::vector<Option> options{
      option(
          "INPUT", "INPUT", "Picture",
          ", movie, or numbered sequence with %04d or #### in its name; \"-\" is standard input: a picture, pictures "
          "one after the other, or a movie")
          .filling(request.input)
          .in(inputGroup),
      sceneOption("input-alpha", request).needing("INPUT").in(inputGroup),
      flag("--deinterlace", request.deinterlace, true, "Make whole pictures of the fields of interlaced movies",
           ", one of each pair, so that the frame rate stays")
          .in(inputGroup)};
  for (const char *key : {"text", "text-file", "font", "font-file", "strict-fonts", "text-color", "text-position",
                          "text-align", "text-wrap", "line-spacing", "letter-spacing"})
    options.push_back(sceneOption(key, request).in(inputGroup));
  append(options,
         {option("--input-test-pattern", "NAME", "Burn a picture for tests instead of an INPUT",
                 ": bars, checker, circle, ramp (of alpha), title (block letters that need no font)")
              .oneOf(testPatternNames())
              .filling(request.testPattern)
              .in(inputGroup),
          sceneOption("size", request).excluding("INPUT").in(inputGroup), sceneOption("canvas", request).in(inputGroup),
          sceneOption("place", request).in(inputGroup), sceneOption("fit", request).in(inputGroup),
          sceneOption("pad", request).excluding("--canvas").in(inputGroup)});
  return options;
}

std::vector<Option> lookOptions(RenderRequest &request) {
  const auto addSetting = [&request](const std::string &text) {
    request.settings.push_back(project::parseSetting(text));
  };
  return {option("--preset", "NAME", "A look to begin with",
                 ", which --set changes; 'pyrelux presets' lists them, and a project's FILE.json is as good")
              .suggesting(project::presetNames())
              .filling(request.preset)
              .in(lookGroup),
          option("--project", "FILE", "A file of settings and keyframes",
                 ", JSON as docs/project.md tells, or \"-\", standard input; it wins over the preset, and the other "
                 "options win over it. One "
                 "that is missing or wrong ends with exit code 3")
              .filling(request.project)
              .in(lookGroup),
          option("--set", "NAME=VALUE", "A parameter's value",
                 "; may be repeated. 'pyrelux parameters' lists names, ranges and units")
              .ofKind(ValueKind::Setting)
              .repeatable()
              .calling(addSetting)
              .in(lookGroup),
          sceneOption("burn", request).in(lookGroup),
          sceneOption("flame-scale", request).in(lookGroup),
          sceneOption("seed", request).in(lookGroup),
          sceneOption("time-base", request).in(lookGroup)};
}

Option bitsOption(RenderRequest &request) { return sceneOption("bits", request).in(outputGroup); }

Option overwriteOption(RenderRequest &request) {
  return flag("--overwrite", request.existing, job::Existing::Replace, "Replace output that is there already",
              "; otherwise it is refused");
}

std::vector<Option> overOptions(RenderRequest &request) {
  // Both need --over, whose row comes first.
  const auto setFit = [&request](const std::string &text) { request.background->fit = valueOf(job::fitWords(), text); };
  const auto setLoop = [&request](const std::string &) { request.background->isLooped = true; };
  return {option("--over", "COLOR|FILE", "Background to lay the fire over",
                 std::string(": a colour, ") + colourTakes +
                     ", or a picture, sequence or movie. A file decides the output's "
                     "size, and a movie its frame rate, length and audio, too, unless other options do (default: black "
                     "for H.264, H.265 and .gif, which have no alpha; else nothing)")
              .filling(request.background, parseBackground)
              .in(outputGroup),
          option("--over-fit", "KIND", "The output keeps the INPUT's size",
                 ", and the background is brought to it: cover (fills it, the rest cut off), contain (all of it, "
                 "black around), stretch, none (its own pixels, in the middle) (default: the background's size; cover "
                 "with --size)")
              .needing("--over")
              .oneOf(wordsOf(job::fitWords()))
              .calling(setFit)
              .in(outputGroup),
          option("--over-loop", "", "Repeat a background that is shorter than the output",
                 "; otherwise its last frame is held")
              .ofKind(ValueKind::None)
              .needing("--over")
              .calling(setLoop)
              .in(outputGroup),
          option("--density", "0..1", "How much more than its light the fire covers",
                 ", 0..1 or percent, for bright footage behind it: raises alpha towards that of two layers of the fire "
                 "(default: "
                 "0)")
              .refusing(refusalOfDensity)
              .filling(request.density, readShare)
              .in(outputGroup)};
}

std::vector<Option> drawingOptions(RenderRequest &request) {
  return {backendOption(request.backend),
          option("--draw-bits", "BITS", "Bits per channel of the drawing",
                 ", 8 or 16: the filter's Color Depth. 8 is faster, and rounds at every copy (default: 16)")
              .filling(request.drawBits, bitsWords())
              .in(drawingGroup)};
}

Option backendOption(std::string &backend) {
  return option("--backend", "NAME", "What draws",
                ": auto (a GPU where there is one, else soft), gpu, mesa (Mesa's software renderer), soft (our own, on "
                "the processor), egl (a GPU, else mesa)")
      .oneOf(host::backendNames())
      .filling(backend)
      .in(drawingGroup);
}

std::vector<Option> renderOptions(RenderRequest &request, Reporting &reporting) {
  std::vector<Option> options = inputOptions(request);
  options.push_back(option("--vfr", "KIND", "What a movie of variable frame rate becomes",
                           ": resample (at an even rate, the picture on the screen at each frame's time; the default) "
                           "or keep (each picture is a frame and keeps its time, in .mov, .mkv, .mp4 or .webm)")
                        .needing("INPUT")
                        .filling(request.variableRate, job::variableRateWords())
                        .in(inputGroup));
  append(options, lookOptions(request));
  options.push_back(saveProjectOption(request));
  append(options, outputOptions(request));
  for (const char *key : {"ignite", "die", "loop", "loop-blend"})
    options.push_back(sceneOption(key, request).in(lookGroup));
  for (const char *key : {"frames", "duration", "fps", "bits"})
    options.push_back(sceneOption(key, request).in(outputGroup));
  options.push_back(flag("--make-folders", request.makeFolders, true, "Make the folders of the output that are missing")
                        .in(outputGroup));
  options.push_back(overwriteOption(request).in(outputGroup));
  options.push_back(flag("--resume", request.existing, job::Existing::Resume,
                         "Render only what is missing of a sequence",
                         ": keep the pictures that are complete and were made with the same settings and input, as the "
                         "manifest beside them says")
                        .excluding("--overwrite")
                        .in(outputGroup));
  append(options, drawingOptions(request));
  append(options, messageOptions(reporting));
  return options;
}

}  // namespace pyrelux::cli
