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
  const auto softness =
      percent.empty() || percent.back() != '%' ? std::nullopt : readNumber(percent.substr(0, percent.size() - 1));
  if (!softness || !(*softness > 0.0 && *softness <= 100.0))
    throw ValueError("'" + percent + "' is not a softness; write a share above 0% and up to 100%");
  matte.softness = *softness / 100.0;
  return matte;
}

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
  std::vector<std::string> levels;
  for (const double level : matte.key) levels.push_back(formatNumber(level));
  return "key=" + joined(levels, ",") + ":" + formatNumber(matte.softness * 100.0) + "%";
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
