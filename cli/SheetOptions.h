#pragma once

#include <optional>
#include <string>
#include <vector>

#include "RenderOptions.h"

namespace pyrelux::cli {

struct SheetOptions {
  RenderOptions render;              ///< what burns, how it looks without being varied, and where to
  std::vector<std::string> vary;     ///< NAME=VALUE,VALUE…: the first runs across, the second down
  bool presets = false;              ///< vary the preset, over all there are
  std::optional<std::string> frame;  ///< otherwise 24, or the nearest that the input has
  int cell = 320;                    ///< a picture's width in the sheet, pixels, unless the input is narrower
  int columns = 4;                   ///< of a sheet that varies one thing
};

// What --vary varies besides parameters.
constexpr const char *presetAxis = "preset";
constexpr const char *frameAxis = "frame";

/// What stands for such a variation in the help.
constexpr const char *variationName = "NAME=VALUES";

/// The narrowest that cells can be, in pixels: labels have to go below them.
constexpr int narrowestCell = 64;

/// Declares the options of `pyrelux sheet`; parsing fills `options`, which must outlive that.
void addSheetOptions(CLI::App &command, SheetOptions &options);

}  // namespace pyrelux::cli
