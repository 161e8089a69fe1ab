#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Colour.h"
#include "FrameList.h"
#include "FrameRate.h"
#include "PictureSize.h"
#include "Placement.h"
#include "Reader.h"
#include "TextAlign.h"
#include "Words.h"

// What options and project files say of a render besides the filter's parameters.

namespace pyrelux::project {

/// What the flames' lengths are shares of.
enum class FlameScale {
  Frame,  ///< the frame's height, as the filter has it
  Title,  ///< four times the height of what burns, so that a title of a quarter of the frame burns as with Frame
};

/// What the fire is made of.
enum class Burn {
  Art,    ///< the input as it is
  Shape,  ///< the input's alpha in white; the input's colours lie on top
};

/// What an input's colour and alpha mean.
struct InputMatte {
  enum class Kind {
    Own,   ///< as `alpha` says
    Luma,  ///< light on black: alpha is luma
    Key,   ///< in front of the colour `key`
  };
  Kind kind = Kind::Own;
  media::InputAlpha alpha = media::InputAlpha::Auto;
  Colour key = {};
  double softness = 0.3;  ///< how far from the key a colour is opaque, above 0, at most 1
};

/// "auto", "straight", "premultiplied", "none", "luma", "key=COLOR" or "key=COLOR:SOFTNESS", in percent. Throws
/// ValueError.
InputMatte parseInputMatte(const std::string &text);
std::string formatInputMatte(const InputMatte &matte);

/// A text that burns in the place of an input. What is not there is not set.
struct TitleFields {
  std::optional<std::string> text;      ///< lines separated by line feeds
  std::optional<std::string> textFile;  ///< the path of a file that holds it
  std::optional<std::string> font;      ///< a family, style and size, as Pango describes fonts
  std::optional<std::string> fontFile;  ///< the path of a file of fonts
  std::optional<bool> strictFonts;      ///< a font or character that is missing is an error
  std::optional<Colour> colour;
  std::optional<Placement> position;  ///< of the text's middle in the picture
  std::optional<TextAlign> align;
  std::optional<double> wrap;           ///< where lines wrap between words, a share of the picture's width
  std::optional<double> lineSpacing;    ///< from line to line, times the font's
  std::optional<double> letterSpacing;  ///< added between letters, in sizes of the font

  bool hasText() const { return text || textFile; }

  /// The paths, which project files count from their folder.
  std::array<std::optional<std::string> *, 2> files() { return {&textFile, &fontFile}; }
};

/// What is not there is not set.
struct Scene {
  std::optional<InputMatte> inputMatte;
  TitleFields title;
  std::optional<PictureSize> size;  ///< of a text or test pattern, pixels
  std::optional<FrameList> frames;
  std::optional<double> duration;  ///< seconds from the first frame on
  std::optional<FrameRate> frameRate;
  std::optional<int> bits;  ///< per channel of the output, 8 or 16

  // Room.
  std::optional<PictureSize> canvas;  ///< what the input is put on
  std::optional<Placement> place;     ///< of the input's middle on the canvas
  std::optional<CanvasFit> fit;       ///< the input's size on the canvas
  std::optional<Padding> pad;         ///< around the input; percents are of its height
  std::optional<FlameScale> flameScale;

  std::optional<Burn> burn;

  // Time.
  std::optional<double> ignite;           ///< seconds at the beginning in which the fire catches
  std::optional<double> die;              ///< seconds at the end in which it goes out
  std::optional<FrameRate> timeBase;      ///< the rate that the fire burns as fast as, whatever the frame rate is
  std::optional<std::int64_t> seed;       ///< 0 .. maxSeed; another one is another fire of the same look
  std::optional<bool> loops;              ///< the frames repeat without a jump
  std::optional<std::int64_t> loopBlend;  ///< the frames at the end that are dissolved for it
};

constexpr std::int64_t maxSeed = 1000000;

/// A field of Scene: a key of project files, and an option.
struct SceneField {
  std::string key;                   ///< "time-base"; the option has two dashes before it
  std::string value;                 ///< what stands for the value in help: "RATE"; empty for what is on or off
  std::string brief;                 ///< what it does, in a few words
  std::string details;               ///< the rest of the sentence, with the punctuation it begins with
  std::vector<std::string> choices;  ///< words that it takes, those with a value after them ending with "="
  bool takesNumber;                  ///< in JSON a number is as good as its text
  bool isLook;                       ///< a preset may hold it

  /// Sets the field; a field that is on or off takes "true" and "false". Throws ValueError.
  void (*parse)(Scene &scene, const std::string &text);
  /// The text that parse() takes; nothing if the field is not set.
  std::optional<std::string> (*format)(const Scene &scene);
  /// The field is not set afterwards.
  void (*clear)(Scene &scene);

  bool isFlag() const { return value.empty(); }
  bool takesOnlyChoices() const;
};

/// All fields, in the order in which people read them.
const std::vector<SceneField> &sceneFields();

/// The field of that key, which is there.
const SceneField &sceneField(const std::string &key);

/// `scene`, with the fields of `weaker` in the places of those that are not set. `onlyLook`: none but those that a
/// preset may hold.
void fillIn(Scene &scene, const Scene &weaker, bool onlyLook);

}  // namespace pyrelux::project
