#include <sys/stat.h>

#include <iostream>
#include <optional>
#include <set>
#include <utility>

#include "Commands.h"
#include "Filter.h"
#include "FramePattern.h"
#include "FrameRange.h"
#include "FrameRenderer.h"
#include "HostError.h"
#include "Interruption.h"
#include "Media.h"
#include "ParameterText.h"
#include "Presets.h"
#include "Progress.h"
#include "Renderers.h"
#include "Timeline.h"

namespace pyrelux::cli {

namespace {

/// What a still is rendered to when no frames are asked for.
constexpr FrameRange stillToMovie{1, 48};
constexpr FrameRange stillToStill{1, 1};

void applySetting(host::ParameterSet &parameters, const std::string &setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos || equals == 0) throw UsageError("'" + setting + "' is not NAME=VALUE");
  try {
    const host::ParameterDeclaration &parameter = parameters.named(setting.substr(0, equals));
    parameters.set(parameter, host::parseValue(parameter, setting.substr(equals + 1)));
  } catch (const host::HostError &error) {
    throw UsageError(error.what());
  }
}

/// An 8-bit flame would waste a deep output, so the filter is asked for its deep surface, unless the user chose.
void followDepth(host::ParameterSet &parameters, int bits) {
  for (const host::ParameterDeclaration &parameter : parameters.declarations())
    if (parameter.keyLabel() == "Color Depth" && bits == 16 && !parameters.isSet(parameter.id))
      parameters.set(parameter, {1.0});
}

FrameList chooseFrames(const std::optional<std::string> &text, const media::InputInfo &input,
                       const std::string &inputPath, bool manyFrames) {
  if (input.kind == media::InputKind::Still) {
    if (text) return parseFrames(*text);
    return manyFrames ? stillToMovie : stillToStill;
  }
  const FrameRange all{input.firstFrame, input.lastFrame};
  if (!text) return all;
  const FrameList wanted = parseFrames(*text);
  if (wanted.first() < all.first || wanted.last() > all.last)
    throw UsageError("'" + inputPath + "' has the frames " + std::to_string(all.first) + "-" +
                     std::to_string(all.last) + "; '" + *text + "' is not among them");
  return wanted;
}

/// Writing a frame must never replace what a later one is read from.
void refuseToReplaceInput(const RenderOptions &options, const media::InputInfo &input, const FrameList &frames) {
  const media::FramePattern from(options.input);
  const media::FramePattern to(options.output);
  std::set<std::pair<std::uintmax_t, std::uintmax_t>> inputs;
  const auto identity = [](const std::string &path) {
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    return exists ? std::optional(std::pair<std::uintmax_t, std::uintmax_t>(status.st_dev, status.st_ino))
                  : std::nullopt;
  };
  if (input.kind == media::InputKind::Sequence) {
    for (std::int64_t frame = input.firstFrame; frame <= input.lastFrame; ++frame)
      if (const auto file = identity(from.path(frame))) inputs.insert(*file);
  } else if (const auto file = identity(options.input)) {
    inputs.insert(*file);
  }
  const auto check = [&](const std::string &path) {
    const auto file = identity(path);
    if (file && inputs.count(*file)) throw UsageError("the output '" + path + "' would replace the input");
  };
  check(options.output);
  if (to.isNumbered())
    frames.forEach([&](std::int64_t frame) {
      check(to.path(frame));
      return true;
    });
}

}  // namespace

int render(const RenderOptions &options) {
  // Everything that can be refused is asked before anything is drawn.
  const bool manyFrames = media::Writer::holdsManyFrames(options.output);
  const int bits = options.bits ? std::stoi(*options.bits) : media::Writer::isDeep(options.output) ? 16 : 8;
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  if (options.preset)
    for (const std::string &setting : presetNamed(*options.preset).settings) applySetting(filter.parameters(), setting);
  for (const std::string &setting : options.settings) applySetting(filter.parameters(), setting);
  followDepth(filter.parameters(), bits);

  const auto reader = media::Reader::open(options.input);
  const media::InputInfo &input = reader->info();
  const FrameList frames = chooseFrames(options.frames, input, options.input, manyFrames);
  if (frames.count() > 1 && !manyFrames)
    throw UsageError("'" + options.output + "' holds one frame, not " + std::to_string(frames.count()) +
                     "; put %04d or #### into its name, or write a movie");

  refuseToReplaceInput(options, input, frames);

  media::OutputFormat format;
  format.width = input.width;
  format.height = input.height;
  format.bits = bits;
  format.frameRate = options.fps ? parseFrameRate(*options.fps) : input.frameRate;

  const std::int32_t rendererId = host::chooseRenderer(options.backend);
  host::FrameRenderer renderer(rendererId);
  if (options.verbose)
    std::cerr << "drawing with " << host::rendererName(rendererId) << ": " << renderer.description() << '\n';
  host::FrameSettings settings;
  settings.floatOutput = bits == 16;
  settings.pixelAspect = input.pixelAspect;

  // From the time on when there is something half written.
  const Interruption interruption;
  const auto writer = media::Writer::open(options.output, format);
  std::optional<Progress> progress(std::in_place, options.progress, frames.count());
  // Stills burn from frame 1.
  host::Timeline timeline(filter, renderer, input.kind == media::InputKind::Still ? 1 : input.firstFrame);
  Image image;
  frames.forEach([&](std::int64_t frame) {
    timeline.render(frame, reader->read(frame), settings, image);
    writer->write(frame, image);
    progress->advance(frame);
    return interruption.signal() == 0;
  });
  writer->finish();
  const std::int64_t done = progress->done();
  progress.reset();
  if (done == frames.count()) return 0;
  std::cerr << "pyrelux: interrupted after " << done << " of " << frames.count() << " frames; '" << options.output
            << "' holds what was finished\n";
  return exitCodeOf(interruption.signal());
}

}  // namespace pyrelux::cli
