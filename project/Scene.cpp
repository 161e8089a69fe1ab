#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Joined.h"
#include "Numbers.h"
#include "Seconds.h"
#include "ValueError.h"

namespace pyrelux::project {

namespace {

const Words<media::InputAlpha> &inputAlphaWords() {
  static const Words<media::InputAlpha> words{{"auto", media::InputAlpha::Auto},
                                              {"straight", media::InputAlpha::Straight},
                                              {"premultiplied", media::InputAlpha::Premultiplied},
                                              {"none", media::InputAlpha::None}};
  return words;
}

std::vector<std::string> inputMatteWords() {
  std::vector<std::string> words = wordsOf(inputAlphaWords());
  words.insert(words.end(), {"luma", "key="});
  return words;
}

const Words<FlameScale> &flameScaleWords() {
  static const Words<FlameScale> words{{"frame", FlameScale::Frame}, {"title", FlameScale::Title}};
  return words;
}

const Words<Burn> &burnWords() {
  static const Words<Burn> words{{"art", Burn::Art}, {"shape", Burn::Shape}};
  return words;
}

const Words<TextAlign> &alignWords() {
  static const Words<TextAlign> words{
      {"left", TextAlign::Left}, {"center", TextAlign::Center}, {"right", TextAlign::Right}};
  return words;
}

const Words<int> &bitsWords() {
  static const Words<int> words{{"8", 8}, {"16", 16}};
  return words;
}

const Words<bool> &switchWords() {
  static const Words<bool> words{{"true", true}, {"false", false}};
  return words;
}

template <typename Value>
Value parseWord(const Words<Value> &words, const std::string &text) {
  if (const auto value = valueOf(words, text)) return *value;
  throw ValueError("it is " + joined(wordsOf(words), " or ") + ", not '" + text + "'");
}

template <std::int64_t least, std::int64_t most>
std::int64_t parseWhole(const std::string &text) {
  const auto number = readNumber(text);
  if (!number || *number != std::floor(*number) || *number < static_cast<double>(least) ||
      *number > static_cast<double>(most))
    throw ValueError("'" + text + "' is not a whole number in " + std::to_string(least) + ".." + std::to_string(most));
  return static_cast<std::int64_t>(*number);
}

InputMatte parseKey(const std::string &text) {
  const std::size_t colon = text.find(':');
  const auto colour = readColour(text.substr(0, colon));
  InputMatte matte{InputMatte::Kind::Key, media::InputAlpha::None};
  if (!colour || !isInRange(*colour))
    throw ValueError("'" + text + "' is not a colour to key; write key=#00ff00, or key=#00ff00:40% for a softer edge");
  matte.key = *colour;
  if (colon == std::string::npos) return matte;
  const std::string percent = text.substr(colon + 1);
  const auto softness = readNumberBefore("%", percent);
  if (!softness || !(*softness > 0.0 && *softness <= 100.0))
    throw ValueError("'" + percent + "' is not a softness; write a share above 0% and up to 100%");
  matte.softness = *softness / 100.0;
  return matte;
}

/// "10%" as 0.1.
template <int least, int most>
double parsePercent(const std::string &text) {
  const auto percent = readNumberBefore("%", text);
  if (!percent || !(*percent >= least && *percent <= most))
    throw ValueError("'" + text + "' is not a share in " + std::to_string(least) + "%.." + std::to_string(most) + "%");
  return *percent / 100.0;
}

double parseLineSpacing(const std::string &text) {
  constexpr double least = 0.1;
  constexpr double most = 10.0;
  const auto factor = readNumber(text);
  if (!factor || !(*factor >= least && *factor <= most))
    throw ValueError("'" + text + "' is not a factor in " + formatNumber(least) + ".." + formatNumber(most));
  return *factor;
}

/// With line feeds for "\n" and a backslash for two.
std::string parseLines(const std::string &text) {
  if (text.empty()) throw ValueError("there is nothing to see in the text ''");
  std::string lines;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char next = text[at] == '\\' && at + 1 < text.size() ? text[at + 1] : '\0';
    const bool isEscape = next == 'n' || next == '\\';
    lines += !isEscape ? text[at] : next == 'n' ? '\n' : '\\';
    at += isEscape;
  }
  return lines;
}

std::string formatLines(const std::string &lines) {
  std::string text;
  for (const char letter : lines) text += letter == '\n' ? "\\n" : letter == '\\' ? "\\\\" : std::string(1, letter);
  return text;
}

/// `what`: "a font", for the message.
std::string parseSome(const std::string &text, const std::string &what) {
  if (text.empty()) throw ValueError(what + " has a name, and '' is none");
  return text;
}
std::string parseTextFile(const std::string &text) { return parseSome(text, "a text's file"); }
std::string parseFont(const std::string &text) { return parseSome(text, "a font"); }
std::string parseFontFile(const std::string &text) { return parseSome(text, "a font's file"); }

Colour parseColour(const std::string &text) {
  const auto colour = readColour(text);
  if (!colour || !isInRange(*colour)) throw ValueError("'" + text + "' is not a colour; it takes " + colourTakes);
  return *colour;
}

std::string formatColour(const Colour &colour) {
  std::vector<std::string> levels;
  for (const double level : colour) levels.push_back(formatNumber(level));
  return joined(levels, ",");
}

/// The percent that was parsed: shares of a whole hundred are not all exact.
std::string formatPercent(double share) {
  constexpr double finest = 1e10;
  return formatNumber(std::round(share * 100.0 * finest) / finest) + "%";
}

std::string formatText(const std::string &text) { return text; }

std::string formatWhole(std::int64_t number) { return std::to_string(number); }

// A field's value, wherever in a scene it is.
template <typename Value>
std::optional<Value> &valueIn(Scene &scene, std::optional<Value> Scene::*member) {
  return scene.*member;
}
template <typename Value>
std::optional<Value> &valueIn(Scene &scene, std::optional<Value> TitleFields::*member) {
  return scene.title.*member;
}
template <typename Value>
const std::optional<Value> &valueIn(const Scene &scene, std::optional<Value> Scene::*member) {
  return scene.*member;
}
template <typename Value>
const std::optional<Value> &valueIn(const Scene &scene, std::optional<Value> TitleFields::*member) {
  return scene.title.*member;
}

template <auto member, auto parse, auto format>
SceneField field(const char *key, const char *value, const char *brief, std::string details) {
  return {key,
          value,
          brief,
          std::move(details),
          {},
          false,
          false,
          [](Scene &scene, const std::string &text) { valueIn(scene, member) = parse(text); },
          [](const Scene &scene) {
            const auto &set = valueIn(scene, member);
            return set ? std::optional<std::string>(format(*set)) : std::nullopt;
          },
          [](Scene &scene) { valueIn(scene, member).reset(); }};
}

/// A field that takes one of some words; without a `value`, one that is on or off.
template <auto member, auto words>
SceneField choice(const char *key, const char *value, const char *brief, std::string details) {
  return {key,
          value,
          brief,
          std::move(details),
          wordsOf(words()),
          false,
          false,
          [](Scene &scene, const std::string &text) { valueIn(scene, member) = parseWord(words(), text); },
          [](const Scene &scene) {
            const auto &set = valueIn(scene, member);
            return set ? std::optional<std::string>(wordFor(words(), *set)) : std::nullopt;
          },
          [](Scene &scene) { valueIn(scene, member).reset(); }};
}

/// In JSON, a number is as good as its text.
SceneField orNumber(SceneField row) {
  row.takesNumber = true;
  return row;
}

/// A preset may hold it.
SceneField ofLook(SceneField row) {
  row.isLook = true;
  return row;
}

SceneField inputAlpha() {
  SceneField row = field<&Scene::inputMatte, parseInputMatte, formatInputMatte>(
      "input-alpha", "KIND", "What an INPUT's colour means where it is not opaque",
      ": straight (not multiplied by alpha), premultiplied (multiplied), none (alpha is ignored, all is opaque) or "
      "auto "
      "(EXR premultiplied, TIFF as the file says, else straight; the default). For pictures without alpha: luma (light "
      "on black, as transparent as it is dark) or key=COLOR:SOFTNESS (in front of a colour, which becomes transparent; "
      "SOFTNESS in percent, 30% if it is left out)");
  row.choices = inputMatteWords();
  return row;
}

std::vector<SceneField> makeFields() {
  constexpr std::int64_t maxBlend = 100000;
  return {
      inputAlpha(),
      field<&TitleFields::text, parseLines, formatLines>(
          "text", "TEXT", "Burn this text instead of an INPUT",
          ", in the middle of a transparent picture; \\n begins a line, and \\\\ is a backslash"),
      field<&TitleFields::textFile, parseTextFile, formatText>(
          "text-file", "FILE", "Burn the text of a file",
          " in UTF-8 of at most 64 KiB, as it stands: line feeds begin lines, and nothing is escaped"),
      field<&TitleFields::font, parseFont, formatText>("font", "FONT", "The text's font",
                                                       ", a family, style and size in pixels like 'Serif Italic 200'; "
                                                       "'fc-list : family' lists families. With a size "
                                                       "the text has to fit into the picture; without one it is 15 % "
                                                       "of the picture's height, or smaller to fit into "
                                                       "90 % of its width and height (default: Sans Bold)"),
      field<&TitleFields::fontFile, parseFontFile, formatText>(
          "font-file", "FILE", "A font that is not installed",
          ": a .ttf or .otf that the text has, in the size and style of --font, unless --font names a family"),
      choice<&TitleFields::strictFonts, switchWords>("strict-fonts", "",
                                                     "A font or character that is missing is an error",
                                                     "; otherwise another font takes its place, which is said"),
      field<&TitleFields::colour, parseColour, formatColour>("text-color", "COLOR", "The text's colour",
                                                             std::string(", ") + colourTakes + " (default: white)"),
      field<&TitleFields::position, parsePlacement, formatPlacement>(
          "text-position", "X,Y", "Where the text's middle is in the picture",
          ", in percent from the left and from the bottom, or center (the default); without a size the text fits into "
          "the room around it"),
      choice<&TitleFields::align, alignWords>(
          "text-align", "SIDE", "How the text's lines lie below each other",
          ": left, center or right (default: center); lines that are written from the right lie the other way round"),
      field<&TitleFields::wrap, parsePercent<1, 100>, formatPercent>(
          "text-wrap", "WIDTH", "Where the text's lines wrap between words",
          ", 1%..100% of the picture's width; a word that is longer stays whole (default: they do not)"),
      orNumber(field<&TitleFields::lineSpacing, parseLineSpacing, formatNumber>(
          "line-spacing", "FACTOR", "How far the text's lines are apart",
          ", 0.1..10 times as far as the font has them")),
      field<&TitleFields::letterSpacing, parsePercent<-50, 500>, formatPercent>(
          "letter-spacing", "PERCENT", "How much farther apart the text's letters are",
          ", -50%..500% of the font's size (default: 0%)"),
      field<&Scene::size, parseSize, formatSize>("size", "WIDTHxHEIGHT",
                                                 "Width and height in pixels of the picture with the text or pattern",
                                                 " (default: a background's, else 1920x1080)"),
      field<&Scene::canvas, parseSize, formatSize>("canvas", "WIDTHxHEIGHT",
                                                   "Put the input on a transparent canvas of that size", ", in pixels"),
      field<&Scene::place, parsePlacement, formatPlacement>(
          "place", "X,Y", "Where the input's middle is on the canvas",
          ", in percent of the canvas from the left and from the bottom, or center (the default)"),
      field<&Scene::fit, parseCanvasFit, formatCanvasFit>(
          "fit", "none|contain|NN%", "How large the input is on the canvas",
          ": none (its own pixels), contain (as large as fits) or a share of the canvas that it fits into, such as 80% "
          "(default: its own pixels, or smaller to fit)"),
      orNumber(field<&Scene::pad, parsePadding, formatPadding>(
          "pad", "LENGTHS", "Room around the input",
          ": auto (as much as the fire of the wanted frames needs), or one to four lengths for top, right, bottom and "
          "left, such as 40,10% (pixels, or percent of the input's height)")),
      ofLook(choice<&Scene::flameScale, flameScaleWords>("flame-scale", "KIND", "What the flames' length is a share of",
                                                         ": frame (the frame's height; the default) or title (four "
                                                         "times the height of what burns, so that a look fits "
                                                         "titles of any size)")),
      ofLook(choice<&Scene::burn, burnWords>(
          "burn", "KIND", "What the fire is made of",
          ": art (the input with its colours; the default) or shape (its alpha in white, with the input's colours on "
          "top, so that dark titles burn like white ones)")),
      orNumber(field<&Scene::frames, parseFrames, formatFrames>(
          "frames", "RANGE", "Frames to render",
          ", 7, 1-48, 1-240x2 (every second one) or 1,5,9-12; frame N is rendered at time N, whichever frames are "
          "rendered before it (default: --duration, or all of the input, or of a movie behind it; else of a picture "
          "1-48 into a movie or sequence, 1 into a picture)")),
      orNumber(field<&Scene::duration, parseSeconds, formatSeconds>("duration", "SECONDS", "How long the output is",
                                                                    ", from the first frame on: 4s or 250ms")),
      orNumber(field<&Scene::frameRate, parseFrameRate, formatFrameRate>(
          "fps", "RATE", "Frames per second of a movie",
          ", 24, 23.976 or 30000/1001 (default: that of a movie behind the fire, else the input's, else 24)")),
      ofLook(orNumber(field<&Scene::timeBase, parseFrameRate, formatFrameRate>(
          "time-base", "RATE", "The fire burns as fast as at that many frames per second",
          ", whatever the output's rate is (default: the output's rate)"))),
      ofLook(orNumber(field<&Scene::ignite, parseSeconds, formatSeconds>(
          "ignite", "SECONDS", "How long the fire takes to catch at the beginning",
          ": 1.5s or 500ms (default: it burns)"))),
      ofLook(orNumber(field<&Scene::die, parseSeconds, formatSeconds>(
          "die", "SECONDS", "How long the fire takes to go out",
          " at the end of the duration, else of the frames: 1s (default: it burns to the end)"))),
      ofLook(orNumber(field<&Scene::seed, parseWhole<0, maxSeed>, formatWhole>(
          "seed", "N", "Another fire of the same look", ", 0..1000000 (default: 0)"))),
      ofLook(choice<&Scene::loops, switchWords>("loop", "", "Make the frames repeat without a jump",
                                                ": the last of them dissolve into those that lead to the first")),
      ofLook(orNumber(field<&Scene::loopBlend, parseWhole<1, maxBlend>, formatWhole>(
          "loop-blend", "FRAMES", "How many frames dissolve", " (default: a quarter of them)"))),
      orNumber(choice<&Scene::bits, bitsWords>("bits", "BITS", "Bits per channel of the output",
                                               ", 8 (dithered) or 16 (default: 16 for .tif, .exr and ProRes, else 8)")),
  };
}

}  // namespace

InputMatte parseInputMatte(const std::string &text) {
  InputMatte matte;
  if (text == "luma") return {InputMatte::Kind::Luma, media::InputAlpha::None, {}, 0.0};
  if (text.rfind("key=", 0) == 0) return parseKey(text.substr(4));
  const auto alpha = valueOf(inputAlphaWords(), text);
  if (!alpha) throw ValueError("it is " + joined(inputMatteWords()) + "COLOR, not '" + text + "'");
  matte.alpha = *alpha;
  return matte;
}

std::string formatInputMatte(const InputMatte &matte) {
  if (matte.kind == InputMatte::Kind::Luma) return "luma";
  if (matte.kind == InputMatte::Kind::Own) return wordFor(inputAlphaWords(), matte.alpha);
  return "key=" + formatColour(matte.key) + ":" + formatPercent(matte.softness);
}

bool SceneField::takesOnlyChoices() const {
  return !choices.empty() &&
         std::none_of(choices.begin(), choices.end(), [](const std::string &choice) { return choice.back() == '='; });
}

const std::vector<SceneField> &sceneFields() {
  static const std::vector<SceneField> fields = makeFields();
  return fields;
}

const SceneField &sceneField(const std::string &key) {
  return *std::find_if(sceneFields().begin(), sceneFields().end(),
                       [&](const SceneField &field) { return field.key == key; });
}

void fillIn(Scene &scene, const Scene &weaker, bool onlyLook) {
  for (const SceneField &field : sceneFields()) {
    const auto text = field.format(weaker);
    if (text && !field.format(scene) && (field.isLook || !onlyLook)) field.parse(scene, *text);
  }
}

}  // namespace pyrelux::project
