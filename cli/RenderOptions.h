#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace pyrelux::cli {

struct RenderOptions {
  // What burns: one of the first three.
  std::optional<std::string> input;        ///< a file, or a pattern of files
  std::optional<std::string> inputAlpha;   ///< auto, straight, premultiplied or none; otherwise auto
  bool deinterlace = false;                ///< make whole pictures of movies' fields
  std::optional<std::string> vfr;          ///< resample or keep; otherwise resample
  std::optional<std::string> text;         ///< to be drawn
  std::optional<std::string> testPattern;  ///< one of testPatternNames()
  std::optional<std::string> font;         ///< of the text; otherwise its default
  std::optional<std::string> textColour;   ///< otherwise white
  std::optional<std::string> size;         ///< of what is drawn, WIDTHxHEIGHT; otherwise over's, or 1920x1080
  std::string output;
  std::string codec;                       ///< empty for the usual one of the output's extension
  std::optional<std::string> alpha;        ///< straight, exact, premultiplied or none; otherwise the codec's custom
  std::optional<double> density;           ///< 0..1, see Delivery; otherwise 0
  std::optional<std::string> over;         ///< a colour or a file; otherwise nothing, or black where there is no alpha
  std::optional<std::string> overFit;      ///< cover, contain, stretch or none; otherwise over's size is the output's
  bool overLoop = false;                   ///< repeat the background
  std::optional<std::string> frames;       ///< otherwise all of the input's or of over's, or a default for stills
  std::optional<std::string> fps;          ///< otherwise over's, the input's, or 24
  std::optional<std::string> preset;       ///< a look's name
  std::optional<std::string> project;      ///< a file of settings; they win over the preset
  std::optional<std::string> saveProject;  ///< a file for the settings that are in force
  std::vector<std::string> settings;       ///< NAME=VALUE; win over the preset and the project
  std::optional<std::string> bits;         ///< of the output, 8 or 16; otherwise what suits its format
  std::optional<std::string> drawBits;     ///< of the drawing, 8 or 16; otherwise as the parameters say
  std::string backend = "auto";
  std::string progress = "auto";  ///< one of progressNames()
  bool quiet = false;             ///< nothing on standard error but failures
  bool verbose = false;
  bool noAudio = false;    ///< leave a movie's audio out
  bool overwrite = false;  ///< replace what is there
  bool resume = false;     ///< keep what is there and right
};

/// What stands for a parameter and its value in the help.
constexpr const char *settingName = "NAME=VALUE";

/// Declares the options of `pyrelux render`; parsing fills `options`, which must outlive that.
void addRenderOptions(CLI::App &command, RenderOptions &options);

/// Declares what burns: INPUT, --text, --input-test-pattern and what belongs to them.
void addInputOptions(CLI::App &command, RenderOptions &options);

/// Declares how it looks: --preset, --project and --set.
void addLookOptions(CLI::App &command, RenderOptions &options);

/// Declares --bits; `usual` says which is taken without it.
void addBitsOption(CLI::App &command, RenderOptions &options, const std::string &usual);

/// Declares --over and what belongs to it, --density among that.
void addOverOptions(CLI::App &command, RenderOptions &options);

/// Declares --backend and --draw-bits.
void addDrawingOptions(CLI::App &command, RenderOptions &options);

/// Declares --backend.
void addBackendOption(CLI::App &command, std::string &backend);

}  // namespace pyrelux::cli
