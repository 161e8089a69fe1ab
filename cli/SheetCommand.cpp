#include <algorithm>
#include <cmath>

#include "BackendChoice.h"
#include "Commands.h"
#include "Filter.h"
#include "Fit.h"
#include "FrameList.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "Interruption.h"
#include "Look.h"
#include "Message.h"
#include "OutputGuard.h"
#include "PictureSize.h"
#include "Presets.h"
#include "ProjectFile.h"
#include "Reader.h"
#include "RenderInput.h"
#include "RenderOutput.h"
#include "RunUpNotice.h"
#include "Sheet.h"
#include "Timeline.h"
#include "UsageError.h"
#include "Writer.h"

namespace pyrelux::cli {

namespace {

constexpr std::int64_t usualFrame = 24;

/// One thing that is varied, and its values as a person writes them.
struct Axis {
  std::string name;  ///< a parameter's slug, presetAxis or frameAxis
  std::vector<std::string> values;
};

/// A picture of the sheet.
struct Cell {
  std::int64_t frame;
  host::ParameterSet parameters;
  int drawBits;
  std::string label;
};

std::vector<std::string> split(const std::string &text, const std::string &given) {
  const char comma = text.find(';') == std::string::npos ? ',' : ';';
  std::vector<std::string> values;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t end = std::min(text.find(comma, from), text.size());
    if (end == from) throw UsageError("'" + given + "' has an empty value; write NAME=VALUE,VALUE");
    values.push_back(text.substr(from, end - from));
    from = end + 1;
  }
  return values;
}

Axis parseAxis(const std::string &text, const host::ParameterSet &parameters) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) throw UsageError("'" + text + "' is not NAME=VALUE,VALUE");
  Axis axis{text.substr(0, equals), {}};
  const std::string values = text.substr(equals + 1);
  if (axis.name == frameAxis) {
    parseFrames(values).forEach([&](std::int64_t frame) {
      axis.values.push_back(std::to_string(frame));
      return axis.values.size() < maximumSide;
    });
    return axis;
  }
  axis.values = split(values, text);
  if (axis.name == presetAxis) return axis;
  try {
    axis.name = parameters.named(axis.name).slug();
  } catch (const host::HostError &error) {
    throw UsageError(std::string(error.what()) + "; --vary takes parameters, 'preset' and 'frame'");
  }
  return axis;
}

/// One or two, the one that runs across first.
std::vector<Axis> parseAxes(const SheetOptions &options, const host::ParameterSet &parameters) {
  std::vector<Axis> axes;
  if (options.presets) axes.push_back({presetAxis, presetNames()});
  for (const std::string &text : options.vary) axes.push_back(parseAxis(text, parameters));
  if (axes.empty()) throw UsageError("nothing to vary: give --vary NAME=VALUE,VALUE or --presets");
  if (axes.size() > 2) throw UsageError("a sheet has two directions, and more than two things are varied");
  if (axes.size() == 2 && axes[0].name == axes[1].name)
    throw UsageError("'" + axes[0].name + "' is varied twice; give all its values to one --vary");
  return axes;
}

/// The look and frame with the axes at these values.
Cell makeCell(const std::vector<std::pair<std::string, std::string>> &choices, RenderOptions options,
              const Project &project, const host::ParameterSet &parameters) {
  Cell cell{0, parameters, 0, {}};
  for (const auto &[name, value] : choices) {
    if (name == presetAxis)
      options.preset = value;
    else if (name == frameAxis)
      options.frames = value;
    else
      options.settings.push_back(name + "=" + value);
    cell.label += (cell.label.empty() ? "" : "\n") + (name == presetAxis ? value : name + " " + value);
  }
  cell.drawBits = applyLook(cell.parameters, options, project);
  cell.frame = parseFrames(*options.frames).first();
  return cell;
}

/// Refuses frames that the input has not. Returns what `text` names.
std::int64_t chooseFrame(RenderOptions options, const std::string &text, const media::InputInfo &input,
                         const Background *background) {
  options.frames = text;
  const FrameList frames = chooseFrames(options, input, background, true);
  if (frames.count() > 1) throw UsageError("'--frame' takes one frame, not '" + text + "'");
  return frames.first();
}

}  // namespace

int drawSheet(const SheetOptions &given) {
  // Everything that can be refused is asked before anything is drawn.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const host::ParameterSet defaults = filter.parameters();
  const Project project = loadProject(given.render, defaults.declarations());
  RenderOptions options = withProject(given.render, project);
  if (options.density && !options.over) throw UsageError("'--density' is of no use for a sheet without --over");
  const std::vector<Axis> axes = parseAxes(given, defaults);
  if (media::Writer::holdsManyFrames(options.output))
    throw UsageError("a sheet is one picture, and '" + options.output + "' is for many; write a .png");

  std::optional<Background> opened = Background::open(options);
  Background *const background = opened ? &*opened : nullptr;
  constexpr int inputBits = 16;
  const auto reader = openInput(options, inputBits, background);
  const media::InputInfo &input = reader->info();
  const bool isStill = input.kind == media::InputKind::Still;
  const std::int64_t usual = isStill ? usualFrame : std::clamp(usualFrame, input.firstFrame, input.lastFrame);
  options.frames = given.frame.value_or(std::to_string(usual));
  const std::int64_t frame = chooseFrame(options, *options.frames, input, background);
  refuseToReplaceSource(*reader, "input", options, FrameRange{frame, frame});
  if (background && background->reader())
    refuseToReplaceSource(*background->reader(), "background", options, FrameRange{frame, frame});
  refuseToReplaceOutput(options, FrameRange{frame, frame});

  const int width = std::min(given.cell, input.width);
  const int height =
      std::max(1, static_cast<int>(std::lround(width * input.height / (input.width * input.pixelAspect))));
  const int count = static_cast<int>(axes[0].values.size());
  const int columns = axes.size() == 2 ? count : std::min(given.columns, count);
  const int rows = axes.size() == 2 ? static_cast<int>(axes[1].values.size()) : (count + columns - 1) / columns;
  Sheet sheet(columns, rows, width, height, static_cast<int>(axes.size()));
  std::vector<Cell> cells;
  for (std::size_t down = 0; down < (axes.size() == 2 ? axes[1].values.size() : 1); ++down)
    for (const std::string &across : axes[0].values) {
      std::vector<std::pair<std::string, std::string>> choices{{axes[0].name, across}};
      if (axes.size() == 2) choices.emplace_back(axes[1].name, axes[1].values[down]);
      cells.push_back(makeCell(choices, options, project, defaults));
      chooseFrame(options, std::to_string(cells.back().frame), input, background);
    }

  host::FrameRenderer renderer(host::chooseBackend(options.backend));
  host::FrameSettings settings;
  settings.pixelAspect = input.pixelAspect;
  const Interruption interruption;
  media::OutputFormat format;
  format.width = sheet.image().width();
  format.height = sheet.image().height();
  format.bits = chooseBits(options);
  const auto writer = media::Writer::open(options.output, format);
  if (background)
    background->prepare({input.width, input.height, input.pixelAspect},
                        chooseRate(options, background, input.frameRate));
  Image picture;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    filter.parameters() = cells[i].parameters;
    // One for each: with other settings, another run leads to the frame.
    host::Timeline timeline(filter, renderer, isStill ? 1 : input.firstFrame);
    settings.floatOutput = cells[i].drawBits == 16;
    timeline.setRunUpListener(RunUpNotice(say));
    try {
      timeline.render(cells[i].frame, reader->read(cells[i].frame), settings, picture);
    } catch (const host::HostError &) {
      // What is stopped half-way is no failure.
      if (!interruption.signal()) throw;
    }
    if (interruption.signal()) {
      say("interrupted after " + std::to_string(i) + " of " + std::to_string(cells.size()) +
          " pictures; no sheet is written");
      return exitCodeOf(interruption.signal());
    }
    const int place = static_cast<int>(i);
    if (background) picture = background->lay(picture, background->behind(cells[i].frame).get(), densityOf(options));
    sheet.put(place % columns, place / columns, toFloat(fitted(picture, 1.0, {width, height}, media::Fit::Stretch)),
              cells[i].label);
  }
  writer->write(1, sheet.image());
  writer->finish();
  return 0;
}

}  // namespace pyrelux::cli
