#include "SheetOptions.h"

#include "Numbers.h"
#include "RenderOptions.h"
#include "ValueError.h"

namespace pyrelux::cli {

namespace {

constexpr int maxCellWidth = 4096;
constexpr int maxColumns = 100;

std::string rangeText(int least, int most) { return std::to_string(least) + ".." + std::to_string(most); }

/// Takes whole numbers of a range.
Option &&takingNumber(Option &&row, int least, int most, int &target) {
  const auto refusal = [least, most](const std::string &text) {
    const auto number = readNumber(text);
    const bool isTaken = number && *number >= least && *number <= most && *number == static_cast<int>(*number);
    return isTaken ? std::string() : "'" + text + "' is no whole number in " + rangeText(least, most);
  };
  return std::move(row).refusing(refusal).filling(
      target, [](const std::string &text) { return static_cast<int>(*readNumber(text)); });
}

std::int64_t parseFrame(const std::string &text) {
  const FrameList frames = parseFrames(text);
  if (frames.count() > 1) throw ValueError("'--frame' takes one frame, not '" + text + "'");
  return frames.first();
}

}  // namespace

std::vector<Option> sheetOptions(job::SheetRequest &request) {
  constexpr const char *sheetGroup = "Sheet";
  const auto addVariation = [&request](const std::string &text) {
    request.variations.push_back(job::parseVariation(text));
  };
  std::vector<Option> options = inputOptions(request.render);
  append(options, lookOptions(request.render));
  append(options,
         {option("--vary", "NAME=VALUES", "What differs from picture to picture",
                 ": a parameter, 'preset' or 'frame', and its values, like glow=-50,0,50, frame=1-48x12 or "
                 "preset=torch,magma; parted by ; where values have commas. Given twice, the first runs across and the "
                 "second down. It wins over all that is set")
              .ofKind(ValueKind::Variation)
              .repeatable()
              .calling(addVariation)
              .in(sheetGroup),
          flag("--presets", request.variesPresets, true, "Vary the preset", ", over all there are").in(sheetGroup),
          option("--frame", "NUMBER", "The frame to draw",
                 ", the same as render draws it (default: 24, or the nearest that the input has)")
              .filling(request.frame, parseFrame)
              .in(sheetGroup),
          takingNumber(option("--cell", "WIDTH", "Width of a picture in the sheet",
                              ", " + rangeText(job::minCellWidth, maxCellWidth) +
                                  " pixels; never wider than the input (default: 320)"),
                       job::minCellWidth, maxCellWidth, request.cellWidth)
              .in(sheetGroup),
          takingNumber(option("--columns", "COUNT", "Pictures side by side when one thing is varied",
                              ", " + rangeText(1, maxColumns) + " (default: 4, or fewer)"),
                       1, maxColumns, request.columns)
              .in(sheetGroup),
          option("-o,--output", "FILE", "Where to", ": a picture, .png for one")
              .required()
              .filling(request.render.output)
              .in(sheetGroup),
          overwriteOption(request.render).in(sheetGroup)});
  append(options, overOptions(request.render));
  options.push_back(bitsOption(request.render));
  append(options, drawingOptions(request.render));
  return options;
}

}  // namespace pyrelux::cli
