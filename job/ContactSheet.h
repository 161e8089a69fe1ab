#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FrameList.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "StopToken.h"

namespace pyrelux::job {

// What a sheet varies besides parameters.
constexpr const char *presetAxis = "preset";
constexpr const char *frameAxis = "frame";

/// One thing that is varied, and its values as a person writes them.
struct Variation {
  std::string name;  ///< a parameter's name, presetAxis or frameAxis
  std::vector<std::string> values;
};

/// Reads "NAME=VALUE,VALUE", parted by ";" where values have commas; of frames a range too. Throws ValueError.
Variation parseVariation(const std::string &text);

/// The narrowest that a picture of a sheet can be, in pixels: labels go below it.
constexpr int minCellWidth = 64;

/// One frame with many settings, side by side in one picture.
struct SheetRequest {
  RenderRequest render;               ///< what burns, how it looks without being varied, and where to
  std::vector<Variation> variations;  ///< one or two: the first runs across, the second down
  bool variesPresets = false;         ///< the first variation is the preset, over all there are
  std::optional<std::int64_t> frame;  ///< otherwise 24, or the nearest that the input has
  int cellWidth = 320;                ///< a picture's width in the sheet, pixels, unless the input is narrower
  int columns = 4;                    ///< of a sheet that varies one thing
};

struct SheetResult {
  std::int64_t pictures = 0;  ///< that were asked for
  std::int64_t drawn = 0;
  bool isStopped() const { return drawn < pictures; }
};

/// Draws the sheet; nothing is written once `stop` is requested. Throws what RenderJob::run() throws.
SheetResult drawSheet(const SheetRequest &request, RenderListener &listener, const StopToken &stop);

}  // namespace pyrelux::job
