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
#include "Media.h"
#include "ParameterText.h"
#include "ProgressLine.h"
#include "Renderers.h"

namespace pyrelux::cli {

namespace {

/// What a still is rendered to when no frames are asked for.
constexpr FrameRange stillToMovie{1, 48};
constexpr FrameRange stillToStill{1, 1};

void applySetting(host::ParameterSet &parameters, const std::string &setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos || equals == 0) throw UsageError("'" + setting + "' is not NAME=VALUE");
  const host::ParameterDeclaration &parameter = parameters.named(setting.substr(0, equals));
  parameters.set(parameter, host::parseValue(parameter, setting.substr(equals + 1)));
}

/// An 8-bit flame would waste a deep output, so the filter is asked for its deep surface, unless the user chose.
void followDepth(host::ParameterSet &parameters, int bits) {
  for (const host::ParameterDeclaration &parameter : parameters.declarations())
    if (parameter.keyLabel() == "Color Depth" && bits == 16 && !parameters.isSet(parameter.id))
      parameters.set(parameter, {1.0});
}

FrameRange chooseFrames(const std::optional<std::string> &text, const media::InputInfo &input,
                        const std::string &inputPath, bool manyFrames) {
  if (input.kind == media::InputKind::Still) {
    if (text) return parseFrameRange(*text);
    return manyFrames ? stillToMovie : stillToStill;
  }
  const FrameRange all{input.firstFrame, input.lastFrame};
  if (!text) return all;
  const FrameRange wanted = parseFrameRange(*text);
  if (wanted.first < all.first || wanted.last > all.last)
    throw UsageError("'" + inputPath + "' has the frames " + std::to_string(all.first) + "-" +
                     std::to_string(all.last) + "; '" + *text + "' is not among them");
  return wanted;
}

/// Writing a frame must never replace what a later one is read from.
void refuseToReplaceInput(const RenderOptions &options, const media::InputInfo &input, const FrameRange &frames) {
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
    for (std::int64_t frame = frames.first; frame <= frames.last; ++frame) check(to.path(frame));
}

}  // namespace

int render(const RenderOptions &options) {
  // Everything that can be refused is asked before anything is drawn.
  const bool manyFrames = media::Writer::holdsManyFrames(options.output);
  const int bits = options.bits ? std::stoi(*options.bits) : media::Writer::isDeep(options.output) ? 16 : 8;
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  for (const std::string &setting : options.settings) applySetting(filter.parameters(), setting);
  followDepth(filter.parameters(), bits);

  const auto reader = media::Reader::open(options.input);
  const media::InputInfo &input = reader->info();
  const FrameRange frames = chooseFrames(options.frames, input, options.input, manyFrames);
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

  const auto writer = media::Writer::open(options.output, format);
  ProgressLine progress(frames.count(), options.quiet);
  for (std::int64_t frame = frames.first; frame <= frames.last; ++frame) {
    // Frame numbers are frame times.
    const Image image = renderer.render(filter, reader->read(frame), static_cast<double>(frame), settings);
    writer->write(frame, image);
    progress.advance();
  }
  writer->finish();
  return 0;
}

}  // namespace pyrelux::cli
