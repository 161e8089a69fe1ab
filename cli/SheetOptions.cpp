#include "SheetOptions.h"

#include <CLI/CLI.hpp>

namespace pyrelux::cli {

namespace {

constexpr int widestCell = 4096;
constexpr int mostColumns = 100;

std::string range(int least, int most) { return std::to_string(least) + ".." + std::to_string(most); }

}  // namespace

void addSheetOptions(CLI::App &command, SheetOptions &options) {
  constexpr const char *sheetGroup = "Sheet";
  addInputOptions(command, options.render);
  addLookOptions(command, options.render);
  command
      .add_option("--vary", options.vary,
                  "What differs from picture to picture: a parameter, 'preset' or 'frame', and its values, like "
                  "glow=-50,0,50, frame=1-48x12 or preset=torch,magma; parted by ; where values have commas. Given "
                  "twice, the first runs across and the second down. It wins over all that is set")
      ->type_name(variationName)
      ->allow_extra_args(false)
      ->group(sheetGroup);
  command.add_flag("--presets", options.presets, "Vary the preset, over all there are")->group(sheetGroup);
  command
      .add_option("--frame", options.frame,
                  "The frame to draw, the same as render draws it (default: 24, or the nearest that the input has)")
      ->type_name("NUMBER")
      ->group(sheetGroup);
  command
      .add_option("--cell", options.cell,
                  "Width of a picture in the sheet, " + range(narrowestCell, widestCell) +
                      " pixels; never wider than the input (default: 320)")
      ->check(CLI::Range(narrowestCell, widestCell))
      ->option_text("WIDTH")
      ->group(sheetGroup);
  command
      .add_option(
          "--columns", options.columns,
          "Pictures side by side when one thing is varied, " + range(1, mostColumns) + " (default: 4, or fewer)")
      ->check(CLI::Range(1, mostColumns))
      ->option_text("COUNT")
      ->group(sheetGroup);
  command.add_option("-o,--output", options.render.output, "Where to: a picture, .png for one")
      ->type_name("FILE")
      ->required()
      ->group(sheetGroup);
  command
      .add_flag("--overwrite", options.render.overwrite,
                "Replace output that is there already; otherwise it is refused")
      ->group(sheetGroup);
  addOverOptions(command, options.render);
  addBitsOption(command, options.render, "16 for .tif and .exr, else 8");
  addDrawingOptions(command, options.render);
}

}  // namespace pyrelux::cli
