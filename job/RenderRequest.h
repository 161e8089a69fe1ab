#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Colour.h"
#include "Delivery.h"
#include "Fit.h"
#include "FrameList.h"
#include "Image.h"
#include "Project.h"
#include "Reader.h"
#include "Scene.h"
#include "Settings.h"
#include "Words.h"

namespace pyrelux::job {

/// What becomes of a movie of variable frame rate.
enum class VariableRate {
  Resample,  ///< an even rate: each frame is the picture on the screen at its time
  Keep,      ///< each picture is a frame and keeps its time
};

/// What becomes of output that is there already.
enum class Existing {
  Refuse,   ///< it stays, and the render is refused
  Replace,  ///< it is replaced
  Resume,   ///< pictures of a sequence that are complete and right are kept, the others replaced
};

/// What the frames are laid over.
struct BackgroundRequest {
  std::string name;              ///< a file's path, or the colour's text
  std::optional<Colour> colour;  ///< otherwise `name` is a file
  std::optional<media::Fit> fit;
  bool isLooped = false;
  std::string askedAs{};  ///< what records call it; empty for its name
};

/// A render, asked for. What is not there follows from the input, the background, the project or the output, as each
/// field says.
struct RenderRequest {
  // What burns: one of these two, or the scene's text.
  std::optional<std::string> input;          ///< a file, or a pattern of files
  std::optional<std::string> testPattern;    ///< one of testPatternNames()
  bool deinterlace = false;                  ///< make whole pictures of movies' fields
  std::optional<VariableRate> variableRate;  ///< otherwise Resample

  /// What project files may say too. Frames are otherwise all of the input's or of the background's, or a default for
  /// stills; the frame rate is the background's, the input's, or 24; the bits are what suits the output's format.
  project::Scene scene;

  // How it looks: the preset is the weakest, the settings are the strongest.
  std::optional<std::string> preset;                ///< a name, or a file's path
  std::optional<std::string> project;               ///< a file's path
  std::optional<project::Project> projectInMemory;  ///< in the place of a file
  std::vector<project::Setting> settings;
  std::optional<int> drawBits;  ///< of the drawing, 8 or 16 per channel; otherwise as the parameters say

  // Where to.
  std::string output;
  std::string codec;                            ///< empty for the usual one of the output's extension
  std::optional<AlphaUse> alpha;                ///< otherwise the codec's usual one
  std::optional<int> crf;                       ///< see media::OutputFormat; otherwise what suits the codec
  std::optional<int> quality;                   ///< the same
  std::optional<int> loopCount;                 ///< how often an animation plays; otherwise for ever
  bool makeFolders = false;                     ///< make the folders of the output that are missing
  std::optional<double> density;                ///< 0..1, see Delivery; otherwise 0
  std::optional<BackgroundRequest> background;  ///< otherwise nothing, or black where there is no alpha
  bool withAudio = true;                        ///< copy a movie's audio
  Existing existing = Existing::Refuse;
  /// Asked when all is known, before anything is written, with what decides every byte of the output, as one line:
  /// whether the output is there already. If it is, all frames count as kept, and nothing is written. Null for a no.
  std::function<bool(const std::string &record)> isThere;
  /// Those of the frames to render now; otherwise all. What depends on the frames (a fire that goes out, a loop, a
  /// padding that is automatic) goes by all of them, so that parts that are rendered apart fit together.
  std::optional<FrameList> part;
  /// The picture of a frame that was drawn before, laid over the background already: nothing is drawn then. Called on
  /// one thread, in the order of the frames. Throws media::InputError. Null to draw.
  std::function<Image(std::int64_t frame)> drawn;
  std::optional<std::string> saveProject;  ///< a file for the settings that are in force

  std::string backend = "auto";  ///< one of host::backendNames()
};

// The words for the values, as options, project files and records write them.
const Words<VariableRate> &variableRateWords();
const Words<AlphaUse> &alphaWords();
const Words<media::Fit> &fitWords();

}  // namespace pyrelux::job
