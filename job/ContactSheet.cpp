#include "ContactSheet.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "BackendChoice.h"
#include "Filter.h"
#include "FireDrawer.h"
#include "Fit.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "InputSource.h"
#include "OutputPlan.h"
#include "OwnParameters.h"
#include "PreRollWatch.h"
#include "Presets.h"
#include "SheetImage.h"
#include "Sources.h"
#include "ValueError.h"
#include "Writer.h"

namespace pyrelux::job {

namespace {

constexpr std::int64_t usualFrame = 24;

/// A picture of the sheet.
struct Cell {
  std::int64_t frame;
  host::ParameterSet parameters;
  project::Scene scene;
  int drawBits;
  std::string label;
};

/// The pictures' places: in rows, from the upper left.
struct Grid {
  int columns;
  int rows;
};

std::vector<std::string> splitValues(const std::string &text, const std::string &given) {
  const char comma = text.find(';') == std::string::npos ? ',' : ';';
  std::vector<std::string> values;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t end = std::min(text.find(comma, from), text.size());
    if (end == from) throw ValueError("'" + given + "' has an empty value; write NAME=VALUE,VALUE");
    values.push_back(text.substr(from, end - from));
    from = end + 1;
  }
  return values;
}

/// One or two, the one that runs across first; parameters by their slugs.
std::vector<Variation> variationsOf(const SheetRequest &request, const host::ParameterSet &parameters) {
  std::vector<Variation> variations;
  if (request.variesPresets) variations.push_back({presetAxis, project::presetNames()});
  for (Variation variation : request.variations) {
    if (variation.name != presetAxis && variation.name != frameAxis) try {
        variation.name = parameters.named(variation.name).slug();
      } catch (const host::HostError &error) {
        throw ValueError(std::string(error.what()) + "; --vary takes parameters, 'preset' and 'frame'");
      }
    variations.push_back(std::move(variation));
  }
  if (variations.empty()) throw ValueError("nothing to vary: give --vary NAME=VALUE,VALUE or --presets");
  if (variations.size() > 2) throw ValueError("a sheet has two directions, and more than two things are varied");
  if (variations.size() == 2 && variations[0].name == variations[1].name)
    throw ValueError("'" + variations[0].name + "' is varied twice; give all its values to one --vary");
  return variations;
}

/// The settings and frame with the variations at these values.
Cell makeCell(const std::vector<std::pair<std::string, std::string>> &choices, RenderRequest request,
              SettingsFiles files, const host::ParameterSet &parameters, const project::Clock &clock) {
  Cell cell{request.scene.frames->first(), parameters, {}, 0, {}};
  for (const auto &[name, value] : choices) {
    if (name == presetAxis)
      files.preset = project::loadPreset(value, parameters.declarations());
    else if (name == frameAxis)
      cell.frame = parseFrames(value).first();
    else
      request.settings.push_back({name, value});
    cell.label += (cell.label.empty() ? "" : "\n") + (name == presetAxis ? value : name + " " + value);
  }
  cell.scene = withSettings(request, files).scene;
  // One frame is no loop, whatever the preset is for.
  cell.scene.loops = std::nullopt;
  cell.scene.loopBlend = std::nullopt;
  cell.drawBits = project::applyLayers(cell.parameters, files.layers(request), clock);
  return cell;
}

std::vector<Cell> makeCells(const std::vector<Variation> &variations, const RenderRequest &request,
                            const SettingsFiles &files, const host::ParameterSet &parameters,
                            const project::Clock &clock) {
  std::vector<Cell> cells;
  const bool hasRows = variations.size() == 2;
  for (std::size_t down = 0; down < (hasRows ? variations[1].values.size() : 1); ++down)
    for (const std::string &across : variations[0].values) {
      std::vector<std::pair<std::string, std::string>> choices{{variations[0].name, across}};
      if (hasRows) choices.emplace_back(variations[1].name, variations[1].values[down]);
      cells.push_back(makeCell(choices, request, files, parameters, clock));
    }
  return cells;
}

Grid gridOf(const std::vector<Variation> &variations, int columns) {
  const int count = static_cast<int>(variations[0].values.size());
  if (variations.size() == 2) return {count, static_cast<int>(variations[1].values.size())};
  columns = std::min(columns, count);
  return {columns, (count + columns - 1) / columns};
}

/// With square pixels.
PictureSize cellSize(int cellWidth, const media::InputInfo &input) {
  const int width = std::min(cellWidth, input.width);
  const double height = width * input.height / (input.width * input.pixelAspect);
  return {width, std::max(1, static_cast<int>(std::lround(height)))};
}

void requireFrame(RenderRequest request, std::int64_t frame, Sources &sources) {
  request.scene.frames = FrameRange{frame, frame};
  chooseFrames(request, sources.info(), sources.background(), true);
}

}  // namespace

Variation parseVariation(const std::string &text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) throw ValueError("'" + text + "' is not NAME=VALUE,VALUE");
  Variation variation{text.substr(0, equals), {}};
  const std::string values = text.substr(equals + 1);
  if (variation.name != frameAxis) {
    variation.values = splitValues(values, text);
    return variation;
  }
  // More pictures than fit side by side are refused later; no list need be longer.
  parseFrames(values).forEach([&](std::int64_t frame) {
    variation.values.push_back(std::to_string(frame));
    return variation.values.size() < maximumSide;
  });
  return variation;
}

SheetResult drawSheet(const SheetRequest &given, RenderListener &listener, const StopToken &stop) {
  // Everything that can be refused is asked before anything is drawn.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const host::ParameterSet defaults = project::allParameters(filter);
  const SettingsFiles files = loadSettings(given.render, defaults.declarations());
  RenderRequest request = withSettings(given.render, files);
  if (request.scene.pad && request.scene.pad->isAuto)
    throw ValueError("'--pad auto' is for render; give a sheet's room as lengths");
  if (request.density && !request.background) throw ValueError("'--density' is of no use for a sheet without --over");
  const std::vector<Variation> variations = variationsOf(given, defaults);
  if (request.output == "-") throw ValueError("a sheet goes into a file; give '--output' the name of a .png");
  if (media::Writer::holdsManyFrames(request.output))
    throw ValueError("a sheet is one picture, and '" + request.output + "' is for many; write a .png");

  constexpr int inputBits = 16;
  Sources sources(request, inputBits, listener);
  const media::InputInfo &input = sources.info();
  if (input.isStream)
    throw ValueError("a sheet goes back and forth in its input, and standard input can be read once; give a file");
  Background *const background = sources.background();
  const std::int64_t usual = sources.isStill() ? usualFrame : std::clamp(usualFrame, input.firstFrame, input.lastFrame);
  const std::int64_t frame = given.frame.value_or(usual);
  request.scene.frames = FrameRange{frame, frame};
  requireFrame(request, frame, sources);
  sources.guardOutput(request, *request.scene.frames);

  const project::Clock clock{sources.firstFrame(), chooseRate(request, background, input.frameRate)};
  const PictureSize size = cellSize(given.cellWidth, input);
  const Grid grid = gridOf(variations, given.columns);
  SheetImage sheet(grid.columns, grid.rows, size.width, size.height, static_cast<int>(variations.size()));
  const std::vector<Cell> cells = makeCells(variations, request, files, defaults, clock);
  for (const Cell &cell : cells) requireFrame(request, cell.frame, sources);

  host::FrameRenderer frameRenderer(host::chooseBackend(request.backend));
  host::FrameSettings settings;
  settings.pixelAspect = input.pixelAspect;
  listener.started(static_cast<std::int64_t>(cells.size()));
  media::OutputFormat format;
  format.width = sheet.image().width();
  format.height = sheet.image().height();
  format.bits = chooseBits(request);
  const auto writer = media::Writer::open(request.output, format);
  if (background) background->prepare({input.width, input.height, input.pixelAspect}, clock.rate);
  const double titleShare = static_cast<double>(sources.titleBox().height()) / input.height;
  SheetResult result{static_cast<std::int64_t>(cells.size()), 0};
  for (const Cell &cell : cells) {
    settings.floatOutput = cell.drawBits == 16;
    const Fire fire =
        planFire(cell.scene, cell.parameters, FrameRange{cell.frame, cell.frame}, clock, titleShare, listener);
    // One for each: with other settings, another run leads to the frame.
    FireDrawer drawer(filter, frameRenderer, fire, settings, sources.firstFrame(), PreRollWatch(listener, stop));
    Image picture;
    try {
      drawer.draw(cell.frame, *sources.input().share(cell.frame), picture);
    } catch (const host::HostError &) {
      // What is stopped half-way is no failure.
      if (!stop.isRequested()) throw;
    }
    if (stop.isRequested()) return result;
    if (background) picture = background->lay(picture, background->behind(cell.frame).get(), densityOf(request));
    const int place = static_cast<int>(result.drawn++);
    const Image fittedPicture = toFloat(fitted(picture, 1.0, {size.width, size.height}, media::Fit::Stretch));
    sheet.put(place % grid.columns, place / grid.columns, fittedPicture, cell.label, listener);
  }
  writer->write(1, sheet.image());
  writer->finish();
  listener.finished();
  return result;
}

}  // namespace pyrelux::job
