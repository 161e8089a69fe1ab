#include "Scene.h"

#include <algorithm>
#include <cmath>

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

/// A whole number.
std::int64_t parseWhole(const std::string &text, std::int64_t least, std::int64_t most) {
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
double parsePercent(const std::string &text, double least, double most) {
  const auto percent = readNumberBefore("%", text);
  if (!percent || !(*percent >= least && *percent <= most))
    throw ValueError("'" + text + "' is not a share in " + formatNumber(least) + "%.." + formatNumber(most) + "%");
  return *percent / 100.0;
}

double parseFactor(const std::string &text, double least, double most) {
  const auto factor = readNumber(text);
  if (!factor || !(*factor >= least && *factor <= most))
    throw ValueError("'" + text + "' is not a factor in " + formatNumber(least) + ".." + formatNumber(most));
  return *factor;
}

/// With line feeds for "\n" and a backslash for two.
std::string parseLines(const std::string &text) {
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

std::string formatPercent(double share) { return formatNumber(share * 100.0) + "%"; }

std::string formatText(const std::string &text) { return text; }

template <typename Value, typename Format>
std::optional<std::string> formatted(const std::optional<Value> &value, Format format) {
  return value ? std::optional<std::string>(format(*value)) : std::nullopt;
}

std::string formatWhole(std::int64_t number) { return std::to_string(number); }

std::string formatSwitch(bool value) { return wordFor(switchWords(), value); }

std::vector<SceneField> makeFields() {
  constexpr std::int64_t maxBlend = 100000;
  return {
      {"input-alpha", "KIND", "What an INPUT's colour means where it is not opaque",
       ": straight (not multiplied by alpha), premultiplied (multiplied), none (alpha is ignored, all is opaque) or "
       "auto "
       "(EXR premultiplied, TIFF as the file says, else straight; the default). For pictures without alpha: luma "
       "(light "
       "on black, as transparent as it is dark) or key=COLOR:SOFTNESS (in front of a colour, which becomes "
       "transparent; "
       "SOFTNESS in percent, 30% if it is left out)",
       inputMatteWords(), false, false,
       [](Scene &scene, const std::string &text) { scene.inputMatte = parseInputMatte(text); },
       [](const Scene &scene) { return formatted(scene.inputMatte, formatInputMatte); }},
      {"text",
       "TEXT",
       "Burn this text instead of an INPUT",
       ", in the middle of a transparent picture; \\n begins a line, and \\\\ is a backslash",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) {
         if (text.empty()) throw ValueError("there is nothing to see in the text ''");
         scene.title.text = parseLines(text);
       },
       [](const Scene &scene) { return formatted(scene.title.text, formatLines); }},
      {"text-file",
       "FILE",
       "Burn the text of a file",
       " in UTF-8 of at most 64 KiB, as it stands: line feeds begin lines, and nothing is escaped",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.textFile = parseSome(text, "a text's file"); },
       [](const Scene &scene) { return formatted(scene.title.textFile, formatText); }},
      {"font",
       "FONT",
       "The text's font",
       ", a family, style and size in pixels like 'Serif Italic 200'; 'fc-list : family' lists families. With a size "
       "the text has to fit into the picture; without one it is 15 % of the picture's height, or smaller to fit into "
       "90 % of its width and height (default: Sans Bold)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.font = parseSome(text, "a font"); },
       [](const Scene &scene) { return formatted(scene.title.font, formatText); }},
      {"font-file",
       "FILE",
       "A font that is not installed",
       ": a .ttf or .otf that the text has, in the size and style of --font, unless --font names a family",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.fontFile = parseSome(text, "a font's file"); },
       [](const Scene &scene) { return formatted(scene.title.fontFile, formatText); }},
      {"strict-fonts", "", "A font or character that is missing is an error",
       "; otherwise another font takes its place, which is said", wordsOf(switchWords()), false, false,
       [](Scene &scene, const std::string &text) { scene.title.strictFonts = parseWord(switchWords(), text); },
       [](const Scene &scene) { return formatted(scene.title.strictFonts, formatSwitch); }},
      {"text-color",
       "COLOR",
       "The text's colour",
       std::string(", ") + colourTakes + " (default: white)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.colour = parseColour(text); },
       [](const Scene &scene) { return formatted(scene.title.colour, formatColour); }},
      {"text-position",
       "X,Y",
       "Where the text's middle is in the picture",
       ", in percent from the left and from the bottom, or center (the default); without a size the text fits into the "
       "room around it",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.position = parsePlacement(text); },
       [](const Scene &scene) { return formatted(scene.title.position, formatPlacement); }},
      {"text-align", "SIDE", "How the text's lines lie below each other",
       ": left, center or right (default: center); lines that are written from the right lie the other way round",
       wordsOf(alignWords()), false, false,
       [](Scene &scene, const std::string &text) { scene.title.align = parseWord(alignWords(), text); },
       [](const Scene &scene) {
         return formatted(scene.title.align, [](TextAlign align) { return wordFor(alignWords(), align); });
       }},
      {"text-wrap",
       "WIDTH",
       "Where the text's lines wrap between words",
       ", 1%..100% of the picture's width; a word that is longer stays whole (default: they do not)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.wrap = parsePercent(text, 1.0, 100.0); },
       [](const Scene &scene) { return formatted(scene.title.wrap, formatPercent); }},
      {"line-spacing",
       "FACTOR",
       "How far the text's lines are apart",
       ", 0.1..10 times as far as the font has them",
       {},
       true,
       false,
       [](Scene &scene, const std::string &text) { scene.title.lineSpacing = parseFactor(text, 0.1, 10.0); },
       [](const Scene &scene) { return formatted(scene.title.lineSpacing, formatNumber); }},
      {"letter-spacing",
       "PERCENT",
       "How much farther apart the text's letters are",
       ", -50%..500% of the font's size (default: 0%)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.title.letterSpacing = parsePercent(text, -50.0, 500.0); },
       [](const Scene &scene) { return formatted(scene.title.letterSpacing, formatPercent); }},
      {"size",
       "WIDTHxHEIGHT",
       "Width and height in pixels of the picture with the text or pattern",
       " (default: a background's, else 1920x1080)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.size = parseSize(text); },
       [](const Scene &scene) { return formatted(scene.size, formatSize); }},
      {"canvas",
       "WIDTHxHEIGHT",
       "Put the input on a transparent canvas of that size",
       ", in pixels",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.canvas = parseSize(text); },
       [](const Scene &scene) { return formatted(scene.canvas, formatSize); }},
      {"place",
       "X,Y",
       "Where the input's middle is on the canvas",
       ", in percent of the canvas from the left and from the bottom, or center (the default)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.place = parsePlacement(text); },
       [](const Scene &scene) { return formatted(scene.place, formatPlacement); }},
      {"fit",
       "none|contain|NN%",
       "How large the input is on the canvas",
       ": none (its own pixels), contain (as large as fits) or a share of the canvas that it fits into, such as 80% "
       "(default: its own pixels, or smaller to fit)",
       {},
       false,
       false,
       [](Scene &scene, const std::string &text) { scene.fit = parseCanvasFit(text); },
       [](const Scene &scene) { return formatted(scene.fit, formatCanvasFit); }},
      {"pad",
       "LENGTHS",
       "Room around the input",
       ": auto (as much as the fire of the wanted frames needs), or one to four lengths for top, right, bottom and "
       "left, such as 40,10% (pixels, or percent of the input's height)",
       {},
       true,
       false,
       [](Scene &scene, const std::string &text) { scene.pad = parsePadding(text); },
       [](const Scene &scene) { return formatted(scene.pad, formatPadding); }},
      {"flame-scale", "KIND", "What the flames' length is a share of",
       ": frame (the frame's height; the default) or title (four times the height of what burns, so that a look fits "
       "titles of any size)",
       wordsOf(flameScaleWords()), false, true,
       [](Scene &scene, const std::string &text) { scene.flameScale = parseWord(flameScaleWords(), text); },
       [](const Scene &scene) {
         return formatted(scene.flameScale, [](FlameScale value) { return wordFor(flameScaleWords(), value); });
       }},
      {"burn", "KIND", "What the fire is made of",
       ": art (the input with its colours; the default) or shape (its alpha in white, with the input's colours on top, "
       "so that dark titles burn like white ones)",
       wordsOf(burnWords()), false, true,
       [](Scene &scene, const std::string &text) { scene.burn = parseWord(burnWords(), text); },
       [](const Scene &scene) {
         return formatted(scene.burn, [](Burn value) { return wordFor(burnWords(), value); });
       }},
      {"frames",
       "RANGE",
       "Frames to render",
       ", 7, 1-48, 1-240x2 (every second one) or 1,5,9-12; frame N is rendered at time N, whichever frames are "
       "rendered "
       "before it (default: --duration, or all of the input, or of a movie behind it; else of a picture 1-48 into a "
       "movie or sequence, 1 into a picture)",
       {},
       true,
       false,
       [](Scene &scene, const std::string &text) { scene.frames = parseFrames(text); },
       [](const Scene &scene) { return formatted(scene.frames, formatFrames); }},
      {"duration",
       "SECONDS",
       "How long the output is",
       ", from the first frame on: 4s or 250ms",
       {},
       true,
       false,
       [](Scene &scene, const std::string &text) { scene.duration = parseSeconds(text); },
       [](const Scene &scene) { return formatted(scene.duration, formatSeconds); }},
      {"fps",
       "RATE",
       "Frames per second of a movie",
       ", 24, 23.976 or 30000/1001 (default: that of a movie behind the fire, else the input's, else 24)",
       {},
       true,
       false,
       [](Scene &scene, const std::string &text) { scene.frameRate = parseFrameRate(text); },
       [](const Scene &scene) { return formatted(scene.frameRate, formatFrameRate); }},
      {"time-base",
       "RATE",
       "The fire burns as fast as at that many frames per second",
       ", whatever the output's rate is (default: the output's rate)",
       {},
       true,
       true,
       [](Scene &scene, const std::string &text) { scene.timeBase = parseFrameRate(text); },
       [](const Scene &scene) { return formatted(scene.timeBase, formatFrameRate); }},
      {"ignite",
       "SECONDS",
       "How long the fire takes to catch at the beginning",
       ": 1.5s or 500ms (default: it burns)",
       {},
       true,
       true,
       [](Scene &scene, const std::string &text) { scene.ignite = parseSeconds(text); },
       [](const Scene &scene) { return formatted(scene.ignite, formatSeconds); }},
      {"die",
       "SECONDS",
       "How long the fire takes to go out",
       " at the end of the duration, else of the frames: 1s (default: it burns to the end)",
       {},
       true,
       true,
       [](Scene &scene, const std::string &text) { scene.die = parseSeconds(text); },
       [](const Scene &scene) { return formatted(scene.die, formatSeconds); }},
      {"seed",
       "N",
       "Another fire of the same look",
       ", 0..1000000 (default: 0)",
       {},
       true,
       true,
       [](Scene &scene, const std::string &text) { scene.seed = parseWhole(text, 0, maxSeed); },
       [](const Scene &scene) { return formatted(scene.seed, formatWhole); }},
      {"loop", "", "Make the frames repeat without a jump",
       ": the last of them dissolve into those that lead to the first", wordsOf(switchWords()), false, true,
       [](Scene &scene, const std::string &text) { scene.loops = parseWord(switchWords(), text); },
       [](const Scene &scene) { return formatted(scene.loops, formatSwitch); }},
      {"loop-blend",
       "FRAMES",
       "How many frames dissolve",
       " (default: a quarter of them)",
       {},
       true,
       true,
       [](Scene &scene, const std::string &text) { scene.loopBlend = parseWhole(text, 1, maxBlend); },
       [](const Scene &scene) { return formatted(scene.loopBlend, formatWhole); }},
      {"bits", "BITS", "Bits per channel of the output",
       ", 8 (dithered) or 16 (default: 16 for .tif, .exr and ProRes, else 8)", wordsOf(bitsWords()), true, false,
       [](Scene &scene, const std::string &text) { scene.bits = parseWord(bitsWords(), text); },
       [](const Scene &scene) { return formatted(scene.bits, [](int bits) { return std::to_string(bits); }); }},
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
